// SWndDialogEntry: one object of a dialog text, the dialog itself or one of
// its controls, as the parser read it. A plain record: the common keys land
// in the fields, every other KEY=VALUE line in the property text, from which
// the type-specific values are read back by key. No platform calls, so the
// parser and its fuzzer build on any host.
#pragma once

#include <stdint.h>

#include "core/SString.h"

// Type codes of the dialog text (section names are the type names upper-cased
// without blanks: [DIALOG], [CODEEDIT], [TABDOC], ...).
enum SWndDialogType {
    SWND_TYPE_DIALOG = 0,
    SWND_TYPE_BROWSER = 1,
    SWND_TYPE_BUTTON = 2,
    SWND_TYPE_CHECK = 3,
    SWND_TYPE_CODEEDIT = 4,
    SWND_TYPE_COMBO = 5,
    SWND_TYPE_EDIT = 6,
    SWND_TYPE_EXTENDEDLIST = 7,
    SWND_TYPE_GROUP = 8,
    SWND_TYPE_GUI = 9,
    SWND_TYPE_IMAGEEDITOR = 10,
    SWND_TYPE_LABEL = 11,
    SWND_TYPE_LCD = 12,
    SWND_TYPE_LEVEL = 13,
    SWND_TYPE_LIST = 14,
    SWND_TYPE_MEDIA = 15,
    SWND_TYPE_MEDIAPLAYER = 16,
    SWND_TYPE_PANEL = 17,
    SWND_TYPE_PROGRESS = 18,
    SWND_TYPE_PROPERTY = 19,
    SWND_TYPE_RADIO = 20,
    SWND_TYPE_RICHEDIT = 21,
    SWND_TYPE_SCROLL = 22,
    SWND_TYPE_SLIDER = 23,
    SWND_TYPE_SPLITTER = 24,
    SWND_TYPE_SPREAD = 25,
    SWND_TYPE_STATIC = 26,
    SWND_TYPE_TAB = 27,
    SWND_TYPE_TABDOC = 28,
    SWND_TYPE_TOOLBAR = 29,
    SWND_TYPE_TREE = 30,
    SWND_TYPE_WAVEEDITOR = 31,
    SWND_TYPE_WINDOW = 32,
    SWND_TYPE_COUNT = 33
};

// Every colour property defaults to this marker: "use the default colour".
enum : uint32_t { SWND_COLOR_NOTSET = 0xFF000000u };

class SWndDialogEntry {
public:
    SWndDialogEntry();
    explicit SWndDialogEntry(int type);

    // Resets every field to its default for the given type code.
    void Clear(int type);

    // The value text of the first KEY=VALUE line of the property text whose
    // key equals key exactly; empty when the key is absent.
    SString GetText(const char* key) const;
    // True when the property text holds a line with that key.
    bool HasKey(const char* key) const;
    // The leading-number conversion of the value; 0 when the key is absent
    // or the value does not start with a number.
    int GetInt(const char* key) const;
    // GetInt(key) != 0.
    bool GetBool(const char* key) const;
    // The value read as a colour; SWND_COLOR_NOTSET when the key is absent.
    uint32_t GetColor(const char* key) const;

    int type;           // SWndDialogType
    int id;             // "ID"; 0 when absent
    SString name;       // "NAME"
    SString caption;    // "CAPTION"
    bool hasFont;       // "FONT" with exactly three fields
    SString fontFace;   // empty: the default font
    int fontSize;       // points
    int fontFlags;      // 1 bold, 2 italic, 4 underline, 8 strike-out
    bool hasPosition;   // "POSITION" with exactly four numbers
    short x, y, width, height;
    uint32_t style;       // "STYLE" words of this type
    uint32_t exStyle;     // "EXSTYLE" words of this type
    uint32_t backColor;   // "BACKCOLOR"; SWND_COLOR_NOTSET when absent
    uint32_t textColor;   // "TEXTCOLOR"; SWND_COLOR_NOTSET when absent
    bool transparent;     // "TRANSPARENT" non-zero
    bool locked;          // "ISLOCKED" non-zero
    SString properties;   // every other line as KEY=VALUE\r\n, in order
};
