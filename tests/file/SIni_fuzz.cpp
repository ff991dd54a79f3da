// Queries arbitrary text: the first two lines of the input name the section
// and the key, the rest is the INI text.
#include "file/SIni.h"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > (1 << 18))
        return 0;
    std::string input((const char*)data, size);
    size_t a = input.find('\n');
    size_t b = a == std::string::npos ? a : input.find('\n', a + 1);
    if (b == std::string::npos)
        return 0;
    std::string section = input.substr(0, a);
    std::string key = input.substr(a + 1, b - a - 1);
    SFileMem text;
    text.Write(input.data() + b + 1, (int)(size - b - 1));
    SIni ini;
    ini.OpenMemory(&text);
    SString value = ini.GetString(section.c_str(), key.c_str());
    // A value is the tail of some line of the text.
    if (value.GetLength() > 0 &&
        !memmem(input.data() + b + 1, size - b - 1, value.Text(), (size_t)value.GetLength()))
        __builtin_trap();
    SIni::FindKey(&text, section.c_str(), key.c_str());
    return 0;
}
