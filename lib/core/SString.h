// SString: the library's owned, 0-terminated string of 8-bit ANSI characters.
#pragma once

#include <stdarg.h>
#include <stdint.h>

// A new string has a 16-byte buffer. Copies, moves and assignments carry the
// text only, never the two caller words; a moved-from string is empty and
// owns no buffer until it grows again.
class SString {
public:
    SString();
    SString(const char* text, int length = -1);
    SString(const SString& other);
    SString(SString&& other) noexcept;
    virtual ~SString();

    SString& operator=(const SString& other);
    SString& operator=(SString&& other) noexcept;
    SString& operator=(const char* text);
    SString& operator+=(const SString& other);
    SString& operator+=(const char* text);
    SString& operator+=(char c);   // a 0 character is ignored

    // Resizes to length (negative counts as 0). The capacity is length + 1
    // rounded up to the next multiple of 16 strictly above it (0 -> 16,
    // 14 -> 16, 15 -> 32); the buffer is replaced only when that exceeds the
    // present capacity and never shrinks. With keep, min(new, old) bytes
    // survive; otherwise the contents up to the new length are undefined.
    // The terminator is written at the new length. False when memory runs out
    // or the length is within 32 of 2 GB (the string is then left as it was).
    bool SetLength(int length, bool keep = true);
    // Resizes keeping the text; a non-zero fill sets every added position.
    bool SetLength(int length, char fill);

    // A negative length means strlen(text); a null text empties the string.
    // The text may be this string's own.
    void Assign(const char* text, int length = -1);
    // Converts UTF-16 with the system ANSI code page. A null text, or a text
    // the code page cannot convert, empties the string. The native build has
    // no code pages: it is a best-effort ASCII conversion there, every
    // character above 0x7F becoming "?".
    void Assign(const wchar_t* wide);
    // Copies the text; with withData also the two caller words.
    void Copy(const SString& other, bool withData);
    // Appends length bytes (negative: strlen); a null text appends nothing.
    // The text may be this string's own.
    void Append(const char* text, int length = -1);
    void Empty();

    int GetLength() const { return m_length; }
    int GetCapacity() const { return m_capacity; }
    bool IsEmpty() const { return m_length == 0; }
    const char* Text() const { return m_buffer; }
    // Writable buffer of GetCapacity() bytes; call SetLength after writing.
    char* GetBuffer() { return m_buffer; }

    // The character at index, or 0 outside the text.
    char GetAt(int index) const;
    // Ignored outside the text; setting 0 cuts the length at index.
    void SetAt(int index, char c);

    // -1, 0 or 1: byte compare / the C runtime's case-insensitive compare.
    // A null text compares as "".
    int Compare(const char* text) const;
    int CompareNoCase(const char* text) const;
    bool operator==(const char* text) const { return Compare(text) == 0; }
    bool operator!=(const char* text) const { return Compare(text) != 0; }
    bool operator==(const SString& other) const { return Compare(other.m_buffer) == 0; }
    bool operator!=(const SString& other) const { return Compare(other.m_buffer) != 0; }

    void MakeUpper();
    void MakeLower();

    // Searches in the range (start, count): a start below 0 counts as 0, a
    // start at or past the length finds nothing, a negative count or one that
    // reaches past the end means up to the end. Each returns the first index
    // found, or -1.
    int Find(char c, int start = 0, int count = -1) const;
    int FindNot(char c, int start = 0, int count = -1) const;
    // The text must lie entirely inside the range; an empty or null text gives -1.
    int Find(const char* text, int start = 0, int count = -1) const;
    // As Find(text) ignoring case; with after, the index just behind the match.
    int FindNoCase(const char* text, int start = 0, int count = -1, bool after = false) const;
    // Backward from `from` (-1 = the last character); -1 if absent or `from`
    // lies outside the text.
    int ReverseFind(char c, int from = -1) const;

    // 1 + the number of "\r\n" pairs.
    int CountLines() const;
    // Length at least 2, first and last characters are c, and c occurs nowhere between.
    bool IsQuoted(char c = '"') const;
    // Ignoring spaces and tabs at both ends: non-empty, digits, at most one "."
    // that is not last, "-" only first and not alone.
    bool IsNumber() const;
    bool IsInteger() const;
    // Hex digits after an optional "#" or "0x"/"0X"; 0 for more than 16 digits
    // or any character that is not a hex digit.
    uint64_t HexToUInt64() const;

    // printf-style formatting; the buffer is sized from an estimate that walks
    // the directives and never under-sizes (formats the walk does not know, such
    // as positional arguments, are measured by the C runtime instead). An
    // argument may be this string's own text. Returns the new length, or -1 for
    // a null format, a result over 2 GB or a formatting error reported by the C
    // runtime (the string is then empty).
    int Format(const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;
    int FormatV(const char* format, va_list args);

    // Substrings; out-of-range parts are clipped, never an error. A negative
    // count means all (Left, Right) or to the end (Mid); a Mid start at or past
    // the end gives an empty string.
    SString Left(int count) const;
    SString Mid(int start, int count = -1) const;
    SString Right(int count) const;
    // Removes spaces, tabs, "\r" and "\n" from the ends.
    void Trim();
    void TrimLeft();
    void TrimRight();
    // Replaces every occurrence of `from` by `to` (null means ""), left to
    // right without overlap, in time linear in the length; returns the count.
    // 0 for an empty or null `from`, and when the result would not fit in
    // memory or an int length (the text is then left as it was).
    int Replace(const char* from, const char* to);
    // 0 when either character is 0 (the terminator cannot be replaced).
    int Replace(char from, char to);

    // Two words of caller data, copied only by Copy(other, true).
    uint32_t GetData(int index) const
    {
        return m_data[index & 1];
    }
    void SetData(int index, uint32_t value)
    {
        m_data[index & 1] = value;
    }

private:
    char* m_buffer;   // owned; never null, always terminated at m_length
    int m_length;
    int m_capacity;
    char* m_scratch;   // owned; scratch space of the conversions, may be null
    uint32_t m_data[2];
};

SString operator+(const SString& a, const SString& b);
SString operator+(const SString& a, const char* b);
SString operator+(const char* a, const SString& b);
