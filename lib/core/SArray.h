// SArray: the library's growable array template. One pointer-sized slot per
// element: scalar element types (integers, handles, plain pointers) live in
// the slot itself; derived arrays of objects store an owned pointer there.
// Element creation, destruction and comparison are virtual, so one template
// body serves every element type.
#pragma once

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "SString.h"

// Flag word bits passed to every comparison.
enum : uint32_t {
    SARRAY_REVERSE = 0x1,      // reverse the order
    SARRAY_NOCASE = 0x10000,   // string arrays ignore letter case
};

template <class T>
class SArray {
public:
    SArray() : m_capacity(0), m_count(0), m_slots(nullptr), m_flags(0) {}
    SArray(const SArray&) = delete;
    SArray& operator=(const SArray&) = delete;
    // Frees the slot block. Arrays of objects release their elements in their
    // own destructor first.
    virtual ~SArray() { SArray::FreeSlots(); }

    // DeleteElements, then SetCount(0) without keeping (a 64-slot block stays).
    virtual void RemoveAll()
    {
        DeleteElements();
        SetCount(0, false);
    }
    // Frees the slot block and zeroes capacity, count and the flag word;
    // element objects are not released.
    virtual void FreeSlots()
    {
        free(m_slots);
        m_slots = nullptr;
        m_capacity = 0;
        m_count = 0;
        m_flags = 0;
    }
    // Fills a new slot from a value. Scalars store it.
    virtual void CreateElement(intptr_t* slot, T value, int index, intptr_t user)
    {
        (void)index;
        (void)user;
        *slot = (intptr_t)value;
    }
    // Releases what CreateElement made and empties the slot; scalars keep theirs.
    virtual void DestroyElement(intptr_t* slot, int index, intptr_t user)
    {
        (void)slot;
        (void)index;
        (void)user;
    }
    // Negative, 0 or positive; -2 asks for the default comparison.
    virtual int Compare(const intptr_t* slot, T value, uint32_t flags, intptr_t user) const
    {
        (void)slot;
        (void)value;
        (void)flags;
        (void)user;
        return -2;
    }
    // Appends an element made from text; the template has none and returns -1.
    virtual int CreateElementFromText(const char* text)
    {
        (void)text;
        return -1;
    }
    // The element as text; the template's version is empty.
    virtual SString ElementToText(int index) const
    {
        (void)index;
        return SString();
    }

    int GetCount() const { return m_count; }
    int GetCapacity() const { return m_capacity; }
    uint32_t GetFlags() const { return m_flags; }
    // ORs bits into the flag word; never clears any.
    void SetFlags(uint32_t bits) { m_flags |= bits; }

    // The slot value; no range check.
    T GetAt(int index) const { return (T)m_slots[index]; }
    void SetAt(int index, T value) { m_slots[index] = (intptr_t)value; }
    intptr_t* GetSlots() const { return m_slots; }

    // Sets the count (negative counts as 0). The capacity becomes the count
    // rounded up to the next multiple of 64 strictly above it (0 -> 64,
    // 63 -> 64, 64 -> 128); when that differs from the present one, a new block
    // is made (it shrinks too) and, with keep, min(old, new) slots are copied.
    // Slots dropped by shrinking are not destroyed; new slots are zero.
    // False only when memory runs out (the array is then unchanged).
    bool SetCount(int count, bool keep = true)
    {
        if (count < 0)
            count = 0;
        if (count > INT32_MAX - 64)
            return false;
        int capacity = (count / 64 + 1) * 64;
        if (capacity != m_capacity || !m_slots) {
            // With keep, realloc copies min(old, new) slots and can often grow
            // in place, which keeps long runs of appends cheap.
            size_t bytes = sizeof(intptr_t) * (size_t)capacity;
            intptr_t* slots = (intptr_t*)(keep ? realloc(m_slots, bytes) : malloc(bytes));
            if (!slots)
                return false;
            if (!keep)
                free(m_slots);
            int kept = keep ? (count < m_count ? count : m_count) : 0;
            memset(slots + kept, 0, sizeof(intptr_t) * (size_t)(capacity - kept));
            m_slots = slots;
            m_capacity = capacity;
        } else if (count > m_count) {
            memset(m_slots + m_count, 0, sizeof(intptr_t) * (size_t)(count - m_count));
        }
        m_count = count;
        return true;
    }

    // Inserts count copies of value at index (below 0 or above the count means
    // the end). Returns the index used, or -1 when count is below 1 or memory
    // runs out.
    int Insert(T value, int index = -1, int count = 1, intptr_t user = 0)
    {
        if (count < 1)
            return -1;
        if (index < 0 || index > m_count)
            index = m_count;
        if (count > INT32_MAX - 64 - m_count)
            return -1;
        int old = m_count;
        if (!SetCount(old + count, true))
            return -1;
        for (int i = old - 1; i >= index; i--)
            m_slots[i + count] = m_slots[i];
        for (int i = index; i < index + count; i++) {
            m_slots[i] = 0;
            CreateElement(&m_slots[i], value, i, user);
        }
        return index;
    }
    int Add(T value) { return Insert(value, -1, 1); }

    // Destroys count elements from index and closes the gap; out-of-range
    // parts are clipped. Returns the number removed.
    int RemoveAt(int index, int count = 1)
    {
        if (index < 0 || index >= m_count || count < 1)
            return 0;
        if (count > m_count - index)
            count = m_count - index;
        for (int i = index; i < index + count; i++)
            DestroyElement(&m_slots[i], i, 0);
        memmove(m_slots + index, m_slots + index + count,
                sizeof(intptr_t) * (size_t)(m_count - index - count));
        SetCount(m_count - count, true);
        return count;
    }

    // Linear search from start up to, not including, end with the array's
    // flag word. -1 when nothing is equal, when start is below 0 or not below
    // the count, or when start is not below end. An end below 0 or above the
    // count means the count.
    int Find(T value, int start = 0, int end = -1, intptr_t user = 0) const
    {
        if (start < 0 || start >= m_count)
            return -1;
        if (end < 0 || end > m_count)
            end = m_count;
        for (int i = start; i < end; i++) {
            if (CompareSlot(&m_slots[i], value, user) == 0)
                return i;
        }
        return -1;
    }

    // Hands every non-empty slot to DestroyElement (which empties it); the
    // count is unchanged.
    void DeleteElements()
    {
        for (int i = 0; i < m_count; i++) {
            if (m_slots[i])
                DestroyElement(&m_slots[i], i, 0);
        }
    }

protected:
    // Compare, falling back to the default: equal slot values give 0,
    // otherwise an unsigned 32-bit comparison, negated by SARRAY_REVERSE.
    int CompareSlot(const intptr_t* slot, T value, intptr_t user) const
    {
        int result = Compare(slot, value, m_flags, user);
        if (result != -2)
            return result;
        if (*slot == (intptr_t)value)
            return 0;
        result = (uint32_t)*slot < (uint32_t)(intptr_t)value ? -1 : 1;
        return (m_flags & SARRAY_REVERSE) ? -result : result;
    }

private:
    int m_capacity;
    int m_count;
    intptr_t* m_slots;   // owned slot block; null before the first SetCount
    uint32_t m_flags;
};
