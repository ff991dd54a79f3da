// PWndMake: the "Make update files" dialog. The publisher types a version and
// names a source folder (typed, chosen with "..." or dropped on the dialog);
// "Make" writes the package (".bin") of every file under the folder except
// the folder's own Update.exe, and beside it the description file (".upd":
// the version line and the package size line).
#pragma once

#include "file/SDisk.h"
#include "wnd/SWndDialog.h"

class PWndMake : public SWndDialog {
public:
    // Ids of the dialog's buttons.
    enum { BTN_MAKE = 1, BTN_FOLDER = 4 };

    PWndMake();
    ~PWndMake() override;

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override;

    // The make sequence, as the "Make" button runs it. Failures show the
    // message boxes "Invalid folder" and "No files"; a cancelled save dialog
    // and failed writes are silent.
    void Make();
    // The folder chooser, as the "..." button runs it.
    void BrowseFolder();

private:
    void OnDropFiles(const SStringArray* paths);

    SDisk m_disk;
    SWnd* m_editVersion;   // not owned: a row of the dialog; null before it is ready
    SWnd* m_editFolder;    // not owned: a row of the dialog; null before it is ready
};
