#include "SStringParser.h"

#include <string.h>
#ifndef _WIN32
#include <strings.h>
#endif

namespace {

bool IsBlank(char c)
{
    return c == ' ' || c == '\t';
}

}   // namespace

SStringParser::SStringParser() : m_quote('"'), m_options(0), m_position(0)
{
}

SStringParser::SStringParser(const char* text, int length)
    : SString(text, length), m_quote('"'), m_options(0), m_position(0)
{
}

SStringParser& SStringParser::operator=(const char* text)
{
    Assign(text);
    return *this;
}

SStringParser::~SStringParser()
{
    Reset();
}

void SStringParser::Reset()
{
    m_tokens.RemoveAll();
    m_separators.Empty();
    m_quote = '"';
    m_options = 0;
    m_position = 0;
}

bool SStringParser::IsSeparator(char ch) const
{
    return ch != 0 && m_separators.Find(ch) >= 0;
}

bool SStringParser::IsQuote(char ch) const
{
    return (m_options & SPARSER_QUOTES) && ch == m_quote;
}

bool SStringParser::Start(const char* separators, uint32_t options, char quote)
{
    Reset();
    m_separators.Assign(separators);
    m_quote = quote;
    m_options = options;
    // The quote check ignores SPARSER_QUOTES on purpose: a quote character
    // that is also a separator is a bad setting whether quoting is on or not.
    if (IsSeparator(quote) || ((options & SPARSER_TRIM) && quote == ' ')) {
        Reset();
        return false;
    }
    return true;
}

int SStringParser::Parse(const char* separators, uint32_t options, char quote, SStringArray* out)
{
    if (IsEmpty())
        return 0;
    if (!Start(separators, options, quote))
        return -1;
    SStringArray* tokens = out ? out : &m_tokens;
    int first = tokens->GetCount();
    int count = 0;
    SString token;
    for (;;) {
        int step = NextToken(token);
        if (step == 0)
            break;
        if (step < 0) {
            Reset();
            if (out)
                out->RemoveAt(first, out->GetCount() - first);
            return -1;
        }
        if (m_options & SPARSER_TRIM) {
            int begin = 0;
            int end = token.GetLength();
            const char* text = token.Text();
            while (begin < end && text[begin] == ' ')
                begin++;
            while (end > begin && text[end - 1] == ' ')
                end--;
            if (begin > 0 || end < token.GetLength())
                token.Assign(text + begin, end - begin);
        }
        tokens->Insert(token.Text(), -1, 1);
        count++;
    }
    m_position = 0;
    return count;
}

int SStringParser::NextToken(SString& token)
{
    token.Empty();
    const char* text = Text();
    int length = GetLength();
    if (m_position > length)
        return 0;
    if (m_position < 0)
        m_position = 0;

    // Every character scanned before the ending separator belongs to the
    // token, so the token is one slice of the text, copied once at the end.
    int begin = m_position;
    bool inQuote = false;
    for (;;) {
        if (m_position >= length) {
            if (inQuote) {
                m_position = length + 1;
                return -1;
            }
            token.Assign(text + begin, length - begin);
            m_position = length + 1;
            return 1;
        }
        char c = text[m_position];
        bool quote = IsQuote(c);
        if (inQuote) {
            if (quote)
                inQuote = false;
        } else if (IsSeparator(c)) {
            break;
        } else if (quote) {
            inQuote = true;
        }
        m_position++;
    }

    token.Assign(text + begin, m_position - begin);
    char separator = text[m_position];
    m_position++;
    if (!IsBlank(separator))
        return 1;

    // A run of blanks is one separator: of any blank when space and tab both
    // separate, otherwise of this very character.
    bool anyBlank = IsSeparator(' ') && IsSeparator('\t');
    while (m_position < length &&
           (anyBlank ? IsBlank(text[m_position]) : text[m_position] == separator))
        m_position++;
    if (m_position >= length) {
        m_position = length + 1;
        return 1;
    }
    // A separator right behind the run merges with it ("a ,b" splits once).
    if (IsSeparator(text[m_position]))
        m_position++;
    return 1;
}

int SStringParser::Find(const char* text, bool exact) const
{
    if (!text)
        return -1;
    for (int i = 0; i < m_tokens.GetCount(); i++) {
        const char* token = m_tokens.GetText(i);
#ifdef _WIN32
        int difference = exact ? strcmp(token, text) : _stricmp(token, text);
#else
        int difference = exact ? strcmp(token, text) : strcasecmp(token, text);
#endif
        if (difference == 0)
            return i;
    }
    return -1;
}
