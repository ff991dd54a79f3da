#include "SSelector.h"

#include <commdlg.h>
#include <shlobj.h>

#include <string.h>

SSelector::SSelector()
{
}

SSelector::~SSelector()
{
}

namespace {

// The chooser calls back once it exists, to move to the initial folder.
int CALLBACK BrowseCallback(HWND window, UINT message, LPARAM, LPARAM data)
{
    if (message == BFFM_INITIALIZED && data)
        SendMessageA(window, BFFM_SETSELECTIONA, TRUE, data);
    return 0;
}

}   // namespace

SString SSelector::SelectFolder(HWND owner, const char* title, const char* initialFolder,
                                unsigned int options)
{
    char display[MAX_PATH] = "";
    BROWSEINFOA info;
    memset(&info, 0, sizeof(info));
    info.hwndOwner = owner;
    info.pszDisplayName = display;
    info.lpszTitle = title;
    info.ulFlags = options;
    if (initialFolder && *initialFolder) {
        info.lpfn = BrowseCallback;
        info.lParam = (LPARAM)initialFolder;
    }
    SString result;
    LPITEMIDLIST list = SHBrowseForFolderA(&info);
    if (!list)
        return result;
    char path[MAX_PATH] = "";
    if (SHGetPathFromIDListA(list, path))
        result = path;
    CoTaskMemFree(list);
    return result;
}

SString SSelector::SaveFile(HWND owner, const char* title, const char* filter,
                            const char* defaultName)
{
    return RunFileDialog(true, owner, title, filter, defaultName);
}

SString SSelector::OpenFile(HWND owner, const char* title, const char* filter,
                            const char* defaultName)
{
    return RunFileDialog(false, owner, title, filter, defaultName);
}

SString SSelector::RunFileDialog(bool save, HWND owner, const char* title, const char* filter,
                                 const char* defaultName)
{
    // The dialog wants "text\0pattern\0...\0\0"; the library writes "|" instead.
    char filters[1024];
    memset(filters, 0, sizeof(filters));
    if (filter)
        lstrcpynA(filters, filter, sizeof(filters) - 2);
    size_t length = strlen(filters);
    for (size_t i = 0; i < length; i++) {
        if (filters[i] == '|')
            filters[i] = '\0';
    }

    // The first pattern's extension ("*.upd" -> "upd") is added to bare names.
    SString extension;
    const char* pattern = filters + strlen(filters) + 1;
    const char* dot = strrchr(pattern, '.');
    if (dot && dot[1] && dot[1] != '*')
        extension = dot + 1;

    char path[MAX_PATH * 4] = "";
    if (defaultName)
        lstrcpynA(path, defaultName, sizeof(path));

    OPENFILENAMEA dialog;
    memset(&dialog, 0, sizeof(dialog));
    dialog.lStructSize = sizeof(dialog);
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = filters;
    dialog.nFilterIndex = 1;
    dialog.lpstrFile = path;
    dialog.nMaxFile = sizeof(path);
    dialog.lpstrTitle = title;
    dialog.lpstrDefExt = extension.IsEmpty() ? nullptr : extension.Text();
    dialog.Flags = OFN_EXPLORER | OFN_HIDEREADONLY | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR |
        (save ? 0 : OFN_FILEMUSTEXIST);
    BOOL chosen = save ? GetSaveFileNameA(&dialog) : GetOpenFileNameA(&dialog);
    return chosen ? SString(path) : SString();
}
