// Signed packages: UpdatePack's keys, signatures and stamps against an
// independent signer (tests/e2e/sign_peer.py), and what a stamped Update.exe
// refuses and takes, from nginx and from a local path, swaps included.
#include <aclapi.h>
#include <gtest/gtest.h>

#include "E2eSupport.h"

#include "../servers/TestServers.h"

using namespace e2e;

namespace {

const auto* const g_serving = ServeProgram("sign");

class UpdateSign : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Version 2 of the application, packed signed by our key and unsigned.
        ASSERT_TRUE(WriteFileText(m_root / "src\\data\\readme.txt", "version two"));
        ASSERT_TRUE(CopyFileA((BinDir() + "SampleApp2.exe").c_str(),
                              (m_root / "src\\SampleApp.exe").c_str(), FALSE));
        DeleteFileA(Www("own.pem").c_str());
        DeleteFileA(Www("own.pub").c_str());
        ASSERT_EQ(Pack("keygen " + QWww("own.pem") + " " + QWww("own.pub")).code, 0u);
        Done("make " + Quote(m_root / "src") + " " + QWww("signed.upd") + " --sign " +
             QWww("own.pem"));
        Done("make " + Quote(m_root / "src") + " " + QWww("plain.upd"));
        ASSERT_EQ(Peer("keygen " + Unix("py.pem") + " " + Unix("py8.pem")), 0);
        Done("stamp " + Quote(BinDir() + "Update.exe") + " " + QWww("own.pub") + " -o " +
             Quote(m_root / "Stamped.exe"));
    }

    // UpdatePack with the arguments, which must succeed.
    void Done(const std::string& arguments) { EXPECT_EQ(Pack(arguments).code, 0u) << arguments; }

    PackResult Pack(const std::string& arguments) { return RunPack(m_root, arguments); }
    static std::string Www(const char* name) { return g_servers.Www() + name; }
    static std::string QWww(const char* name) { return Quote(Www(name)); }
    static std::string Unix(const char* name)
    {
        std::string path = Www(name).substr(2);
        std::replace(path.begin(), path.end(), '\\', '/');
        return path;
    }

    // Runs sign_peer.py; its exit code comes back through a file. -1 when it
    // does not end within 30 s.
    int Peer(const std::string& arguments)
    {
        static int round = 0;
        std::string done = "done" + std::to_string(++round);
        TestServers::RunUnix("python3 " + std::string(VX_SOURCE_DIR).substr(2) +
                             "/tests/e2e/sign_peer.py " + arguments + "; echo $? >" +
                             Unix(done.c_str()));
        for (int i = 0; i < 300; i++, Sleep(100)) {
            std::string code = ReadFileText(Www(done.c_str()));
            if (!code.empty() && code.back() == '\n')
                return atoi(code.c_str());
        }
        return -1;
    }

    TempDir m_root {"vx sign "};
};

