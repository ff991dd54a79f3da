#include "PSourceFiles.h"

int PSourceFiles::List(SDisk* disk, const SString& folder, SStringArray* files)
{
    files->SetFlags(SARRAY_NOCASE);
    disk->List(files, (folder + "*.*").Text(), SDISK_RECURSE | SDISK_FILES);
    int self = files->Find((folder + "Update.exe").Text());
    if (self >= 0)
        files->RemoveAt(self);
    return files->GetCount();
}

SString PSourceFiles::EntryName(const SString& path, const SString& folder)
{
    return path.Mid(folder.GetLength());
}

SString PSourceFiles::PackagePath(const SPath& description)
{
    return description.Parent() + description.Title() + ".bin";
}
