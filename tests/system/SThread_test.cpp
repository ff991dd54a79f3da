// The worker thread with real threads and message-only windows; the test body
// plays the UI thread.
#include "system/SThread.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "wnd/SWndApp.h"

namespace {

class App : public ::testing::Environment {
    void SetUp() override { SWndApp::Init(GetModuleHandleA(nullptr), true, false, false); }
    void TearDown() override { SWndApp::Exit(); }
};

const auto* const g_app = ::testing::AddGlobalTestEnvironment(new App());

// Waits up to 5 s for done(), dispatching this thread's messages or not.
bool Until(const std::function<bool()>& done, bool pump = true)
{
    for (DWORD start = GetTickCount(); !done(); Sleep(5)) {
        MSG msg;
        while (pump && PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE))
            DispatchMessageA(&msg);
        if (done())
            return true;
        if (GetTickCount() - start > 5000)
            return false;
    }
    return true;
}

struct Note {
    int code;
    int64_t value;
    DWORD thread;
};

class TestThread : public SThread {
public:
    std::function<bool(TestThread&)> work;
    std::vector<Note> notes, threadNotes;
    std::string hooks;
    DWORD worker = 0;
    bool loopWhenHandled = false;

    void OnStart() override
    {
        worker = GetCurrentThreadId();
        Hook("start");
    }
    bool Run() override
    {
        Hook("run");
        return work ? work(*this) : false;
    }
    void OnLoopEnd() override { Hook("loopend"); }
    void OnExit() override { Hook("exit"); }
    void OnNotify(int code, SValue* v) override
    {
        notes.push_back({code, v->GetInt64(), GetCurrentThreadId()});
    }
    void OnThreadNotify(int code, SValue* v) override
    {
        loopWhenHandled = IsInLoop();
        threadNotes.push_back({code, v->GetInt64(), GetCurrentThreadId()});
        PostQuitMessage(0);
    }

private:
    // Every hook also notifies, with codes 100, 101, ... in hook order; only
    // those inside the body get through.
    void Hook(const char* name)
    {
        Notify(100 + (int)std::count(hooks.begin(), hooks.end(), ' ') + !hooks.empty(), 0);
        hooks += hooks.empty() ? name : std::string(" ") + name;
    }
};

TEST(SThreadTest, NotificationsArriveInOrderOnTheUiThread)
{
    TestThread t;
    t.work = [](TestThread& self) {
        for (int i = 0; i < 10; i++)
            self.Notify(i, i == 9 ? -5 : i * 1000);
        return false;
    };
    ASSERT_TRUE(t.Start(false));
    ASSERT_TRUE(Until([&] { return !t.GetHandle(); }));   // the end message closes it
    EXPECT_FALSE(t.IsAlive());
    EXPECT_EQ(t.GetThreadId(), 0u);
    EXPECT_EQ(t.hooks, "start run loopend exit");
    EXPECT_NE(t.worker, GetCurrentThreadId());
    // run's and loopend's own notes come through; start's and exit's do not.
    ASSERT_EQ(t.notes.size(), 12u);
    EXPECT_EQ(t.notes[0].code, 101);
    EXPECT_EQ(t.notes[11].code, 102);
    for (int i = 0; i < 10; i++) {
        EXPECT_EQ(t.notes[i + 1].code, i);
        EXPECT_EQ(t.notes[i + 1].thread, GetCurrentThreadId());
    }
    EXPECT_EQ(t.notes[2].value, 1000);
    EXPECT_EQ(t.notes[10].value, -5);   // widened with its sign
}

TEST(SThreadTest, PendingNotificationsAreLimitedToThirtyTwo)
{
    TestThread t;
    t.work = [](TestThread& self) {
        for (int i = 0; i < 40; i++)
            self.Notify(i, i);
        return false;
    };
    for (int run = 0; run < 2; run++) {   // handled notes free their slots
        t.notes.clear();
        ASSERT_TRUE(t.Start(false));
        ASSERT_TRUE(Until([&] { return !t.IsAlive(); }, false));
        // Ended but not yet told: the handle stays and a start is refused.
        EXPECT_NE(t.GetHandle(), nullptr);
        EXPECT_FALSE(t.Start(false));
        ASSERT_TRUE(Until([&] { return !t.GetHandle(); }));
        ASSERT_EQ(t.notes.size(), 32u);   // run's own note and codes 0 to 30
        EXPECT_EQ(t.notes[31].code, 30);
    }
}