TEST_F(UpdateSign, SignaturesAgreeWithAnIndependentSignerAndGuardTheInstall)
{
    ASSERT_TRUE(CopyFileA(Www("plain.bin").c_str(), Www("unsigned.bin").c_str(), FALSE));
    const std::string signedPackage = ReadFileText(Www("signed.bin"));
    EXPECT_EQ(ReadFileText(Www("signed.upd")),
              "1.0.0.0\r\n" + std::to_string(signedPackage.size()) + "\r\n");
    EXPECT_EQ(signedPackage.size(), ReadFileText(Www("plain.bin")).size() + 100);
    // Our signature and our key in the other implementation.
    EXPECT_EQ(Peer("verify " + Unix("signed.bin") + " " + Unix("own.pem")), 0);
    EXPECT_EQ(Peer("verify " + Unix("signed.bin") + " " + Unix("py.pem")), 1);
    // Its keys (SEC1 and PKCS#8) and signatures here.
    ASSERT_TRUE(CopyFileA(Www("plain.bin").c_str(), Www("peer.bin").c_str(), FALSE));
    ASSERT_EQ(Peer("sign " + Unix("peer.bin") + " " + Unix("py8.pem") + " 281474976710656"), 0);
    for (const char* key : {"py.pem", "py8.pem"})
        EXPECT_EQ(Pack("verify " + QWww("peer.bin") + " --key " + QWww(key)).code, 0u) << key;
    ASSERT_EQ(Pack("sign " + QWww("plain.bin") + " " + QWww("py.pem")).code, 0u);
    // The same key identifier; only the signature (randomised) differs.
    EXPECT_EQ(ReadFileText(Www("plain.bin")).substr(0, signedPackage.size() - 68),
              ReadFileText(Www("peer.bin")).substr(0, signedPackage.size() - 68));
    EXPECT_EQ(Peer("verify " + Unix("plain.bin") + " " + Unix("py8.pem")), 0);
    EXPECT_EQ(ReadFileText(Www("plain.upd")), ReadFileText(Www("signed.upd")));

    // A stamp that is there but holds no key.
    ASSERT_TRUE(CopyFileA((BinDir() + "Update.exe").c_str(), (m_root / "Bad.exe").c_str(), FALSE));
    HANDLE update = BeginUpdateResourceA((m_root / "Bad.exe").c_str(), FALSE);
    ASSERT_TRUE(update && UpdateResourceA(update, "BINARY", MAKEINTRESOURCEA(152), 0, &update, 8) &&
                EndUpdateResourceA(update, FALSE));

    const std::string good = ReadFileText(Www("signed.bin"));
    // Signed for other versions (562949953421312 is 2.0.0.0 packed) and bases:
    // by the other signer (its command, and what follows the key) or by sign.
    const char* const signs[][3] = {
        {"own-peer.bin", "sign", " 562949953421312"},
        {"high-s.bin", "sign", " 562949953421312 --high-s"},
        {"old-trailer.bin", "sign-old", ""},
        {"older.bin", nullptr, " --version 0.9"},
        {"delta-other.bin", nullptr, " --version 2 --base 1.5"},
        {"delta.bin", nullptr, " --version 2 --base 1.0"},
    };
    for (const auto& sign : signs) {
        ASSERT_TRUE(CopyFileA(Www("unsigned.bin").c_str(), Www(sign[0]).c_str(), FALSE));
        if (!sign[1])
            Done("sign " + QWww(sign[0]) + " " + QWww("own.pem") + sign[2]);
        else
            EXPECT_EQ(Peer(sign[1] + (" " + Unix(sign[0])) + " " + Unix("own.pem") + sign[2]), 0);
    }
    // Variants of the signed package: each must be refused by verify --key
    // and by the stamped Update.exe, without a crash or a hang.
    auto flip = [&](size_t at) {
        return good.substr(0, at) + (char)(good[at] ^ 0x20) + good.substr(at + 1);
    };
    auto length = [&](uint32_t n) {
        return good.substr(0, good.size() - 4) + std::string((const char*)&n, 4);
    };
    const std::pair<const char*, std::string> variants[] = {
        {"ignored header byte", flip(5)},
        {"entry byte", flip(good.size() / 2)},
        {"signature byte", flip(good.size() - 40)},
        {"key id byte", flip(good.size() - 90)},
        {"magic byte", flip(good.size() - 100)},
        {"version byte", flip(good.size() - 87)},
        {"flags byte", flip(good.size() - 80)},
        {"base byte of a full package", flip(good.size() - 70)},
        {"trailer cut", good.substr(0, good.size() - 10)},
        {"huge length", length(0xFFFFFFFF)},
        {"length past the start", length((uint32_t)good.size() + 8)},
        {"trailer longer than the file", good.substr(good.size() - 50)},
    };
    // Refused, and accepted (an application without a version resource has
    // no rollback check, but takes no delta).
    struct Case {
        std::string file;
        bool accept = false, local = false;
        int stamp = 1;   // Update.exe, Stamped.exe, Bad.exe
        int app = 0;     // 1: no version resource; 2: kept from being read (so no version known)
        bool holds = false;   // the signature itself holds
        std::string dir = "";
    };
    std::vector<Case> runs = {
        {"unsigned.bin"},
        {"peer.bin"},   // signed by another key
        {"high-s.bin", false, true},
        {"old-trailer.bin"},
        {"older.bin", false, true, true, false, true},
        {"delta-other.bin", false, false, true, false, true},
        {"delta.bin", false, false, true, true, true},
        {"own-peer.bin", true},           // newer, by the other signer
        {"signed.bin", true, true},       // the same version
        {"signed.bin", true, false, 0},   // an Update.exe without a key
        {"signed.bin", false, false, 2, false, true},
        {"unsigned.bin", false, true, 2},
        {"delta.bin", true, true},
        {"older.bin", true, false, true, true},
        {"signed.bin", false, true, 1, 2, true},
    };
    for (const auto& variant : variants) {
        runs.push_back({std::string("bad ") + variant.first + ".bin"});
        ASSERT_TRUE(WriteFileText(Www(runs.back().file.c_str()), variant.second));
    }
    Process updaters[27];
    HANDLE held = INVALID_HANDLE_VALUE;
    for (size_t i = 0; i < runs.size(); i++) {
        Case& run = runs[i];
        const std::string package = Www(run.file.c_str());
        SCOPED_TRACE(run.file);
        PackResult verified = Pack("verify " + Quote(package) + " --key " + QWww("own.pub"));
        EXPECT_TRUE(run.accept || verified.code == (run.holds ? 0u : 1u))
            << verified.out << verified.err;
        run.dir = m_root / ("app" + std::to_string(i) + "\\").c_str();
        const std::string exes[] = {BinDir() + "Update.exe", m_root / "Stamped.exe",
                                    m_root / "Bad.exe"};
        ASSERT_TRUE(PrepareApp(run.dir, exes[run.stamp]));
        ASSERT_TRUE(run.app != 1 ||
                    CopyFileA((BinDir() + "vx_sleeper.exe").c_str(),
                              (run.dir + "SampleApp.exe").c_str(), FALSE));
        if (run.app == 2)
            held = CreateFileA((run.dir + "SampleApp.exe").c_str(), GENERIC_READ, 0, nullptr,
                               OPEN_EXISTING, 0, nullptr);
        ASSERT_TRUE(StartUpdate(&updaters[i], run.dir, std::to_string(ReadFileText(package).size()),
                                run.local ? package : g_servers.Nginx(run.file)));
    }
    for (size_t i = 0; i < runs.size(); i++) {
        Case& run = runs[i];
        SCOPED_TRACE(run.file + " in app" + std::to_string(i));
        if (run.accept) {
            EXPECT_TRUE(updaters[i].Wait(60000)) << "Update.exe did not finish";
            EXPECT_EQ(ReadFileText(run.dir + "data\\readme.txt"), "version two");
            EXPECT_TRUE(WaitForFileText(run.dir + "SampleApp.log", "started 2.0.0.0", 20000));
        } else {
            HWND dialog = WaitForProcessWindow(updaters[i].Id(), "Update", 30000);
            ASSERT_NE(dialog, nullptr);
            EXPECT_TRUE(WaitForChildText(dialog, "Failed.", 30000));
            PostMessageA(dialog, WM_CLOSE, 0, 0);
            EXPECT_TRUE(updaters[i].Wait(20000));
            EXPECT_FALSE(FileExists(run.dir + "data\\readme.txt"));
            EXPECT_FALSE(FileExists(run.dir + "SampleApp.log")) << "something was started";
        }
        EXPECT_EQ(CountFiles(run.dir + "temp\\"), 0) << "the temporary file was left behind";
    }
    CloseHandle(held);
}

