// SCtrlColor: turns a colour of the dialog text into a GDI colour. A value
// with an alpha byte came from the "#AARRGGBB" form and is converted; one
// without is already a native colour reference (the "#RRGGBB" form gives
// 00BBGGRR). The not-set marker 0xFF000000 selects the fallback. Every key
// that takes a colour, the dialog's BACKCOLOR included, goes through this one
// conversion.
#pragma once

#include <windows.h>

#include <stdint.h>

class SCtrlColor {
public:
    static COLORREF ToColorRef(uint32_t value, COLORREF fallback)
    {
        if (value == 0xFF000000u)
            return fallback;
        if ((value >> 24) != 0)
            return RGB((value >> 16) & 0xFF, (value >> 8) & 0xFF, value & 0xFF);
        return (COLORREF)value;
    }
};
