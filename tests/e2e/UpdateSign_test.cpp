// Signed packages as whole programs: UpdatePack's keys, signatures and stamps
// against an independent signer (Python's cryptography, tests/e2e/sign_peer.py),
// and a stamped Update.exe installing from nginx and from a local path.
#include <gtest/gtest.h>

#include "E2eSupport.h"

#include "../servers/TestServers.h"

using namespace e2e;

namespace {

class UpdateSign : public ::testing::Test {
protected:
    static void SetUpTestSuite() { s_serving = s_servers.Start(VX_SOURCE_DIR, "sign"); }
    static void TearDownTestSuite() { s_servers.Stop(); }

    void SetUp() override
    {
        ASSERT_TRUE(s_serving) << "the test servers did not start";
        // Version 2 of the application, packed signed by our key and unsigned.
        ASSERT_TRUE(WriteFileText(m_root / "src\\data\\readme.txt", "version two"));
        ASSERT_TRUE(CopyFileA((BinDir() + "SampleApp2.exe").c_str(),
                              (m_root / "src\\SampleApp.exe").c_str(), FALSE));
        ASSERT_EQ(Pack("keygen " + Quote(Www("own.pem")) + " " + Quote(Www("own.pub"))).code, 0u);
        ASSERT_EQ(Pack("make " + Quote(m_root / "src") + " " + Quote(Www("signed.upd")) +
                       " --sign " + Quote(Www("own.pem")))
                      .code,
                  0u);
        ASSERT_EQ(Pack("make " + Quote(m_root / "src") + " " + Quote(Www("plain.upd"))).code, 0u);
        ASSERT_EQ(Peer("keygen " + Unix("py.pem") + " " + Unix("py8.pem")), 0);
    }

