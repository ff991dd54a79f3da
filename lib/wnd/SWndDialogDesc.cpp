#include "SWndDialogDesc.h"

#include <ctype.h>
#include <limits.h>
#include <string.h>

#include "file/SFile.h"

namespace {

const char kHeader[] = "VORLIX DIALOG 1.0.0.0";

// Type names in code order; the section name is the name without blanks.
const char* const kTypeNames[SWND_TYPE_COUNT] = {
    "Dialog",        "Browser",  "Button",       "Check",        "Code Edit", "Combo",    "Edit",
    "Extended List", "Group",    "GUI",          "Image Editor", "Label",     "Lcd",      "Level",
    "List",          "Media",    "Media Player", "Panel",        "Progress",  "Property", "Radio",
    "Rich Edit",     "Scroll",   "Slider",       "Splitter",     "Spread",    "Static",   "Tab",
    "Tab Doc",       "Tool Bar", "Tree",         "Wave Editor",  "Window"};

struct StyleWord {
    const char* word;
    uint32_t value;
};

// Style words understood by every type.
const StyleWord kCommonWords[] = {{"WS_VISIBLE", 0x10000000}, {"WS_DISABLED", 0x08000000}};

const StyleWord kDialogWords[] = {{"WS_BORDER", 0x00800000},      {"WS_CAPTION", 0x00C00000},
                                  {"WS_SYSMENU", 0x00080000},     {"WS_MAXIMIZEBOX", 0x00010000},
                                  {"WS_MINIMIZEBOX", 0x00020000}, {"WS_SIZEBOX", 0x00040000},
                                  {"WS_EX_CLIENTEDGE", 0x200},    {"WS_EX_STATICEDGE", 0x20000},
                                  {"WS_EX_TOOLWINDOW", 0x80},     {"WS_EX_TOPMOST", 0x8}};
const StyleWord kButtonWords[] = {
    {"BS_LEFT", 0x100},  {"BS_RIGHT", 0x200},      {"BS_CENTER", 0x300},
    {"BS_TOP", 0x400},   {"BS_BOTTOM", 0x800},     {"BS_VCENTER", 0xC00},
    {"BS_FLAT", 0x8000}, {"BS_MULTILINE", 0x2000}, {"BS_DEFPUSHBUTTON", 0x1}};
const StyleWord kEditWords[] = {{"WS_BORDER", 0x00800000},    {"WS_HSCROLL", 0x00100000},
                                {"WS_VSCROLL", 0x00200000},   {"ES_LEFT", 0},
                                {"ES_CENTER", 0x1},           {"ES_RIGHT", 0x2},
                                {"ES_AUTOHSCROLL", 0x80},     {"ES_AUTOVSCROLL", 0x40},
                                {"ES_READONLY", 0x800},       {"ES_NOHIDESEL", 0x100},
                                {"ES_LOWERCASE", 0x10},       {"ES_UPPERCASE", 0x8},
                                {"ES_MULTILINE", 0x4},        {"ES_PASSWORD", 0x20},
                                {"ES_NUMBER", 0x2000},        {"WS_EX_CLIENTEDGE", 0x200},
                                {"WS_EX_STATICEDGE", 0x20000}};
const StyleWord kListWords[] = {
    {"WS_BORDER", 0x00800000},       {"WS_HSCROLL", 0x00100000},      {"WS_VSCROLL", 0x00200000},
    {"LBS_MULTIPLESEL", 0x8},        {"LBS_EXTENDEDSEL", 0x800},      {"LBS_NOSEL", 0x4000},
    {"LBS_DISABLENOSCROLL", 0x1000}, {"LBS_NOINTEGRALHEIGHT", 0x100}, {"LBS_SORT", 0x2},
    {"WS_EX_CLIENTEDGE", 0x200},     {"WS_EX_STATICEDGE", 0x20000}};
const StyleWord kProgressWords[] = {
    {"PBS_VERTICAL", 0x4}, {"PBS_SMOOTH", 0x1}, {"PBS_MARQUEE", 0x8}};
const StyleWord kBorderWords[] = {
    {"WS_BORDER", 0x00800000}, {"WS_EX_CLIENTEDGE", 0x200}, {"WS_EX_STATICEDGE", 0x20000}};
const StyleWord kBrowserWords[] = {{"WS_BORDER", 0x00800000}};
const StyleWord kGroupWords[] = {{"BS_LEFT", 0x100}, {"BS_RIGHT", 0x200}, {"BS_CENTER", 0x300}};
const StyleWord kComboWords[] = {{"WS_VSCROLL", 0x00200000},      {"CBS_SIMPLE", 0x1},
                                 {"CBS_DROPDOWN", 0x2},           {"CBS_DROPDOWNLIST", 0x3},
                                 {"CBS_AUTOHSCROLL", 0x40},       {"CBS_DISABLENOSCROLL", 0x800},
                                 {"CBS_NOINTEGRALHEIGHT", 0x400}, {"CBS_SORT", 0x100}};
const StyleWord kExListWords[] = {{"WS_BORDER", 0x00800000},
                                  {"LVS_ICON", 0},
                                  {"LVS_REPORT", 0x1},
                                  {"LVS_SMALLICON", 0x2},
                                  {"LVS_LIST", 0x3},
                                  {"LVS_EDITLABELS", 0x200},
                                  {"LVS_AUTOARRANGE", 0x100},
                                  {"LVS_SINGLESEL", 0x4},
                                  {"LVS_NOLABELWRAP", 0x80},
                                  {"LVS_NOSCROLL", 0x2000},
                                  {"LVS_SHOWSELALWAYS", 0x8},
                                  {"LVS_SORTASCENDING", 0x10},
                                  {"LVS_SORTDESCENDING", 0x20},
                                  {"LVS_NOCOLUMNHEADER", 0x4000},
                                  {"WS_EX_CLIENTEDGE", 0x200},
                                  {"WS_EX_STATICEDGE", 0x20000}};
const StyleWord kRichEditWords[] = {
    {"WS_HSCROLL", 0x00100000}, {"WS_VSCROLL", 0x00200000}, {"ES_LEFT", 0},
    {"ES_RIGHT", 0x2},          {"ES_CENTER", 0x1},         {"ES_AUTOHSCROLL", 0x80},
    {"ES_AUTOVSCROLL", 0x40},   {"ES_READONLY", 0x800},     {"ES_NOHIDESEL", 0x100},
    {"ES_WANTRETURN", 0x1000},  {"ES_SUNKEN", 0x4000},      {"WS_EX_STATICEDGE", 0x20000}};
const StyleWord kScrollWords[] = {{"SBS_VERT", 0x1}};
const StyleWord kSliderWords[] = {{"WS_BORDER", 0x00800000},
                                  {"TBS_TOOLTIPS", 0x100},
                                  {"TBS_VERT", 0x2},
                                  {"WS_EX_CLIENTEDGE", 0x200},
                                  {"WS_EX_STATICEDGE", 0x20000}};
const StyleWord kTabWords[] = {{"TCS_BUTTONS", 0x100},
                               {"TCS_FLATBUTTONS", 0x8},
                               {"TCS_FOCUSNEVER", 0x8000},
                               {"TCS_FOCUSONBUTTONDOWN", 0x1000},
                               {"TCS_TOOLTIPS", 0x4000}};
const StyleWord kToolBarWords[] = {{"WS_BORDER", 0x00800000},
                                   {"TBSTYLE_TOOLTIPS", 0x100},
                                   {"WS_EX_CLIENTEDGE", 0x200},
                                   {"WS_EX_STATICEDGE", 0x20000}};
const StyleWord kTreeWords[] = {
    {"WS_BORDER", 0x00800000},  {"TVS_CHECKBOXES", 0x100},     {"TVS_DISABLEDRAGDROP", 0x10},
    {"TVS_EDITLABELS", 0x8},    {"TVS_FULLROWSELECT", 0x1000}, {"TVS_HASBUTTONS", 0x1},
    {"TVS_HASLINES", 0x2},      {"TVS_LINESATROOT", 0x4},      {"TVS_SHOWSELALWAYS", 0x20},
    {"TVS_TRACKSELECT", 0x200}, {"WS_EX_CLIENTEDGE", 0x200},   {"WS_EX_STATICEDGE", 0x20000}};

struct WordList {
    const StyleWord* words;
    int count;
};

template <int N>
WordList List(const StyleWord (&words)[N])
{
    return WordList {words, N};
}

// The type-specific words; Static, Code Edit and Tab Doc have none.
WordList TypeWords(int type)
{
    switch (type) {
    case SWND_TYPE_DIALOG:
        return List(kDialogWords);
    case SWND_TYPE_BUTTON:
        return List(kButtonWords);
    case SWND_TYPE_EDIT:
        return List(kEditWords);
    case SWND_TYPE_LIST:
        return List(kListWords);
    case SWND_TYPE_PROGRESS:
        return List(kProgressWords);
    case SWND_TYPE_LABEL:
    case SWND_TYPE_CHECK:
    case SWND_TYPE_IMAGEEDITOR:
    case SWND_TYPE_LCD:
    case SWND_TYPE_LEVEL:
    case SWND_TYPE_GUI:
    case SWND_TYPE_MEDIA:
    case SWND_TYPE_MEDIAPLAYER:
    case SWND_TYPE_PANEL:
    case SWND_TYPE_PROPERTY:
    case SWND_TYPE_RADIO:
    case SWND_TYPE_SPLITTER:
    case SWND_TYPE_SPREAD:
    case SWND_TYPE_WAVEEDITOR:
    case SWND_TYPE_WINDOW:
        return List(kBorderWords);
    case SWND_TYPE_BROWSER:
        return List(kBrowserWords);
    case SWND_TYPE_GROUP:
        return List(kGroupWords);
    case SWND_TYPE_COMBO:
        return List(kComboWords);
    case SWND_TYPE_EXTENDEDLIST:
        return List(kExListWords);
    case SWND_TYPE_RICHEDIT:
        return List(kRichEditWords);
    case SWND_TYPE_SCROLL:
        return List(kScrollWords);
    case SWND_TYPE_SLIDER:
        return List(kSliderWords);
    case SWND_TYPE_TAB:
        return List(kTabWords);
    case SWND_TYPE_TOOLBAR:
        return List(kToolBarWords);
    case SWND_TYPE_TREE:
        return List(kTreeWords);
    default:
        return WordList {nullptr, 0};
    }
}

bool MatchWord(const StyleWord* words, int count, const char* word, int length, uint32_t* value)
{
    for (int i = 0; i < count; i++) {
        if ((int)strlen(words[i].word) == length &&
            memcmp(words[i].word, word, (size_t)length) == 0) {
            *value = words[i].value;
            return true;
        }
    }
    return false;
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool KeyIs(const char* key, int keyLength, const char* name)
{
    return (int)strlen(name) == keyLength && memcmp(key, name, (size_t)keyLength) == 0;
}

// The next line of text from *pos: a line ends at "\r\n", "\n" or "\r", and
// the break is not part of it. False at the end of the text.
bool NextLine(const char* text, int length, int* pos, int* start, int* lineLength)
{
    if (*pos >= length)
        return false;
    int end = *pos;
    while (end < length && text[end] != '\r' && text[end] != '\n')
        end++;
    *start = *pos;
    *lineLength = end - *pos;
    if (end < length && text[end] == '\r')
        end++;
    if (end < length && text[end] == '\n')
        end++;
    *pos = end;
    return true;
}

// "face, size, flags": three fields split at commas outside double quotes;
// each field is trimmed of blanks and loses one pair of enclosing quotes.
bool ParseFont(const char* value, int length, SWndDialogEntry* entry)
{
    SString fields[3];
    int count = 0;
    int start = 0;
    bool quoted = false;
    for (int i = 0; i <= length; i++) {
        if (i < length && value[i] == '"')
            quoted = !quoted;
        if (i == length || (value[i] == ',' && !quoted)) {
            if (count == 3)
                return false;
            SString field(value + start, i - start);
            field.Trim();
            if (field.IsQuoted('"'))
                field = field.Mid(1, field.GetLength() - 2);
            fields[count++] = field;
            start = i + 1;
        }
    }
    if (count != 3)
        return false;
    entry->hasFont = true;
    entry->fontFace = fields[0];
    entry->fontSize = SWndDialogDesc::ParseInt(fields[1].Text());
    entry->fontFlags = SWndDialogDesc::ParseInt(fields[2].Text());
    return true;
}

// "x y w h": exactly four blank-separated numbers, each kept as 16 bits.
bool ParsePosition(const char* value, int length, SWndDialogEntry* entry)
{
    int numbers[4] = {0, 0, 0, 0};
    int count = 0;
    int i = 0;
    while (i < length) {
        while (i < length && IsBlank(value[i]))
            i++;
        if (i >= length)
            break;
        int start = i;
        while (i < length && !IsBlank(value[i]))
            i++;
        if (count == 4)
            return false;
        numbers[count++] = SWndDialogDesc::ParseInt(value + start, i - start);
    }
    if (count != 4)
        return false;
    entry->hasPosition = true;
    entry->x = (short)numbers[0];
    entry->y = (short)numbers[1];
    entry->width = (short)numbers[2];
    entry->height = (short)numbers[3];
    return true;
}

}   // namespace

SWndDialogDesc::SWndDialogDesc() : m_nextFreeId(1), m_errorLine(0)
{
}

SWndDialogDesc::~SWndDialogDesc()
{
    Clear();
}

void SWndDialogDesc::Clear()
{
    for (int i = 0; i < m_controls.GetCount(); i++)
        delete m_controls.GetAt(i);
    m_controls.FreeSlots();
    m_usedIds.clear();
    m_nextFreeId = 1;
    m_dialog.Clear(SWND_TYPE_DIALOG);
}

const SWndDialogEntry* SWndDialogDesc::GetControl(int index) const
{
    if (index < 0 || index >= m_controls.GetCount())
        return nullptr;
    return m_controls.GetAt(index);
}

int SWndDialogDesc::AddControl(const SWndDialogEntry& entry)
{
    SWndDialogEntry* copy = new SWndDialogEntry(entry);
    if (m_usedIds.count(copy->id)) {
        // IDs are never released, so the lowest free one only moves up.
        while (m_nextFreeId <= 9999 && m_usedIds.count(m_nextFreeId))
            m_nextFreeId++;
        copy->id = m_nextFreeId <= 9999 ? m_nextFreeId : -1;
    }
    int index = m_controls.Add(copy);
    if (index < 0) {
        delete copy;
        return -1;
    }
    m_usedIds.insert(copy->id);
    return index;
}

int SWndDialogDesc::FindType(const char* name, int length)
{
    if (!name)
        return -1;
    if (length < 0)
        length = (int)strlen(name);
    for (int type = 0; type < SWND_TYPE_COUNT; type++) {
        const char* typeName = kTypeNames[type];
        int i = 0;
        for (; *typeName; typeName++) {
            if (*typeName == ' ')
                continue;
            if (i >= length || toupper((unsigned char)*typeName) != toupper((unsigned char)name[i]))
                break;
            i++;
        }
        if (!*typeName && i == length)
            return type;
    }
    return -1;
}

const char* SWndDialogDesc::GetTypeName(int type)
{
    if (type < 0 || type >= SWND_TYPE_COUNT)
        return "";
    return kTypeNames[type];
}

uint32_t SWndDialogDesc::ParseColor(const char* text, int length)
{
    if (!text)
        return 0;
    if (length < 0)
        length = (int)strlen(text);
    if ((length != 9 && length != 7) || text[0] != '#')
        return 0;
    uint32_t value = 0;
    for (int i = 1; i < length; i++) {
        int digit = HexDigit(text[i]);
        if (digit < 0)
            return 0;
        value = (value << 4) | (uint32_t)digit;
    }
    if (length == 9)
        return value;
    // #RRGGBB becomes the native colour reference 00BBGGRR.
    return ((value >> 16) & 0xFF) | (value & 0xFF00) | ((value & 0xFF) << 16);
}

uint32_t SWndDialogDesc::ParseStyle(int type, const char* words, int length)
{
    if (!words)
        return 0;
    if (length < 0)
        length = (int)strlen(words);
    WordList list = TypeWords(type);
    uint32_t style = 0;
    int i = 0;
    while (i < length) {
        while (i < length && IsBlank(words[i]))
            i++;
        int start = i;
        while (i < length && !IsBlank(words[i]))
            i++;
        if (i == start)
            break;
        uint32_t value = 0;
        if (MatchWord(kCommonWords, 2, words + start, i - start, &value) ||
            MatchWord(list.words, list.count, words + start, i - start, &value))
            style |= value;
    }
    return style;
}

int SWndDialogDesc::ParseInt(const char* text, int length)
{
    if (!text)
        return 0;
    if (length < 0)
        length = (int)strlen(text);
    int i = 0;
    while (i < length && IsBlank(text[i]))
        i++;
    bool negative = false;
    if (i < length && (text[i] == '-' || text[i] == '+')) {
        negative = text[i] == '-';
        i++;
    }
    long long value = 0;
    for (; i < length && text[i] >= '0' && text[i] <= '9'; i++) {
        if (value <= (long long)INT_MAX + 1)
            value = value * 10 + (text[i] - '0');
    }
    if (negative)
        value = -value;
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return (int)value;
}

bool SWndDialogDesc::Load(SFile* document)
{
    Clear();
    m_errorLine = 1;
    if (!document)
        return false;
    SString text = document->ReadText(-1);
    return Parse(text.Text(), text.GetLength());
}

bool SWndDialogDesc::Parse(const char* text, int length)
{
    Clear();
    m_errorLine = 1;
    if (!text)
        return false;
    if (length < 0)
        length = (int)strlen(text);

    int pos = 0, start = 0, lineLength = 0;
    if (!NextLine(text, length, &pos, &start, &lineLength) ||
        lineLength != (int)sizeof(kHeader) - 1 ||
        memcmp(text + start, kHeader, sizeof(kHeader) - 1) != 0)
        return false;
    int line = 1;
    if (NextLine(text, length, &pos, &start, &lineLength))
        line++;

    int sections = 0;
    while (pos < length) {
        if (!ParseSection(text, length, &pos, &line, sections == 0)) {
            Clear();
            return false;
        }
        if (pos < 0)
            break;
        sections++;
    }
    if (sections == 0) {
        Clear();
        m_errorLine = line + 1;
        return false;
    }
    m_errorLine = 0;
    return true;
}

// Reads one section from *pos: empty lines before the header are skipped
// (a document may end with extra blank lines); the section ends at an empty
// line or the end. *pos becomes -1 when only empty lines remained.
bool SWndDialogDesc::ParseSection(const char* text, int length, int* pos, int* line, bool dialog)
{
    int start = 0, lineLength = 0;
    do {
        if (!NextLine(text, length, pos, &start, &lineLength)) {
            *pos = -1;
            return true;
        }
        (*line)++;
    } while (lineLength == 0);

    m_errorLine = *line;
    int type = lineLength >= 2 ? FindType(text + start + 1, lineLength - 2) : -1;
    if (type < 0)
        return false;

    SWndDialogEntry entry(type);
    while (NextLine(text, length, pos, &start, &lineLength)) {
        (*line)++;
        if (lineLength == 0)
            break;
        const char* content = text + start;
        const char* equals = (const char*)memchr(content, '=', (size_t)lineLength);
        if (!equals) {
            m_errorLine = *line;
            return false;
        }
        int keyLength = (int)(equals - content);
        ApplyLine(&entry, content, keyLength, equals + 1, lineLength - keyLength - 1);
    }

    if (dialog) {
        m_dialog = entry;
        return true;
    }
    if (AddControl(entry) < 0)
        return false;
    return true;
}

void SWndDialogDesc::ApplyLine(SWndDialogEntry* entry, const char* key, int keyLength,
                               const char* value, int valueLength)
{
    if (keyLength == 0)
        return;
    if (KeyIs(key, keyLength, "ID"))
        entry->id = ParseInt(value, valueLength);
    else if (KeyIs(key, keyLength, "NAME"))
        entry->name.Assign(value, valueLength);
    else if (KeyIs(key, keyLength, "CAPTION"))
        entry->caption.Assign(value, valueLength);
    else if (KeyIs(key, keyLength, "FONT"))
        ParseFont(value, valueLength, entry);
    else if (KeyIs(key, keyLength, "POSITION"))
        ParsePosition(value, valueLength, entry);
    else if (KeyIs(key, keyLength, "STYLE"))
        entry->style = ParseStyle(entry->type, value, valueLength);
    else if (KeyIs(key, keyLength, "EXSTYLE"))
        entry->exStyle = ParseStyle(entry->type, value, valueLength);
    else if (KeyIs(key, keyLength, "BACKCOLOR"))
        entry->backColor = ParseColor(value, valueLength);
    else if (KeyIs(key, keyLength, "TEXTCOLOR"))
        entry->textColor = ParseColor(value, valueLength);
    else if (KeyIs(key, keyLength, "TRANSPARENT"))
        entry->transparent = ParseInt(value, valueLength) != 0;
    else if (KeyIs(key, keyLength, "ISLOCKED"))
        entry->locked = ParseInt(value, valueLength) != 0;
    else {
        entry->properties.Append(key, keyLength + 1 + valueLength);
        entry->properties.Append("\r\n", 2);
    }
}
