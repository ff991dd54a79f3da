// DialogView, run as its users run it: --dump of the tool's dialog texts,
// broken texts and wrong usage.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace {

struct RunResult {
    DWORD exitCode = 0xFFFFFFFF;
    std::string out, err;
};

std::string TempPath(const char* name)
{
    char folder[MAX_PATH];
    GetTempPathA(MAX_PATH, folder);
    return std::string(folder) + "vx_dialogview_" + std::to_string(GetCurrentProcessId()) + "_" +
           name;
}

std::string ReadAll(const std::string& path)
{
    std::string text;
    FILE* file = fopen(path.c_str(), "rb");
    if (!file)
        return text;
    char buffer[4096];
    size_t got;
    while ((got = fread(buffer, 1, sizeof buffer, file)) > 0)
        text.append(buffer, got);
    fclose(file);
    // Line ends as the console shows them.
    for (size_t at; (at = text.find("\r\n")) != std::string::npos;)
        text.erase(at, 1);
    return text;
}

RunResult RunDialogView(const std::string& args)
{
    RunResult run;
    std::string outPath = TempPath("out.txt"), errPath = TempPath("err.txt");
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    HANDLE out = CreateFileA(outPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                             CREATE_ALWAYS, 0, nullptr);
    HANDLE err = CreateFileA(errPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                             CREATE_ALWAYS, 0, nullptr);
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = out;
    start.hStdError = err;
    std::string command = "\"" VX_BIN_DIR "/DialogView.exe\" " + args;
    PROCESS_INFORMATION process = {};
    if (CreateProcessA(nullptr, &command[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                       &process)) {
        if (WaitForSingleObject(process.hProcess, 60000) == WAIT_TIMEOUT)
            TerminateProcess(process.hProcess, 99);
        GetExitCodeProcess(process.hProcess, &run.exitCode);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    CloseHandle(out);
    CloseHandle(err);
    run.out = ReadAll(outPath);
    run.err = ReadAll(errPath);
    DeleteFileA(outPath.c_str());
    DeleteFileA(errPath.c_str());
    return run;
}

std::string WriteTemp(const char* name, const char* text)
{
    std::string path = TempPath(name);
    FILE* file = fopen(path.c_str(), "wb");
    fputs(text, file);
    fclose(file);
    return path;
}

TEST(DialogView, DumpsTheInstallerDialog)
{
    RunResult run = RunDialogView("--dump \"" VX_SOURCE_DIR "/resources/update.dlg\"");
    EXPECT_EQ(0u, run.exitCode) << run.err;
    EXPECT_EQ("", run.out);
}

TEST(DialogView, DumpsTheMakerDialog)
{
    RunResult run = RunDialogView("--dump \"" VX_SOURCE_DIR "/resources/make.dlg\"");
    EXPECT_EQ(0u, run.exitCode) << run.err;
    EXPECT_EQ("", run.out);
}

TEST(DialogView, NamesTheLineThatFails)
{
    // Line 5 has no "=".
    std::string broken = WriteTemp("broken.dlg", "VORLIX DIALOG 1.0.0.0\r\n\r\n[DIALOG]\r\n"
                                                 "CAPTION=x\r\nPOSITION 0 0 10 10\r\n");
    RunResult run = RunDialogView("--dump \"" + broken + "\"");
    EXPECT_EQ(1u, run.exitCode);
    EXPECT_NE(std::string::npos, run.err.find("broken.dlg:5:")) << run.err;
    EXPECT_TRUE(run.out.empty());

    std::string unknown = WriteTemp("unknown.dlg", "VORLIX DIALOG 1.0.0.0\r\n\r\n[DIALOG]\r\n"
                                                   "CAPTION=x\r\n\r\n[NOSUCHTYPE]\r\nID=1\r\n");
    run = RunDialogView("\"" + unknown + "\"");  // fails before any window is shown
    EXPECT_EQ(1u, run.exitCode);
    EXPECT_NE(std::string::npos, run.err.find("unknown.dlg:6:")) << run.err;

    DeleteFileA(broken.c_str());
    DeleteFileA(unknown.c_str());
    run = RunDialogView("--dump \"" VX_SOURCE_DIR "/resources/no-such-file.dlg\"");
    EXPECT_EQ(1u, run.exitCode);
    EXPECT_NE(std::string::npos, run.err.find("cannot read")) << run.err;
}

TEST(DialogView, Usage)
{
    RunResult run = RunDialogView("");
    EXPECT_EQ(2u, run.exitCode);
    EXPECT_NE(std::string::npos, run.err.find("usage:"));
    EXPECT_EQ(2u, RunDialogView("--frobnicate x.dlg").exitCode);
    EXPECT_EQ(2u, RunDialogView("a.dlg b.dlg").exitCode);
    EXPECT_EQ(2u, RunDialogView("--close-after soon x.dlg").exitCode);
    run = RunDialogView("--help");
    EXPECT_EQ(0u, run.exitCode);
    EXPECT_NE(std::string::npos, run.out.find("--dump"));
}

}  // namespace