    PackResult Pack(const std::string& arguments)
    {
        return RunTool(m_root, "UpdatePack.exe", arguments);
    }
    static std::string Www(const char* name) { return s_servers.Www() + name; }
    static std::string Unix(const char* name)
    {
        std::string path = Www(name).substr(2);
        for (char& c : path)
            c = c == '\\' ? '/' : c;
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

    static inline TestServers s_servers;
    static inline bool s_serving = false;
    TempDir m_root {"vx sign "};
};

TEST_F(UpdateSign, SignaturesAgreeWithAnIndependentSignerAndGuardTheInstall)
{
    ASSERT_TRUE(CopyFileA(Www("plain.bin").c_str(), Www("unsigned.bin").c_str(), FALSE));
    const std::string signedPackage = ReadFileText(Www("signed.bin"));
    EXPECT_EQ(ReadFileText(Www("signed.upd")),
              "1.0.0.0\r\n" + std::to_string(signedPackage.size()) + "\r\n");
    EXPECT_EQ(signedPackage.size(), ReadFileText(Www("plain.bin")).size() + 80);
    // Our signature and our key in the other implementation.
    EXPECT_EQ(Peer("verify " + Unix("signed.bin") + " " + Unix("own.pem")), 0);
    EXPECT_EQ(Peer("verify " + Unix("signed.bin") + " " + Unix("py.pem")), 1);
    // Its keys (SEC1 and PKCS#8) and signatures here.
    ASSERT_TRUE(CopyFileA(Www("plain.bin").c_str(), Www("peer.bin").c_str(), FALSE));
    ASSERT_EQ(Peer("sign " + Unix("peer.bin") + " " + Unix("py8.pem")), 0);
    for (const char* key : {"py.pem", "py8.pem"})
        EXPECT_EQ(Pack("verify " + Quote(Www("peer.bin")) + " --key " + Quote(Www(key))).code, 0u)
            << key;
    ASSERT_EQ(Pack("sign " + Quote(Www("plain.bin")) + " " + Quote(Www("py.pem"))).code, 0u);
    // The same key identifier; only the signature (randomised) differs.
    EXPECT_EQ(ReadFileText(Www("plain.bin")).substr(0, signedPackage.size() - 68),
              ReadFileText(Www("peer.bin")).substr(0, signedPackage.size() - 68));
    EXPECT_EQ(Peer("verify " + Unix("plain.bin") + " " + Unix("py8.pem")), 0);
    EXPECT_EQ(ReadFileText(Www("plain.upd")), ReadFileText(Www("signed.upd")));

    // A signed package is signed again only when asked; a key is never overwritten.
    PackResult again = Pack("sign " + Quote(Www("plain.bin")) + " " + Quote(Www("own.pem")));
    EXPECT_EQ(again.code, 1u);
    EXPECT_EQ(
        Pack("sign " + Quote(Www("plain.bin")) + " " + Quote(Www("own.pem")) + " --resign").code,
        0u);
    EXPECT_EQ(Pack("verify " + Quote(Www("plain.bin")) + " --key " + Quote(Www("own.pub"))).code,
              0u);
    const std::string key = ReadFileText(Www("own.pem"));
    EXPECT_EQ(Pack("keygen " + Quote(Www("own.pem"))).code, 1u);
    EXPECT_EQ(ReadFileText(Www("own.pem")), key);
    // Signing needs the private key.
    EXPECT_EQ(
        Pack("sign " + Quote(Www("plain.bin")) + " " + Quote(Www("own.pub")) + " --resign").code,
        1u);

    // The stamped Update.exe.
    ASSERT_EQ(Pack("stamp " + Quote(BinDir() + "Update.exe") + " " + Quote(Www("own.pub")) +
                   " -o " + Quote(m_root / "Stamped.exe"))
                  .code,
              0u);
    const std::string good = ReadFileText(Www("signed.bin"));
    ASSERT_TRUE(CopyFileA(Www("unsigned.bin").c_str(), Www("own-peer.bin").c_str(), FALSE));
    ASSERT_EQ(Peer("sign " + Unix("own-peer.bin") + " " + Unix("own.pem")), 0);
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
        {"key id byte", flip(good.size() - 70)},
        {"magic byte", flip(good.size() - 80)},
        {"trailer cut", good.substr(0, good.size() - 10)},
        {"huge length", length(0xFFFFFFFF)},
        {"length past the start", length((uint32_t)good.size() + 8)},
        {"trailer longer than the file", good.substr(good.size() - 50)},
    };
    struct Run {
        std::string file, dir;
        bool local = false, stamped = true, accept = false;
        Process updater;
    } runs[14];
    int count = 0;
    for (const auto& variant : variants) {
        runs[count].file = std::string("bad ") + variant.first + ".bin";
        ASSERT_TRUE(WriteFileText(Www(runs[count++].file.c_str()), variant.second));
    }
    runs[count++].file = "unsigned.bin";
    runs[count++].file = "peer.bin";   // signed by another key
    // Accepted: signed by the key, from nginx (by the other signer) and from
    // a local path; and an Update.exe without a key takes a signed package.
    for (int kind = 0; kind < 3; kind++) {
        runs[count].file = kind ? "signed.bin" : "own-peer.bin";
        runs[count].local = kind == 1;
        runs[count].stamped = kind != 2;
        runs[count++].accept = true;
    }
    for (int i = 0; i < count; i++) {
        Run& run = runs[i];
        const std::string package = Www(run.file.c_str());
        SCOPED_TRACE(run.file);
        if (!run.accept) {
            PackResult verified =
                Pack("verify " + Quote(package) + " --key " + Quote(Www("own.pub")));
            EXPECT_EQ(verified.code, 1u) << verified.out << verified.err;
        }
        run.dir = m_root / ("app" + std::to_string(i) + "\\").c_str();
        ASSERT_TRUE(
            PrepareApp(run.dir, run.stamped ? m_root / "Stamped.exe" : BinDir() + "Update.exe"));
        ASSERT_TRUE(StartUpdate(&run.updater, run.dir, std::to_string(ReadFileText(package).size()),
                                run.local ? package : s_servers.Nginx(run.file)));
    }
    for (int i = 0; i < count; i++) {
        Run& run = runs[i];
        SCOPED_TRACE(run.file + (run.local ? " local" : run.stamped ? "" : " unstamped"));
        if (run.accept) {
            EXPECT_TRUE(run.updater.Wait(60000)) << "Update.exe did not finish";
            EXPECT_EQ(ReadFileText(run.dir + "data\\readme.txt"), "version two");
            EXPECT_TRUE(WaitForFileText(run.dir + "SampleApp.log", "started 2.0.0.0", 20000));
        } else {
            HWND dialog = WaitForProcessWindow(run.updater.Id(), "Update", 30000);
            ASSERT_NE(dialog, nullptr);
            EXPECT_TRUE(WaitForChildText(dialog, "Failed.", 30000))
                << "label never read \"Failed.\"";
            PostMessageA(dialog, WM_CLOSE, 0, 0);
            EXPECT_TRUE(run.updater.Wait(20000));
            EXPECT_FALSE(FileExists(run.dir + "data\\readme.txt"));
            EXPECT_FALSE(FileExists(run.dir + "SampleApp.log")) << "something was started";
        }
        EXPECT_EQ(CountFiles(run.dir + "temp\\"), 0) << "the temporary file was left behind";
    }
}

}   // namespace
