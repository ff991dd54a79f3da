// SStringParser: splits its own text (it is an SString) into tokens at a set
// of separator characters, with optional quoting and trimming.
#pragma once

#include <stdint.h>

#include "SString.h"
#include "SStringArray.h"

// Parse options.
enum : uint32_t {
    SPARSER_QUOTES = 0x1,   // honour the quote character
    SPARSER_TRIM = 0x2,     // trim spaces (character 32 only) from both ends of each token
};

class SStringParser : public SString {
public:
    SStringParser();
    explicit SStringParser(const char* text, int length = -1);
    SStringParser(const SStringParser&) = delete;
    SStringParser& operator=(const SStringParser&) = delete;
    // Replaces the text; the settings and tokens stay until the next Parse.
    SStringParser& operator=(const char* text);
    // Calls Reset.
    ~SStringParser() override;

    // Splits the text into tokens, appended to out, or to the own token array
    // when out is null. Returns the number of tokens; 0 for an empty text
    // (nothing is reset then); -1 when the quote character is a separator,
    // when SPARSER_TRIM is set and the quote character is a space, or when a
    // quote is left open. After -1 the parser is reset and the tokens this
    // call appended to out are removed again. A null separators means none.
    //
    // Rules: quote characters stay in the token text; a separator inside a
    // quote is text; a run of blank separators (space, tab) counts as one and
    // trailing blanks add no token; any other separator at the very end gives
    // a final empty token ("a," gives "a" and ""), and two in a row give an
    // empty token between them.
    int Parse(const char* separators, uint32_t options = 0, char quote = '"',
              SStringArray* out = nullptr);

    // Resets, then takes the settings for scanning with NextToken. False (and
    // reset) for the bad settings Parse refuses.
    bool Start(const char* separators, uint32_t options = 0, char quote = '"');
    // The scanner step: 1 with the next token in token (untrimmed), 0 when no
    // token is left, -1 for a quote still open at the end of the text. Never
    // reads past the text.
    int NextToken(SString& token);

    // Size of the own token array.
    int GetCount() const { return m_tokens.GetCount(); }
    // The token, or an empty text for an index outside the array.
    SString GetToken(int index) const { return SString(m_tokens.GetText(index)); }
    const SStringArray& GetTokens() const { return m_tokens; }
    // The first own token equal to text: byte for byte when exact, ignoring
    // letter case otherwise. -1 when there is none or text is null.
    int Find(const char* text, bool exact = true) const;

    // ch is in the separator string (0 never is).
    bool IsSeparator(char ch) const;
    // SPARSER_QUOTES is set and ch is the quote character.
    bool IsQuote(char ch) const;

    // Defaults: no separators, quote '"', no options, position 0, no tokens.
    // The text is kept.
    void Reset();

    const SString& GetSeparators() const { return m_separators; }
    char GetQuote() const { return m_quote; }
    uint32_t GetOptions() const { return m_options; }
    // Index of the next character to scan; past the end once the text is done.
    int GetPosition() const { return m_position; }

private:
    SStringArray m_tokens;   // tokens of the last Parse without an outside array
    SString m_separators;
    char m_quote;
    uint32_t m_options;
    int m_position;
};
