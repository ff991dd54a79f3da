#include "SString.h"

#include <ctype.h>
#include <limits.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <strings.h>
#endif

namespace {

// The buffer of a string that owns none (after a move, or when memory ran out
// in a constructor). Capacity 0 marks it: it is never written beyond index 0
// and never freed.
char s_empty[1] = {0};

// Capacity for a length: length + 1 rounded up to the next multiple of 16
// strictly above it (0 -> 16, 14 -> 16, 15 -> 32).
int CapacityFor(int length)
{
    return ((length + 1) / 16 + 1) * 16;
}

// Largest length whose capacity still fits an int.
const int kMaxLength = INT_MAX - 32;

// Normalises a (start, count) range against length. False when the range is
// empty because start lies at or past the end.
bool NormaliseRange(int length, int& start, int& count)
{
    if (start < 0)
        start = 0;
    if (start >= length)
        return false;
    if (count < 0 || count > length - start)
        count = length - start;
    return true;
}

int Sign(int value)
{
    return value < 0 ? -1 : (value > 0 ? 1 : 0);
}

int CompareNoCaseRaw(const char* a, const char* b)
{
#ifdef _WIN32
    return _stricmp(a, b);
#else
    return strcasecmp(a, b);
#endif
}

int CompareNoCaseRaw(const char* a, const char* b, size_t n)
{
#ifdef _WIN32
    return _strnicmp(a, b, n);
#else
    return strncasecmp(a, b, n);
#endif
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool IsWhite(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

}   // namespace

SString::SString()
    : m_buffer(s_empty), m_length(0), m_capacity(0), m_scratch(nullptr), m_data {0, 0}
{
    SetLength(0, false);
}

SString::SString(const char* text, int length) : SString()
{
    Assign(text, length);
}

SString::SString(const SString& other) : SString()
{
    Assign(other.m_buffer, other.m_length);
}

SString::SString(SString&& other) noexcept
    : m_buffer(other.m_buffer), m_length(other.m_length), m_capacity(other.m_capacity),
      m_scratch(other.m_scratch), m_data {0, 0}
{
    other.m_buffer = s_empty;
    other.m_length = 0;
    other.m_capacity = 0;
    other.m_scratch = nullptr;
}

SString::~SString()
{
    if (m_capacity > 0)
        free(m_buffer);
    free(m_scratch);
}

SString& SString::operator=(const SString& other)
{
    if (this != &other)
        Assign(other.m_buffer, other.m_length);
    return *this;
}

SString& SString::operator=(SString&& other) noexcept
{
    if (this != &other) {
        if (m_capacity > 0)
            free(m_buffer);
        free(m_scratch);
        m_buffer = other.m_buffer;
        m_length = other.m_length;
        m_capacity = other.m_capacity;
        m_scratch = other.m_scratch;
        other.m_buffer = s_empty;
        other.m_length = 0;
        other.m_capacity = 0;
        other.m_scratch = nullptr;
    }
    return *this;
}

SString& SString::operator=(const char* text)
{
    Assign(text);
    return *this;
}

SString& SString::operator+=(const SString& other)
{
    Append(other.m_buffer, other.m_length);
    return *this;
}

SString& SString::operator+=(const char* text)
{
    Append(text);
    return *this;
}

SString& SString::operator+=(char c)
{
    if (c != 0)
        Append(&c, 1);
    return *this;
}

bool SString::SetLength(int length, bool keep)
{
    if (length < 0)
        length = 0;
    if (length > kMaxLength)
        return false;
    int capacity = CapacityFor(length);
    if (capacity > m_capacity) {
        char* buffer = (char*)malloc((size_t)capacity);
        if (!buffer)
            return false;
        if (keep) {
            int survive = length < m_length ? length : m_length;
            memcpy(buffer, m_buffer, (size_t)survive);
        }
        if (m_capacity > 0)
            free(m_buffer);
        m_buffer = buffer;
        m_capacity = capacity;
    }
    m_length = length;
    m_buffer[length] = 0;
    return true;
}

bool SString::SetLength(int length, char fill)
{
    int old = m_length;
    if (!SetLength(length, true))
        return false;
    if (fill != 0 && m_length > old)
        memset(m_buffer + old, fill, (size_t)(m_length - old));
    return true;
}

void SString::Assign(const char* text, int length)
{
    if (!text) {
        Empty();
        return;
    }
    if (length < 0)
        length = (int)strnlen(text, (size_t)kMaxLength);
    // A text inside our own buffer is moved down before the terminator is
    // written (which could land inside it); it is shorter than the capacity,
    // so SetLength does not reallocate under it.
    uintptr_t offset = (uintptr_t)text - (uintptr_t)m_buffer;
    if (offset < (uintptr_t)m_capacity) {
        memmove(m_buffer, text, (size_t)length);
        SetLength(length, true);
        return;
    }
    if (!SetLength(length, false))
        return;
    memcpy(m_buffer, text, (size_t)length);
}

void SString::Assign(const wchar_t* wide)
{
    if (!wide) {
        Empty();
        return;
    }
#ifdef _WIN32
    // The first call measures (terminator included), the second converts.
    int size = WideCharToMultiByte(0, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0 || !SetLength(size - 1, false)) {
        Empty();
        return;
    }
    int written = WideCharToMultiByte(0, 0, wide, -1, m_buffer, size, nullptr, nullptr);
    SetLength(written > 0 ? written - 1 : 0, true);
#else
    // No code pages here: ASCII passes, every other character becomes "?".
    size_t count = wcslen(wide);
    if (count > (size_t)kMaxLength || !SetLength((int)count, false)) {
        Empty();
        return;
    }
    for (size_t i = 0; i < count; i++)
        m_buffer[i] = (wide[i] > 0 && wide[i] < 0x80) ? (char)wide[i] : '?';
#endif
}

void SString::Copy(const SString& other, bool withData)
{
    if (this != &other)
        Assign(other.m_buffer, other.m_length);
    if (withData) {
        m_data[0] = other.m_data[0];
        m_data[1] = other.m_data[1];
    }
}

void SString::Append(const char* text, int length)
{
    if (!text)
        return;
    if (length < 0)
        length = (int)strnlen(text, (size_t)kMaxLength);
    if (length == 0 || length > kMaxLength - m_length)
        return;
    // The text may lie inside our own buffer, which SetLength can replace.
    uintptr_t offset = (uintptr_t)text - (uintptr_t)m_buffer;
    bool inside = offset < (uintptr_t)m_capacity;
    int old = m_length;
    if (!SetLength(old + length, true))
        return;
    if (inside)
        text = m_buffer + offset;
    memmove(m_buffer + old, text, (size_t)length);
    m_buffer[m_length] = 0;
}

void SString::Empty()
{
    SetLength(0, false);
}

char SString::GetAt(int index) const
{
    if (index < 0 || index >= m_length)
        return 0;
    return m_buffer[index];
}

void SString::SetAt(int index, char c)
{
    if (index < 0 || index >= m_length)
        return;
    m_buffer[index] = c;
    if (c == 0)
        m_length = index;
}

int SString::Compare(const char* text) const
{
    return Sign(strcmp(m_buffer, text ? text : ""));
}

int SString::CompareNoCase(const char* text) const
{
    return Sign(CompareNoCaseRaw(m_buffer, text ? text : ""));
}

void SString::MakeUpper()
{
    if (m_length == 0)
        return;
#ifdef _WIN32
    _strupr_s(m_buffer, (size_t)m_length + 1);
#else
    for (int i = 0; i < m_length; i++)
        m_buffer[i] = (char)toupper((unsigned char)m_buffer[i]);
#endif
}

void SString::MakeLower()
{
    if (m_length == 0)
        return;
#ifdef _WIN32
    _strlwr_s(m_buffer, (size_t)m_length + 1);
#else
    for (int i = 0; i < m_length; i++)
        m_buffer[i] = (char)tolower((unsigned char)m_buffer[i]);
#endif
}

int SString::Find(char c, int start, int count) const
{
    if (!NormaliseRange(m_length, start, count))
        return -1;
    const char* hit = (const char*)memchr(m_buffer + start, c, (size_t)count);
    return hit ? (int)(hit - m_buffer) : -1;
}

int SString::FindNot(char c, int start, int count) const
{
    if (!NormaliseRange(m_length, start, count))
        return -1;
    for (int i = start; i < start + count; i++) {
        if (m_buffer[i] != c)
            return i;
    }
    return -1;
}

int SString::Find(const char* text, int start, int count) const
{
    if (!text || !*text || !NormaliseRange(m_length, start, count))
        return -1;
    size_t n = strlen(text);
    if (n > (size_t)count)
        return -1;
    int last = start + count - (int)n;
    for (int i = start; i <= last; i++) {
        const char* hit = (const char*)memchr(m_buffer + i, text[0], (size_t)(last - i + 1));
        if (!hit)
            return -1;
        i = (int)(hit - m_buffer);
        if (memcmp(hit, text, n) == 0)
            return i;
    }
    return -1;
}

int SString::FindNoCase(const char* text, int start, int count, bool after) const
{
    if (!text || !*text || !NormaliseRange(m_length, start, count))
        return -1;
    size_t n = strlen(text);
    if (n > (size_t)count)
        return -1;
    int last = start + count - (int)n;
    for (int i = start; i <= last; i++) {
        if (CompareNoCaseRaw(m_buffer + i, text, n) == 0)
            return after ? i + (int)n : i;
    }
    return -1;
}

int SString::ReverseFind(char c, int from) const
{
    if (from == -1)
        from = m_length - 1;
    if (from < 0 || from >= m_length)
        return -1;
    for (int i = from; i >= 0; i--) {
        if (m_buffer[i] == c)
            return i;
    }
    return -1;
}

int SString::CountLines() const
{
    int lines = 1;
    for (int i = 0; i + 1 < m_length; i++) {
        if (m_buffer[i] == '\r' && m_buffer[i + 1] == '\n') {
            lines++;
            i++;
        }
    }
    return lines;
}

bool SString::IsQuoted(char c) const
{
    if (m_length < 2 || m_buffer[0] != c || m_buffer[m_length - 1] != c)
        return false;
    return memchr(m_buffer + 1, c, (size_t)(m_length - 2)) == nullptr;
}

bool SString::IsNumber() const
{
    int begin = 0;
    int end = m_length;
    while (begin < end && IsBlank(m_buffer[begin]))
        begin++;
    while (end > begin && IsBlank(m_buffer[end - 1]))
        end--;
    if (begin == end)
        return false;
    bool point = false;
    for (int i = begin; i < end; i++) {
        char c = m_buffer[i];
        if (c >= '0' && c <= '9')
            continue;
        if (c == '.') {
            if (point || i == end - 1)
                return false;
            point = true;
        } else if (c == '-') {
            if (i != begin || end - begin == 1)
                return false;
        } else {
            return false;
        }
    }
    return true;
}

bool SString::IsInteger() const
{
    return IsNumber() && Find('.') < 0;
}

uint64_t SString::HexToUInt64() const
{
    const char* p = m_buffer;
    if (*p == '#')
        p++;
    else if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X'))
        p += 2;
    uint64_t value = 0;
    int digits = 0;
    for (; *p; p++) {
        char c = *p;
        int digit;
        if (c >= '0' && c <= '9')
            digit = c - '0';
        else if (c >= 'a' && c <= 'f')
            digit = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            digit = c - 'A' + 10;
        else
            return 0;
        if (++digits > 16)
            return 0;
        value = (value << 4) | (uint64_t)digit;
    }
    return value;
}

namespace {

// Sizes the output of one printf format by walking its directives and taking
// the largest text each conversion can produce:
//   integers (d i u o x X)  max(width, precision) + 32 (64-bit octal with
//                           prefix and sign needs 24; grouping flag doubles it)
//   characters (c C)        max(width, 16) (a wide character may need several bytes)
//   strings (s S)           max(width, text length) bytes; wide texts count
//                           MB_LEN_MAX bytes per character
//   floating (f e g a, any case)  width + precision + 330, or + 4950 for long
//                           double (the longest %f of the largest value)
//   pointers (p)            max(width, 32)
//   %n                      0, %% 1, every other character 1
// Returns -1 when the format holds something the walk does not understand
// (positional arguments, unknown conversions); the caller then measures with
// the C runtime instead. The walk consumes the arguments in order, so `args`
// must be a copy.
long long EstimateFormat(const char* format, va_list args)
{
    long long total = 1;
    for (const char* p = format; *p; p++) {
        if (*p != '%') {
            total++;
            continue;
        }
        p++;
        if (*p == '%') {
            total++;
            continue;
        }
        bool grouping = false;
        while (*p == '-' || *p == '+' || *p == ' ' || *p == '#' || *p == '0' || *p == '\'') {
            if (*p == '\'')
                grouping = true;
            p++;
        }
        long long width = 0;
        if (*p == '*') {
            int w = va_arg(args, int);
            width = w < 0 ? -(long long)w : w;
            p++;
        } else {
            while (*p >= '0' && *p <= '9') {
                width = width * 10 + (*p - '0');
                if (width > INT_MAX)
                    return -1;
                p++;
            }
            if (*p == '$')
                return -1;
        }
        long long precision = -1;
        if (*p == '.') {
            p++;
            precision = 0;
            if (*p == '*') {
                int pr = va_arg(args, int);
                precision = pr < 0 ? -1 : pr;
                p++;
            } else {
                while (*p >= '0' && *p <= '9') {
                    precision = precision * 10 + (*p - '0');
                    if (precision > INT_MAX)
                        return -1;
                    p++;
                }
            }
        }
        // Length modifiers: 0 = int, 1 = long, 2 = 64-bit, 3 = size_t/ptrdiff_t,
        // 4 = long double, 5 = wide (h for characters and strings stays narrow).
        int size = 0;
        bool wide = false;
        if (p[0] == 'h') {
            p += (p[1] == 'h') ? 2 : 1;
        } else if (p[0] == 'l') {
            if (p[1] == 'l') {
                size = 2;
                p += 2;
            } else {
                size = 1;
                wide = true;
                p++;
            }
        } else if (p[0] == 'q' || p[0] == 'j') {
            size = 2;
            p++;
        } else if (p[0] == 'z' || p[0] == 't') {
            size = 3;
            p++;
        } else if (p[0] == 'L') {
            size = 4;
            p++;
        } else if (p[0] == 'w') {
            wide = true;
            p++;
        } else if (p[0] == 'I') {
            if (p[1] == '6' && p[2] == '4') {
                size = 2;
                p += 3;
            } else if (p[1] == '3' && p[2] == '2') {
                p += 3;
            } else {
                size = 3;
                p++;
            }
        }
        long long item;
        switch (*p) {
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            if (size == 2)
                (void)va_arg(args, long long);
            else if (size == 3)
                (void)va_arg(args, size_t);
            else if (size == 1)
                (void)va_arg(args, long);
            else
                (void)va_arg(args, int);
            item = (width > precision ? width : precision) + (grouping ? 64 : 32);
            break;
        case 'c':
        case 'C':
            (void)va_arg(args, int);
            item = width > 16 ? width : 16;
            break;
        case 's':
        case 'S': {
            long long length;
            if (wide || *p == 'S') {
                const wchar_t* w = va_arg(args, const wchar_t*);
                size_t n = w ? (precision >= 0 ? wcsnlen(w, (size_t)precision) : wcslen(w)) : 6;
                length = (long long)n * MB_LEN_MAX;
            } else {
                const char* s = va_arg(args, const char*);
                length =
                    s ? (long long)(precision >= 0 ? strnlen(s, (size_t)precision) : strlen(s)) : 6;
            }
            item = width > length ? width : length;
            break;
        }
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            if (size == 4)
                (void)va_arg(args, long double);
            else
                (void)va_arg(args, double);
            item = width + (precision < 0 ? 6 : precision) + (size == 4 ? 4950 : 330);
            if (grouping)
                item *= 2;
            break;
        case 'p':
            (void)va_arg(args, void*);
            item = width > 32 ? width : 32;
            break;
        case 'n':
            (void)va_arg(args, void*);
            item = 0;
            break;
        default:
            return -1;
        }
        total += item;
        if (total > INT_MAX)
            return -1;
    }
    return total;
}

}   // namespace

int SString::Format(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    int result = FormatV(format, args);
    va_end(args);
    return result;
}

int SString::FormatV(const char* format, va_list args)
{
    if (!format) {
        Empty();
        return -1;
    }
    va_list walk;
    va_copy(walk, args);
    long long estimate = EstimateFormat(format, walk);
    va_end(walk);
    if (estimate < 0) {
        va_list measure;
        va_copy(measure, args);
        int needed = vsnprintf(nullptr, 0, format, measure);
        va_end(measure);
        if (needed < 0) {
            Empty();
            return -1;
        }
        estimate = (long long)needed + 1;
    }
    if (estimate > kMaxLength) {
        Empty();
        return -1;
    }
    // Formats into a fresh buffer: an argument may be this string's own text.
    int capacity = CapacityFor((int)estimate);
    if (capacity < m_capacity)
        capacity = m_capacity;
    char* buffer = (char*)malloc((size_t)capacity);
    if (!buffer) {
        Empty();
        return -1;
    }
    va_list out;
    va_copy(out, args);
    int written = vsnprintf(buffer, (size_t)capacity, format, out);
    va_end(out);
    if (written >= capacity && written <= kMaxLength) {
        // Only a runtime that formats longer than the walk allows gets here.
        free(buffer);
        capacity = CapacityFor(written);
        buffer = (char*)malloc((size_t)capacity);
        if (!buffer) {
            Empty();
            return -1;
        }
        va_copy(out, args);
        written = vsnprintf(buffer, (size_t)capacity, format, out);
        va_end(out);
    }
    if (written < 0 || written >= capacity) {
        free(buffer);
        Empty();
        return -1;
    }
    if (m_capacity > 0)
        free(m_buffer);
    m_buffer = buffer;
    m_capacity = capacity;
    m_length = written;
    return written;
}

SString SString::Left(int count) const
{
    if (count < 0 || count > m_length)
        count = m_length;
    return SString(m_buffer, count);
}

SString SString::Mid(int start, int count) const
{
    if (!NormaliseRange(m_length, start, count))
        return SString();
    return SString(m_buffer + start, count);
}

SString SString::Right(int count) const
{
    if (count < 0 || count > m_length)
        count = m_length;
    return SString(m_buffer + m_length - count, count);
}

void SString::Trim()
{
    TrimRight();
    TrimLeft();
}

void SString::TrimLeft()
{
    int skip = 0;
    while (skip < m_length && IsWhite(m_buffer[skip]))
        skip++;
    if (skip > 0) {
        memmove(m_buffer, m_buffer + skip, (size_t)(m_length - skip));
        SetLength(m_length - skip, true);
    }
}

void SString::TrimRight()
{
    int end = m_length;
    while (end > 0 && IsWhite(m_buffer[end - 1]))
        end--;
    if (end < m_length)
        SetLength(end, true);
}

int SString::Replace(const char* from, const char* to)
{
    if (!from || !*from)
        return 0;
    if (!to)
        to = "";
    int fromLength = (int)strlen(from);
    int toLength = (int)strlen(to);
    // The hits are counted first so that the result is sized once: growing it
    // hit by hit would copy it again at every 16-byte step.
    int count = 0;
    for (int hit = Find(from, 0); hit >= 0; hit = Find(from, hit + fromLength))
        count++;
    if (count == 0)
        return 0;
    long long length = m_length + (long long)count * (toLength - fromLength);
    SString result;
    if (length > kMaxLength || !result.SetLength((int)length, false))
        return 0;
    char* out = result.m_buffer;
    int pos = 0;
    for (int hit = Find(from, 0); hit >= 0; hit = Find(from, pos)) {
        memcpy(out, m_buffer + pos, (size_t)(hit - pos));
        out += hit - pos;
        memcpy(out, to, (size_t)toLength);
        out += toLength;
        pos = hit + fromLength;
    }
    memcpy(out, m_buffer + pos, (size_t)(m_length - pos));
    Assign(result.m_buffer, result.m_length);
    return count;
}

int SString::Replace(char from, char to)
{
    if (from == 0 || to == 0)
        return 0;
    int count = 0;
    for (int i = 0; i < m_length; i++) {
        if (m_buffer[i] == from) {
            m_buffer[i] = to;
            count++;
        }
    }
    return count;
}

SString operator+(const SString& a, const SString& b)
{
    SString result(a);
    result += b;
    return result;
}

SString operator+(const SString& a, const char* b)
{
    SString result(a);
    result += b;
    return result;
}

SString operator+(const char* a, const SString& b)
{
    SString result(a);
    result += b;
    return result;
}