TEST(SThreadTest, StartIsRefusedWhileRunningAndCanWait)
{
    HANDLE release = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    TestThread t;
    t.work = [release](TestThread&) { return WaitForSingleObject(release, 5000) && false; };
    ASSERT_TRUE(t.Start(false));
    EXPECT_FALSE(t.Start(false));
    EXPECT_FALSE(t.Start(true));
    SetEvent(release);
    ASSERT_TRUE(Until([&] { return !t.GetHandle(); }));
    EXPECT_EQ(t.hooks, "start run loopend exit");

    // A waiting start returns once the thread has ended, dispatching nothing.
    t.notes.clear();
    t.work = [](TestThread&) { return Sleep(200), false; };
    DWORD start = GetTickCount();
    ASSERT_TRUE(t.Start(true));
    EXPECT_GE(GetTickCount() - start, 150u);
    EXPECT_TRUE(!t.IsAlive() && !t.GetHandle() && t.notes.empty());
    EXPECT_TRUE(Until([&] { return t.notes.size() == 2; }));
    CloseHandle(release);
}

TEST(SThreadTest, MessageLoopRunsAfterRunUntilQuitOrStop)
{
    TestThread t;
    t.work = [](TestThread&) { return true; };
    ASSERT_TRUE(t.Start(false));
    ASSERT_TRUE(Until([&] { return t.IsInLoop(); }, false));
    t.NotifyThread(5, 9);   // answered with a quit message
    ASSERT_TRUE(Until([&] { return !t.GetHandle(); }));
    ASSERT_EQ(t.threadNotes.size(), 1u);
    EXPECT_EQ(t.threadNotes[0].value, 9);
    EXPECT_EQ(t.threadNotes[0].thread, t.worker);
    EXPECT_TRUE(t.loopWhenHandled);

    ASSERT_TRUE(t.Start(false));
    ASSERT_TRUE(Until([&] { return t.IsInLoop(); }, false));
    ASSERT_TRUE(t.Stop(true));
    EXPECT_TRUE(!t.IsAlive() && !t.GetHandle());
    EXPECT_FALSE(t.Stop(true));

    // A stop during Run keeps the loop from starting.
    t.work = [](TestThread& self) { return Until([&] { return self.IsStopRequested(); }, false); };
    t.hooks.clear();
    ASSERT_TRUE(t.Start(false));
    ASSERT_TRUE(t.Stop(true));
    EXPECT_EQ(t.hooks, "start run loopend exit");
}

TEST(SThreadTest, DestructorEndsARunningThread)
{
    HANDLE copy = nullptr;
    DWORD id = 0;
    {
        TestThread t;
        t.work = [](TestThread&) {
            for (;;)
                Sleep(10);
            return false;
        };
        ASSERT_TRUE(t.Start(false));
        ASSERT_TRUE(Until([&] { return t.IsInBody(); }, false));
        id = t.GetThreadId();
        EXPECT_GE(SWndApp::FindThread(id), 1);
        DuplicateHandle(GetCurrentProcess(), t.GetHandle(), GetCurrentProcess(), &copy, 0, FALSE,
                        DUPLICATE_SAME_ACCESS);
    }
    EXPECT_EQ(WaitForSingleObject(copy, 2000), WAIT_OBJECT_0);
    EXPECT_EQ(SWndApp::FindThread(id), -1);
    CloseHandle(copy);
}

TEST(SThreadTest, FullThreadTableRunsNothing)
{
    // Made-up ids: real thread ids are multiples of 4.
    std::vector<DWORD> fakes;
    for (DWORD id = 0x7FFF0001; SWndApp::RegisterThread(id); id += 4)
        fakes.push_back(id);
    TestThread t;
    EXPECT_TRUE(t.Start(true));   // ends at once, and the waiting start wakes
    EXPECT_TRUE(t.hooks.empty() && !t.GetHandle());
    for (DWORD id : fakes)
        SWndApp::UnregisterThread(id);
    EXPECT_TRUE(t.Start(true));
    EXPECT_EQ(t.hooks, "start run loopend exit");
}

}   // namespace
