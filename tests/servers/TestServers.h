// The test HTTP servers on 127.0.0.1, started from a test program under Wine:
// nginx and the fault server (modes: see fault_server.py), both serving Www().
// Wine starts Unix programs through CreateProcess but gives no handle to wait
// on, so the scripts report their ports through files in /tmp/<name>, seen
// here as Z:\tmp\<name>. Both servers also end by themselves after 300 s.
// nginx also serves TLS (Https) with a certificate from a CA made for the
// run, which only this Wine prefix trusts, from Start until Stop.
#pragma once

#include <gtest/gtest.h>
#include <stdio.h>
#include <wincrypt.h>
#include <windows.h>

#include <string>

class TestServers {
public:
    ~TestServers() { Stop(); }

    // sourceDir is VX_SOURCE_DIR ("Z:/..."); tag names the run's folder. False
    // when a server has not reported its port within 15 s.
    bool Start(const std::string& sourceDir, const std::string& tag)
    {
        m_scripts = sourceDir.substr(2) + "/tests/servers/";
        // Not the process id: Wine reuses those, and a killed run leaves its folder.
        m_name = "vx-" + tag + "-" + std::to_string(GetTickCount());
        std::string base = "/tmp/" + m_name;
        CreateDirectoryA(("Z:\\tmp\\" + m_name).c_str(), nullptr);
        if (!CreateDirectoryA(Www().c_str(), nullptr))
            return false;
        m_started = true;
        RunUnix("exec python3 " + m_scripts + "fault_server.py --root " + base +
                "/www --port-file " + base + "/fault.port --pid-file " + base +
                "/fault.pid --lifetime 300 >/dev/null");
        RunUnix("NGINX_TLS=1 exec bash " + m_scripts + "nginx_server.sh start " + base + "/www " +
                base + "/nginx 300 >/dev/null");
        m_fault = WaitForPort("Z:\\tmp\\" + m_name + "\\fault.port");
        m_nginx = WaitForPort("Z:\\tmp\\" + m_name + "\\nginx\\port");
        m_tls = WaitForPort("Z:\\tmp\\" + m_name + "\\nginx\\tlsport");
        return m_fault && m_nginx && m_tls && Trust(true);
    }

    // Stops both servers and removes the run's folder.
    void Stop()
    {
        if (!m_started)
            return;
        m_started = false;
        Trust(false);
        std::string base = "/tmp/" + m_name;
        RunUnix("kill $(cat " + base + "/fault.pid); bash " + m_scripts + "nginx_server.sh stop " +
                base + "/nginx; rm -rf " + base);
    }

    // The served folder, with a trailing backslash.
    std::string Www() const { return "Z:\\tmp\\" + m_name + "\\www\\"; }
    std::string Nginx(const std::string& path) const { return Url(m_nginx, path); }
    std::string Fault(const std::string& path) const { return Url(m_fault, path); }
    std::string Https(const std::string& path) const
    {
        return "https://localhost:" + std::to_string(m_tls) + "/" + path;
    }

    // Starts "/bin/sh -c script" without waiting for it (Wine gives no
    // handle on a Unix program).
    static void RunUnix(const std::string& script)
    {
        std::string line = "/bin/sh -c \"PATH=/usr/sbin:/usr/bin:/bin:$PATH; " + script + "\"";
        STARTUPINFOA si = {};
        si.cb = sizeof(si);
        PROCESS_INFORMATION pi = {};
        if (CreateProcessA(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si,
                           &pi)) {
            CloseHandle(pi.hThread);
            CloseHandle(pi.hProcess);
        }
    }

private:
    static std::string Url(int port, const std::string& path)
    {
        return "http://127.0.0.1:" + std::to_string(port) + "/" + path;
    }

    // Adds the run's CA to the prefix's root store, or takes it out again.
    bool Trust(bool add)
    {
        std::string pem(8192, 0);
        FILE* f = fopen(("Z:\\tmp\\" + m_name + "\\nginx\\tls\\ca.pem").c_str(), "rb");
        pem.resize(f ? fread(&pem[0], 1, pem.size(), f) : 0);
        BYTE der[8192];
        DWORD size = sizeof(der);
        PCCERT_CONTEXT cert = nullptr;
        HCERTSTORE store =
            CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, "Root");
        bool ok = f && !fclose(f) && store &&
            CryptStringToBinaryA(pem.c_str(), (DWORD)pem.size(), CRYPT_STRING_BASE64HEADER, der,
                                 &size, nullptr, nullptr) &&
            CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, der, size,
                                             CERT_STORE_ADD_REPLACE_EXISTING, &cert) &&
            (add ? CertFreeCertificateContext(cert) : CertDeleteCertificateFromStore(cert));
        return CertCloseStore(store, 0) && ok;
    }

    static int WaitForPort(const std::string& path)
    {
        int port = 0;
        for (int i = 0; i < 750 && port <= 0; i++, Sleep(20)) {
            if (FILE* f = fopen(path.c_str(), "r")) {
                if (fscanf(f, "%d", &port) != 1)
                    port = 0;
                fclose(f);
            }
        }
        return port > 0 ? port : 0;
    }

    std::string m_scripts, m_name;
    int m_nginx = 0, m_fault = 0, m_tls = 0;
    bool m_started = false;
};

// The servers of a whole test program: ServeProgram(tag) starts them before
// its first test (failing the program if they do not start), stops them after.
inline TestServers g_servers;
inline const ::testing::Environment* ServeProgram(const char* tag)
{
    struct Serving : ::testing::Environment {
        explicit Serving(const char* name) : tag(name) {}
        void SetUp() override { ASSERT_TRUE(g_servers.Start(VX_SOURCE_DIR, tag)); }
        void TearDown() override { g_servers.Stop(); }
        const char* tag;
    };
    return ::testing::AddGlobalTestEnvironment(new Serving(tag));
}
