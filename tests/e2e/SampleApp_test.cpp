// The sample application across its starts, as users see it: the prompt, the
// handover, how it ended, the back-off after a failed one, and a new updater
// that arrives in a package and takes Update.exe's place.
#include <gtest/gtest.h>

#include "E2eSupport.h"

#include "../servers/TestServers.h"

using namespace e2e;

namespace {

const auto* const g_serving = ServeProgram("sample");

// The ini of the application in dir: the served description, the state file
// in dir and the extra lines.
bool WriteIni(const std::string& dir, const std::string& extra = "")
{
    return WriteFileText(dir + "SampleApp.ini",
                         "[update]\r\nurl=" + g_servers.Nginx("app.upd") + "\r\nstate=" + dir +
                             "state.txt\r\n" + extra);
}

TEST(SampleApp, OffersTheUpdateTellsHowItEndedAndHoldsBackAFailedOne)
{
    TempDir root("vx sample ");
    ASSERT_TRUE(WriteFileText(root / "src\\readme.txt", "two") &&
                CopyFileA((BinDir() + "SampleApp2.exe").c_str(),
                          (root / "src\\SampleApp.exe").c_str(), FALSE));
    PackResult made =
        RunPack(root,
                "make " + Quote(root / "src") + " " + Quote(g_servers.Www() + "app.upd") +
                    " --version 2.0.0.0 --updater " + Quote(BinDir() + "Update.exe"));
    ASSERT_EQ(made.code, 0u) << made.err;

    // No updater to start: the handover fails, and the next start says so
    // and does not offer that version again.
    const std::string failing = root / "failing\\", log = failing + "SampleApp.log";
    ASSERT_TRUE(PrepareApp(failing, BinDir() + "Update.exe") &&
                MoveFileA((failing + "Update.exe").c_str(), (failing + "x.exe").c_str()));
    {
        Process app;
        ASSERT_TRUE(WriteIni(failing) && app.Start(failing + "SampleApp.exe", "") &&
                    PressPromptButton(app.Id(), "Update now"));
        EXPECT_TRUE(WaitForFileText(log, "could not start Update.exe", 10000)) << ReadFileText(log);
    }
    ASSERT_TRUE(MoveFileA((failing + "x.exe").c_str(), (failing + "Update.exe.next").c_str()));
    {
        Process app;
        ASSERT_TRUE(WriteIni(failing) && app.Start(failing + "SampleApp.exe", ""));
        EXPECT_TRUE(WaitForFileText(log, "held back 2.0.0.0", 10000)) << ReadFileText(log);
        EXPECT_NE(ReadFileText(log).find("adopted Update.exe.next\r\nThe update to 2.0.0.0 failed"),
                  std::string::npos);
        EXPECT_TRUE(FileExists(failing + "Update.exe") && !FileExists(failing + "Update.exe.next"));
        EXPECT_EQ(FindProcessWindow(app.Id(), "Sample App update"), nullptr);
    }

    // A handover that installs: version 2 says so and adopts the updater the
    // package brought.
    const std::string good = root / "good\\";
    ASSERT_TRUE(PrepareApp(good, BinDir() + "Update.exe"));
    Process app;
    ASSERT_TRUE(WriteIni(good) && app.Start(good + "SampleApp.exe", "") &&
                PressPromptButton(app.Id(), "Update now"));
    ASSERT_TRUE(WaitForFileText(good + "SampleApp.log", "handing over", 10000));
    // Version 2, once started, ends by itself.
    ASSERT_TRUE(WriteIni(good, "exitafter=0\r\n"));
    EXPECT_TRUE(WaitForFileText(good + "SampleApp.log",
                                "started 2.0.0.0\r\nadopted Update.exe.next\r\nUpdated to 2.0.0.0",
                                60000))
        << ReadFileText(good + "SampleApp.log");
    EXPECT_FALSE(FileExists(good + "Update.exe.next"));
    EXPECT_EQ(ReadFileText(good + "readme.txt"), "two");
}

}   // namespace
