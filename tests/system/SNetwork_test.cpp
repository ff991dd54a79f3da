// Downloads from real servers on 127.0.0.1: nginx for ordinary serving, the
// fault server for broken transfers. Byte i of every body is i % 251.
#include "system/SNetwork.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <windows.h>
#include <wininet.h>

#include <string>
#include <vector>

#include "../servers/TestServers.h"
#include "file/SFileMem.h"

namespace {

const auto* const g_serving = ServeProgram("snetwork");

std::string Pattern(int length)
{
    std::string s;
    for (int i = 0; i < length; i++)
        s += (char)(i % 251);
    return s;
}

// Puts a pattern file in the served folder and returns its nginx URL.
std::string Serve(const std::string& name, int length)
{
    FILE* f = fopen((g_servers.Www() + name).c_str(), "wb");
    fwrite(Pattern(length).data(), 1, (size_t)length, f);
    fclose(f);
    return g_servers.Nginx(name);
}

// Records and answers the progress calls; failuresBefore[i] failed reads come
// before real read i, and extra is one more chunk after the real end.
class ProbeNetwork : public SNetwork {
public:
    std::vector<std::pair<int, int>> calls;   // total, offset
    std::string seen, extra;
    int answer = 0;
    size_t cancelAfter = SIZE_MAX;   // IsCancelled turns true after that many chunks
    std::vector<int> failuresBefore;
    SFileMem dest;

    bool Get(const std::string& url, int chunk) { return Download(&dest, url.c_str(), chunk, 7); }
    std::string Written() { return std::string((const char*)dest.GetData(), dest.Size()); }

    int OnProgress(int total, int offset, uint32_t length, const uint8_t* buffer, SFile* file,
                   int user) override
    {
        EXPECT_TRUE(file == &dest && user == 7 && length > 0 && offset == (int)seen.size());
        calls.push_back({total, (int)length});
        seen.append((const char*)buffer, length);
        if (calls.size() == cancelAfter)
            Sleep(300);   // the read-ahead fills meanwhile
        return answer;
    }

protected:
    bool IsCancelled() override { return calls.size() >= cancelAfter; }
    bool ReadChunk(void* url, void* buffer, uint32_t size, uint32_t* read) override
    {
        if (m_reads < failuresBefore.size() && m_failed < failuresBefore[m_reads])
            return m_failed++, false;
        m_failed = 0;
        m_reads++;
        bool ok = SNetwork::ReadChunk(url, buffer, size, read);
        if (ok && *read == 0 && !extra.empty()) {
            *read = (uint32_t)extra.size();
            memcpy(buffer, extra.data(), *read);
            extra.clear();
        }
        return ok;
    }

private:
    size_t m_reads = 0;
    int m_failed = 0;
};

TEST(SNetworkTest, ProgressComesBeforeEachChunk)
{
    struct {
        std::string url;
        int chunk, size, total, maxChunk;
        bool result;
    } cases[] = {
        {Serve("big.bin", 100000), 1024, 100000, 100000, 1024, true},
        {Serve("small.bin", 300), 0, 300, 300, 1, true},   // below 1: single bytes
        {g_servers.Nginx("small.bin"), -5, 300, 300, 1, true},
        {Serve("empty.bin", 0), 1024, 0, 0, 1024, true},
        {g_servers.Fault("nolength/5000"), 1000, 5000, -1, 1000, true},
        {g_servers.Fault("slow/6000"), 4096, 6000, 6000, 4096, true},    // pauses are waited for
        {g_servers.Fault("pause/6000"), 1024, 6000, 6000, 1024, true},   // 5 s, within the default
        {g_servers.Fault("short/10000"), 1024, 5000, 10000, 1024, false},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.url + " chunk " + std::to_string(c.chunk));
        ProbeNetwork net;
        EXPECT_EQ(net.GetTimeLimit(), 30000);
        EXPECT_EQ(net.Get(c.url, c.chunk), c.result);
        EXPECT_EQ(net.Written(), Pattern(c.size));
        EXPECT_EQ(net.seen, net.Written());
        for (auto& call : net.calls)
            ASSERT_TRUE(call.first == c.total && call.second <= c.maxChunk) << call.first;
    }
    // A reset fails whether it reads as a failed read or as the end; an error
    // status is downloaded like any body, for the caller's size check.
    ProbeNetwork reset, page;
    EXPECT_FALSE(reset.Get(g_servers.Fault("drop/10000"), 1024));
    EXPECT_TRUE(page.Get(g_servers.Fault("missing.bin"), 1024));
    EXPECT_EQ(page.Written(), "not found\n");
    EXPECT_EQ(page.calls.at(0).first, 10);
    // A cancel is asked before every read, even with read-ahead data waiting.
    ProbeNetwork cancelled;
    cancelled.cancelAfter = 3;
    EXPECT_FALSE(cancelled.Get(g_servers.Nginx("big.bin"), 1024));
    EXPECT_EQ(cancelled.calls.size(), 3u);
}