// A second process (this test) waits until a stamped Update.exe unpacks, then
// keeps trying to overwrite its temporary file with an unsigned package.
TEST_F(UpdateSign, NobodyCanSwapThePackageBetweenItsCheckAndItsUnpacking)
{
    // A large entry keeps the unpacking busy; the forged one differs in every chunk.
    std::string big(48 << 20, '\0'), forged(big.size(), '\0');
    uint32_t state = 1;
    for (size_t i = 0; i < big.size(); i++) {
        state = state * 1664525u + 1013904223u;
        big[i] = (char)(state >> 24);
        forged[i] = (char)(state >> 16);
    }
    ASSERT_TRUE(WriteFileText(m_root / "src\\big.bin", big));
    Done("make " + Quote(m_root / "src") + " " + QWww("big.upd") + " --version 2 --sign " +
         QWww("own.pem"));
    ASSERT_TRUE(WriteFileText(m_root / "src\\big.bin", forged));
    Done("make " + Quote(m_root / "src") + " " + QWww("forged.upd"));
    const std::string forgedPackage = ReadFileText(Www("forged.bin"));
    const std::string size = std::to_string(ReadFileText(Www("big.bin")).size());

    for (bool local : {true, false}) {
        SCOPED_TRACE(local ? "local" : "nginx");
        const std::string dir = m_root / (local ? "local\\" : "http\\");
        Process updater;
        ASSERT_TRUE(PrepareApp(dir, m_root / "Stamped.exe"));
        ASSERT_TRUE(
            StartUpdate(&updater, dir, size, local ? Www("big.bin") : g_servers.Nginx("big.bin")));
        // A write can land in the moment between the unpacking's end and the
        // deletion; only what is installed tells.
        int denied = 0;
        WIN32_FIND_DATAA found;
        for (DWORD start = GetTickCount(); updater.IsRunning() && GetTickCount() - start < 90000;
             Sleep(1)) {
            HANDLE find = FindFirstFileA((dir + "temp\\tmp*").c_str(), &found), file;
            if (find == INVALID_HANDLE_VALUE || !FindClose(find) || !FileExists(dir + "big.bin"))
                continue;
            file = CreateFileA((dir + "temp\\" + found.cFileName).c_str(), GENERIC_WRITE,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                               OPEN_EXISTING, 0, nullptr);
            DWORD count = 0;
            denied += file == INVALID_HANDLE_VALUE;
            if (file != INVALID_HANDLE_VALUE)
                WriteFile(file, forgedPackage.data(), (DWORD)forgedPackage.size(), &count, nullptr);
            CloseHandle(file);
        }
        EXPECT_TRUE(updater.Wait(30000));
        EXPECT_GT(denied, 0) << "the attack never ran during the unpacking";
        EXPECT_TRUE(ReadFileText(dir + "big.bin") == big)
            << "what was installed is not what was signed";
        EXPECT_EQ(CountFiles(dir + "temp\\"), 0);
    }
}

