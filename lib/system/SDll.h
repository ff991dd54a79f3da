// SDll: loads a dynamic library, looks up its exported functions and unloads
// it. A library can also be loaded from a temporary copy (so the original file
// stays free to be replaced); unloading then deletes the copy.
#pragma once

#include <windows.h>

#include "core/SArray.h"
#include "core/SString.h"

class SDll {
public:
    SDll();
    SDll(const SDll&) = delete;
    SDll& operator=(const SDll&) = delete;
    // Calls Free.
    virtual ~SDll();

    // Frees what is loaded, then loads fileName in place. False when the
    // library cannot be loaded (or fileName is null); nothing is loaded then.
    bool Load(const char* fileName);
    // Frees what is loaded, copies fileName to a new file in the temporary
    // folder and loads the copy, recording it for deletion by Free. False
    // when the copy cannot be made or loaded; no copy is left behind then.
    bool LoadCopy(const char* fileName);
    // The exported function's address (cast it to its type), or null when
    // nothing is loaded or the library has no such export.
    void* GetProc(const char* name) const;
    // Unloads the library. False when nothing is loaded or the platform refuses
    // (the library then stays loaded and recorded, so Free can be retried).
    // Otherwise the module is forgotten, the handle list emptied and a
    // recorded temporary copy deleted (the record is emptied even when the
    // deletion fails); true.
    bool Free();

    bool IsLoaded() const { return m_module != nullptr; }
    HMODULE GetModule() const { return m_module; }
    // Path of the temporary copy in use; empty when loaded in place or not at all.
    const SString& GetCopyPath() const { return m_copy; }
    // The modules this object holds loaded: the one library while loaded,
    // none otherwise.
    const SArray<HMODULE>& GetHandles() const { return m_handles; }

private:
    SString m_copy;              // temporary copy to delete on unload; empty when loaded in place
    HMODULE m_module;            // owned; null when nothing is loaded
    SArray<HMODULE> m_handles;   // owned list of the modules held loaded
};
