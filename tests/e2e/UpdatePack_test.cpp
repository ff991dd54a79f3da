// UpdatePack.exe as a whole program: make, list, verify and extract on real
// folders, its exit codes and what it prints.
#include <windows.h>

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "E2eSupport.h"

namespace {

using e2e::Quote;
using e2e::RunPack;
using Result = e2e::PackResult;

void Put(const std::string& path, const std::string& bytes)
{
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
    EXPECT_EQ(e2e::ReadFileText(dir / "pub\\release.upd"),
              "2.1.0.7\r\n" + std::to_string(e2e::ReadFileText(dir / "pub\\release.bin").size()) +
                  "\r\n");

    Result listed = RunPack(dir, "list " + Quote(dir / "pub\\release.bin"));
    ASSERT_EQ(listed.code, 0u);
    EXPECT_EQ(listed.out.find("mode: compressed\n"), 0u);
    EXPECT_EQ(listed.out.find("  Update.exe\n"), std::string::npos) << listed.out;
    for (const char* line : {"         0  data\\empty\n", "      250001  data\\big.dat\n",
                             "  sub\\Update.exe\n", "5 entries"})
        EXPECT_NE(listed.out.find(line), std::string::npos) << line;

    Result verified = RunPack(dir, "verify " + Quote(dir / "pub\\release.bin"));
    EXPECT_EQ(verified.code, 0u) << verified.err;

    Result extracted =
        RunPack(dir, "extract " + Quote(dir / "pub\\release.bin") + " " + Quote(dir / "out\\new"));
    ASSERT_EQ(extracted.code, 0u) << extracted.err;
    for (int i = 0; i < 5; i++) {
        std::string path = dir / "out\\new\\" + names[i];
        EXPECT_TRUE(e2e::FileExists(path) && e2e::ReadFileText(path) == Bytes(sizes[i], 'a' + i))
            << names[i];
    }
    EXPECT_FALSE(e2e::FileExists(dir / "out\\new\\Update.exe"));

    // The default version, and no description without a file name.
    Result plain = RunPack(dir, "make " + Quote(src) + " " + Quote(dir / "plain.upd"));
    ASSERT_EQ(plain.code, 0u);
    EXPECT_EQ(e2e::ReadFileText(dir / "plain.upd").substr(0, 9), "1.0.0.0\r\n");
}

TEST(UpdatePack, BrokenInputsFailNamingTheCause)
{
    e2e::TempDir dir("vx pack ");
    EXPECT_EQ(RunPack(dir, "--help").code, 0u);
    for (const char* wrong :
         {"", "pack a b", "make onlyone", "verify a --fast", "list a --version 2"})
        EXPECT_EQ(RunPack(dir, wrong).code, 2u) << wrong;
    // Only the updater at the top: nothing to pack.
    Put(dir / "only\\Update.exe", "x");
    Result none = RunPack(dir, "make " + Quote(dir / "only") + " " + Quote(dir / "p.upd"));
    EXPECT_TRUE(none.code == 1u && none.err == "No files\n") << none.err;
    EXPECT_FALSE(e2e::FileExists(dir / "p.bin"));
    EXPECT_EQ(RunPack(dir, "verify " + Quote(dir / "missing.bin")).code, 1u);

    Put(dir / "src\\a.txt", "A");
    Put(dir / "src\\b.txt", Bytes(250000, 'b'));
    ASSERT_EQ(RunPack(dir, "make " + Quote(dir / "src") + " " + Quote(dir / "p.upd")).code, 0u);
    const std::string good = e2e::ReadFileText(dir / "p.bin");
    // Verify refuses what the installer would not notice: a flipped byte in
    // b.txt's deflate data, and its last two chunks swapped (each unpacks, but
    // only the last chunk may hold fewer than 100000 bytes).
    std::string flipped = good;
    flipped[flipped.size() - 40] ^= 0x55;
    auto next = [&good](size_t chunk) {   // packed lengths fit in three bytes
        const unsigned char* p = (const unsigned char*)good.data() + chunk + 4;
        return chunk + 8 + (p[0] | p[1] << 8 | p[2] << 16);
    };
    size_t second = next(good.find(std::string("b.txt", 6)) + 10), third = next(second),
           end = next(third);
    std::string swapped = good.substr(0, second) + good.substr(third, end - third) +
        good.substr(second, third - second) + good.substr(end);
    for (auto [bytes, error] :
         {std::pair<std::string, const char*> {
              flipped, "bad entry 2 \"b.txt\": chunk 3 of 3: the packed bytes"},
          {swapped, "chunk 2 of 3: raw length 50000 (expected 100000)"}}) {
        Put(dir / "bad.bin", bytes);
        Result refused = RunPack(dir, "verify " + Quote(dir / "bad.bin"));
        EXPECT_TRUE(refused.code == 1u && refused.err.find(error) != std::string::npos)
            << refused.err;
    }
    // Without its end marker the package is not even opened; nor are bytes
    // behind the marker taken.
    Put(dir / "cut.bin", good.substr(0, good.size() - 4));
    Put(dir / "tail.bin", good + "x");
    Result cut = RunPack(dir, "verify " + Quote(dir / "cut.bin"));
    EXPECT_NE(cut.err.find("end marker is missing"), std::string::npos) << cut.err;
    for (std::string command :
         {"list " + Quote(dir / "cut.bin"), "verify " + Quote(dir / "tail.bin"),
          "extract " + Quote(dir / "cut.bin") + " " + Quote(dir / "o")})
        EXPECT_EQ(RunPack(dir, command).code, 1u) << command;

    // An entry whose target cannot be written is named; the rest unpack.
    Put(dir / "out\\b.txt\\x", "");   // a folder where b.txt goes
    Result partly = RunPack(dir, "extract " + Quote(dir / "p.bin") + " " + Quote(dir / "out"));
    EXPECT_EQ(partly.code, 1u);
    EXPECT_NE(partly.err.find("Failed: " + dir / "out\\b.txt"), std::string::npos) << partly.err;
    EXPECT_EQ(e2e::ReadFileText(dir / "out\\a.txt"), "A");
    // A destination that is a file cannot even start.
    EXPECT_EQ(
        RunPack(dir, "extract " + Quote(dir / "p.bin") + " " + Quote(dir / "out\\a.txt")).code, 1u);
}

TEST(UpdatePack, MakeArgumentMistakesAreUsageErrorsNamingThePath)
{
    e2e::TempDir dir("vx pack ");
    Put(dir / "src\\a.txt", "A");
    Put(dir / "old.upd", "1.0\r\n1\r\n");
    const std::string src = Quote(dir / "src"), upd = Quote(dir / "p.upd");
    struct Case {
        std::string arguments, error;   // error empty: accepted
    } cases[] = {
        {Quote(dir / "old.upd") + " " + src,
         dir / "old.upd: a file, not a folder; make takes the folder first"},
        {Quote(dir / "nowhere") + " " + upd, dir / "nowhere: no such folder\n"},
        {src + " " + Quote(dir / "p"), dir / "p: the description file's name must end in .upd"},
        {src + " " + Quote(dir / "no\\p.upd"), dir / "no\\p.upd: its folder does not exist"},
        {src + " " + upd + " --updater " + Quote(dir / "src\\a.txt"),
         "--updater " + dir / "src\\a.txt: no such program"},
        {src + " " + upd + " --version v2.1", "--version v2.1: a version is 1 to 4 dot-separated"},
        {src + " " + upd + " --version 2.1-beta", "--version 2.1-beta: a version"},
        {src + " " + upd + " --version 65536", "--version 65536: a version"},
        {src + " " + upd + " --version \"\"", "--version : a version"},
        {src + " " + upd + " --version 65535.0.0.1", ""},
        {src + " " + upd + " --version v2.1-beta --any-version", ""},
    };
    for (const Case& c : cases) {
        Result made = RunPack(dir, "make " + c.arguments);
        EXPECT_EQ(made.code, c.error.empty() ? 0u : 2u) << c.arguments << made.err;
        EXPECT_NE(made.err.find(c.error), std::string::npos) << made.err;
    }
    EXPECT_EQ(e2e::ReadFileText(dir / "p.upd").substr(0, 11), "v2.1-beta\r\n");
}

TEST(UpdatePack, MakeFailsNamingEveryFileItCannotPack)
{
    e2e::TempDir dir("vx pack ");
    Put(dir / "src\\ok.txt", "fine");
    Put(dir / "src\\locked.txt", "held");
    // Names code page 1252 cannot hold: a file, and a folder with a file in it.
    wchar_t src[MAX_PATH];
    MultiByteToWideChar(CP_ACP, 0, (dir / "src\\").c_str(), -1, src, MAX_PATH);
    ASSERT_TRUE(CreateDirectoryW((std::wstring(src) + L"\x017c\x00f3\x0142w").c_str(), nullptr));
    for (const wchar_t* name : {L"\x0142\x00f3"
                                L"d\x017a.txt",
                                L"\x017c\x00f3\x0142w\\in.txt"})
        CloseHandle(CreateFileW((std::wstring(src) + name).c_str(), GENERIC_WRITE, 0, nullptr,
                                CREATE_NEW, 0, nullptr));
    // 2.5 GB, sparse: nothing is written but the size.
    Put(dir / "src\\big.dat", "");
    std::filesystem::resize_file(dir / "src\\big.dat", 2560ull << 20);
    // Held open without sharing, so that it cannot be read.
    HANDLE held = CreateFileA((dir / "src\\locked.txt").c_str(), GENERIC_READ, 0, nullptr,
                              OPEN_EXISTING, 0, nullptr);
    Result made = RunPack(dir, "make " + Quote(dir / "src") + " " + Quote(dir / "p.upd"));
    CloseHandle(held);
    EXPECT_EQ(made.code, 1u);
    for (std::string name : {dir / "src\\locked.txt", dir / "src\\big.dat",
                             dir /
                                 "src\\\xc5\x82\xc3\xb3"
                                 "d\xc5\xba.txt",
                             dir / "src\\\xc5\xbc\xc3\xb3\xc5\x82w\\in.txt"})
        EXPECT_NE(made.err.find("Cannot pack " + name + ":"), std::string::npos) << name;
    EXPECT_NE(made.err.find("4 files cannot be packed; nothing written"), std::string::npos)
        << made.err;
    EXPECT_FALSE(e2e::FileExists(dir / "p.bin"));
    EXPECT_FALSE(e2e::FileExists(dir / "p.upd"));
}

// Two releases whose files differ in the ways a delta must tell apart: bytes
// past the first chunk, one byte more, a first byte, an empty file that
// fills, a name in other letter case; plus one file added and one removed.
TEST(UpdatePack, MakeSinceHoldsExactlyTheChangedFiles)
{
    e2e::TempDir dir("vx delta ");
    const std::string big = Bytes(250001, 'q');
    std::string tail = big, head = big;
    tail.back() ^= 1;
    head[0] ^= 1;
    struct File {
        const char *v1, *v2;   // name in each release (null: absent)
        std::string bytes1, bytes2;
        bool inDelta;
    } files[] = {
        {"same.dat", "same.dat", big, big, false},
        {"tail.dat", "tail.dat", big, tail, true},
        {"grown.dat", "grown.dat", big, big + "x", true},
        {"head.dat", "head.dat", big, head, true},
        {"empty", "empty", "", "", false},
        {"filled", "filled", "", "now", true},
        {"data\\readme.txt", "DATA\\ReadMe.TXT", "text", "text", false},
        {nullptr, "sub\\added.txt", "", "new", true},
        {"sub\\removed.txt", nullptr, "old", "", false},
    };
    for (const File& f : files) {
        if (f.v1)
            Put(dir / "v1\\" + f.v1, f.bytes1);
        if (f.v2)
            Put(dir / "v2\\" + f.v2, f.bytes2);
    }
    RunPack(dir, "make " + Quote(dir / "v1") + " " + Quote(dir / "r1.upd") + " --version 1.2");
    RunPack(dir, "keygen " + Quote(dir / "key.pem"));
    Result made = RunPack(dir,
                          "make " + Quote(dir / "v2") + " " + Quote(dir / "r2.upd") +
                              " --version 2 --since " + Quote(dir / "r1.upd") + " --sign " +
                              Quote(dir / "key.pem"));
    ASSERT_EQ(made.code, 0u) << made.err;
    const std::string delta = e2e::ReadFileText(dir / "r2-from-1.2.bin");
    EXPECT_EQ(e2e::ReadFileText(dir / "r2.upd"),
              "2\r\n" + std::to_string(e2e::ReadFileText(dir / "r2.bin").size()) + "\r\nfrom 1.2 " +
                  std::to_string(delta.size()) + " r2-from-1.2.bin\r\n");
    EXPECT_NE(made.out.find("  removed  sub\\removed.txt\n"), std::string::npos) << made.out;
    Result listed = RunPack(dir, "list " + Quote(dir / "r2-from-1.2.bin"));
    // Signed for its base: only an application of version 1.2 takes it.
    EXPECT_NE(listed.out.find(", delta from 1.2.0.0 to version 2.0.0.0\n"), std::string::npos);
    for (const File& f : files) {
        bool listedHere =
            f.v2 && listed.out.find(std::string("  ") + f.v2 + "\n") != std::string::npos;
        EXPECT_EQ(listedHere, f.inDelta) << (f.v2 ? f.v2 : f.v1);
    }
}

TEST(UpdatePack, MakeSinceRefusesAReleaseItCannotTrust)
{
    e2e::TempDir dir("vx delta ");
    Put(dir / "v\\one.dat", Bytes(5000, 'o'));
    auto make = [&](const char* desc, const std::string& rest) {
        return RunPack(dir, "make " + Quote(dir / "v") + " " + Quote(dir / desc) + " " + rest);
    };
    ASSERT_EQ(make("r1.upd", "--version 1").code, 0u);
    ASSERT_EQ(make("other1.upd", "--version 1.0.0.0").code, 0u);
    const std::string since = "--since " + Quote(dir / "r1.upd");
    // The last bytes before the end marker are the stream's checksum: the
    // bytes still inflate the same, yet the old file is not the one named.
    std::string broken = e2e::ReadFileText(dir / "r1.bin");
    broken[broken.size() - 5] ^= 1;
    Put(dir / "r1.bin", broken);
    ASSERT_EQ(make("r2.upd", "--version 2 " + since).code, 0u);
    EXPECT_NE(RunPack(dir, "list " + Quote(dir / "r2-from-1.bin")).out.find("one.dat"),
              std::string::npos);
    // Signed afterwards, each package's size changes in the description,
    // which keeps every line.
    RunPack(dir, "keygen " + Quote(dir / "key.pem"));
    for (const char* signs : {"r2.bin\" --version 2", "r2-from-1.bin\" --version 2 --base 1"})
        EXPECT_EQ(RunPack(dir, "sign \"" + dir / signs + " " + Quote(dir / "key.pem")).code, 0u);
    EXPECT_EQ(e2e::ReadFileText(dir / "r2.upd"),
              "2\r\n" + std::to_string(e2e::ReadFileText(dir / "r2.bin").size()) + "\r\nfrom 1 " +
                  std::to_string(e2e::ReadFileText(dir / "r2-from-1.bin").size()) +
                  " r2-from-1.bin\r\n");

    Put(dir / "stale.upd", "1\r\n99\r\n");
    Put(dir / "stale.bin", "");
    struct Case {
        const char* desc;
        std::string rest, error;
    } cases[] = {
        {"r3.upd", "--version 1 " + since, "is not older than the new version"},
        {"r3.upd", "--version 2 --since " + Quote(dir / "stale.upd"), "is not the one"},
        {"r3.upd", "--version 2 " + since + " --since " + Quote(dir / "other1.upd"),
         "are both version"},
        {"r1.upd", "--version 2 " + since, "would be replaced"},
        {"r3.upd", "--version beta --any-version " + since, "is none"},
    };
    for (const Case& c : cases) {
        Result refused = make(c.desc, c.rest);
        EXPECT_EQ(refused.code, 1u) << c.rest;
        EXPECT_NE(refused.err.find(c.error), std::string::npos) << refused.err;
    }
    EXPECT_FALSE(e2e::FileExists(dir / "r3.upd") || e2e::FileExists(dir / "r3.bin"));
    EXPECT_EQ(RunPack(dir, "list " + Quote(dir / "r1.bin") + " " + since).code, 2u);
}

}   // namespace
