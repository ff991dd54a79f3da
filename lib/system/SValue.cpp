#include "SValue.h"

SValue::SValue() : m_type(EMPTY), m_value(0)
{
}

SValue::SValue(int64_t value) : m_type(INTEGER), m_value(value)
{
}

SValue::~SValue()
{
}

int64_t SValue::GetInt64() const
{
    return m_type == INTEGER ? m_value : 0;
}

int SValue::GetInt() const
{
    return (int)(uint32_t)(uint64_t)GetInt64();
}

void SValue::SetInt64(int64_t value)
{
    m_type = INTEGER;
    m_value = value;
}

void SValue::Empty()
{
    m_type = EMPTY;
    m_value = 0;
}
