// SWndDialogDesc: the parsed form of a dialog text ("VORLIX DIALOG 1.0.0.0"):
// one entry for the dialog, then one per control in document order. Parsing
// makes no platform calls; SWndDialog builds windows from the result.
#pragma once

#include <stdint.h>

#include <unordered_set>

#include "SWndDialogEntry.h"
#include "core/SArray.h"
#include "core/SString.h"

class SFile;

class SWndDialogDesc {
public:
    SWndDialogDesc();
    SWndDialogDesc(const SWndDialogDesc&) = delete;
    SWndDialogDesc& operator=(const SWndDialogDesc&) = delete;
    virtual ~SWndDialogDesc();

    // Reads the document from the file's current position to its end and
    // parses it. False (and an empty description) for a null or unreadable
    // file and for every failure of Parse.
    bool Load(SFile* document);
    // Parses text (a negative length means strlen). False, with the
    // description cleared and GetErrorLine() naming the line, when line 1 is
    // not "VORLIX DIALOG 1.0.0.0", a section header names no known type, a
    // property line has no "=", or there is no dialog section at all.
    bool Parse(const char* text, int length = -1);
    // Empties the description; the dialog entry returns to its defaults.
    void Clear();

    // 1-based number of the line that failed the last load; 0 after a
    // successful one.
    int GetErrorLine() const { return m_errorLine; }

    // The dialog's own entry (defaults when nothing was loaded).
    const SWndDialogEntry& GetDialog() const { return m_dialog; }
    SWndDialogEntry& GetDialog() { return m_dialog; }
    int GetControlCount() const { return m_controls.GetCount(); }
    // The control entry at index, or null outside 0 .. count-1.
    const SWndDialogEntry* GetControl(int index) const;
    SWndDialogEntry* GetControl(int index)
    {
        return const_cast<SWndDialogEntry*>(
            static_cast<const SWndDialogDesc*>(this)->GetControl(index));
    }

    // Appends a copy of entry as a control. When its ID is already used by an
    // earlier control it gets the lowest unused ID from 1 to 9999, or -1 when
    // all are taken. Returns the new index, or -1 when memory runs out.
    int AddControl(const SWndDialogEntry& entry);

    // The type code of a section name (without brackets), compared ignoring
    // case with the blank-free type names; -1 when none matches.
    static int FindType(const char* name, int length = -1);
    // The type name with its blanks ("Code Edit"); "" outside 0 .. 32.
    static const char* GetTypeName(int type);
    // "#AARRGGBB" gives AARRGGBB, "#RRGGBB" gives 00BBGGRR; any other form 0.
    static uint32_t ParseColor(const char* text, int length = -1);
    // The OR of the blank-separated style words that the type understands;
    // unknown words are ignored.
    static uint32_t ParseStyle(int type, const char* words, int length = -1);
    // Leading-number conversion: optional blanks, sign and digits; 0 when
    // the text does not start with a number; saturates at the int range.
    static int ParseInt(const char* text, int length = -1);

private:
    bool ParseSection(const char* text, int length, int* pos, int* line, bool dialog);
    void ApplyLine(SWndDialogEntry* entry, const char* key, int keyLength, const char* value,
                   int valueLength);

    SWndDialogEntry m_dialog;
    SArray<SWndDialogEntry*> m_controls;   // owns the entries
    std::unordered_set<int> m_usedIds;     // IDs of the control entries
    int m_nextFreeId;                      // no ID from 1 below this one is free
    int m_errorLine;
};
