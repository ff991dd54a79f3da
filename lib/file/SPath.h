// SPath: one path text parsed into a kind (local path, network share, URL)
// and a normalised full form, and cut into root, folder part, name and
// extension. A URL's separator is "/", every other kind's "\\".
#pragma once

#include "core/SString.h"
#include "core/SStringArray.h"

// Kinds of SPath::GetKind.
enum {
    SPATH_INVALID = 0,   // not parsed, or rejected
    SPATH_LOCAL = 1,     // a local path, made absolute
    SPATH_SHARE = 2,     // a network share: the text begins with "\\\\"
    SPATH_URL = 3,       // scheme "://" rest
};

class SPath {
public:
    SPath();
    // Parses path as Set does.
    explicit SPath(const char* path);
    virtual ~SPath();

    // Parses path and returns its kind. A local path is made absolute against
    // the current folder with "/" turned into "\\" ("." and ".." get a
    // trailing "\\"); a URL gets "/" for every "\\"; a share gets "\\" for
    // every "/". SPATH_INVALID for a null or empty text (which empties the
    // object), a text with characters IsValidChars rejects (the object keeps
    // its old texts), a URL whose scheme is not followed by "://", or a local
    // path the system cannot make absolute. After any failure every part
    // below is empty.
    int Set(const char* path);
    // As Set, with a "\\" appended unless path already ends in "\\" or "/":
    // the text is read as a folder.
    int SetFolder(const char* path);

    // Folder-separator rule, true by default: whether the folder texts that
    // SPath returns (FolderPart, Full of a folder, Parent) keep their trailing
    // separator. Root always keeps it. Returns the previous value.
    bool SetFolderSeparator(bool on);
    bool GetFolderSeparator() const { return m_folderSeparator; }

    int GetKind() const { return m_kind; }
    // The path exactly as it was passed to Set.
    const SString& GetText() const { return m_text; }
    bool IsValid() const { return m_kind != SPATH_INVALID; }
    bool IsShare() const { return m_kind == SPATH_SHARE; }
    bool IsUrl() const { return m_kind == SPATH_URL; }

    // True when text holds "://" at position 1 or later.
    static bool IsUrlText(const char* text);
    // True when text begins with "\\\\".
    static bool IsShareText(const char* text);
    // False when text holds a double quote, "*", "<", ">", "?" or a character
    // below 32 ("|" and ":" are accepted); true for a null or empty text.
    static bool IsValidChars(const char* text);

    // "C:\\" for a local path; "\\\\server\\" for a share; "http://host/" for
    // a URL (the full form plus the separator when it has none after the
    // root). Empty when invalid.
    SString Root() const;
    // The part after the last separator; empty when invalid or when the path
    // ends in its separator (a folder).
    SString Name() const;
    // The folders between Root() and Name(): empty when the path lies in the
    // root itself or is invalid.
    SString FolderPart() const;
    // The full form; a folder without its trailing separator when the
    // folder-separator rule is false. Empty when invalid.
    SString Full() const;
    // The folder holding the path: Root() + FolderPart() for a name; the
    // folder one level up for a folder, Root() when the folder part is a
    // single separator (a doubled separator after the root), so walking up
    // from a folder always ends at its root. Empty when invalid or for a root.
    SString Parent() const;
    // Name() without its extension (up to the last "."); the whole name when
    // it holds no ".".
    SString Title() const;
    // The name's extension from the last "." (withDot) or after it, in upper
    // case ("a" to "z" only) with upperCase. Empty when the name holds no ".".
    SString Extension(bool withDot, bool upperCase) const;

    // Valid and Name() is not empty.
    bool HasName() const;
    // Valid, FolderPart() is not empty and Name() is empty: a folder below the
    // root, written with its trailing separator.
    bool IsSubFolder() const;

    // Appends the components of the full form to out, root first: Root()
    // (with its separator), then every folder and finally the name, each
    // without separators ("C:\\src\\sub\\a.txt" gives "C:\\", "src", "sub",
    // "a.txt"; the folder "C:\\src\\sub\\" gives "C:\\", "src", "sub").
    // Returns the number appended, 0 when invalid. A file's name relative to a
    // folder that holds it is the file's components that follow the folder's
    // own components, joined with "\\": fileParts.Join("\\", folderCount).
    int Split(SStringArray* out) const;

private:
    // The separator of this kind: '/' for a URL, '\\' otherwise.
    char Separator() const;
    // Length of Root() within the full form; 0 when invalid.
    int RootLength() const;

    bool m_folderSeparator;
    SString m_text;   // the path as passed in
    SString m_full;   // the normalised full form
    int m_kind;
};
