// Fuzzes SStringParser::Parse. Input: byte 0 options, byte 1 quote, byte 2
// separator count (0..3) and then the separators; the rest is the text.
#include "core/SStringParser.h"

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 3)
        return 0;
    uint32_t options = data[0] & 3;
    char quote = (char)data[1];
    size_t separatorCount = data[2] & 3;
    if (size < 3 + separatorCount)
        return 0;
    char separators[4] = {0};
    memcpy(separators, data + 3, separatorCount);
    const char* text = (const char*)data + 3 + separatorCount;
    // The parser works on C texts: the text ends at its first 0 byte.
    int length = (int)strnlen(text, size - 3 - separatorCount);
    SStringParser parser(text, length);
    int count = parser.Parse(separators, options, quote);
    if (count < 0) {
        if (parser.GetCount() != 0)
            abort();
        return 0;
    }
    if (count != parser.GetCount())
        abort();
    if (parser.GetLength() == 0)
        return 0;

    size_t realSeparators = strlen(separators);   // a 0 byte ends the set
    bool quoting = (options & SPARSER_QUOTES) && !memchr(separators, quote, realSeparators);
    for (int i = 0; i < count; i++) {
        SString token = parser.GetToken(i);
        // Without quoting no token holds a separator.
        if (!quoting) {
            for (size_t s = 0; s < realSeparators; s++) {
                if (token.Find(separators[s]) >= 0)
                    abort();
            }
        }
    }
    // One non-blank separator and no trimming: the tokens put back together
    // are the text.
    if (realSeparators == 1 && separators[0] != ' ' && separators[0] != '\t' &&
        !(options & SPARSER_TRIM)) {
        SString joined = parser.GetTokens().Join(separators);
        if (joined != parser.Text())
            abort();
    }
    return 0;
}
