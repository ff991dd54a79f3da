// Any text given to the dialog parser loads or fails cleanly, and what it
// loads can be read back.
#include <stddef.h>
#include <stdint.h>

#include "wnd/SWndDialogDesc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SWndDialogDesc desc;
    if (desc.Parse((const char*)data, (int)size)) {
        for (int i = 0; i < desc.GetControlCount(); i++) {
            const SWndDialogEntry* entry = desc.GetControl(i);
            entry->GetText("LABEL_HALIGN");
            entry->GetInt("TABGROUP");
            entry->GetColor("LIST_SELBACKCOLOR");
        }
    }
    SWndDialogDesc::ParseColor((const char*)data, (int)size);
    SWndDialogDesc::ParseStyle((int)(size % 40) - 3, (const char*)data, (int)size);
    return 0;
}
