#include "SResourceIndex.h"

#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include "SFile.h"
#include "core/SLittleEndian.h"

SResourceIndex::SResourceIndex()
{
    m_names.SetFlags(SARRAY_NOCASE);
}

SResourceIndex::~SResourceIndex()
{
    Reset();
}

void SResourceIndex::Reset()
{
    for (int i = 0; i < m_values.GetCount(); i++)
        free(m_values.GetAt(i));
    m_names.RemoveAll();
    m_values.SetCount(0, false);
    m_offsets.SetCount(0, false);
    m_lengths.SetCount(0, false);
    free(m_table);
    m_table = nullptr;
    m_tableSize = 0;
}

int SResourceIndex::Append(const char* name, void* value, int offset, uint32_t length)
{
    int index = m_names.GetCount();
    // All four arrays grow together or not at all.
    if (m_names.Insert(name ? name : "") < 0 || !m_names.GetSlots()[index]) {
        m_names.RemoveAt(index);
        free(value);
        return -1;
    }
    if (m_values.Add(value) < 0 || m_offsets.Add(offset) < 0 || m_lengths.Add(length) < 0 ||
        !Remember(index)) {
        m_names.RemoveAt(index);
        m_values.SetCount(index);
        m_offsets.SetCount(index);
        m_lengths.SetCount(index);
        free(value);
        return -1;
    }
    return index;
}

// tolower() folds exactly the letters that the runtime's case-insensitive
// compare treats as equal, so equal names always land in the same chain.
uint32_t SResourceIndex::Hash(const char* name)
{
    uint32_t hash = 2166136261u;
    for (const unsigned char* p = (const unsigned char*)name; *p; p++) {
        hash ^= (uint32_t)tolower(*p);
        hash *= 16777619u;
    }
    return hash;
}

bool SResourceIndex::Grow(int count)
{
    int size = 64;
    while (size < count * 2)
        size *= 2;
    int* table = (int*)calloc((size_t)size, sizeof(int));
    if (!table)
        return false;
    free(m_table);
    m_table = table;
    m_tableSize = size;
    // Re-inserting in file order keeps the first of equal names.
    for (int i = 0; i < count; i++) {
        if (Find(m_names.GetText(i)) < 0) {
            uint32_t slot = Hash(m_names.GetText(i)) & (uint32_t)(size - 1);
            while (m_table[slot])
                slot = (slot + 1) & (uint32_t)(size - 1);
            m_table[slot] = i + 1;
        }
    }
    return true;
}

bool SResourceIndex::Remember(int index)
{
    if ((index + 1) * 2 > m_tableSize && !Grow(index + 1))
        return false;
    const char* name = m_names.GetText(index);
    uint32_t mask = (uint32_t)(m_tableSize - 1);
    uint32_t slot = Hash(name) & mask;
    while (m_table[slot]) {
        if (m_names.GetAt(m_table[slot] - 1).CompareNoCase(name) == 0)
            return true;
        slot = (slot + 1) & mask;
    }
    m_table[slot] = index + 1;
    return true;
}

int SResourceIndex::Find(const char* name) const
{
    if (!name || !m_table)
        return -1;
    uint32_t mask = (uint32_t)(m_tableSize - 1);
    uint32_t slot = Hash(name) & mask;
    while (m_table[slot]) {
        int index = m_table[slot] - 1;
        if (index < m_names.GetCount() && m_names.GetAt(index).CompareNoCase(name) == 0)
            return index;
        slot = (slot + 1) & mask;
    }
    return -1;
}

const char* SResourceIndex::GetName(int index) const
{
    return m_names.GetText(index);
}

void* SResourceIndex::GetValue(int index) const
{
    return index >= 0 && index < m_values.GetCount() ? m_values.GetAt(index) : nullptr;
}

int SResourceIndex::GetOffset(int index) const
{
    return index >= 0 && index < m_offsets.GetCount() ? m_offsets.GetAt(index) : -1;
}

uint32_t SResourceIndex::GetLength(int index) const
{
    return index >= 0 && index < m_lengths.GetCount() ? m_lengths.GetAt(index) : 0;
}

bool SResourceIndex::Read(SFile& file, bool* compressed)
{
    unsigned char word[4];
    if (file.Read(word, 4) != 4 || memcmp(word, "SRES", 4) != 0)
        return false;
    // Only the mode word's first byte counts; the other three are ignored.
    unsigned char mode[4] = {0, 0, 0, 0};
    file.Read(mode, 4);
    if (compressed)
        *compressed = mode[0] != 0;

    for (;;) {
        // A list that simply stops, without the end marker, is no archive.
        if (file.IsEnd() || file.Read(word, 4) != 4)
            return false;
        uint32_t length = SLittleEndian::Get32(word);
        if (length == kEndMarker)
            return true;
        SString name = file.ReadString(true);
        int offset = file.Tell();
        if (Append(name.Text(), nullptr, offset, length) < 0)
            return false;
        // Lengths are unsigned: one beyond the file (or beyond the 32-bit
        // position range) lands at the end instead of moving backwards.
        int remaining = file.Remaining();
        if (remaining < 0 || length > (uint32_t)remaining)
            file.Seek(file.Size());
        else
            file.Skip((int)length);
    }
}
