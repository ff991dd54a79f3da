// UpdatePack.exe as a whole program: make, list, verify and extract on real
// folders, its exit codes and what it prints.
#include <windows.h>

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "E2eSupport.h"

namespace {

struct Result {
    DWORD code = 0xDEAD;
    std::string out, err;
};

// Runs UpdatePack.exe with arguments, its stdout and stderr sent to files.
Result RunPack(const e2e::TempDir& dir, const std::string& arguments)
{
    Result result;
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    const std::string paths[2] = {dir / "stdout.txt", dir / "stderr.txt"};
    HANDLE handles[2];
    for (int i = 0; i < 2; i++)
        handles[i] = CreateFileA(paths[i].c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                                 CREATE_ALWAYS, 0, nullptr);
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = handles[0];
    startup.hStdError = handles[1];
    std::string exe = e2e::BinDir() + "UpdatePack.exe", line = "\"" + exe + "\" " + arguments;
    PROCESS_INFORMATION info;
    if (CreateProcessA(exe.c_str(), &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &info)) {
        if (WaitForSingleObject(info.hProcess, 60000) != WAIT_OBJECT_0)
            TerminateProcess(info.hProcess, 0xDEAD);
        GetExitCodeProcess(info.hProcess, &result.code);
        CloseHandle(info.hProcess);
        CloseHandle(info.hThread);
    }
    // The console streams are in text mode: compare lines without "\r".
    std::string* texts[2] = {&result.out, &result.err};
    for (int i = 0; i < 2; i++) {
        CloseHandle(handles[i]);
        *texts[i] = e2e::ReadFileText(paths[i]);
        texts[i]->erase(std::remove(texts[i]->begin(), texts[i]->end(), '\r'), texts[i]->end());
    }
    return result;
}

std::string Quote(const std::string& path)
{
    std::string text = path;
    // A trailing backslash would escape the closing quote.
    if (!text.empty() && text.back() == '\\')
        text.pop_back();
    return "\"" + text + "\"";
}

void Put(const std::string& path, const std::string& bytes)
{
    for (size_t i = 3; i < path.size(); i++) {
        if (path[i] == '\\')
            CreateDirectoryA(path.substr(0, i).c_str(), nullptr);
    }
    ASSERT_TRUE(e2e::WriteFileText(path, bytes)) << path;
}

std::string Bytes(int size, char seed)
{
    std::string bytes((size_t)size, '\0');
    for (int i = 0; i < size; i++)
        bytes[(size_t)i] = (char)(i % 11 == 0 ? (i * 7919 + seed) >> 3 : seed + i % 5);
    return bytes;
}

TEST(UpdatePack, MakeVerifyExtractReproducesTheFolder)
{
    e2e::TempDir dir("vx pack ");
    const std::string src = dir / "source files\\";
    const char* names[] = {"app.exe", "data\\big.dat", "data\\empty", "sub\\Update.exe",
                           "sub\\deeper\\z-last.txt"};
    const int sizes[] = {4000, 250001, 0, 30, 0};
    for (int i = 0; i < 5; i++)
        Put(src + names[i], Bytes(sizes[i], (char)('a' + i)));
    Put(src + "Update.exe", "the updater itself");
    CreateDirectoryA((dir / "pub").c_str(), nullptr);

    Result made = RunPack(
        dir, "make " + Quote(src) + " " + Quote(dir / "pub\\release.upd") + " --version 2.1.0.7");
    ASSERT_EQ(made.code, 0u) << made.err;
    EXPECT_NE(made.out.find("5 files, 254031 bytes in"), std::string::npos) << made.out;
    // The progress bar is for consoles only.
    EXPECT_EQ(made.err, "");
    std::string package = e2e::ReadFileText(dir / "pub\\release.bin");
    ASSERT_GT(package.size(), 12u);
    EXPECT_EQ(e2e::ReadFileText(dir / "pub\\release.upd"),
              "2.1.0.7\r\n" + std::to_string(package.size()) + "\r\n");

    Result listed = RunPack(dir, "list " + Quote(dir / "pub\\release.bin"));
    ASSERT_EQ(listed.code, 0u);
    EXPECT_EQ(listed.out.find("mode: compressed\n"), 0u);
    EXPECT_NE(listed.out.find("         0  data\\empty\n"), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find("  sub\\Update.exe\n"), std::string::npos);
    EXPECT_EQ(listed.out.find("  Update.exe\n"), std::string::npos);
    EXPECT_NE(listed.out.find("5 entries"), std::string::npos);

    Result verified = RunPack(dir, "verify " + Quote(dir / "pub\\release.bin"));
    EXPECT_EQ(verified.code, 0u) << verified.err;

    Result extracted =
        RunPack(dir, "extract " + Quote(dir / "pub\\release.bin") + " " + Quote(dir / "out\\new"));
    ASSERT_EQ(extracted.code, 0u) << extracted.err;
    for (int i = 0; i < 5; i++) {
        std::string path = dir / "out\\new\\" + names[i];
        EXPECT_TRUE(e2e::FileExists(path)) << names[i];
        EXPECT_TRUE(e2e::ReadFileText(path) == Bytes(sizes[i], (char)('a' + i))) << names[i];
    }
    EXPECT_FALSE(e2e::FileExists(dir / "out\\new\\Update.exe"));

    // The default version, and no description without a file name.
    Result plain = RunPack(dir, "make " + Quote(src) + " " + Quote(dir / "plain.upd"));
    ASSERT_EQ(plain.code, 0u);
    EXPECT_EQ(e2e::ReadFileText(dir / "plain.upd").substr(0, 9), "1.0.0.0\r\n");
}

TEST(UpdatePack, VerifyNamesTheFirstBadEntry)
{
    e2e::TempDir dir("vx pack ");
    Put(dir / "src\\a.txt", Bytes(1000, 'a'));
    Put(dir / "src\\b.txt", Bytes(300000, 'b'));
    ASSERT_EQ(RunPack(dir, "make " + Quote(dir / "src") + " " + Quote(dir / "p.upd")).code, 0u);
    const std::string good = e2e::ReadFileText(dir / "p.bin");

    // A flipped byte inside b.txt's deflate data: the installer would not
    // notice, verify does.
    std::string bad = good;
    bad[bad.size() - 40] ^= 0x55;
    Put(dir / "bad.bin", bad);
    Result flipped = RunPack(dir, "verify " + Quote(dir / "bad.bin"));
    EXPECT_EQ(flipped.code, 1u);
    EXPECT_NE(flipped.err.find("bad entry 2 \"b.txt\""), std::string::npos) << flipped.err;

    // Without its end marker the package is not even opened.
    Put(dir / "cut.bin", good.substr(0, good.size() - 4));
    Result cut = RunPack(dir, "verify " + Quote(dir / "cut.bin"));
    EXPECT_EQ(cut.code, 1u);
    EXPECT_NE(cut.err.find("end marker is missing"), std::string::npos) << cut.err;
    EXPECT_EQ(RunPack(dir, "list " + Quote(dir / "cut.bin")).code, 1u);
    EXPECT_EQ(RunPack(dir, "extract " + Quote(dir / "cut.bin") + " " + Quote(dir / "o")).code, 1u);

    // Bytes behind the end marker.
    Put(dir / "tail.bin", good + "x");
    EXPECT_EQ(RunPack(dir, "verify " + Quote(dir / "tail.bin")).code, 1u);
}

TEST(UpdatePack, ExitCodesAndMessages)
{
    e2e::TempDir dir("vx pack ");
    EXPECT_EQ(RunPack(dir, "--help").code, 0u);
    for (const char* wrong :
         {"", "pack a b", "make onlyone", "verify a --fast", "list a --version 2"})
        EXPECT_EQ(RunPack(dir, wrong).code, 2u) << wrong;

    Result invalid = RunPack(dir, "make " + Quote(dir / "nowhere") + " " + Quote(dir / "p.upd"));
    EXPECT_EQ(invalid.code, 1u);
    EXPECT_EQ(invalid.err, "Invalid folder\n");

    // Only the updater at the top: nothing to pack.
    Put(dir / "only\\Update.exe", "x");
    Result none = RunPack(dir, "make " + Quote(dir / "only") + " " + Quote(dir / "p.upd"));
    EXPECT_EQ(none.code, 1u);
    EXPECT_EQ(none.err, "No files\n");
    EXPECT_FALSE(e2e::FileExists(dir / "p.bin"));

    EXPECT_EQ(RunPack(dir, "verify " + Quote(dir / "missing.bin")).code, 1u);

    // An entry whose target cannot be written is named; the rest unpack.
    Put(dir / "src\\a.txt", "A");
    Put(dir / "src\\b\\c.txt", "C");
    ASSERT_EQ(RunPack(dir, "make " + Quote(dir / "src") + " " + Quote(dir / "p.upd")).code, 0u);
    Put(dir / "out\\b", "a file where a folder should be");
    Result partly = RunPack(dir, "extract " + Quote(dir / "p.bin") + " " + Quote(dir / "out"));
    EXPECT_EQ(partly.code, 1u);
    EXPECT_NE(partly.err.find("Failed: " + dir / "out\\b\\c.txt"), std::string::npos) << partly.err;
    EXPECT_EQ(e2e::ReadFileText(dir / "out\\a.txt"), "A");
    // A destination that is a file cannot even start.
    EXPECT_EQ(
        RunPack(dir, "extract " + Quote(dir / "p.bin") + " " + Quote(dir / "out\\a.txt")).code, 1u);
}

}   // namespace
