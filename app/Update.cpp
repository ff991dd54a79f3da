// Update.exe: with exactly four arguments (package size, package address,
// destination folder, application path) it installs an update once the
// application has ended; with any other count it is the package maker.
// The exit code is 0 in every case.
#include <windows.h>

#include "PWndExtract.h"
#include "PWndMake.h"
#include "file/SFileMem.h"
#include "system/SSystem.h"
#include "wnd/SWndApp.h"

namespace {

const int DIALOG_EXTRACT = 150;
const int DIALOG_MAKE = 151;
// How long the installer waits for the application to end, and how often it looks.
const uint32_t WAIT_LIMIT_MS = 10000;
const uint32_t WAIT_STEP_MS = 500;

// Builds the dialog from its text resource and runs it modally.
void RunDialog(SWndDialog* dialog, int resourceId)
{
    SFileMem text;
    bool built = text.LoadResource("BINARY", (unsigned short)resourceId) &&
        dialog->CreateFromText(&text, nullptr, nullptr, true, 0);
    text.Close();
    if (built)
        SWndApp::RunModalLoop(dialog, nullptr);
    dialog->Destroy();
}

int UpdateMain(HINSTANCE instance)
{
    SWndApp::Init(instance, true, false, false);
    SWndApp::SetIcons(107, 108);
    if (SWndApp::GetArgCount() != 4) {
        PWndMake maker;
        RunDialog(&maker, DIALOG_MAKE);
    } else if (SSystem::WaitForModuleEnd(SWndApp::GetArg(3, true).Text(), WAIT_LIMIT_MS,
                                         WAIT_STEP_MS)) {
        PWndExtract installer;
        RunDialog(&installer, DIALOG_EXTRACT);
    }
    SWndApp::Exit();
    return 0;
}

}   // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int)
{
    return UpdateMain(instance);
}
