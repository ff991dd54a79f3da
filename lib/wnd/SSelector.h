// SSelector: the platform's folder chooser and file dialogs.
#pragma once

#include <windows.h>

#include "core/SString.h"

class SSelector {
public:
    SSelector();
    virtual ~SSelector();

    // Shows the shell's folder chooser with title over owner (may be null),
    // starting at initialFolder (empty or null: the chooser's own start).
    // options are BIF_ flags. Returns the chosen folder, or an empty text
    // when the user cancels or picks something that is not a file-system folder.
    SString SelectFolder(HWND owner, const char* title, const char* initialFolder,
                         unsigned int options);

    // Shows the Save As dialog. filter is "Description|*.ext" pairs separated by
    // "|" (e.g. "Update files|*.upd"); the first pattern's extension is added to
    // a name typed without one. defaultName may be empty or null. Returns the
    // chosen path, or an empty text when the user cancels or the dialog fails.
    SString SaveFile(HWND owner, const char* title, const char* filter, const char* defaultName);

    // As SaveFile, for an existing file to open.
    SString OpenFile(HWND owner, const char* title, const char* filter, const char* defaultName);

private:
    SString RunFileDialog(bool save, HWND owner, const char* title, const char* filter,
                          const char* defaultName);
};