// A close while the signature of a 1 GB package is checked ends the program
// at once: the hash stops between its blocks.
TEST_F(UpdateSign, ClosingDuringTheCheckEndsAtOnce)
{
    const std::string package = m_root / "huge.bin", dir = m_root / "app\\";
    WriteHolePackage(package, "huge.dat", 1u << 30);
    Done("sign " + Quote(package) + " " + QWww("own.pem") + " --version 2");
    const uint64_t size = std::filesystem::file_size(package);
    Process updater;
    ASSERT_TRUE(PrepareApp(dir, m_root / "Stamped.exe") &&
                StartUpdate(&updater, dir, std::to_string(size), package));
    HWND dialog = WaitForProcessWindow(updater.Id(), "Update", 20000);
    ASSERT_NE(dialog, nullptr);
    // The check follows the copy at once: after the copy closes the temporary
    // file (no reader is admitted while it is written), before any unpacking.
    auto copied = [&] {
        WIN32_FIND_DATAA found;
        HANDLE find = FindFirstFileA((dir + "temp\\tmp*").c_str(), &found);
        HANDLE file = find == INVALID_HANDLE_VALUE || !FindClose(find)
            ? INVALID_HANDLE_VALUE
            : CreateFileA((dir + "temp\\" + found.cFileName).c_str(), GENERIC_READ, FILE_SHARE_READ,
                          nullptr, OPEN_EXISTING, 0, nullptr);
        return file != INVALID_HANDLE_VALUE && CloseHandle(file);
    };
    ASSERT_TRUE(WaitUntil(copied, 60000));
    ASSERT_FALSE(FileExists(dir + "huge.dat"));
    PostMessageA(dialog, WM_CLOSE, 0, 0);
    ASSERT_TRUE(updater.Wait(2000)) << "Update.exe still runs after the close";
    EXPECT_EQ(CountFiles(dir + "temp\\"), 0);
    EXPECT_FALSE(FileExists(dir + "huge.dat"));
}

