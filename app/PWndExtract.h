// PWndExtract: the "Update" dialog. Once ready it starts its worker, which
// downloads the package into a temporary file, checks its size, unpacks it
// into the destination folder and starts the application again; the dialog
// then closes by itself. Any failure leaves it open with the label "Failed.".
// An Update.exe stamped with a publisher's key (SEcKey) also checks, right
// after the size, that the package is signed by that key (SPackageSignature)
// for a version not below the fixed file version of the application it
// updates (argument 3; SFileVersion), and that a delta package's base is that
// version; a refused package fails exactly as one of the wrong size does. An
// application that is missing or has no version resource is not compared,
// but gets no delta; one whose version cannot be read gets nothing. From the download's end until
// the unpacking has ended the temporary file is held (SFileHandle): nobody can change it between
// the check and the unpacking.
//
// Closing the dialog while the worker runs stops the install at its next safe
// point, within a second: between two blocks of the download or the local
// copy (or during a wait on them), between two blocks of the signature's
// hash and between two chunks or megabytes of the unpacking. The temporary
// file is then deleted, a file cut short by the stop is removed, nothing is
// started, and the process exits. Only the UI thread touches the controls:
// the worker hands over the unpacking's problem lines with its failure
// notification, and the control pointers are cleared when the window goes.
#pragma once

#include <stdint.h>

#include <atomic>

#include "core/SStringArray.h"
#include "system/SNetwork.h"
#include "system/SThread.h"
#include "wnd/SWndDialog.h"

class PWndExtract : public SWndDialog {
public:
    PWndExtract();
    // Destroys the worker first, which waits for its thread to stop (SThread).
    ~PWndExtract() override;

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override;

    // Notification codes from the worker.
    enum { NOTIFY_DONE = 0, NOTIFY_FAILED = 1, NOTIFY_PROGRESS = 2 };

private:
    class _PThread : public SThread {
    public:
        explicit _PThread(PWndExtract* dialog);
        // Stops the install and waits for it before the members go.
        ~_PThread() override;
        // The install sequence; returns false (no message loop afterwards).
        bool Run() override;
        // On the UI thread: closes the dialog, shows "Failed." (with the
        // problem lines) or moves the bar.
        void OnNotify(int code, SValue* value) override;

        // Written by the download on the worker thread, read by the UI thread
        // without a lock: a torn pair only shows a wrong position once.
        volatile int32_t m_total;
        volatile int32_t m_received;
        // Set while a progress notification waits for the UI thread. Blocks
        // arriving meanwhile only update the two fields, which that
        // notification reads when it is handled; so the notification slots
        // never fill up with progress and the final notification always
        // finds a free one.
        std::atomic<bool> m_progressPending;
        // The bar position of the last progress notification; worker only.
        int m_lastPosition;
        // The unpacking's problem lines when it could not start: written by
        // the worker before its failure notification, read on the UI thread.
        SStringArray m_problems;

        // The bar position for received of total bytes: received / total *
        // 1000 truncated toward zero; 0 when it has no int value.
        static int BarPosition(int received, int total);

    private:
        bool Install();
        // The checks and the unpacking of the held temporary file: its size,
        // then Admit, then every entry into the destination folder.
        bool Unpack(const char* temp);
        // True when the package at temp may be installed: always for an
        // Update.exe without a stamp; with one, only when it is signed by the
        // stamped key, is not older than the installed application's version
        // and, for a delta, was made from exactly that version.
        bool Admit(const char* temp);
        // The unpacking's progress hook: false once a stop is requested.
        static bool KeepUnpacking(int thousandths, int value);
        PWndExtract* m_dialog;   // not owned: the dialog that owns this worker
    };

    class _PNetwork : public SNetwork {
    public:
        explicit _PNetwork(_PThread* thread) : m_thread(thread) {}
        // Stores the total and the offset of the block, posts a progress
        // notification and has the block written.
        int OnProgress(int total, int offset, uint32_t length, const uint8_t* buffer,
                       SFile* destination, int userValue) override;

    protected:
        // True once the dialog has asked the worker to stop.
        bool IsCancelled() override;

    private:
        _PThread* m_thread;   // not owned
    };

    _PThread m_thread;
    SWnd* m_label;      // not owned: rows of the dialog; null before it is ready and once it is
                        // destroyed
    SWnd* m_progress;   // not owned
    SWnd* m_list;       // not owned
};
