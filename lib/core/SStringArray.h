// SStringArray: an array of owned SString elements. SARRAY_NOCASE in the
// flag word makes every comparison and search ignore letter case.
#pragma once

#include "SArray.h"
#include "SString.h"

class SStringArray : public SArray<const char*> {
public:
    SStringArray() = default;
    // Releases every element, then the slot block.
    ~SStringArray() override;

    // Allocates an SString copy of value (a null value gives an empty string).
    void CreateElement(intptr_t* slot, const char* value, int index, intptr_t user) override;
    void DestroyElement(intptr_t* slot, int index, intptr_t user) override;
    // -1, 0 or 1: strcmp, or the C runtime's case-insensitive compare with
    // SARRAY_NOCASE; SARRAY_REVERSE swaps the operands. Empty slots and a null
    // value compare as "".
    int Compare(const intptr_t* slot, const char* value, uint32_t flags,
                intptr_t user) const override;
    // Appends a copy of text with its blanks trimmed at both ends; returns its index.
    int CreateElementFromText(const char* text) override;
    // A copy of the element's text with its blanks trimmed; empty outside the array.
    SString ElementToText(int index) const override;

    // The element; no range check.
    SString& GetAt(int index) const { return *(SString*)GetSlots()[index]; }
    // The element's text, or "" outside the array.
    const char* GetText(int index) const;
    // Replaces the element's text (null means ""); ignored outside the array.
    void SetAt(int index, const char* text);

    // Concatenates elements start .. start + count - 1 (a negative count, or
    // one reaching past the end, means to the last element) with separator
    // before every element but the first. An invalid start or a count of 0
    // gives an empty string.
    SString Join(const char* separator, int start = 0, int count = -1) const;
    // Appends the parts of text between separator characters (empty parts
    // included: "a,,b," gives a, "", b, ""); returns the number appended, 0
    // for an empty or null text.
    int Split(const char* text, char separator);
};
