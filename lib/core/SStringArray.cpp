#include "SStringArray.h"

#include <new>
#include <string.h>

#ifndef _WIN32
#include <strings.h>
#endif

SStringArray::~SStringArray()
{
    DeleteElements();
}

void SStringArray::CreateElement(intptr_t* slot, const char* value, int index, intptr_t user)
{
    (void)index;
    (void)user;
    // Out of memory leaves the slot empty; an empty slot reads as "".
    *slot = (intptr_t) new (std::nothrow) SString(value);
}

void SStringArray::DestroyElement(intptr_t* slot, int index, intptr_t user)
{
    (void)index;
    (void)user;
    delete (SString*)*slot;
    *slot = 0;
}

int SStringArray::Compare(const intptr_t* slot, const char* value, uint32_t flags,
                          intptr_t user) const
{
    (void)user;
    const char* a = *slot ? ((const SString*)*slot)->Text() : "";
    const char* b = value ? value : "";
    if (flags & SARRAY_REVERSE) {
        const char* t = a;
        a = b;
        b = t;
    }
    int result;
    if (flags & SARRAY_NOCASE) {
#ifdef _WIN32
        result = _stricmp(a, b);
#else
        result = strcasecmp(a, b);
#endif
    } else {
        result = strcmp(a, b);
    }
    // -2 is reserved for "use the default comparison".
    return result < 0 ? -1 : (result > 0 ? 1 : 0);
}

int SStringArray::CreateElementFromText(const char* text)
{
    SString trimmed(text);
    trimmed.Trim();
    return Insert(trimmed.Text(), -1, 1);
}

SString SStringArray::ElementToText(int index) const
{
    SString text(GetText(index));
    text.Trim();
    return text;
}

const char* SStringArray::GetText(int index) const
{
    if (index < 0 || index >= GetCount() || !GetSlots()[index])
        return "";
    return ((const SString*)GetSlots()[index])->Text();
}

void SStringArray::SetAt(int index, const char* text)
{
    if (index < 0 || index >= GetCount())
        return;
    intptr_t* slot = &GetSlots()[index];
    if (*slot)
        ((SString*)*slot)->Assign(text);
    else
        CreateElement(slot, text, index, 0);
}

SString SStringArray::Join(const char* separator, int start, int count) const
{
    SString result;
    int total = GetCount();
    if (start < 0 || start >= total || count == 0)
        return result;
    if (count < 0 || count > total - start)
        count = total - start;
    if (!separator)
        separator = "";
    int separatorLength = (int)strlen(separator);
    // One allocation for the whole text.
    long long length = (long long)separatorLength * (count - 1);
    for (int i = start; i < start + count; i++)
        length += (long long)strlen(GetText(i));
    if (length > 0x7FFFFF00LL || !result.SetLength((int)length, false))
        return result;
    result.Empty();
    for (int i = start; i < start + count; i++) {
        if (i > start)
            result.Append(separator, separatorLength);
        result.Append(GetText(i));
    }
    return result;
}

int SStringArray::Split(const char* text, char separator)
{
    if (!text || !*text)
        return 0;
    int added = 0;
    const char* part = text;
    for (;;) {
        const char* end = separator ? strchr(part, separator) : nullptr;
        int length = end ? (int)(end - part) : (int)strlen(part);
        SString piece(part, length);
        if (Insert(piece.Text(), -1, 1) < 0)
            break;
        added++;
        if (!end)
            break;
        part = end + 1;
    }
    return added;
}
