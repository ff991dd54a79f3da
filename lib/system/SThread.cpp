#include "SThread.h"

#include <new>

#include "wnd/SWndApp.h"

SThread::_SWnd::_SWnd() : m_thread(nullptr)
{
}

LRESULT SThread::_SWnd::Handler(UINT msg, WPARAM wParam, LPARAM lParam)
{
    switch (msg) {
    case SWM_CREATE:
        m_thread = (SThread*)lParam;
        return 0;
    case SWM_THREADNOTIFY:
    case SWM_THREADMESSAGE: {
        // The slot is emptied before the handler runs and the value freed
        // after it, so a handler may even destroy the thread object. A value
        // that no slot holds belongs to a run whose slots were already freed
        // (a restart or the destructor): nothing to deliver.
        SValue* value = (SValue*)lParam;
        if (!m_thread || !m_thread->TakeSlot(value))
            return 0;
        if (msg == SWM_THREADNOTIFY)
            m_thread->OnNotify((int)wParam, value);
        else if (m_thread->m_inLoop)
            m_thread->OnThreadNotify((int)wParam, value);
        delete value;
        return 0;
    }
    case SWM_THREADEND:
        if (m_thread && m_thread->m_handle) {
            CloseHandle(m_thread->m_handle);
            m_thread->m_handle = nullptr;
            m_thread->m_threadId = 0;
        }
        return 0;
    }
    return SWnd::Handler(msg, wParam, lParam);
}

SThread::SThread()
    : m_starterId(0), m_handle(nullptr), m_threadId(0), m_waitStart(false), m_startedNoWait(false),
      m_alive(false), m_inBody(false), m_inLoop(false), m_threadWnd(nullptr), m_stop(0)
{
    for (int i = 0; i < SLOT_COUNT; i++)
        m_slots[i] = nullptr;
    m_wnd.Create("", 0, 0, nullptr, HWND_MESSAGE, nullptr, (LPARAM)this);
}

SThread::~SThread()
{
    EndThread();
    FreeSlots();
    if (m_threadId) {
        SWndApp::UnregisterThread(m_threadId);
        m_threadId = 0;
    }
    m_wnd.Destroy();
}

void SThread::EndThread()
{
    // The worker's own window dies with its thread; its object is left to it.
    m_threadWnd = nullptr;
    if (m_handle) {
        // Forcing a thread can stop it inside the heap or a loader lock, which
        // would wedge this process later: it gets its chance to stop first.
        // The handle is signalled only once the thread is really gone.
        InterlockedExchange(&m_stop, 1);
        if (WaitForSingleObject(m_handle, STOP_WAIT_MS) != WAIT_OBJECT_0) {
            TerminateThread(m_handle, 0);
            WaitForSingleObject(m_handle, STOP_WAIT_MS);
        }
        CloseHandle(m_handle);
        m_handle = nullptr;
    }
    m_alive = false;
}

void SThread::OnStart()
{
}

void SThread::OnExit()
{
}

bool SThread::Run()
{
    return true;
}

void SThread::OnNotify(int, SValue*)
{
}

void SThread::OnThreadNotify(int, SValue*)
{
}

void SThread::OnLoopEnd()
{
}

bool SThread::Start(bool wait)
{
    if (m_handle || m_alive || !m_wnd.GetHandle())
        return false;
    FreeSlots();
    m_threadId = 0;
    m_inBody = false;
    m_inLoop = false;
    m_stop = 0;
    m_starterId = GetCurrentThreadId();
    // Both start flags are set before the thread exists: the worker reads
    // them when it ends, which can happen before CreateThread returns.
    m_waitStart = wait;
    m_startedNoWait = !wait;
    m_alive = true;
    DWORD id = 0;
    m_handle = CreateThread(nullptr, 0, ThreadProc, this, 0, &id);
    if (!m_handle) {
        m_starterId = 0;
        m_alive = false;
        m_waitStart = false;
        m_startedNoWait = false;
        return false;
    }
    m_threadId = id;
    if (wait)
        WaitForEnd();
    return true;
}

