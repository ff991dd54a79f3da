// Fuzzes SStringParser::Parse. Input: byte 0 options, byte 1 quote, byte 2
// separator count (0..3) and then the separators; the rest is the text.
#include "core/SStringParser.h"

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 3 || size < 3 + (data[2] & 3u))
        return 0;
    uint32_t options = data[0] & 3;
    char separators[4] = {0};
    memcpy(separators, data + 3, data[2] & 3u);
    size_t textSize = size - 3 - (data[2] & 3u);
    const char* text = (const char*)data + size - textSize;
    // The parser works on C texts: the text ends at its first 0 byte.
    SStringParser parser(text, (int)strnlen(text, textSize));
    int count = parser.Parse(separators, options, (char)data[1]);
    if (count != (count < 0 ? -1 : parser.GetCount()) || (count < 0 && parser.GetCount() != 0))
        abort();

    // Without quoting no token holds a separator (a 0 byte ends the set).
    size_t separatorCount = strlen(separators);
    bool quoting = (options & SPARSER_QUOTES) && !memchr(separators, data[1], separatorCount);
    for (int i = 0; i < count && !quoting; i++) {
        if (strpbrk(parser.GetToken(i).Text(), separators))
            abort();
    }
    // One non-blank separator and no trimming: the tokens joined are the text.
    if (count > 0 && separatorCount == 1 && !strchr(" \t", separators[0]) &&
        !(options & SPARSER_TRIM) && parser.GetTokens().Join(separators) != parser.Text())
        abort();
    return 0;
}
