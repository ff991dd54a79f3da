// PDeltaPackage: the package that updates one earlier release to the new one.
// It holds exactly the files of the new release that the earlier release's
// package lacks or holds with other bytes; the installer unpacks it over the
// installed folder like any package and leaves every other file alone, so for
// users of that release it is a complete update. Files the new release no
// longer has are only named: the installer never deletes, so they stay on
// users' disks.
//
// The earlier release is given by its description file, with its package
// beside it as the maker wrote them. Files are compared by content, names
// ignoring letter case as the package does: each old entry's chunks are
// inflated one at a time against the new file's bytes, stopping at the first
// difference, so memory stays bounded by the chunk buffers whatever the sizes.
// An old chunk that does not inflate cleanly to its stated length counts as a
// difference: what is in doubt goes into the delta.
#pragma once

#include "core/SString.h"
#include "core/SStringArray.h"
#include "core/SVersion.h"
#include "file/SFile.h"
#include "file/SResource.h"

class PDeltaPackage {
public:
    // Reads the earlier release: line 1 of oldDescription, its version, must
    // be a version below newVersion; line 2 must give the size of the package
    // beside it (same title, .bin), which must open as a package. False with
    // GetError() naming the fault otherwise.
    bool Load(const char* oldDescription, const SVersion& newVersion);

    // Compares the new release's files (root + each name of names) with the
    // earlier package and fills GetChanged, GetAdded and GetRemoved. False
    // with GetError() when a new file cannot be read.
    bool Compare(const SString& root, const SStringArray& names);

    // Writes the delta package of the changed and added files of root to
    // path, compressed, reporting through progress (may be null). False with
    // GetError() when it cannot be written.
    bool Write(const SString& root, const char* path, SResourceProgress progress);

    // The earlier release's version as its description gives it.
    const SString& GetFrom() const { return m_from; }
    // The earlier release's package.
    const SString& GetOldPackage() const { return m_oldPackage; }
    // The delta package's path for the description newDescription:
    // its folder, its title, "-from-", the earlier version, ".bin".
    SString PathFor(const SString& newDescription) const;

    // Files of the new release whose bytes differ from the earlier package's.
    const SStringArray& GetChanged() const { return m_changed; }
    // Files of the new release that the earlier package lacks.
    const SStringArray& GetAdded() const { return m_added; }
    // Entries of the earlier package that the new release no longer has.
    const SStringArray& GetRemoved() const { return m_removed; }
    const SString& GetError() const { return m_error; }

private:
    // True when the old entry index holds exactly the bytes of file, which is
    // open at its start.
    bool SameContent(int index, SFile& file);
    bool SameStored(SFile& old, uint32_t length, SFile& file);
    bool SameCompressed(SFile& old, SFile& file);

    SString m_from;
    SString m_oldPackage;
    SResource m_old;
    SStringArray m_changed, m_added, m_removed;
    SStringArray m_holds;   // changed and added, in the new release's order
    SString m_error;
};