bool InCache(const std::string& url)
{
    DWORD size = 0;
    return GetUrlCacheEntryInfoA(url.c_str(), nullptr, &size) ||
        GetLastError() == ERROR_INSUFFICIENT_BUFFER;
}

TEST(SNetworkTest, ServersThatMisbehaveEndWithinTheLimits)
{
    // A wait without a byte ends at the time limit, a 1 KB/s trickle does
    // not; 20 redirects are followed (http to https among them), the 21st or
    // one from https to http is not. Nothing stays in the Internet cache.
    std::string tls = g_servers.Https("tls.bin");
    Serve("tls.bin", 3000);
    struct {
        std::string url;
        bool result;
    } cases[] = {
        {g_servers.Fault("stall/20000"), false},     {g_servers.Fault("silent/1"), false},
        {g_servers.Fault("trickle/3000"), true},     {g_servers.Fault("loop/1"), false},
        {g_servers.Fault("hop/19?to=" + tls), true}, {g_servers.Fault("hop/20?to=" + tls), false},
        {g_servers.Https("down/tls.bin"), false},
    };
    for (auto& c : cases) {
        ProbeNetwork net;
        net.SetTimeLimit(1500);
        DWORD start = GetTickCount();
        EXPECT_EQ(net.Get(c.url, 1024), c.result) << c.url;
        // Far below the 30 s default limit, with room for a loaded machine.
        EXPECT_LT(GetTickCount() - start, 12000u) << c.url;
        EXPECT_EQ(net.Written() == Pattern(3000), c.result) << c.url;
    }
    EXPECT_FALSE(InCache(tls) || InCache(g_servers.Fault("trickle/3000")));
}

TEST(SNetworkTest, AgentCookiesAndProgressAnswers)
{
    ProbeNetwork cookie, echo;
    EXPECT_TRUE(cookie.Get(g_servers.Fault("cookie/100"), 1024));
    EXPECT_TRUE(echo.Get(g_servers.Fault("headers/x"), 1024));
    EXPECT_NE(echo.Written().find("User-Agent: Vorlix\n"), std::string::npos) << echo.Written();
    EXPECT_EQ(echo.Written().find("Cookie"), std::string::npos) << echo.Written();
    for (int answer : {1, 2, 3}) {   // abort, consumed, write
        ProbeNetwork net;
        net.answer = answer;
        EXPECT_EQ(net.Get(g_servers.Fault("nolength/5000"), 512), answer != 1) << answer;
        EXPECT_EQ(net.Written(), answer == 3 ? Pattern(5000) : "");
        EXPECT_EQ(net.seen == Pattern(5000), answer != 1);
        EXPECT_EQ(net.calls.size() == 1, answer == 1);
    }
}

TEST(SNetworkTest, LocalFilesAreCopiedWithoutProgress)
{
    Serve("local.bin", 70000);
    Serve("empty-local.bin", 0);
    std::string www = g_servers.Www();
    ProbeNetwork net, empty;
    net.dest.Write("head", 4);
    EXPECT_TRUE(net.Get(www + "local.bin", 1024));
    EXPECT_EQ(net.Written(), "head" + Pattern(70000));   // appended
    EXPECT_TRUE(empty.Get(www + "empty-local.bin", 1024));
    for (std::string bad : {www, www + "absent.bin", std::string("http://127.0.0.1:1/x.bin")})
        EXPECT_FALSE(empty.Get(bad, 1024)) << bad;
    EXPECT_FALSE(net.Download(nullptr, (www + "local.bin").c_str(), 1024, 0));
    EXPECT_EQ(empty.dest.Size(), 0);
    EXPECT_TRUE(net.calls.empty() && empty.calls.empty());
}

TEST(SNetworkTest, FailedReadsAreRetriedUntilTheLimits)
{
    std::string url = Serve("flaky.bin", 8192);
    struct {
        std::vector<int> failuresBefore;
        bool result;
    } cases[] = {
        {{9}, true},                // nine failures in a row recover
        {{10}, false},              // the tenth gives up
        {{0, 1, 1, 1, 1}, true},    // four recoveries
        {{1, 1, 1, 1, 1}, false},   // the fifth gives up
    };
    for (auto& c : cases) {
        ProbeNetwork net;
        net.failuresBefore = c.failuresBefore;
        EXPECT_EQ(net.Get(url, 1024), c.result) << ::testing::PrintToString(c.failuresBefore);
        EXPECT_EQ(net.Written() == Pattern(8192), c.result);
    }
    ProbeNetwork more;   // more bytes than announced still succeed
    more.extra = "tail";
    EXPECT_TRUE(more.Get(url, 1024));
    EXPECT_EQ(more.Written(), Pattern(8192) + "tail");
}

}   // namespace
