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
    // Fresh names for every run: under Wine the finished child's handles may
    // still hold the previous files for a moment.
    static int runs = 0;
    runs++;
    RunResult run;
    std::string outPath = TempPath(("out" + std::to_string(runs) + ".txt").c_str());
    std::string errPath = TempPath(("err" + std::to_string(runs) + ".txt").c_str());
    const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    HANDLE out =
        CreateFileA(outPath.c_str(), GENERIC_WRITE, share, &inherit, CREATE_ALWAYS, 0, nullptr);
    HANDLE err =
        CreateFileA(errPath.c_str(), GENERIC_WRITE, share, &inherit, CREATE_ALWAYS, 0, nullptr);
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

// The dialog's line (screen position, client size) comes first, then the
// controls in document order with their live styles: WS_CHILD | WS_VISIBLE,
// the list owner-drawn with LBS_NOINTEGRALHEIGHT (its scroll bar is shown
// only once the items need it), the edits with ES_AUTOHSCROLL and a client edge.
TEST(DialogView, DumpsTheInstallerDialog)
{
    RunResult run = RunDialogView("--dump \"" VX_SOURCE_DIR "/resources/update.dlg\"");
    EXPECT_EQ(0u, run.exitCode) << run.err;
    const char* expected =
        "Dialog 0 \"Update\" 0 0 300 220 0x84C80000 0x00000108 \"Update\"\n"
        "Label 1 \"LABEL\" 10 10 280 22 0x50000000 0x00000000 \"Updating files...\"\n"
        "Progress 2 \"PROGRESS\" 12 36 276 18 0x50000000 0x00000000 \"\"\n"
        "Label 3 \"Label2\" 10 64 280 20 0x50000000 0x00000000 \"Errors:\"\n"
        "List 4 \"LIST\" 12 86 276 122 0x50000151 0x00000200 \"\"\n";
    EXPECT_EQ(expected, run.out);
}

TEST(DialogView, DumpsTheMakerDialog)
{
    RunResult run = RunDialogView("--dump \"" VX_SOURCE_DIR "/resources/make.dlg\"");
    EXPECT_EQ(0u, run.exitCode) << run.err;
    const char* expected =
        "Dialog 0 \"Make\" 0 0 300 165 0x84CA0000 0x00000110 \"Make update files\"\n"
        "Edit 3 \"EDIT_FOLDER\" 12 90 240 22 0x50000080 0x00000200 \"\"\n"
        "Button 4 \"BTN_FOLDER\" 258 89 30 24 0x50000000 0x00000000 \"...\"\n"
        "Label 5 \"Label1\" 10 66 280 20 0x50000000 0x00000000 "
        "\"Folder: (you can drag & drop the folder)\"\n"
        "Button 1 \"BTN_MAKE\" 198 127 90 26 0x50000000 0x00000000 \"Make\"\n"
        "Label 6 \"Label2\" 10 12 280 20 0x50000000 0x00000000 \"Version:\"\n"
        "Edit 7 \"EDIT_VERSION\" 12 36 276 22 0x50000080 0x00000200 \"1.0.0.0\"\n";
    EXPECT_EQ(expected, run.out);
}

TEST(DialogView, NamesTheLineThatFails)
{
    // Line 5 has no "=".
    std::string broken = WriteTemp("broken.dlg",
                                   "VORLIX DIALOG 1.0.0.0\r\n\r\n[DIALOG]\r\n"
                                   "CAPTION=x\r\nPOSITION 0 0 10 10\r\n");
    RunResult run = RunDialogView("--dump \"" + broken + "\"");
    EXPECT_EQ(1u, run.exitCode);
    EXPECT_NE(std::string::npos, run.err.find("broken.dlg:5:")) << run.err;
    EXPECT_TRUE(run.out.empty());

    std::string unknown = WriteTemp("unknown.dlg",
                                    "VORLIX DIALOG 1.0.0.0\r\n\r\n[DIALOG]\r\n"
                                    "CAPTION=x\r\n\r\n[NOSUCHTYPE]\r\nID=1\r\n");
    run = RunDialogView("\"" + unknown + "\"");   // fails before any window is shown
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
    EXPECT_EQ(2u, RunDialogView("--close-after soon x.dlg").exitCode);
    run = RunDialogView("--help");
    EXPECT_EQ(0u, run.exitCode);
    EXPECT_NE(std::string::npos, run.out.find("--dump"));
}

}   // namespace
