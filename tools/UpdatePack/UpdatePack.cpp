// UpdatePack: the package maker for scripts and build pipelines. It makes the
// same package and description file as Update.exe's "Make update files"
// dialog, lists and unpacks packages, and checks them strictly. It also makes
// publisher keys, signs packages, checks signatures and stamps a public key
// into a copy of Update.exe (see SEcKey and SPackageSignature).
#include <windows.h>

#include <psapi.h>

#include <initializer_list>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <memory>

#include "PDeltaPackage.h"
#include "PPackCheck.h"
#include "PSourceFiles.h"
#include "core/SLittleEndian.h"
#include "core/SString.h"
#include "core/SStringArray.h"
#include "core/SVersion.h"
#include "file/SDisk.h"
#include "file/SFileHandle.h"
#include "file/SFilePath.h"
#include "file/SPath.h"
#include "file/SResource.h"
#include "system/SEcKey.h"
#include "system/SPackageSignature.h"

namespace {

enum { kOk = 0, kFailed = 1, kUsage = 2 };

const char kUsageText[] =
    "Usage: UpdatePack <command> [--stats]\n"
    "\n"
    "  make FOLDER DESC.upd [--version TEXT [--any-version]] [--updater EXE]\n"
    "       [--sign KEY.pem] [--since OLD.upd ...]\n"
    "      Packs every file under FOLDER (except FOLDER\\Update.exe) into the\n"
    "      package beside DESC.upd (same title, extension .bin) and writes the\n"
    "      description file DESC.upd: the version (default 1.0.0.0) and the\n"
    "      package size. Fails, writing nothing, when any file cannot be packed\n"
    "      (unreadable, 2 GB or more, a name the ANSI code page cannot hold, a\n"
    "      name that differs from another only in letter case) and names each.\n"
    "      The version is 1 to 4 dot-separated numbers from 0 to 65535 (2.1,\n"
    "      1.0.0.7): the order applications compare in. --any-version takes\n"
    "      any text, which applications never see as newer.\n"
    "      --updater EXE adds EXE as Update.exe.next, which replaces Update.exe\n"
    "      at the application's next start (the updater's own update).\n"
    "      With --sign the package is signed with the private key in KEY.pem\n"
    "      for the version, which must then be 1 to 4 dot-separated numbers,\n"
    "      each at most 65535; so is each delta, for its base version too.\n"
    "      Each --since names an earlier release's description, its package\n"
    "      beside it: a delta package TITLE-from-OLDVERSION.bin beside DESC.upd\n"
    "      then holds the files that changed or were added since, and DESC.upd\n"
    "      lists it on a line \"from OLDVERSION SIZE FILE\" after the two lines.\n"
    "  list PKG\n"
    "      Shows the package's mode, its signature (full or delta, version,\n"
    "      base) and each entry's data length (as stored), unpacked size and\n"
    "      name.\n"
    "  extract PKG DEST\n"
    "      Unpacks every entry into the folder DEST and names each that failed.\n"
    "  verify PKG [--key PUBLIC.pem]\n"
    "      Checks every record, chunk and zlib stream of the package; names the\n"
    "      first bad entry. Tells whether it is signed, by which key, for which\n"
    "      version and whether it is full or a delta (and its base); with --key\n"
    "      checks the signature, and an unsigned package or one not signed by\n"
    "      that key fails.\n"
    "  keygen KEY.pem [PUBLIC.pem]\n"
    "      Makes a P-256 key: the private key goes to KEY.pem only, readable by\n"
    "      its owner only where the file system allows; the public key to\n"
    "      PUBLIC.pem and to stdout. Refuses when either file exists or both\n"
    "      name the same file.\n"
    "  sign PKG KEY.pem [--version V] [--base B] [--resign]\n"
    "      Signs an existing package in place for version V (default: the\n"
    "      version in the description file beside it, same title, .upd); with\n"
    "      --base as a delta that applies only over version B. An already\n"
    "      signed package only with --resign. A description file that gave the\n"
    "      old size gets the new one.\n"
    "  stamp Update.exe KEY.pem [-o OUT.exe] [--restamp]\n"
    "      Writes the public key of KEY.pem (public or private) into Update.exe,\n"
    "      or into a copy OUT.exe; that Update.exe then installs only packages\n"
    "      signed by the key, for a version not below the installed one. One\n"
    "      stamped with another key is stamped again only with --restamp.\n"
    "      Stamp before Authenticode signing.\n"
    "\n"
    "  --stats   prints the peak working set when done\n"
    "  --help    prints this text\n"
    "\n"
    "Exit codes: 0 done, 1 failed, 2 wrong arguments.\n";

// The progress bar on stderr, drawn only when stderr is a console.
bool g_bar = false;
int g_barShown = -1;

bool ShowProgress(int thousandths, int value)
{
    (void)value;
    int percent = thousandths / 10;
    if (!g_bar || percent == g_barShown)
        return true;
    g_barShown = percent;
    char bar[41];
    int filled = thousandths * 40 / 1000;
    for (int i = 0; i < 40; i++)
        bar[i] = i < filled ? '#' : '.';
    bar[40] = 0;
    fprintf(stderr, "\r[%s] %3d%%", bar, percent);
    fflush(stderr);
    return true;
}

void EndProgress()
{
    if (g_bar && g_barShown >= 0)
        fprintf(stderr, "\r%50s\r", "");
    g_barShown = -1;
}

void Error(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    vfprintf(stderr, format, args);
    va_end(args);
    fputc('\n', stderr);
}

int Usage(const char* problem)
{
    Error("UpdatePack: %s", problem);
    fputs(kUsageText, stderr);
    return kUsage;
}

class _PTimer {
public:
    _PTimer() { QueryPerformanceCounter(&m_start); }
    double Seconds() const
    {
        LARGE_INTEGER now, frequency;
        QueryPerformanceCounter(&now);
        QueryPerformanceFrequency(&frequency);
        return (double)(now.QuadPart - m_start.QuadPart) / (double)frequency.QuadPart;
    }

private:
    LARGE_INTEGER m_start;
};

void Summary(int files, int64_t in, int64_t out, double seconds)
{
    double ratio = in > 0 ? 100.0 * (double)out / (double)in : 0.0;
    printf("%d files, %lld bytes in, %lld bytes out, ratio %.1f%%, %.2f s\n", files, (long long)in,
           (long long)out, ratio, seconds);
}

// Loads a key file, naming it and the fault when that fails.
bool LoadKey(SEcKey* key, const char* path, bool needPrivate)
{
    if (!key->LoadFile(path)) {
        Error("%s: %s", path, key->GetError().Text());
        return false;
    }
    if (needPrivate && !key->HasPrivate()) {
        Error("%s holds only a public key; signing needs the private key", path);
        return false;
    }
    return true;
}

// Takes a version to sign, naming it when it is not one.
bool ParseVersion(const char* text, SVersion* version)
{
    if (version->Parse(text))
        return true;
    Error("\"%s\" is not a version a package can be signed for: 1 to 4 dot-separated numbers, "
          "each at most 65535",
          text);
    return false;
}

// One line on what the signature covers: full or delta, version and base.
SString Covers(const SPackageSignature& signature)
{
    SString text;
    if (signature.GetBase())
        text.Format("delta from %s to version %s", signature.GetBase()->GetText().Text(),
                    signature.GetVersion().GetText().Text());
    else
        text.Format("full package of version %s", signature.GetVersion().GetText().Text());
    return text;
}

bool WriteText(const char* path, const SString& text)
{
    SFilePath file(path, true, true, false);
    return file.IsOpen() && file.Write(text.Text(), text.GetLength()) == text.GetLength();
}

// The entry that carries the updater's own update (make --updater).
const char kNextUpdater[] = "Update.exe.next";

// True for a file that begins as a Windows program does ("MZ").
bool IsProgram(const char* path)
{
    SFilePath file(path, false, false, true);
    char magic[2] = {};
    return file.IsOpen() && file.Read(magic, 2) == 2 && magic[0] == 'M' && magic[1] == 'Z';
}

// The mistakes in make's arguments, found before anything is read or
// written: each is a usage error naming the path or text and what is wrong
// with it. 0 when there is none.
int CheckMakeArguments(const char* folder, const char* desc, const char* version, bool anyVersion,
                       const char* updater)
{
    SDisk disk;
    SString problem;
    SVersion parsed;
    SPath descPath;
    auto isDescName = [](const char* path) {
        size_t length = strlen(path);
        return length >= 4 && _stricmp(path + length - 4, ".upd") == 0;
    };
    if (version && !anyVersion && !parsed.Parse(version))
        problem.Format("--version %s: a version is 1 to 4 dot-separated numbers from 0 to "
                       "65535 (2.1, 1.0.0.7); --any-version takes it as it stands",
                       version);
    else if (!disk.IsFolder(folder))
        problem.Format("%s: %s%s", folder,
                       disk.IsFile(folder) ? "a file, not a folder" : "no such folder",
                       isDescName(folder) || disk.IsFolder(desc)
                           ? "; make takes the folder first, then the description file"
                           : "");
    else if (!isDescName(desc))
        problem.Format("%s: the description file's name must end in .upd", desc);
    else if (disk.IsFolder(desc))
        problem.Format("%s is a folder, not a description file", desc);
    else if (descPath.Set(desc) == SPATH_INVALID || !disk.IsFolder(descPath.Parent().Text()))
        problem.Format("%s: its folder does not exist", desc);
    else if (updater && !IsProgram(updater))
        problem.Format("--updater %s: no such program", updater);
    return problem.IsEmpty() ? kOk : Usage(problem.Text());
}

// Adds the program at source as the last entry of the package just written
// to output (which stands after its end marker), compressed, under name.
bool AppendEntry(SFilePath& output, const char* name, const char* source)
{
    SFilePath input(source, false, false, true);
    const int start = output.Tell() - 4;
    const int nameBytes = (int)strlen(name) + 1;
    unsigned char word[4] = {};
    if (!input.IsOpen() || output.Seek(start) != start || output.Write(word, 4) != 4 ||
        output.Write(name, nameBytes) != nameBytes)
        return false;
    int written = input.Compress(&output);
    int end = start + 4 + nameBytes + written;
    SLittleEndian::Put32(word, (uint32_t)written);
    if (written <= 0 || output.Tell() != end || output.Seek(start) != start ||
        output.Write(word, 4) != 4 || output.Seek(end) != end)
        return false;
    SLittleEndian::Put32(word, SResourceIndex::kEndMarker);
    return output.Write(word, 4) == 4;
}

// Reads the earlier releases given with --since, before anything is written.
// False, naming the fault, when one cannot be the base of a delta to
// version, or two give the same version, or a package written here would
// replace one of theirs.
bool LoadDeltas(PDeltaPackage* deltas, const char* const* since, int count, const char* version,
                const SString& package, const SString& desc)
{
    SVersion newVersion;
    if (count > 0 && !newVersion.Parse(version)) {
        Error("A delta needs a version of one to four numbers: \"%s\" is none", version);
        return false;
    }
    for (int i = 0; i < count; i++) {
        if (!deltas[i].Load(since[i], newVersion)) {
            Error("%s", deltas[i].GetError().Text());
            return false;
        }
        SVersion from;
        from.Parse(deltas[i].GetFrom().Text());
        for (int j = 0; j < i; j++) {
            SVersion other;
            other.Parse(deltas[j].GetFrom().Text());
            if (from.Compare(other) == 0) {
                Error("%s and %s are both version %s", since[j], since[i],
                      deltas[i].GetFrom().Text());
                return false;
            }
        }
    }
    for (int i = 0; i < count; i++) {
        for (int j = 0; j < count; j++) {
            const SString& old = deltas[j].GetOldPackage();
            if (!old.CompareNoCase(package.Text()) ||
                !old.CompareNoCase(deltas[i].PathFor(desc).Text())) {
                Error("%s would be replaced: write the new release to another place", old.Text());
                return false;
            }
        }
    }
    return true;
}

// Writes the delta beside desc, with the updater's own update when one is
// given (users of the old release need it as much as everyone else), signs
// it with key for version when one is loaded, prints what it holds and adds
// its line to lines.
bool WriteDelta(PDeltaPackage& delta, const SString& root, const SStringArray& names,
                const SString& desc, const char* updater, const SEcKey& key,
                const SVersion& version, SString* lines)
{
    const SString path = delta.PathFor(desc);
    bool written = delta.Compare(root, names) && delta.Write(root, path.Text(), ShowProgress);
    EndProgress();
    if (!written) {
        Error("%s", delta.GetError().Text());
        return false;
    }
    if (updater) {
        SFilePath output(path.Text(), true, false, true);
        if (!output.IsOpen() || output.Seek(-1) != output.Size() ||
            !AppendEntry(output, kNextUpdater, updater)) {
            Error("Cannot add %s to %s", updater, path.Text());
            return false;
        }
    }
    // A signed delta names its base: only an application of that version
    // takes it.
    SPackageSignature signature;
    SVersion base;
    if (key.HasKey() &&
        (!base.Parse(delta.GetFrom().Text()) ||
         !signature.Sign(path.Text(), key, version, &base))) {
        Error("Cannot sign %s", path.Text());
        return false;
    }
    SDisk disk;
    uint32_t size = disk.FileSize(path.Text());
    SPath name;
    name.Set(path.Text());
    SString line;
    line.Format("from %s %u %s\r\n", delta.GetFrom().Text(), size, name.Name().Text());
    *lines += line;
    printf("%s\n  from %s: %d of %d files, %u bytes\n", path.Text(), delta.GetFrom().Text(),
           delta.GetChanged().GetCount() + delta.GetAdded().GetCount(), names.GetCount(), size);
    if (key.HasKey())
        printf("  signed by key %s, %s\n", key.GetIdText().Text(), Covers(signature).Text());
    const SStringArray* lists[3] = {&delta.GetChanged(), &delta.GetAdded(), &delta.GetRemoved()};
    const char* labels[3] = {"changed", "added", "removed"};
    for (int k = 0; k < 3; k++) {
        for (int i = 0; i < lists[k]->GetCount(); i++)
            printf("  %-8s %s\n", labels[k], lists[k]->GetText(i));
    }
    if (delta.GetRemoved().GetCount() > 0)
        printf("  (removed files stay on the disks of users of %s: the installer never "
               "deletes)\n",
               delta.GetFrom().Text());
    return true;
}

int Make(const char* folderText, const char* descText, const char* version, const char* keyPath,
         const char* updater, const char* const* since, int sinceCount)
{
    _PTimer timer;
    SEcKey key;
    SVersion signedVersion;
    if (keyPath && (!ParseVersion(version, &signedVersion) || !LoadKey(&key, keyPath, true)))
        return kFailed;
    SDisk disk;
    SPath folder;
    if (folder.SetFolder(folderText) == SPATH_INVALID || !disk.IsFolder(folder.Full().Text())) {
        Error("Invalid folder");
        return kFailed;
    }
    const SString root = folder.Full();

    SStringArray files, unmapped;
    PSourceFiles::List(&disk, root, &files);
    // The ANSI walk gives these with "?" or a look-alike, or not at all when
    // a folder's name is the one lost; the Unicode walk names them.
    disk.ListUnmappedNames(root.Text(), &unmapped);
    int refused = 0;
    for (int i = 0; i < unmapped.GetCount(); i++, refused++)
        Error("Cannot pack %s: the ANSI code page cannot hold its name", unmapped.GetText(i));
    if (files.GetCount() == 0 && refused == 0) {
        Error("No files");
        return kFailed;
    }

    SPath desc;
    if (desc.Set(descText) == SPATH_INVALID || !desc.HasName())
        return Usage("the description file needs a file name");
    const SString package = PSourceFiles::PackagePath(desc);
    std::unique_ptr<PDeltaPackage[]> deltas(new PDeltaPackage[sinceCount > 0 ? sinceCount : 1]);
    if (!LoadDeltas(deltas.get(), since, sinceCount, version, package, desc.Full()))
        return kFailed;

    SResource writer;
    writer.SetFolder(root.Text());
    int added = 0;
    int64_t bytesIn = 0;
    for (int i = 0; i < files.GetCount(); i++) {
        const SString& path = files.GetAt(i);
        SString name = PSourceFiles::EntryName(path, root);
        if (unmapped.GetCount() > 0 && (strchr(path.Text(), '?') || !disk.IsFile(path.Text())))
            continue;
        uint32_t size = disk.FileSizeByStream(path.Text());
        if (size >= 0x80000000u) {
            Error("Cannot pack %s: it cannot be read, or it is 2 GB or more", path.Text());
            refused++;
            continue;
        }
        // Possible where the file system tells letter case apart.
        if (!writer.Add(name.Text())) {
            Error("Cannot pack %s: another file has the same name ignoring letter case",
                  path.Text());
            refused++;
            continue;
        }
        added++;
        bytesIn += size;
    }
    if (updater && writer.GetIndex().Find(kNextUpdater) >= 0) {
        Error("%s holds %s already; --updater %s would add another", root.Text(), kNextUpdater,
              updater);
        refused++;
    }
    // A package with files missing must not reach a release.
    if (refused > 0) {
        Error("%d file%s cannot be packed; nothing written", refused, refused == 1 ? "" : "s");
        return kFailed;
    }

    SFilePath output(package.Text(), true, true, false);
    if (!output.IsOpen()) {
        Error("Cannot create %s", package.Text());
        return kFailed;
    }
    writer.SetProgress(ShowProgress, 0);
    bool written =
        writer.Write(&output, true) && (!updater || AppendEntry(output, kNextUpdater, updater));
    EndProgress();
    output.Close();
    if (!written) {
        Error("Cannot write %s", package.Text());
        return kFailed;
    }
    SPackageSignature signature;
    if (key.HasKey() && !signature.Sign(package.Text(), key, signedVersion, nullptr)) {
        Error("Cannot sign %s", package.Text());
        return kFailed;
    }

    SString deltaLines;
    for (int i = 0; i < sinceCount; i++) {
        if (!WriteDelta(deltas[i], root, writer.GetIndex().GetNames(), desc.Full(), updater, key,
                        signedVersion, &deltaLines))
            return kFailed;
    }

    uint32_t size = disk.FileSize(package.Text());
    SFilePath description(desc.Full().Text(), true, true, false);
    SString sizeText;
    sizeText.Format("%u", size);
    if (!description.IsOpen() || description.WriteLine(version) != (int)strlen(version) + 2 ||
        description.WriteLine(sizeText.Text()) != sizeText.GetLength() + 2 ||
        description.WriteString(deltaLines.Text()) != deltaLines.GetLength()) {
        Error("Cannot write %s", desc.Full().Text());
        return kFailed;
    }
    description.Close();
    printf("%s\n%s\n", package.Text(), desc.Full().Text());
    if (key.HasKey())
        printf("signed by key %s, %s\n", key.GetIdText().Text(), Covers(signature).Text());
    if (updater)
        printf("%s added as %s\n", updater, kNextUpdater);
    Summary(added, bytesIn, size, timer.Seconds());
    return kOk;
}

bool OpenPackage(SResource& package, const char* path)
{
    if (package.Open(path))
        return true;
    Error("Cannot open %s as a package", path);
    return false;
}

int List(const char* path)
{
    SResource package;
    if (!OpenPackage(package, path))
        return kFailed;
    SFilePath file(path, false, false, true);
    const SResourceIndex& index = package.GetIndex();
    printf("mode: %s\n", package.IsCompressed() ? "compressed" : "stored");
    SPackageSignature signature;
    if (signature.Read(path) && signature.IsSigned())
        printf("signed by key %s, %s\n", SEcKey::IdText(signature.GetKeyId()).Text(),
               Covers(signature).Text());
    else
        printf("not signed\n");
    printf("%10s  %10s  %s\n", "stored", "unpacked", "name");
    int64_t total = 0, unpacked = 0;
    for (int i = 0; i < index.GetCount(); i++) {
        // A stored or empty entry unpacks to its data; a compressed one to
        // the raw lengths of its chunk headers.
        int64_t raw = index.GetLength(i);
        if (package.IsCompressed() && raw > 0)
            raw = file.Seek(index.GetOffset(i)) == index.GetOffset(i)
                ? PPackCheck::StreamRawBytes(file, index.GetLength(i))
                : -1;
        SString rawText;
        rawText.Format("%lld", (long long)raw);
        printf("%10u  %10s  %s\n", index.GetLength(i), raw < 0 ? "?" : rawText.Text(),
               index.GetName(i));
        total += index.GetLength(i);
        unpacked += raw < 0 ? 0 : raw;
    }
    printf("%d entries, %lld bytes of data, %lld bytes unpacked\n", index.GetCount(),
           (long long)total, (long long)unpacked);
    return kOk;
}

int Extract(const char* path, const char* destination)
{
    _PTimer timer;
    SResource package;
    if (!OpenPackage(package, path))
        return kFailed;
    SStringArray failures;
    package.SetProgress(ShowProgress, 0);
    bool started = package.ExtractAll(destination, &failures);
    EndProgress();
    if (!started) {
        Error("Cannot create the folder %s", destination);
        return kFailed;
    }
    for (int i = 0; i < failures.GetCount(); i++)
        Error("Failed: %s", failures.GetText(i));

    SDisk disk;
    SPath folder;
    folder.SetFolder(destination);
    const SResourceIndex& index = package.GetIndex();
    int64_t bytesOut = 0;
    for (int i = 0; i < index.GetCount(); i++) {
        uint32_t size = disk.FileSizeByStream((folder.Full() + index.GetName(i)).Text());
        if (size != 0xFFFFFFFFu)
            bytesOut += size;
    }
    Summary(index.GetCount() - failures.GetCount(), disk.FileSize(path), bytesOut, timer.Seconds());
    return failures.GetCount() ? kFailed : kOk;
}

int Verify(const char* path, const char* keyPath)
{
    _PTimer timer;
    SEcKey key;
    if (keyPath && !LoadKey(&key, keyPath, false))
        return kFailed;
    SPackageSignature signature;
    SFilePath file;
    if (!signature.Read(path) || !file.Open(path, false, false, true)) {
        Error("Cannot open %s", path);
        return kFailed;
    }
    PPackCheck check;
    if (!check.Check(file, file.Size() - signature.GetPackageSize())) {
        if (check.GetEntry().IsEmpty())
            Error("%s: bad package: %s", path, check.GetError().Text());
        else
            Error("%s: bad entry %d \"%s\": %s", path, check.GetEntryCount(),
                  check.GetEntry().Text(), check.GetError().Text());
        return kFailed;
    }
    printf("%s: OK, %s\n", path, check.IsCompressed() ? "compressed" : "stored");
    Summary(check.GetEntryCount(), file.Size(), check.GetRawBytes(), timer.Seconds());
    file.Close();

    SString id = SEcKey::IdText(signature.GetKeyId()) + ", " + Covers(signature);
    if (!signature.IsSigned()) {
        if (!keyPath) {
            printf("%s: not signed\n", path);
            return kOk;
        }
        Error("%s: not signed", path);
        return kFailed;
    }
    if (!keyPath) {
        printf("%s: signed by key %s; give --key to check the signature\n", path, id.Text());
        return kOk;
    }
    switch (signature.Check(path, key)) {
    case SPackageSignature::SIGNATURE_OK:
        printf("%s: signed by key %s; the signature holds\n", path, id.Text());
        return kOk;
    case SPackageSignature::OTHER_KEY:
        Error("%s: signed by key %s; not by the given key %s", path, id.Text(),
              key.GetIdText().Text());
        return kFailed;
    case SPackageSignature::BAD_SIGNATURE:
        Error("%s: signed by key %s; but the signature does not hold: the file has changed", path,
              id.Text());
        return kFailed;
    default:
        Error("Cannot read %s", path);
        return kFailed;
    }
}

// Writes text into a file that must not exist yet.
bool WriteNew(const char* path, const SString& text, bool ownerOnly, bool* restricted)
{
    SFileHandle file;
    bool written = file.CreateNew(path, ownerOnly) && file.Write(text.Text(), text.GetLength());
    *restricted = file.IsOwnerOnly();
    return file.Close() && written;
}

int Keygen(const char* keyPath, const char* publicPath)
{
    SDisk disk;
    SPath key1, key2;
    key1.Set(keyPath);
    if (publicPath && key2.Set(publicPath) != SPATH_INVALID &&
        _stricmp(key1.Full().Text(), key2.Full().Text()) == 0) {
        Error("%s and %s are the same file; the private and the public key need one each", keyPath,
              publicPath);
        return kFailed;
    }
    for (const char* path : {keyPath, publicPath}) {
        if (path && disk.Exists(path)) {
            Error("%s exists; keygen never overwrites a file", path);
            return kFailed;
        }
    }
    SEcKey key;
    if (!key.Generate()) {
        Error("%s", key.GetError().Text());
        return kFailed;
    }
    SString pem = key.GetPrivatePem();
    bool restricted = false;
    // Created new, so a file that appeared since the check is left alone.
    bool written = WriteNew(keyPath, pem, true, &restricted);
    SecureZeroMemory(pem.GetBuffer(), (size_t)pem.GetLength());
    if (!written) {
        Error("Cannot create %s (it may exist by now)", keyPath);
        return kFailed;
    }
    const SString publicPem = key.GetPublicPem();
    bool ignored;
    if (publicPath && !WriteNew(publicPath, publicPem, false, &ignored)) {
        Error("Cannot create %s (it may exist by now); the private key is in %s", publicPath,
              keyPath);
        return kFailed;
    }
    if (restricted)
        printf("%s: readable by its owner only\n", keyPath);
    else
        printf("%s: the file system keeps no owner-only access; protect it yourself\n", keyPath);
    printf("key %s\n%s", key.GetIdText().Text(), publicPem.Text());
    return kOk;
}

// Gives the description that names package its new size, when it held the
// old one: line 2 of TITLE.upd for a full package, the delta's own line in
// TITLE.upd for TITLE-from-VERSION.bin. Every other line stays as it is.
void UpdateDescription(const char* package, int oldSize, int newSize)
{
    SPath path;
    path.Set(package);
    const SString title = path.Title(), name = path.Name();
    // A delta, TITLE-from-VERSION.bin, is named on a line of TITLE.upd.
    int from = -1;
    for (int at = title.FindNoCase("-from-"); at >= 0; at = title.FindNoCase("-from-", at + 1))
        from = at;
    SString desc = path.Parent() + title + ".upd";
    SFilePath file(desc.Text(), false, false, true);
    bool delta = !file.IsOpen() && from > 0;
    if (delta) {
        desc = path.Parent() + title.Left(from) + ".upd";
        file.Open(desc.Text(), false, false, true);
    }
    SString oldText, newText, text, line, found;
    oldText.Format("%d", oldSize);
    newText.Format("%d", newSize);
    for (int i = 0; file.IsOpen() && file.ReadLineWithEnd(line); i++) {
        SString bare = line;
        bare.TrimRight();
        // The size stands alone on line 2, or between the version and the
        // file name on a delta's line.
        int size = -1, end = bare.GetLength();
        if (!delta && i == 1) {
            size = 0;
        } else if (delta && i >= 2 && bare.Left(5) == "from " && bare.Find(' ', 5) > 0) {
            size = bare.Find(' ', 5) + 1;
            end = bare.Find(' ', size);
            if (end < 0 || bare.Mid(end + 1).CompareNoCase(name.Text()) != 0)
                size = -1;
        }
        if (size >= 0 && found.IsEmpty()) {
            found = bare.Mid(size, end - size);
            if (found == oldText)
                line = bare.Left(size) + newText + bare.Mid(end) + "\r\n";
        }
        text += line;
    }
    if (!file.IsOpen() || found.IsEmpty())
        return;
    file.Close();
    if (found != oldText)
        Error("%s gives the size %s, not %s; left as it is", desc.Text(), found.Text(),
              oldText.Text());
    else if (WriteText(desc.Text(), text))
        printf("%s\n", desc.Text());
    else
        Error("Cannot write %s", desc.Text());
}

// The version in the description file beside package (same title, .upd);
// empty when there is none.
SString DescribedVersion(const char* package)
{
    SPath path;
    path.Set(package);
    SFilePath file((path.Parent() + path.Title() + ".upd").Text(), false, false, true);
    SString version;
    if (!file.IsOpen() || !file.ReadLine(version))
        version.Empty();
    return version;
}

int Sign(const char* path, const char* keyPath, const char* versionText, const char* baseText,
         bool resign)
{
    SString described;
    if (!versionText) {
        described = DescribedVersion(path);
        if (described.IsEmpty()) {
            Error("%s has no description file beside it to take the version from; give --version",
                  path);
            return kFailed;
        }
        versionText = described.Text();
    }
    SVersion version, base;
    SEcKey key;
    if (!ParseVersion(versionText, &version) || (baseText && !ParseVersion(baseText, &base)) ||
        !LoadKey(&key, keyPath, true))
        return kFailed;
    SPackageSignature signature;
    SResource package;
    if (!signature.Read(path) || !package.Open(path)) {
        Error("Cannot open %s as a package", path);
        return kFailed;
    }
    if (signature.IsSigned() && !resign) {
        Error("%s is signed by key %s already; --resign replaces that signature", path,
              SEcKey::IdText(signature.GetKeyId()).Text());
        return kFailed;
    }
    int oldSize = signature.GetPackageSize() +
        (signature.IsSigned() ? (int)SPackageSignature::TRAILER_SIZE : 0);
    if (!signature.Sign(path, key, version, baseText ? &base : nullptr)) {
        Error("Cannot sign %s", path);
        return kFailed;
    }
    int newSize = signature.GetPackageSize() + SPackageSignature::TRAILER_SIZE;
    printf("%s: signed by key %s, %s, %d bytes\n", path, key.GetIdText().Text(),
           Covers(signature).Text(), newSize);
    UpdateDescription(path, oldSize, newSize);
    return kOk;
}

// True when the executable's security directory is set: it carries an
// Authenticode signature, which changing its resources would break.
bool HasAuthenticode(const char* path)
{
    unsigned char head[4096];
    SFilePath file(path, false, false, true);
    int size = file.IsOpen() ? file.Read(head, sizeof(head)) : 0;
    auto le32 = [&](int at) {
        return at >= 0 && at + 4 <= size ? SLittleEndian::Get32(head + at) : 0u;
    };
    uint32_t pe = le32(0x3C);
    if (pe > sizeof(head) || le32((int)pe) != 0x00004550)
        return false;
    int optional = (int)pe + 24;
    uint32_t magic = le32(optional) & 0xFFFF;
    // The fifth data directory; its size field follows its offset.
    int directories = optional + (magic == 0x20B ? 112 : 96);
    return le32(directories + 4 * 8 + 4) != 0;
}

int Stamp(const char* exe, const char* keyPath, const char* outPath, bool restamp)
{
    SEcKey key;
    if (!LoadKey(&key, keyPath, false))
        return kFailed;
    SDisk disk;
    if (!disk.IsFile(exe)) {
        Error("Cannot open %s", exe);
        return kFailed;
    }
    if (HasAuthenticode(exe)) {
        Error("%s carries an Authenticode signature, which a stamp would break: stamp the "
              "unsigned build, then sign it",
              exe);
        return kFailed;
    }
    // Stamping over another key would strand the packages signed for it.
    SEcKey old;
    int previous = old.LoadStamped(exe);
    if (previous == SEcKey::STAMP_BAD && !restamp) {
        Error("%s holds a stamp that cannot be read, or is no program; --restamp replaces it", exe);
        return kFailed;
    }
    if (previous == SEcKey::STAMP_KEY && !restamp && old.GetIdText() != key.GetIdText()) {
        Error("%s holds key %s already, not key %s; --restamp replaces it", exe,
              old.GetIdText().Text(), key.GetIdText().Text());
        return kFailed;
    }
    const char* target = outPath ? outPath : exe;
    if (outPath && !CopyFileA(exe, outPath, FALSE)) {
        Error("Cannot write %s", outPath);
        return kFailed;
    }
    SEcKey stamped;
    if (!key.Stamp(target) || stamped.LoadStamped(target) != SEcKey::STAMP_KEY ||
        stamped.GetIdText() != key.GetIdText()) {
        Error("Cannot stamp %s", target);
        return kFailed;
    }
    printf("%s holds key %s\n", target, key.GetIdText().Text());
    return kOk;
}

void PrintStats()
{
    PROCESS_MEMORY_COUNTERS counters;
    memset(&counters, 0, sizeof(counters));
    counters.cb = sizeof(counters);
    if (GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)))
        fprintf(stderr, "peak working set: %llu KB, peak private bytes: %llu KB\n",
                (unsigned long long)counters.PeakWorkingSetSize / 1024,
                (unsigned long long)counters.PeakPagefileUsage / 1024);
}

