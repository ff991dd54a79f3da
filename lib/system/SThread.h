// SThread: a worker thread. A derived class puts its work in Run, starts the
// thread from the UI thread, and sends notifications back with Notify; they
// are handled by OnNotify on the UI thread, so the work never touches a
// window. Each object owns a hidden message-only window on the thread that
// constructed it (the UI side) and, while the worker runs, a second one on
// the worker (the thread side).
//
// Ending is cooperative first: Stop raises a flag that a long Run polls with
// IsStopRequested at its safe points. The destructor does the same and waits
// up to STOP_WAIT_MS for the thread to end by itself; only a thread still
// running after that is ended by force, and the destructor then waits until
// it is really gone before freeing anything it may touch.
//
// The rule every derived class follows: its destructor calls EndThread before
// anything else. C++ destroys a derived object's members before ~SThread
// runs, and meanwhile the thread would still run Run and the hooks on them
// (and its virtual calls would reach the base while the type unwinds). A
// derived class with no members of its own and no overrides may rely on
// ~SThread alone.
#pragma once

#include <stdint.h>
#include <windows.h>

#include "SValue.h"
#include "wnd/SWnd.h"

class SThread {
public:
    enum { SLOT_COUNT = 32, STOP_WAIT_MS = 5000 };

    // Creates the UI-side window; call on the UI thread.
    SThread();
    // Asks a running thread to stop and waits up to STOP_WAIT_MS for it; a
    // thread still running then is ended by force (TerminateThread: nothing it
    // held is cleaned up) and waited for. Then frees the pending notification
    // values, releases the worker's thread record and destroys the UI-side
    // window. Dispatches no message meanwhile: a Run that sends messages to
    // this thread's windows is forced to end.
    virtual ~SThread();

    // Hooks of the worker, called on the worker thread, empty by default:
    // before the thread-side window exists / after it is gone.
    virtual void OnStart();
    virtual void OnExit();
    // The work. True (the default) asks for a message loop on the worker
    // afterwards, which runs until a WM_QUIT reaches the worker's queue.
    virtual bool Run();
    // A notification posted by Notify, on the UI thread. value belongs to the
    // object and is freed after the call. Empty by default.
    virtual void OnNotify(int code, SValue* value);
    // A notification posted by NotifyThread, on the worker while its message
    // loop runs. value is freed after the call. Empty by default.
    virtual void OnThreadNotify(int code, SValue* value);
    // Called on the worker after Run and the message loop, while Notify still
    // delivers. Empty by default.
    virtual void OnLoopEnd();

    // Starts the thread. Without wait, returns at once and the UI thread
    // closes the handle when the end message arrives; with wait, blocks
    // (without dispatching messages) until the thread has ended and closes
    // the handle itself. False when a thread handle still exists or the
    // thread is alive (an ended thread whose end message has not been handled
    // yet counts), or when the thread cannot be created.
    bool Start(bool wait);

    // Asks the thread to end: IsStopRequested turns true for Run to poll, no
    // message loop is entered after Run, a running loop is told to quit, and
    // the end is signalled to the starting thread's
    // queue instead of the UI-side window. With wait, blocks until the thread
    // has ended and closes the handle (true); without it the handle stays
    // until a later Stop(true) or the destructor. False when no thread
    // handle exists.
    bool Stop(bool wait);

    // From Run, OnLoopEnd or the worker's loop: posts code and value to
    // OnNotify on the UI thread. Dropped silently outside that time (no
    // thread-side window or not in the body), when all 32 notification slots
    // hold values the UI thread has not handled yet, or when memory runs out.
    void Notify(int code, int value);
    // From the UI thread: posts code and value to OnThreadNotify on the
    // worker. Dropped on the same conditions as Notify; handled only while the
    // worker's message loop runs (otherwise just freed).
    void NotifyThread(int code, int value);

    // Asks a running thread to stop and waits for it as the destructor does
    // (forcing it after STOP_WAIT_MS); on return no thread runs this object's
    // code. The first call of every derived destructor; harmless when no
    // thread runs.
    void EndThread();

    HANDLE GetHandle() const { return m_handle; }
    DWORD GetThreadId() const { return m_threadId; }
    DWORD GetStarterId() const { return m_starterId; }
    bool IsAlive() const { return m_alive; }
    bool IsInBody() const { return m_inBody; }
    bool IsInLoop() const { return m_inLoop; }
    bool IsStopRequested() const { return m_stop != 0; }
    // The UI-side window (message-only).
    HWND GetWindow() const { return m_wnd.GetHandle(); }

    // The hidden window of either side: forwards the thread messages to its
    // SThread, which is bound to it by the create message.
    class _SWnd : public SWnd {
    public:
        _SWnd();
        LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override;

    private:
        SThread* m_thread;   // not owned; set by the create message
    };

private:
    static DWORD WINAPI ThreadProc(void* arg);
    void Body();
    bool PostToSlot(HWND target, UINT msg, int code, int value);
    // Empties the slot holding value, which the caller then owns; false when
    // no slot holds it.
    bool TakeSlot(SValue* value);
    void FreeSlots();
    void WaitForEnd();

    DWORD m_starterId;   // the thread that called Start; 0 after a failed start
    _SWnd m_wnd;         // UI side
    HANDLE m_handle;     // owned; closed by the end message or a waiting caller
    DWORD m_threadId;
    volatile bool m_waitStart;
    volatile bool m_startedNoWait;
    volatile bool m_alive;
    volatile bool m_inBody;
    volatile bool m_inLoop;
    _SWnd* volatile m_threadWnd;   // owned by the worker while it runs; null otherwise
    volatile LONG m_stop;
    SValue* volatile m_slots[SLOT_COUNT];   // each null or owned
};
