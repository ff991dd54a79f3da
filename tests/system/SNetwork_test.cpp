// Downloads from real servers on 127.0.0.1, started once for the program:
// nginx for ordinary serving, the fault server for broken transfers. Byte i of
// every test body is i % 251.
#include "system/SNetwork.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <windows.h>

#include <string>
#include <vector>

#include "../servers/TestServers.h"
#include "file/SFileMem.h"

namespace {

std::string Pattern(int length)
{
    std::string s;
    for (int i = 0; i < length; i++)
        s += (char)(i % 251);
    return s;
}

std::string Contents(SFileMem& f)
{
    return f.GetData() ? std::string((const char*)f.GetData(), (size_t)f.Size()) : "";
}

TestServers g_servers;

class Servers : public ::testing::Environment {
    void SetUp() override { ASSERT_TRUE(g_servers.Start(VX_SOURCE_DIR, "snetwork")); }
    void TearDown() override { g_servers.Stop(); }
};

const auto* const g_environment = ::testing::AddGlobalTestEnvironment(new Servers());

std::string Nginx(const std::string& path)
{
    return g_servers.Nginx(path);
}

std::string Fault(const std::string& path)
{
    return g_servers.Fault(path);
}

void Serve(const std::string& name, int length)
{
    FILE* f = fopen((g_servers.Www() + name).c_str(), "wb");
    ASSERT_TRUE(f);
    fwrite(Pattern(length).data(), 1, (size_t)length, f);
    fclose(f);
}

struct Call {
    int total, offset;
    std::string bytes;
    SFile* destination;
    int userValue;
};

// Records the progress calls; failuresBefore[i] failed reads are made before
// real read i, and extra is handed out as one more chunk after the real end.
class ProbeNetwork : public SNetwork {
public:
    std::vector<Call> calls;
    int answer = 0, answerFirst = -1;
    std::vector<int> failuresBefore;
    std::string extra;
    size_t reads = 0;
    int injected = 0;

    int OnProgress(int total, int offset, uint32_t length, const uint8_t* buffer,
                   SFile* destination, int userValue) override
    {
        calls.push_back(
            {total, offset, std::string((const char*)buffer, length), destination, userValue});
        return calls.size() == 1 && answerFirst >= 0 ? answerFirst : answer;
    }

    // Chunks follow each other from offset 0, no longer than chunk, each with
    // the same total, destination and user value.
    void ExpectCover(const std::string& body, int total, size_t chunk, SFile* dest, int user)
    {
        size_t offset = 0;
        for (const Call& c : calls) {
            ASSERT_EQ(c.offset, (int)offset);
            ASSERT_EQ(c.total, total);
            ASSERT_TRUE(!c.bytes.empty() && c.bytes.size() <= chunk);
            ASSERT_EQ(c.bytes, body.substr(offset, c.bytes.size()));
            ASSERT_TRUE(c.destination == dest && c.userValue == user);
            offset += c.bytes.size();
        }
        EXPECT_EQ(offset, body.size());
    }

protected:
    bool ReadChunk(void* url, void* buffer, uint32_t size, uint32_t* read) override
    {
        if (reads < failuresBefore.size() && injected < failuresBefore[reads]) {
            injected++;
            return false;
        }
        injected = 0;
        reads++;
        bool ok = SNetwork::ReadChunk(url, buffer, size, read);
        if (ok && *read == 0 && !extra.empty()) {
            memcpy(buffer, extra.data(), extra.size());
            *read = (uint32_t)extra.size();
            extra.clear();
        }
        return ok;
    }
};

TEST(SNetworkTest, BodiesArriveWholeWithProgressBeforeEachChunk)
{
    Serve("big.bin", 100000);
    Serve("small.bin", 300);
    Serve("empty.bin", 0);
    struct {
        std::string url;
        int chunk, size, total;
        size_t maxChunk;
    } cases[] = {
        {Nginx("big.bin"), 1024, 100000, 100000, 1024},
        {Nginx("small.bin"), 0, 300, 300, 1},   // below 1: single bytes
        {Nginx("small.bin"), -5, 300, 300, 1},
        {Nginx("empty.bin"), 1024, 0, 0, 1024},
        {Fault("nolength/5000"), 1000, 5000, -1, 1000},   // no length: -1 throughout
        {Fault("slow/6000"), 4096, 6000, 6000, 4096},     // gaps are waited for
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.url + " chunk " + std::to_string(c.chunk));
        ProbeNetwork net;
        SFileMem dest;
        ASSERT_TRUE(net.Download(&dest, c.url.c_str(), c.chunk, 77));
        EXPECT_EQ(Contents(dest), Pattern(c.size));
        net.ExpectCover(Pattern(c.size), c.total, c.maxChunk, &dest, 77);
    }
}

