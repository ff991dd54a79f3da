// UpdatePack: the package maker for scripts and build pipelines. It makes the
// same package and description file as Update.exe's "Make update files"
// dialog, lists and unpacks packages, and checks them strictly.
#include <windows.h>

#include <psapi.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "PPackCheck.h"
#include "PSourceFiles.h"
#include "core/SString.h"
#include "core/SStringArray.h"
#include "file/SDisk.h"
#include "file/SFilePath.h"
#include "file/SPath.h"
#include "file/SResource.h"

namespace {

enum { kOk = 0, kFailed = 1, kUsage = 2 };

const char kUsageText[] =
    "Usage: UpdatePack <command> [--stats]\n"
    "\n"
    "  make FOLDER DESC.upd [--version TEXT]\n"
    "      Packs every file under FOLDER (except FOLDER\\Update.exe) into the\n"
    "      package beside DESC.upd (same title, extension .bin) and writes the\n"
    "      description file DESC.upd: the version (default 1.0.0.0) and the\n"
    "      package size.\n"
    "  list PKG\n"
    "      Shows the package's mode and each entry's data length and name.\n"
    "  extract PKG DEST\n"
    "      Unpacks every entry into the folder DEST and names each that failed.\n"
    "  verify PKG\n"
    "      Checks every record, chunk and zlib stream of the package; names the\n"
    "      first bad entry.\n"
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

int Make(const char* folderText, const char* descText, const char* version)
{
    _PTimer timer;
    SDisk disk;
    SPath folder;
    if (folder.SetFolder(folderText) == SPATH_INVALID || !disk.IsFolder(folder.Full().Text())) {
        Error("Invalid folder");
        return kFailed;
    }
    const SString root = folder.Full();

    SStringArray files;
    PSourceFiles::List(&disk, root, &files);
    if (files.GetCount() == 0) {
        Error("No files");
        return kFailed;
    }

    SPath desc;
    if (desc.Set(descText) == SPATH_INVALID || !desc.HasName())
        return Usage("the description file needs a file name");
    const SString package = PSourceFiles::PackagePath(desc);

    SResource writer;
    writer.SetFolder(root.Text());
    int added = 0;
    int64_t bytesIn = 0;
    for (int i = 0; i < files.GetCount(); i++) {
        const SString& path = files.GetAt(i);
        SString name = PSourceFiles::EntryName(path, root);
        uint32_t size = disk.FileSizeByStream(path.Text());
        if (size >= 0x80000000u) {
            Error("Skipped %s: it cannot be read, or it is 2 GB or more", path.Text());
            continue;
        }
        // Possible where the file system tells letter case apart.
        if (!writer.Add(name.Text())) {
            Error("Skipped %s: another file has the same name ignoring letter case", path.Text());
            continue;
        }
        added++;
        bytesIn += size;
    }

    SFilePath output(package.Text(), true, true, false);
    if (!output.IsOpen()) {
        Error("Cannot create %s", package.Text());
        return kFailed;
    }
    writer.SetProgress(ShowProgress, 0);
    bool written = writer.Write(&output, true);
    EndProgress();
    output.Close();
    if (!written) {
        Error("Cannot write %s", package.Text());
        return kFailed;
    }

    uint32_t size = disk.FileSize(package.Text());
    SFilePath description(desc.Full().Text(), true, true, false);
    SString sizeText;
    sizeText.Format("%u", size);
    if (!description.IsOpen() || description.WriteLine(version) != (int)strlen(version) + 2 ||
        description.WriteLine(sizeText.Text()) != sizeText.GetLength() + 2) {
        Error("Cannot write %s", desc.Full().Text());
        return kFailed;
    }
    description.Close();
    printf("%s\n%s\n", package.Text(), desc.Full().Text());
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
    const SResourceIndex& index = package.GetIndex();
    printf("mode: %s\n", package.IsCompressed() ? "compressed" : "stored");
    int64_t total = 0;
    for (int i = 0; i < index.GetCount(); i++) {
        printf("%10u  %s\n", index.GetLength(i), index.GetName(i));
        total += index.GetLength(i);
    }
    printf("%d entries, %lld bytes of data\n", index.GetCount(), (long long)total);
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

int Verify(const char* path)
{
    _PTimer timer;
    SFilePath file(path, false, false, true);
    if (!file.IsOpen()) {
        Error("Cannot open %s", path);
        return kFailed;
    }
    PPackCheck check;
    if (!check.Check(file)) {
        if (check.GetEntry().IsEmpty())
            Error("%s: bad package: %s", path, check.GetError().Text());
        else
            Error("%s: bad entry %d \"%s\": %s", path, check.GetEntryCount(),
                  check.GetEntry().Text(), check.GetError().Text());
        return kFailed;
    }
    printf("%s: OK, %s\n", path, check.IsCompressed() ? "compressed" : "stored");
    Summary(check.GetEntryCount(), file.Size(), check.GetRawBytes(), timer.Seconds());
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
    const char* version = "1.0.0.0";
    bool versionGiven = false;
    bool stats = false;
    for (int i = 1; i < argc; i++) {
        const char* arg = argv[i];
        if (!strcmp(arg, "--help") || !strcmp(arg, "-h") || !strcmp(arg, "/?")) {
            fputs(kUsageText, stdout);
            return kOk;
        }
        if (!strcmp(arg, "--stats")) {
            stats = true;
        } else if (!strcmp(arg, "--version")) {
            if (++i >= argc)
                return Usage("--version needs a text");
            version = argv[i];
            versionGiven = true;
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
    int result;
    if (!strcmp(command, "make") && count == 3)
        result = Make(args[1], args[2], version);
    else if (versionGiven)
        return Usage("--version belongs to make");
    else if (!strcmp(command, "list") && count == 2)
        result = List(args[1]);
    else if (!strcmp(command, "extract") && count == 3)
        result = Extract(args[1], args[2]);
    else if (!strcmp(command, "verify") && count == 2)
        result = Verify(args[1]);
    else if (!strcmp(command, "make") || !strcmp(command, "list") || !strcmp(command, "extract") ||
             !strcmp(command, "verify"))
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
