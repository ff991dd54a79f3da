// DialogView: shows a dialog text the way the library builds it, for people
// who write dialog texts.
//
//   DialogView FILE                 builds the dialog and shows it modally
//   DialogView --dump FILE          builds it hidden and prints its windows
//   DialogView --close-after MS FILE  shows it and closes it after MS ms
//
// --dump prints the dialog's line first, then one line per control in
// creation order:
//   TYPE ID "NAME" X Y W H STYLE EXSTYLE "CAPTION"
// with the live window's values: a control's position relative to the
// dialog's client area, the dialog's own position on the screen and its
// client size; styles in hexadecimal.
//
// Exit codes: 0 success, 1 the file cannot be read or the dialog cannot be
// built (the message names the failing line), 2 wrong usage.
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "core/SString.h"
#include "file/SFileMem.h"
#include "wnd/SWndApp.h"
#include "wnd/SWndDialog.h"
#include "wnd/SWndDialogDesc.h"

namespace {

const UINT_PTR kCloseTimer = 1;

const char kUsage[] =
    "usage: DialogView [--dump | --close-after MS] FILE\n"
    "  FILE               a dialog text (\"VORLIX DIALOG 1.0.0.0\")\n"
    "  --dump             build the dialog hidden and print one line per window:\n"
    "                     TYPE ID \"NAME\" X Y W H STYLE EXSTYLE \"CAPTION\"\n"
    "  --close-after MS   close the shown dialog after MS milliseconds\n"
    "  --help             show this text\n"
    "Without --dump the dialog is shown until it is closed (Escape closes it);\n"
    "button presses are printed.\n"
    "Exit codes: 0 success, 1 the file does not load, 2 wrong usage.\n";

// The previewed dialog: Escape / Enter and the timer close it, button
// presses are reported on stdout.
class PreviewDialog : public SWndDialog {
public:
    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override
    {
        switch (msg) {
        case SWM_OK:
        case SWM_CANCEL:
            Destroy();
            return 0;
        case WM_TIMER:
            if (wParam == kCloseTimer) {
                Destroy();
                return 0;
            }
            break;
        case SWM_COMMAND: {
            SWnd* control = (SWnd*)wParam;
            int row = GetRow(control);
            printf("command %d \"%s\"\n", control ? control->GetId() : 0, GetRowName(row));
            fflush(stdout);
            break;
        }
        default:
            break;
        }
        return SWndDialog::Handler(msg, wParam, lParam);
    }
};

void PrintWindowLine(const char* type, int id, const char* name, HWND hwnd, const RECT& rect)
{
    SString caption;
    int length = GetWindowTextLengthA(hwnd);
    if (length > 0 && caption.SetLength(length, false)) {
        int got = GetWindowTextA(hwnd, caption.GetBuffer(), length + 1);
        caption.SetLength(got < 0 ? 0 : got);
    }
    printf("%s %d \"%s\" %d %d %d %d 0x%08lX 0x%08lX \"%s\"\n", type, id, name ? name : "",
           (int)rect.left, (int)rect.top, (int)(rect.right - rect.left),
           (int)(rect.bottom - rect.top), (unsigned long)(DWORD)GetWindowLongA(hwnd, GWL_STYLE),
           (unsigned long)(DWORD)GetWindowLongA(hwnd, GWL_EXSTYLE), caption.Text());
}

void Dump(const SWndDialog& dialog)
{
    HWND hwnd = dialog.GetHandle();
    RECT window, client;
    ::GetWindowRect(hwnd, &window);
    ::GetClientRect(hwnd, &client);
    RECT rect = {window.left, window.top, window.left + client.right, window.top + client.bottom};
    const SWndDialogDesc& desc = dialog.GetDesc();
    PrintWindowLine(SWndDialogDesc::GetTypeName(desc.GetDialog().type), desc.GetDialog().id,
                    desc.GetDialog().name.Text(), hwnd, rect);
    for (int row = 0; row < dialog.GetRowCount(); row++) {
        SWnd* control = dialog.GetRowControl(row);
        const SWndDialogEntry* entry = desc.GetControl(row);
        if (!control || !control->GetHandle())
            continue;
        RECT place;
        control->GetWindowRect(&place);
        MapWindowPoints(nullptr, hwnd, (POINT*)&place, 2);
        PrintWindowLine(entry ? SWndDialogDesc::GetTypeName(entry->type) : "?",
                        dialog.GetRowId(row), dialog.GetRowName(row), control->GetHandle(), place);
    }
}

int Usage(const char* problem)
{
    if (problem)
        fprintf(stderr, "DialogView: %s\n", problem);
    fputs(kUsage, stderr);
    return 2;
}

}   // namespace

int main(int argc, char** argv)
{
    bool dump = false;
    int closeAfter = -1;
    const char* path = nullptr;
    for (int i = 1; i < argc; i++) {
        const char* arg = argv[i];
        if (strcmp(arg, "--help") == 0 || strcmp(arg, "-h") == 0 || strcmp(arg, "/?") == 0) {
            fputs(kUsage, stdout);
            return 0;
        }
        if (strcmp(arg, "--dump") == 0) {
            dump = true;
        } else if (strcmp(arg, "--close-after") == 0) {
            if (i + 1 >= argc)
                return Usage("--close-after needs a number of milliseconds");
            char* end = nullptr;
            long ms = strtol(argv[++i], &end, 10);
            if (!end || *end || ms < 0 || ms > 0x7FFFFFFF)
                return Usage("--close-after needs a number of milliseconds");
            closeAfter = (int)ms;
        } else if (arg[0] == '-' && arg[1] == '-') {
            SString problem;
            problem.Format("unknown option %s", arg);
            return Usage(problem.Text());
        } else if (path) {
            return Usage("only one FILE can be shown");
        } else {
            path = arg;
        }
    }
    if (!path)
        return Usage("no FILE given");
    if (dump && closeAfter >= 0)
        return Usage("--dump and --close-after do not go together");

    SFileMem file;
    if (!file.LoadFile(path)) {
        fprintf(stderr, "DialogView: %s: cannot read the file\n", path);
        return 1;
    }
    SWndDialogDesc desc;
    if (!desc.Load(&file)) {
        fprintf(stderr, "DialogView: %s:%d: the dialog text does not load at this line\n", path,
                desc.GetErrorLine());
        return 1;
    }
    bool visible = (desc.GetDialog().style & WS_VISIBLE) != 0;
    if (dump)
        desc.GetDialog().style &= ~(DWORD)WS_VISIBLE;

    SWndApp::Init(GetModuleHandleA(nullptr), false, false, false);
    SWndApp::SetIcons(107, 108);
    int result = 0;
    {
        PreviewDialog dialog;
        if (!dialog.CreateFromDesc(desc, nullptr, true, 0)) {
            fprintf(stderr, "DialogView: %s: the dialog window cannot be created\n", path);
            result = 1;
        } else if (dump) {
            Dump(dialog);
        } else {
            if (!visible)
                dialog.Show();
            if (closeAfter >= 0)
                SetTimer(dialog.GetHandle(), kCloseTimer, (UINT)closeAfter, nullptr);
            bool wait = true;
            SWndApp::RunModalLoop(&dialog, &wait);
        }
        fflush(stdout);
    }
    SWndApp::Exit();
    return result;
}