TEST(SNetworkTest, BrokenTransfersFailButErrorPagesDownload)
{
    ProbeNetwork net;
    SFileMem closed, reset, page, nginxPage;
    // Closed cleanly, or reset, after half of the announced length. A reset
    // may read as a failed read or as the end of data: either way it fails.
    EXPECT_FALSE(net.Download(&closed, Fault("short/10000").c_str(), 1024, 0));
    EXPECT_EQ(Contents(closed), Pattern(5000));
    EXPECT_FALSE(net.Download(&reset, Fault("drop/10000").c_str(), 1024, 0));
    EXPECT_LE(reset.Size(), 5000);
    // An error status still opens: its page is the body, and only the
    // caller's size check can reject it.
    net.calls.clear();
    EXPECT_TRUE(net.Download(&page, Fault("missing.bin").c_str(), 1024, 0));
    EXPECT_EQ(Contents(page), "not found\n");
    EXPECT_EQ(net.calls.at(0).total, 10);
    EXPECT_TRUE(net.Download(&nginxPage, Nginx("missing.bin").c_str(), 1024, 0));
    EXPECT_NE(Contents(nginxPage).find("404"), std::string::npos);
}

TEST(SNetworkTest, ProgressAnswersDecideTheWrites)
{
    Serve("steer.bin", 5000);
    ProbeNetwork consumed, aborted, other;
    consumed.answer = 2;
    aborted.answerFirst = 1;
    other.answer = 3;
    SFileMem consumedDest, abortedDest, otherDest;
    EXPECT_TRUE(consumed.Download(&consumedDest, Nginx("steer.bin").c_str(), 512, 0));
    EXPECT_EQ(consumedDest.Size(), 0);
    consumed.ExpectCover(Pattern(5000), 5000, 512, &consumedDest, 0);
    EXPECT_FALSE(aborted.Download(&abortedDest, Nginx("steer.bin").c_str(), 512, 0));
    EXPECT_EQ(aborted.calls.size(), 1u);
    EXPECT_EQ(abortedDest.Size(), 0);
    EXPECT_TRUE(other.Download(&otherDest, Nginx("steer.bin").c_str(), 512, 0));
    EXPECT_EQ(Contents(otherDest), Pattern(5000));
}

TEST(SNetworkTest, LocalFilesAreCopiedWithoutProgress)
{
    Serve("local.bin", 70000);
    Serve("empty-local.bin", 0);
    ProbeNetwork net;
    SFileMem dest, empty, none;
    dest.Write("head", 4);
    EXPECT_TRUE(net.Download(&dest, (g_servers.Www() + "local.bin").c_str(), 1024, 0));
    EXPECT_EQ(Contents(dest), "head" + Pattern(70000));   // appended
    EXPECT_TRUE(net.Download(&empty, (g_servers.Www() + "empty-local.bin").c_str(), 1024, 0));
    EXPECT_FALSE(net.Download(&none, g_servers.Www().c_str(), 1024, 0));   // a folder
    EXPECT_FALSE(net.Download(&none, (g_servers.Www() + "absent.bin").c_str(), 1024, 0));
    EXPECT_FALSE(net.Download(&none, "http://127.0.0.1:1/x.bin", 1024, 0));   // refused, no file
    EXPECT_FALSE(net.Download(nullptr, (g_servers.Www() + "local.bin").c_str(), 1024, 0));
    EXPECT_EQ(empty.Size() + none.Size(), 0);
    EXPECT_TRUE(net.calls.empty());
}

TEST(SNetworkTest, FailedReadsAreRetriedUntilTheLimits)
{
    Serve("flaky.bin", 8192);
    struct {
        std::vector<int> failuresBefore;
        bool result;
    } cases[] = {
        {{1}, true},                // one recovery
        {{9}, true},                // nine failures in a row recover
        {{10}, false},              // the tenth gives up
        {{0, 1, 1, 1, 1}, true},    // four recoveries
        {{1, 1, 1, 1, 1}, false},   // the fifth gives up
    };
    for (auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.failuresBefore));
        ProbeNetwork net;
        net.failuresBefore = c.failuresBefore;
        SFileMem dest;
        EXPECT_EQ(net.Download(&dest, Nginx("flaky.bin").c_str(), 1024, 0), c.result);
        if (c.result)
            net.ExpectCover(Pattern(8192), 8192, 1024, &dest, 0);
    }
    // More bytes than announced still succeed.
    ProbeNetwork more;
    more.extra = "tail";
    SFileMem dest;
    EXPECT_TRUE(more.Download(&dest, Nginx("flaky.bin").c_str(), 1024, 0));
    EXPECT_EQ(Contents(dest), Pattern(8192) + "tail");
    EXPECT_EQ(more.calls.back().offset, 8192);
}

}   // namespace
