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

// Waits until no process has the application's executable loaded; false
// when it is still loaded after the limit.
bool WaitForApplicationEnd()
{
    // The clock is read by subtraction on the unsigned counter, so a wrap
    // during the wait is harmless.
    uint32_t start = SSystem::GetMilliseconds();
    while (SSystem::GetMilliseconds() - start < WAIT_LIMIT_MS) {
        SSystem probe;
        if (SSystem::CountModules(SWndApp::GetArg(3, true).Text()) == 0)
            return true;
        // Deliberately a spin on the clock, not a sleep: no window exists yet
        // and no message is pumped.
        uint32_t step = SSystem::GetMilliseconds();
        while (SSystem::GetMilliseconds() - step < WAIT_STEP_MS) {}
    }
    return false;
}

int UpdateMain(HINSTANCE instance)
{
    SWndApp::Init(instance, true, false, false);
    SWndApp::SetIcons(107, 108);
    if (SWndApp::GetArgCount() != 4) {
        PWndMake maker;
        RunDialog(&maker, DIALOG_MAKE);
    } else if (WaitForApplicationEnd()) {
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
