#include "PWndExtract.h"

#include <commctrl.h>
#include <stdlib.h>

#include "core/SStringArray.h"
#include "ctrl/SListCtrl.h"
#include "file/SDisk.h"
#include "file/SFileHandle.h"
#include "file/SFilePath.h"
#include "file/SResource.h"
#include "system/SEcKey.h"
#include "system/SFileVersion.h"
#include "system/SPackageSignature.h"
#include "wnd/SWndApp.h"

namespace {
// The worker whose install runs on this thread, for the unpacking's stop
// check (a plain function).
thread_local const SThread* t_worker = nullptr;
}   // namespace

PWndExtract::PWndExtract() : m_thread(this), m_label(nullptr), m_progress(nullptr), m_list(nullptr)
{
}

PWndExtract::~PWndExtract()
{
}

LRESULT PWndExtract::Handler(UINT msg, WPARAM wParam, LPARAM lParam)
{
    switch (msg) {
    case WM_DESTROY:
        // The controls go with the window; a notification still queued must
        // not reach them.
        m_label = m_progress = m_list = nullptr;
        m_thread.Stop(false);
        PostQuitMessage(0);
        break;
    case SWM_DIALOGREADY:
        m_label = FindByName("LABEL");
        m_progress = FindByName("PROGRESS");
        m_list = FindByName("LIST");
        m_thread.Start(false);
        break;
    }
    return SWndDialog::Handler(msg, wParam, lParam);
}

PWndExtract::_PThread::_PThread(PWndExtract* dialog)
    : m_total(0), m_received(0), m_progressPending(false), m_lastPosition(0), m_dialog(dialog)
{
}

PWndExtract::_PThread::~_PThread()
{
    EndThread();
}

int PWndExtract::_PThread::BarPosition(int received, int total)
{
    // Without a length (total -1) the position is zero or negative and the
    // bar stays at its minimum. A server that announces 0 bytes and sends
    // some gives a quotient that has no int value.
    double position = received * 1.0 / total * 1000.0;
    if (!(position > -1e9 && position < 1e9))
        position = position > 0 ? 1e9 : 0;
    return (int)position;
}

void PWndExtract::_PThread::OnNotify(int code, SValue*)
{
    switch (code) {
    case NOTIFY_DONE:
        if (m_dialog->GetHandle())
            m_dialog->Send(WM_CLOSE);
        break;
    case NOTIFY_FAILED: {
        SListCtrl* list = dynamic_cast<SListCtrl*>(m_dialog->m_list);
        if (list)
            list->InsertStrings(&m_problems, -1, 0, 0, 0);
        if (m_dialog->m_label)
            m_dialog->m_label->SetText("Failed.");
        break;
    }
    case NOTIFY_PROGRESS:
        m_progressPending = false;
        // Without a length (total -1) the position is zero or negative and
        // the bar stays at its minimum.
        if (m_dialog->m_progress)
            m_dialog->m_progress->Send(PBM_SETPOS, (WPARAM)BarPosition(m_received, m_total));
        break;
    }
}

bool PWndExtract::_PThread::Run()
{
    t_worker = this;
    Notify(Install() ? NOTIFY_DONE : NOTIFY_FAILED, 0);
    return false;
}

bool PWndExtract::_PThread::KeepUnpacking(int, int)
{
    return !t_worker || !t_worker->IsStopRequested();
}

bool PWndExtract::_PThread::Install()
{
    SDisk disk;
    SString temp = disk.TempFileName();
    SFilePath file;
    // The empty temporary file is deliberately left behind on this path only.
    if (!file.Open(temp.Text(), true, true, false))
        return false;

    _PNetwork network(this);
    bool downloaded = network.Download(&file, SWndApp::GetArg(1, true).Text(), 1024, 0);
    file.Close();
    // Held from here until the unpacking has ended, so that the bytes checked
    // are the bytes unpacked. A file that cannot be held (another process
    // has it open for writing) is not installed.
    SFileHandle hold;
    bool installed =
        downloaded && !IsStopRequested() && hold.Hold(temp.Text()) && Unpack(temp.Text());
    hold.Close();
    disk.Remove(temp.Text());
    if (!installed || IsStopRequested())
        return false;

    // The start's result is not checked: the update itself has succeeded.
    disk.Open(SWndApp::GetArg(3, true).Text(), "", false, SW_SHOWNORMAL);
    return true;
}

bool PWndExtract::_PThread::Admit(const char* temp)
{
    SEcKey key;
    int stamp = key.LoadStamped();
    if (stamp == SEcKey::STAMP_NONE)
        return true;
    SPackageSignature signature;
    if (stamp != SEcKey::STAMP_KEY ||
        signature.Check(temp, key, KeepUnpacking, 0) != SPackageSignature::SIGNATURE_OK)
        return false;
    // An application whose version cannot be read (rather than one that has
    // none) could be any version: nothing is installed over it.
    SVersion installed;
    int read = SFileVersion::Read(SWndApp::GetArg(3, true).Text(), &installed);
    if (read == SFileVersion::UNREADABLE)
        return false;
    bool known = read == SFileVersion::FOUND;
    // A delta only applies to the version it was made from.
    if (signature.GetBase())
        return known && installed.Compare(*signature.GetBase()) == 0;
    return !known || signature.GetVersion().Compare(installed) >= 0;
}

bool PWndExtract::_PThread::Unpack(const char* temp)
{
    SDisk disk;
    long expected = strtol(SWndApp::GetArg(0, true).Text(), nullptr, 10);
    if (disk.FileSize(temp) != (uint32_t)expected || !Admit(temp))
        return false;

    SResource package;
    if (!package.Open(temp, 0))
        return false;

    // Unpacking fails only when it cannot start; single entries that fail
    // are listed but deliberately count as success, so the lines are shown
    // (by the UI thread, with the failure) only in the first case. The
    // progress hook is the stop check between entries and chunks.
    package.SetProgress(KeepUnpacking, 0);
    return package.ExtractAll(SWndApp::GetArg(2, true).Text(), &m_problems);
}

bool PWndExtract::_PNetwork::IsCancelled()
{
    return m_thread->IsStopRequested();
}

int PWndExtract::_PNetwork::OnProgress(int total, int offset, uint32_t, const uint8_t*, SFile*, int)
{
    m_thread->m_total = total;
    m_thread->m_received = offset;
    // A worker is far faster than a UI thread that repaints: unthrottled,
    // progress would take all notification slots and the final "done" or
    // "failed" could be dropped, leaving the dialog stuck. So a notification
    // goes only when the bar would move and none is waiting; the bar reads
    // the latest fields whenever it moves.
    int position = _PThread::BarPosition(offset, total);
    if (position != m_thread->m_lastPosition && !m_thread->m_progressPending.exchange(true)) {
        m_thread->m_lastPosition = position;
        m_thread->Notify(NOTIFY_PROGRESS, 0);
    }
    return 0;
}
