// SValue: the library's variant value. It holds nothing or one 64-bit signed
// integer; worker notifications carry their payload in one.
#pragma once

#include <stdint.h>

class SValue {
public:
    enum Type { EMPTY = 0, INTEGER = 1 };

    SValue();
    explicit SValue(int64_t value);
    virtual ~SValue();

    Type GetType() const { return m_type; }
    bool IsEmpty() const { return m_type == EMPTY; }

    // The integer; 0 when the value is empty.
    int64_t GetInt64() const;
    // The integer cut to its low 32 bits; 0 when the value is empty.
    int GetInt() const;

    void SetInt64(int64_t value);
    void Empty();

private:
    Type m_type;
    int64_t m_value;
};