bool SThread::Stop(bool wait)
{
    if (!m_handle)
        return false;
    InterlockedExchange(&m_stop, 1);
    // Posted whether or not the loop runs yet: a loop entered after this
    // finds the quit message waiting. A Run that pumps its own messages may
    // take it instead.
    if (m_alive && m_threadId)
        PostThreadMessageA(m_threadId, WM_QUIT, 0, 0);
    if (wait)
        WaitForEnd();
    return true;
}

void SThread::WaitForEnd()
{
    // Wakes when the thread has ended and its null message has arrived. No
    // message is dispatched meanwhile: notifications wait in the queue.
    HANDLE handle = m_handle;
    while (m_alive)
        MsgWaitForMultipleObjects(1, &handle, TRUE, INFINITE, QS_ALLPOSTMESSAGE);
    CloseHandle(handle);
    m_handle = nullptr;
    m_threadId = 0;
}

void SThread::Notify(int code, int value)
{
    if (!m_threadWnd || !m_inBody)
        return;
    PostToSlot(m_wnd.GetHandle(), SWM_THREADNOTIFY, code, value);
}

void SThread::NotifyThread(int code, int value)
{
    _SWnd* threadWnd = m_threadWnd;
    if (!threadWnd || !m_inBody)
        return;
    PostToSlot(threadWnd->GetHandle(), SWM_THREADMESSAGE, code, value);
}

bool SThread::PostToSlot(HWND target, UINT msg, int code, int value)
{
    SValue* object = new (std::nothrow) SValue((int64_t)value);
    if (!object)
        return false;
    // A slot is claimed by swapping the new object into a null entry; only
    // the receiving thread empties it again, when the message arrives.
    for (int i = 0; i < SLOT_COUNT; i++) {
        if (m_slots[i])
            continue;
        if (InterlockedCompareExchangePointer((void* volatile*)&m_slots[i], object, nullptr))
            continue;
        if (PostMessageA(target, msg, (WPARAM)code, (LPARAM)object))
            return true;
        m_slots[i] = nullptr;
        break;
    }
    delete object;
    return false;
}

bool SThread::TakeSlot(SValue* value)
{
    for (int i = 0; value && i < SLOT_COUNT; i++) {
        if (m_slots[i] == value) {
            m_slots[i] = nullptr;
            return true;
        }
    }
    return false;
}

void SThread::FreeSlots()
{
    for (int i = 0; i < SLOT_COUNT; i++) {
        SValue* value = m_slots[i];
        m_slots[i] = nullptr;
        delete value;
    }
}

DWORD WINAPI SThread::ThreadProc(void* arg)
{
    ((SThread*)arg)->Body();
    return 0;
}

void SThread::Body()
{
    DWORD self = GetCurrentThreadId();
    // With the thread table full nothing runs, but the end is still signalled
    // so that a waiting starter wakes and the handle gets closed.
    bool registered = SWndApp::RegisterThread(self);
    _SWnd* threadWnd = nullptr;
    if (registered) {
        OnStart();
        threadWnd = new (std::nothrow) _SWnd();
        if (threadWnd &&
            !threadWnd->Create("", 0, 0, nullptr, HWND_MESSAGE, nullptr, (LPARAM)this)) {
            delete threadWnd;
            threadWnd = nullptr;
        }
        m_threadWnd = threadWnd;
        m_inBody = true;
        bool loop = Run();
        m_startedNoWait = false;
        if (loop && !m_stop) {
            m_inLoop = true;
            bool waitForMessages = true;
            SWndApp::RunLoop(&waitForMessages);
            m_inLoop = false;
        }
        OnLoopEnd();
        m_inBody = false;
        m_threadWnd = nullptr;
        OnExit();
    }
    // The object may be destroyed as soon as alive is cleared and the end
    // message is out: from here on only locals are used.
    bool wakeStarter = m_waitStart || m_stop;
    DWORD starter = m_starterId;
    HWND uiWnd = m_wnd.GetHandle();
    m_alive = false;
    if (wakeStarter)
        PostThreadMessageA(starter, 0, 0, 0);
    else
        PostMessageA(uiWnd, SWM_THREADEND, 0, 0);
    if (registered)
        SWndApp::UnregisterThread(self);
    delete threadWnd;
}