int Run(int argc, char** argv)
{
    const char* args[8];
    int count = 0;
    const char* version = nullptr;
    const char* signKey = nullptr;    // make --sign
    const char* checkKey = nullptr;   // verify --key
    const char* output = nullptr;     // stamp -o
    const char* since[8];             // make --since, each
    int sinceCount = 0;
    const char* updater = nullptr;   // make --updater
    bool anyVersion = false;         // make --any-version
    const char* base = nullptr;      // sign --base
    bool resign = false, restamp = false;
    bool stats = false;
    for (int i = 1; i < argc; i++) {
        const char* arg = argv[i];
        if (!strcmp(arg, "--help") || !strcmp(arg, "-h") || !strcmp(arg, "/?")) {
            fputs(kUsageText, stdout);
            return kOk;
        }
        const char** value = !strcmp(arg, "--version") ? &version
            : !strcmp(arg, "--sign")                   ? &signKey
            : !strcmp(arg, "--key")                    ? &checkKey
            : !strcmp(arg, "-o")                       ? &output
            : !strcmp(arg, "--updater")                ? &updater
            : !strcmp(arg, "--base")                   ? &base
                                                       : nullptr;
        if (value) {
            if (++i >= argc) {
                SString problem;
                problem.Format("%s needs a value", arg);
                return Usage(problem.Text());
            }
            *value = argv[i];
        } else if (!strcmp(arg, "--since")) {
            if (++i >= argc)
                return Usage("--since needs a value");
            if (sinceCount == 8)
                return Usage("at most 8 --since");
            since[sinceCount++] = argv[i];
        } else if (!strcmp(arg, "--stats")) {
            stats = true;
        } else if (!strcmp(arg, "--resign")) {
            resign = true;
        } else if (!strcmp(arg, "--any-version")) {
            anyVersion = true;
        } else if (!strcmp(arg, "--restamp")) {
            restamp = true;
        } else if (arg[0] == '-' && arg[1] == '-') {
            SString problem;
            problem.Format("unknown option %s", arg);
            return Usage(problem.Text());
        } else if (count < 8) {
            args[count++] = arg;
        } else {
            return Usage("too many arguments");
        }
    }
    if (count == 0)
        return Usage("no command");

    const char* command = args[0];
    auto is = [command](const char* name) { return strcmp(command, name) == 0; };
    if ((signKey || updater || anyVersion || sinceCount) && !is("make"))
        return Usage("--any-version, --updater, --sign and --since belong to make");
    if (version && !is("make") && !is("sign"))
        return Usage("--version belongs to make and sign");
    if ((checkKey && !is("verify")) || ((resign || base) && !is("sign")) ||
        ((output || restamp) && !is("stamp")))
        return Usage("--key belongs to verify, --resign and --base to sign, -o and --restamp to "
                     "stamp");
    int result;
    if (is("make") && count == 3)
        result = CheckMakeArguments(args[1], args[2], version, anyVersion, updater) != kOk
            ? kUsage
            : Make(args[1], args[2], version ? version : "1.0.0.0", signKey, updater, since,
                   sinceCount);
    else if (is("list") && count == 2)
        result = List(args[1]);
    else if (is("extract") && count == 3)
        result = Extract(args[1], args[2]);
    else if (is("verify") && count == 2)
        result = Verify(args[1], checkKey);
    else if (is("keygen") && (count == 2 || count == 3))
        result = Keygen(args[1], count == 3 ? args[2] : nullptr);
    else if (is("sign") && count == 3)
        result = Sign(args[1], args[2], version, base, resign);
    else if (is("stamp") && count == 3)
        result = Stamp(args[1], args[2], output, restamp);
    else if (is("make") || is("list") || is("extract") || is("verify") || is("keygen") ||
             is("sign") || is("stamp"))
        return Usage("wrong number of arguments");
    else
        return Usage("unknown command");
    if (stats)
        PrintStats();
    return result;
}

}   // namespace

int main(int argc, char** argv)
{
    DWORD mode;
    g_bar = GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
    int result = Run(argc, argv);
    fflush(stdout);
    return result;
}
