// DialogView run as its users run it: --dump of the tool's dialog texts,
// broken texts and wrong usage.
#include <windows.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

struct RunResult {
    int exitCode = -1;
    std::string out;   // standard output and error together
};

RunResult RunDialogView(const std::string& args)
{
    // The command processor drops the outer pair of quotes; text mode turns
    // line ends into "\n".
    std::string command = "\"\"" VX_BIN_DIR "/DialogView.exe\" " + args + " 2>&1\"";
    RunResult run;
    FILE* pipe = _popen(command.c_str(), "r");
    if (!pipe)
        return run;
    char buffer[4096];
    for (size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        run.out.append(buffer, got);
    run.exitCode = _pclose(pipe);
    return run;
}

// The dialog's line (screen position, client size) comes first, then the
// controls in document order with their live styles.
TEST(DialogView, DumpsTheToolDialogs)
{
    RunResult run = RunDialogView("--dump \"" VX_SOURCE_DIR "/resources/update.dlg\"");
    EXPECT_EQ(0, run.exitCode) << run.out;
    EXPECT_EQ("Dialog 0 \"Update\" 0 0 300 220 0x84C80000 0x00000108 \"Update\"\n"
              "Label 1 \"LABEL\" 10 10 280 22 0x50000000 0x00000000 \"Updating files...\"\n"
              "Progress 2 \"PROGRESS\" 12 36 276 18 0x50000000 0x00000000 \"\"\n"
              "List 4 \"LIST\" 12 86 276 122 0x50000151 0x00000200 \"\"\n"
              "Label 3 \"Label2\" 10 64 280 20 0x50000000 0x00000000 \"Errors:\"\n",
              run.out);

    run = RunDialogView("--dump \"" VX_SOURCE_DIR "/resources/make.dlg\"");
    EXPECT_EQ(0, run.exitCode) << run.out;
    EXPECT_EQ("Dialog 0 \"Make\" 0 0 300 165 0x84CA0000 0x00000110 \"Make update files\"\n"
              "Edit 3 \"EDIT_FOLDER\" 12 90 240 22 0x50000080 0x00000200 \"\"\n"
              "Button 4 \"BTN_FOLDER\" 258 89 30 24 0x50000000 0x00000000 \"...\"\n"
              "Label 5 \"Label1\" 10 66 280 20 0x50000000 0x00000000 "
              "\"Folder: (you can drag & drop the folder)\"\n"
              "Button 1 \"BTN_MAKE\" 198 127 90 26 0x50000000 0x00000000 \"Make\"\n"
              "Label 6 \"Label2\" 10 12 280 20 0x50000000 0x00000000 \"Version:\"\n"
              "Edit 7 \"EDIT_VERSION\" 12 36 276 22 0x50000080 0x00000200 \"1.0.0.0\"\n",
              run.out);
}

// A broken text exits with 1 naming its line, before any window is shown;
// wrong usage exits with 2.
TEST(DialogView, FailureExitCodes)
{
    const char head[] = "VORLIX DIALOG 1.0.0.0\r\n\r\n[DIALOG]\r\nCAPTION=x\r\n";
    char folder[MAX_PATH];
    GetTempPathA(MAX_PATH, folder);
    std::string broken =
        folder + ("vx_dialogview_" + std::to_string(GetCurrentProcessId()) + "_broken.dlg");
    std::ofstream(broken, std::ios::binary) << head << "POSITION 0 0 10 10\r\n";
    const struct {
        std::string args;
        int exitCode;
        const char* message;
    } cases[] = {
        {"--dump \"" + broken + "\"", 1, "broken.dlg:5:"},
        {"--dump \"" VX_SOURCE_DIR "/resources/no-such-file.dlg\"", 1, "cannot read"},
        {"", 2, "usage:"},
        {"--frobnicate x.dlg", 2, "usage:"},
    };
    for (const auto& c : cases) {
        RunResult run = RunDialogView(c.args);
        EXPECT_EQ(c.exitCode, run.exitCode) << c.args;
        EXPECT_NE(std::string::npos, run.out.find(c.message)) << run.out;
        EXPECT_EQ(std::string::npos, run.out.find("Dialog 0")) << run.out;
    }
    DeleteFileA(broken.c_str());
}

}   // namespace
