// SResourceIndex: the entry list of an update package archive, one record per
// entry in file order: its name, an owned value, the absolute position of its
// data and the data length. Lookups by name ignore letter case and find the
// first of equal names; a hash table over the names keeps each lookup
// constant-time, so a package of many files costs linear time to index, to
// fill and to unpack. Reading the list from an archive needs only an SFile,
// never the operating system.
//
// The archive: "SRES", a 32-bit mode word (its first byte non-zero means the
// entry data is chunk-compressed), then per entry its 32-bit data length, its
// name with a 0 byte and its data, and finally the end marker 0xFFFFFFFF where
// the next length would stand. Integers are little-endian.
#pragma once

#include <stdint.h>

#include "core/SArray.h"
#include "core/SStringArray.h"

class SFile;

class SResourceIndex {
public:
    // The length field that ends the entry list.
    static constexpr uint32_t kEndMarker = 0xFFFFFFFFu;

    SResourceIndex();
    // Releases the values, as Reset does.
    ~SResourceIndex();
    SResourceIndex(const SResourceIndex&) = delete;
    SResourceIndex& operator=(const SResourceIndex&) = delete;

    // Empties the list; every non-null value is released with free().
    void Reset();

    // Appends an entry; equal names are allowed (lookups find the first).
    // value must come from malloc() (or be null): the list owns it from here
    // on. Returns the new entry's index, or -1 when memory runs out (the
    // value is then released and the list left as it was).
    int Append(const char* name, void* value, int offset, uint32_t length);

    // The index of the first entry whose name equals name, ignoring letter
    // case as the runtime's case-insensitive compare does; -1 for a null name
    // or none.
    int Find(const char* name) const;

    int GetCount() const { return m_names.GetCount(); }
    // The names, in file order, with SARRAY_NOCASE set.
    const SStringArray& GetNames() const { return m_names; }
    // The entry's name; "" outside the list.
    const char* GetName(int index) const;
    // The entry's value; null outside the list.
    void* GetValue(int index) const;
    // The absolute position of the entry's data in the archive's file; -1
    // outside the list.
    int GetOffset(int index) const;
    // The entry's data length as the archive states it; 0 outside the list.
    uint32_t GetLength(int index) const;

    // Reads an archive from file's current position and appends its entries
    // (the list is not emptied first); *compressed (may be null) receives the
    // mode. True when the end marker was reached. False when the first four
    // bytes are not "SRES", when the file ends where a length field should
    // stand or in the middle of one, or when memory runs out; the entries
    // read before the failure stay. A length reaching past the end of the
    // file moves the reading to the end, so the next step fails. Stops at the
    // end marker, leaving the file just behind it.
    bool Read(SFile& file, bool* compressed);

private:
    // Hash of a name with letters folded as the case-insensitive compare does.
    static uint32_t Hash(const char* name);
    // Records index in the lookup table unless an equal name is there already;
    // false when memory runs out.
    bool Remember(int index);
    // Rebuilds the table with room for at least count names.
    bool Grow(int count);

    SStringArray m_names;     // owns its strings; SARRAY_NOCASE
    SArray<void*> m_values;   // owned values (free()), null for read entries
    SArray<int> m_offsets;
    SArray<uint32_t> m_lengths;
    int* m_table = nullptr;   // owned; entry index + 1 per slot, 0 = free
    int m_tableSize = 0;      // a power of two, or 0 before the first entry
};
