// Real worker threads and message-only windows; the test body is the UI thread.
#include "system/SThread.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "../wnd/WndTestSupport.h"

namespace {

const auto* const g_app = ::testing::AddGlobalTestEnvironment(new WndEnvironment());

// Each hook records its name and notifies with its own code.
class TestThread : public SThread {
public:
    std::function<bool(TestThread&)> work;
    std::vector<std::pair<int, int64_t>> notes;
    std::string hooks;
    DWORD worker = 0, notifiedOn = 0, threadNotifiedOn = 0;
    int64_t threadValue = 0;

    void OnStart() override { worker = GetCurrentThreadId(), Hook("start ", 100); }
    bool Run() override { return Hook("run ", 101), work ? work(*this) : false; }
    void OnLoopEnd() override { Hook("loopend ", 102); }
    void OnExit() override { Hook("exit", 103); }
    void OnNotify(int code, SValue* v) override
    {
        notes.push_back({code, v->GetInt64()});
        notifiedOn = GetCurrentThreadId();
    }
    void OnThreadNotify(int, SValue* v) override
    {
        threadValue = v->GetInt64();
        threadNotifiedOn = GetCurrentThreadId();
        PostQuitMessage(0);
    }
    void Hook(const char* name, int code) { hooks += name, Notify(code, 0); }
};

TEST(SThreadTest, NotificationsArriveInOrderWhileInTheBody)
{
    TestThread t;
    t.work = [](TestThread& self) {
        for (int i = 0; i < 40; i++)
            self.Notify(i, i == 1 ? -5 : i * 1000);
        return false;
    };
    for (int run = 0; run < 2; run++) {   // handled notes free their slots
        t.notes.clear();
        t.hooks.clear();
        ASSERT_TRUE(t.Start(false));
        ASSERT_TRUE(PumpUntil([&] { return !t.IsAlive(); }, 5000, false));
        // Ended, but until the end message is handled the handle stays.
        EXPECT_NE(t.GetHandle(), nullptr);
        EXPECT_FALSE(t.Start(false));
        ASSERT_TRUE(PumpUntil([&] { return !t.GetHandle(); }, 5000));
        EXPECT_EQ(t.hooks, "start run loopend exit");
        EXPECT_EQ(t.notifiedOn, GetCurrentThreadId());
        // run's note and codes 0 to 30 fill the 32 slots; start's never counts.
        ASSERT_EQ(t.notes.size(), 32u);
        EXPECT_EQ(t.notes[0].first, 101);
        for (int i = 0; i < 31; i++)
            EXPECT_EQ(t.notes[i + 1].first, i);
        EXPECT_EQ(t.notes[2].second, -5);   // widened with its sign
    }
    // A waiting start returns after the end, dispatching nothing; with free
    // slots loopend's note gets through and exit's does not.
    t.work = [](TestThread&) { return Sleep(200), false; };
    t.notes.clear();
    DWORD start = GetTickCount();
    ASSERT_TRUE(t.Start(true));
    EXPECT_GE(GetTickCount() - start, 150u);
    EXPECT_TRUE(!t.IsAlive() && !t.GetHandle() && t.notes.empty());
    ASSERT_TRUE(PumpUntil([&] { return t.notes.size() == 2; }, 5000));
    EXPECT_EQ(t.notes[1].first, 102);
}

TEST(SThreadTest, MessageLoopRunsAfterRunUntilQuitOrStop)
{
    TestThread t;
    t.work = [](TestThread&) { return true; };
    ASSERT_TRUE(t.Start(false));
    ASSERT_TRUE(PumpUntil([&] { return t.IsInLoop(); }, 5000, false));
    t.NotifyThread(5, 9);   // answered with a quit message
    ASSERT_TRUE(PumpUntil([&] { return !t.GetHandle(); }, 5000));
    EXPECT_EQ(t.threadValue, 9);
    EXPECT_EQ(t.threadNotifiedOn, t.worker);

    // Stop raises the flag a Run polls (which, asking for a loop, then gets
    // none) and quits a loop already running.
    for (bool inLoop : {false, true}) {
        bool stopped = false;
        t.work = [&](TestThread& self) {
            for (DWORD start = GetTickCount();
                 !inLoop && !stopped && GetTickCount() - start < 3000;)
                stopped = self.IsStopRequested();
            return true;
        };
        ASSERT_TRUE(t.Start(false));
        ASSERT_TRUE(PumpUntil([&] { return inLoop ? t.IsInLoop() : t.IsInBody(); }, 5000, false));
        ASSERT_TRUE(t.Stop(true));
        EXPECT_TRUE(!t.IsAlive() && !t.GetHandle() && stopped != inLoop);
    }
    EXPECT_FALSE(t.Stop(true));
}

TEST(SThreadTest, DestructorStopsARunningThreadOrEndsItByForce)
{
    // A Run that polls the stop ends by itself and enters no loop; one that
    // never looks is ended after the wait. Either way it is gone on return.
    for (bool polls : {true, false}) {
        HANDLE copy = nullptr;
        DWORD id = 0, start = 0;
        bool stopped = false;
        {
            TestThread t;
            t.work = [&](TestThread& self) {
                while (polls && !self.IsStopRequested())
                    Sleep(10);
                stopped = polls;
                return polls ? true : (Sleep(INFINITE), false);
            };
            ASSERT_TRUE(t.Start(false));
            ASSERT_TRUE(PumpUntil([&] { return t.IsInBody(); }, 5000, false));
            id = t.GetThreadId();
            DuplicateHandle(GetCurrentProcess(), t.GetHandle(), GetCurrentProcess(), &copy, 0,
                            FALSE, DUPLICATE_SAME_ACCESS);
            start = GetTickCount();
        }
        DWORD took = GetTickCount() - start;
        EXPECT_EQ(WaitForSingleObject(copy, 0), WAIT_OBJECT_0);
        EXPECT_EQ(stopped, polls);
        EXPECT_TRUE(polls ? took < 3000 : took >= SThread::STOP_WAIT_MS - 100) << took;
        EXPECT_EQ(SWndApp::FindThread(id), -1);   // its thread record is released
        CloseHandle(copy);
    }
}

}   // namespace
