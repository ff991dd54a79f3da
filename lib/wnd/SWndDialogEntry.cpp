#include "SWndDialogEntry.h"

#include <string.h>

#include "SWndDialogDesc.h"

SWndDialogEntry::SWndDialogEntry()
{
    Clear(SWND_TYPE_DIALOG);
}

SWndDialogEntry::SWndDialogEntry(int entryType)
{
    Clear(entryType);
}

void SWndDialogEntry::Clear(int entryType)
{
    type = entryType;
    id = 0;
    name.Empty();
    caption.Empty();
    hasFont = false;
    fontFace.Empty();
    fontSize = 0;
    fontFlags = 0;
    hasPosition = false;
    x = y = width = height = 0;
    style = 0;
    exStyle = 0;
    backColor = SWND_COLOR_NOTSET;
    textColor = SWND_COLOR_NOTSET;
    transparent = false;
    locked = false;
    properties.Empty();
}

// Finds the value of the first line "key=..." of the property text; the
// value runs to the line's "\r\n" (or the end of the text).
static bool FindValue(const SString& properties, const char* key, int* start, int* length)
{
    if (!key || !*key)
        return false;
    int keyLength = (int)strlen(key);
    const char* text = properties.Text();
    int total = properties.GetLength();
    int line = 0;
    while (line < total) {
        int end = line;
        while (end < total && text[end] != '\r' && text[end] != '\n')
            end++;
        if (end - line > keyLength && text[line + keyLength] == '=' &&
            memcmp(text + line, key, (size_t)keyLength) == 0) {
            *start = line + keyLength + 1;
            *length = end - *start;
            return true;
        }
        line = end;
        while (line < total && (text[line] == '\r' || text[line] == '\n'))
            line++;
    }
    return false;
}

SString SWndDialogEntry::GetText(const char* key) const
{
    int start = 0, length = 0;
    if (!FindValue(properties, key, &start, &length))
        return SString();
    return SString(properties.Text() + start, length);
}

bool SWndDialogEntry::HasKey(const char* key) const
{
    int start = 0, length = 0;
    return FindValue(properties, key, &start, &length);
}

int SWndDialogEntry::GetInt(const char* key) const
{
    int start = 0, length = 0;
    if (!FindValue(properties, key, &start, &length))
        return 0;
    return SWndDialogDesc::ParseInt(properties.Text() + start, length);
}

bool SWndDialogEntry::GetBool(const char* key) const
{
    return GetInt(key) != 0;
}

uint32_t SWndDialogEntry::GetColor(const char* key) const
{
    int start = 0, length = 0;
    if (!FindValue(properties, key, &start, &length))
        return SWND_COLOR_NOTSET;
    return SWndDialogDesc::ParseColor(properties.Text() + start, length);
}
