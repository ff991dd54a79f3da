#include "SIni.h"

#include <string.h>

namespace {

// Equal ignoring letter case, and of the same length (a line may hold a 0
// byte, where a C string compare would stop early).
bool SameNoCase(const SString& text, const char* name)
{
    return text.GetLength() == (int)strlen(name) && text.CompareNoCase(name) == 0;
}

bool IsSectionLine(const SString& line)
{
    int length = line.GetLength();
    return length >= 2 && line.GetAt(0) == '[' && line.GetAt(length - 1) == ']';
}

}   // namespace

bool SIni::OpenMemory(SFile* source)
{
    if (!source)
        return false;
    m_kind = kMemory;
    m_fileName.Empty();
    m_text.Close();
    int position = source->Tell();
    source->Rewind();
    m_text.Copy(source);
    source->Seek(position);
    m_text.Rewind();
    return true;
}

bool SIni::OpenFile(const char* path)
{
    m_text.Close();
    if (!path || !*path) {
        m_kind = kNone;
        m_fileName.Empty();
        return false;
    }
    m_kind = kFile;
    m_fileName = path;
    return true;
}

SString SIni::GetString(const char* section, const char* key)
{
    SFileMem loaded;
    SFile* file = &m_text;
    if (m_kind != kMemory) {
        if (m_fileName.IsEmpty() || !loaded.LoadFile(m_fileName.Text()))
            return SString();
        file = &loaded;
    }
    int position = FindKey(file, section, key);
    if (position < 0)
        return SString();
    file->Seek(position);
    SString line;
    file->ReadLine(line, false);
    return line.Mid(line.Find('=') + 1);
}

int SIni::FindSection(SFile* file, const char* section)
{
    if (!file || !section)
        return -1;
    file->Rewind();
    SString line;
    // Every line read consumes at least one byte, so the loop ends.
    for (;;) {
        int position = file->Tell();
        if (position >= file->Size())
            return -1;
        file->ReadLine(line, true);
        if (IsSectionLine(line) && SameNoCase(line.Mid(1, line.GetLength() - 2), section))
            return position;
    }
}

int SIni::FindKey(SFile* file, const char* section, const char* key)
{
    int start = key ? FindSection(file, section) : -1;
    if (start < 0)
        return -1;
    SString line;
    file->Seek(start);
    file->ReadLine(line, false);   // the section line itself
    for (;;) {
        int position = file->Tell();
        if (position >= file->Size())
            return -1;
        // Raw: leading blanks belong to the key name.
        file->ReadLine(line, false);
        if (line.GetLength() < 2)
            continue;
        if (IsSectionLine(line))
            return -1;
        int equals = line.Find('=');
        if (equals >= 0 && SameNoCase(line.Left(equals), key))
            return position;
    }
}
