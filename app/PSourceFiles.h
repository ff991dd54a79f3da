// PSourceFiles: what a package is made of, shared by the maker dialog and the
// console packer: every file under the source folder, sub-folders included,
// except the folder's own Update.exe, each under its path below the folder;
// and the package's place beside the description file.
#pragma once

#include "core/SStringArray.h"
#include "file/SDisk.h"
#include "file/SPath.h"

class PSourceFiles {
public:
    // Fills files (letter case ignored in its comparisons) with the full path
    // of every file under folder, which is in its full form, ending in "\\".
    // The updater itself is left out where it runs from; one in a sub-folder
    // belongs to the application and stays. Returns the count: 0 for a
    // folder with no other files, or one that cannot be listed.
    static int List(SDisk* disk, const SString& folder, SStringArray* files);

    // The entry name of a listed file: the walk writes every file as the
    // folder text followed by its path below it, so it is what follows.
    static SString EntryName(const SString& path, const SString& folder);

    // The package beside a description file: its folder, its title, ".bin"
    // (release.upd in D:\pub\ gives D:\pub\release.bin).
    static SString PackagePath(const SPath& description);
};