// Keys are checked when loaded and named in the refusal; a release key is
// never overwritten; a stamp is not replaced by accident.
TEST_F(UpdateSign, KeysAreCheckedOnLoadAndNeverLost)
{
    ASSERT_EQ(Peer("keys " + Unix("")), 0);
    const std::string key = ReadFileText(Www("own.pem"));
    const std::string stamped = Quote(m_root / "Stamped.exe");
    const std::string pkg = " " + QWww("signed.bin") + " --key ";
    const struct {
        std::string arguments;
        const char* says;   // in stderr when refused, in stdout otherwise
        DWORD code;
    } rows[] = {
        {"stamp " + stamped + " " + QWww("offcurve.pub"), "not on the curve P-256", 1},
        {"verify" + pkg + QWww("offcurve.pub"), "not on the curve P-256", 1},
        {"verify" + pkg + QWww("p384.pem"), "not a P-256 key", 1},
        {"verify" + pkg + QWww("p384.pub"), "not a P-256 key", 1},
        {"verify" + pkg + QWww("enc8.pem"), "encrypted", 1},
        {"verify" + pkg + QWww("encold.pem"), "encrypted", 1},
        {"verify" + pkg + QWww("huge.pem"), "larger than 64 KB", 1},
        {"keygen " + QWww("new.pem") + " " + QWww("own.pem"), "exists", 1},
        {"keygen " + QWww("own.pem") + " " + QWww("new.pub"), "exists", 1},
        {"keygen " + QWww("same.pem") + " " + Quote(g_servers.Www() + "x\\..\\SAME.PEM"),
         "same file", 1},
        {"keygen " + QWww("fresh.pem"), "readable by its owner only", 0},
        {"make " + Quote(m_root / "src") + " v.upd --version 1.x --any-version --sign " +
             QWww("own.pem"),
         "\"1.x\" is not a version", 1},
        {"verify" + pkg + QWww("mismatch.pem"), "do not belong together", 1},
        {"verify" + pkg + QWww("py.pem"), "; not by the given key", 1},
        // A signed package is signed again only when asked, and only with a private key.
        {"sign " + QWww("plain.bin") + " " + QWww("own.pem"), "signed by key", 0},
        {"sign " + QWww("plain.bin") + " " + QWww("own.pem"), "--resign", 1},
        {"sign " + QWww("plain.bin") + " " + QWww("own.pem") + " --resign", "", 0},
        {"sign " + QWww("plain.bin") + " " + QWww("own.pub") + " --resign", "only a public key", 1},
        {"stamp " + stamped + " " + QWww("py.pem"), "--restamp", 1},
        {"stamp " + stamped + " " + QWww("py.pem") + " --restamp", "holds key", 0},
        {"stamp " + stamped + " " + QWww("py.pem"), "holds key", 0},
    };
    for (const auto& row : rows) {
        PackResult result = Pack(row.arguments);
        const std::string what = row.arguments + "\n" + result.out + result.err;
        EXPECT_EQ(result.code, row.code) << what;
        EXPECT_NE((row.code ? result.err : result.out).find(row.says), std::string::npos) << what;
    }
    PackResult big = Pack("verify" + pkg + QWww("huge.pem") + " --stats");
    size_t peak = big.err.find("peak working set: ");
    ASSERT_NE(peak, std::string::npos) << big.err;
    EXPECT_LT(atoi(big.err.c_str() + peak + 18), 65536) << "KB: the key file was read";
    EXPECT_EQ(ReadFileText(Www("own.pem")), key);
    for (const char* name : {"new.pem", "new.pub", "same.pem"})
        EXPECT_FALSE(FileExists(Www(name))) << name;
    // The key identifier is 16 lower-case hex digits; PEM bodies wrap at 64.
    PackResult made = Pack("keygen " + QWww("wrap.pem") + " " + QWww("wrap.pub"));
    size_t id = made.out.find("\nkey ") + 5;
    EXPECT_EQ(made.out.find_first_not_of("0123456789abcdef", id), id + 16) << made.out;
    for (const char* name : {"wrap.pem", "wrap.pub"}) {
        std::string pem = ReadFileText(Www(name));
        size_t body = pem.find('\n') + 1;
        EXPECT_EQ(pem.find_first_of("\r\n", body) - body, 64u) << pem;
    }
    // The private key's access list grants other users nothing.
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ASSERT_EQ(GetNamedSecurityInfoA(Www("fresh.pem").c_str(), SE_FILE_OBJECT,
                                    DACL_SECURITY_INFORMATION, nullptr, nullptr, &list, nullptr,
                                    &descriptor),
              (DWORD)ERROR_SUCCESS);
    for (int i = 0; list && i < list->AceCount; i++) {
        ACCESS_ALLOWED_ACE* ace = nullptr;
        GetAce(list, i, (void**)&ace);
        for (auto others : {WinWorldSid, WinBuiltinUsersSid, WinAuthenticatedUserSid})
            EXPECT_FALSE(IsWellKnownSid(&ace->SidStart, others)) << "entry " << i;
    }
    LocalFree(descriptor);
}

}   // namespace
