#include "SPath.h"

#include <string.h>

#include <windows.h>

SPath::SPath() : m_folderSeparator(true), m_kind(SPATH_INVALID)
{
}

SPath::SPath(const char* path) : m_folderSeparator(true), m_kind(SPATH_INVALID)
{
    Set(path);
}

SPath::~SPath()
{
}

bool SPath::SetFolderSeparator(bool on)
{
    bool previous = m_folderSeparator;
    m_folderSeparator = on;
    return previous;
}

bool SPath::IsUrlText(const char* text)
{
    return text && text[0] && strstr(text + 1, "://") != nullptr;
}

bool SPath::IsShareText(const char* text)
{
    return text && text[0] == '\\' && text[1] == '\\';
}

bool SPath::IsValidChars(const char* text)
{
    if (!text)
        return true;
    for (const unsigned char* p = (const unsigned char*)text; *p; p++) {
        if (*p < 32 || *p == '"' || *p == '*' || *p == '<' || *p == '>' || *p == '?')
            return false;
    }
    return true;
}

int SPath::Set(const char* path)
{
    if (!path || !path[0]) {
        m_kind = SPATH_INVALID;
        m_text.Empty();
        m_full.Empty();
        return SPATH_INVALID;
    }
    m_kind = SPATH_INVALID;
    if (!IsValidChars(path))
        return SPATH_INVALID;
    m_text = path;

    if (IsUrlText(path)) {
        m_full = m_text;
        m_full.Replace('\\', '/');
        int colon = m_full.Find(':');
        if (m_full.GetAt(colon + 1) != '/' || m_full.GetAt(colon + 2) != '/')
            return SPATH_INVALID;
        m_kind = SPATH_URL;
        return m_kind;
    }

    if (IsShareText(path)) {
        m_full = m_text;
        m_full.Replace('/', '\\');
        m_kind = SPATH_SHARE;
        return m_kind;
    }

    char buffer[1024];
    DWORD length = GetFullPathNameA(path, sizeof(buffer), buffer, nullptr);
    // A result not below the limit is the size the system would have needed.
    if (length == 0 || length >= sizeof(buffer))
        return SPATH_INVALID;
    m_full.Assign(buffer, (int)length);
    m_full.Replace('/', '\\');
    // The system drops the trailing separator of "." and ".."; both name folders.
    if (m_text == "." || m_text == "..")
        m_full += '\\';
    m_kind = SPATH_LOCAL;
    return m_kind;
}

int SPath::SetFolder(const char* path)
{
    if (!path || !path[0])
        return Set(path);
    char last = path[strlen(path) - 1];
    if (last == '\\' || last == '/')
        return Set(path);
    SString folder(path);
    folder += '\\';
    return Set(folder.Text());
}

char SPath::Separator() const
{
    return m_kind == SPATH_URL ? '/' : '\\';
}

// A URL or share without a separator after its host or server is a root on
// its own; Root() then adds the separator, so the root is one character
// longer than the full form.
int SPath::RootLength() const
{
    switch (m_kind) {
    case SPATH_URL: {
        int slash = m_full.Find('/', m_full.Find("://") + 3);
        return slash < 0 ? m_full.GetLength() + 1 : slash + 1;
    }
    case SPATH_SHARE: {
        int backslash = m_full.Find('\\', 2);
        return backslash < 0 ? m_full.GetLength() + 1 : backslash + 1;
    }
    case SPATH_LOCAL:
        return m_full.GetLength() < 3 ? m_full.GetLength() : 3;
    default:
        return 0;
    }
}

SString SPath::Root() const
{
    if (!IsValid())
        return SString();
    int length = RootLength();
    if (length > m_full.GetLength())
        return m_full + (m_kind == SPATH_URL ? "/" : "\\");
    return m_full.Left(length);
}

// The part after the last separator, even when that separator belongs to
// the root: "http://host" is named "host", "\\server" is named "server".
SString SPath::Name() const
{
    if (!IsValid())
        return SString();
    return m_full.Mid(m_full.ReverseFind(Separator()) + 1);
}

SString SPath::FolderPart() const
{
    if (!IsValid())
        return SString();
    int root = RootLength();
    int last = m_full.ReverseFind(Separator());
    if (last < root)
        return SString();
    return m_full.Mid(root, last - root + (m_folderSeparator ? 1 : 0));
}

bool SPath::HasName() const
{
    return IsValid() && !Name().IsEmpty();
}

bool SPath::IsSubFolder() const
{
    return IsValid() && !FolderPart().IsEmpty() && Name().IsEmpty();
}

SString SPath::Full() const
{
    if (!IsValid())
        return SString();
    if (m_folderSeparator || HasName())
        return m_full;
    return Root() + FolderPart();
}

SString SPath::Parent() const
{
    if (!IsValid())
        return SString();
    SString folder = FolderPart();
    if (HasName())
        return Root() + folder;
    if (folder.IsEmpty())
        return SString();
    char separator = Separator();
    if (!m_folderSeparator)
        folder += separator;
    // The search starts at the second-last character. A one-character folder
    // part (the empty folder between the doubled separators of \\server\\share\)
    // has none, and a search from -1 would start at the end and hand back the
    // path itself.
    if (folder.GetLength() < 2)
        return Root();
    int found = folder.ReverseFind(separator, folder.GetLength() - 2);
    if (found < 0)
        return Root();
    return Root() + folder.Left(m_folderSeparator ? found + 1 : found);
}

SString SPath::Title() const
{
    SString name = Name();
    int dot = name.ReverseFind('.');
    return dot < 0 ? name : name.Left(dot);
}

SString SPath::Extension(bool withDot, bool upperCase) const
{
    SString name = Name();
    int dot = name.ReverseFind('.');
    if (dot < 0)
        return SString();
    SString extension = name.Mid(withDot ? dot : dot + 1);
    if (upperCase) {
        for (int i = 0; i < extension.GetLength(); i++) {
            char c = extension.GetAt(i);
            if (c >= 'a' && c <= 'z')
                extension.SetAt(i, (char)(c - 'a' + 'A'));
        }
    }
    return extension;
}

int SPath::Split(SStringArray* out) const
{
    if (!out || !IsValid())
        return 0;
    out->Add(Root().Text());
    int added = 1;
    char separator = Separator();
    int start = RootLength();
    int length = m_full.GetLength();
    while (start < length) {
        int end = m_full.Find(separator, start);
        if (end < 0)
            end = length;
        if (end > start) {
            out->Add(m_full.Mid(start, end - start).Text());
            added++;
        }
        start = end + 1;
    }
    return added;
}
