// Update.exe in make mode as a whole program, driven through its real
// windows: typed texts, the "Make" button, the Save As dialog and the "Error"
// message boxes. Dropping is tried on the same dialog built inside the test:
// a drop handle is memory of the receiving process, which another process
// cannot hand over by posting WM_DROPFILES.
#include <gtest/gtest.h>
#include <shlobj.h>

#include <algorithm>

#include "E2eSupport.h"
#include "PWndMake.h"
#include "core/SStringArray.h"
#include "file/SFileMem.h"
#include "file/SResource.h"
#include "wnd/SWndApp.h"

using namespace e2e;

namespace {

const int ID_EDIT_FOLDER = 3;
const int ID_BTN_MAKE = 1;
const int ID_BTN_FOLDER = 4;
const int ID_EDIT_VERSION = 7;

class UpdateMake : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_tempDir = m_root / "temp\\";
        CreateDirectoryA(m_tempDir.c_str(), nullptr);
        ASSERT_TRUE(m_maker.Start(BinDir() + "Update.exe", "", m_tempDir));
        m_dialog = WaitForProcessWindow(m_maker.Id(), "Make update files", 20000);
        ASSERT_NE(m_dialog, nullptr) << "no maker dialog";
    }

    void TearDown() override
    {
        if (m_maker.IsRunning()) {
            PostMessageA(m_dialog, WM_CLOSE, 0, 0);
            EXPECT_TRUE(m_maker.Wait(10000));
            EXPECT_EQ(m_maker.ExitCode(), 0u);
        }
    }

    void SetItemText(int id, const std::string& text)
    {
        HWND item = GetDlgItem(m_dialog, id);
        ASSERT_NE(item, nullptr) << "no control " << id;
        SendMessageTimeoutA(item, WM_SETTEXT, 0, (LPARAM)text.c_str(), SMTO_ABORTIFHUNG, 5000,
                            nullptr);
    }
    std::string ItemText(int id) { return WindowText(GetDlgItem(m_dialog, id)); }

    // Posts a click on "Make" (posted: the button's handler runs modal dialogs).
    void PressMake()
    {
        PostMessageA(m_dialog, WM_COMMAND, MAKEWPARAM(ID_BTN_MAKE, BN_CLICKED),
                     (LPARAM)GetDlgItem(m_dialog, ID_BTN_MAKE));
    }

    // Expects a message box "Error" with text, and presses its button.
    void ExpectErrorBox(const char* text)
    {
        HWND box = WaitForProcessWindow(m_maker.Id(), "Error", 10000, "#32770");
        ASSERT_NE(box, nullptr) << "no message box for " << text;
        std::vector<std::string> texts = ChildTexts(box);
        bool found = false;
        for (const std::string& t : texts)
            found = found || t == text;
        EXPECT_TRUE(found) << "message box without \"" << text << "\"";
        PostMessageA(box, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
        DWORD start = GetTickCount();
        while (IsWindow(box) && GetTickCount() - start < 5000)
            Sleep(50);
        EXPECT_FALSE(IsWindow(box));
    }

    // Answers the Save As dialog with path, or cancels it when path is empty.
    void AnswerSaveDialog(const std::string& path)
    {
        HWND save = WaitForProcessWindow(m_maker.Id(), "Save As", 15000, "#32770");
        ASSERT_NE(save, nullptr) << "no Save As dialog";
        if (path.empty()) {
            PostMessageA(save, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
        } else {
            // The file name field is an edit (0x480) or a combo box (0x47C),
            // depending on the dialog's style.
            for (int id : {0x47C, 0x480}) {
                HWND field = GetDlgItem(save, id);
                if (field)
                    SendMessageTimeoutA(field, WM_SETTEXT, 0, (LPARAM)path.c_str(),
                                        SMTO_ABORTIFHUNG, 5000, nullptr);
            }
            PostMessageA(save, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED),
                         (LPARAM)GetDlgItem(save, IDOK));
        }
        DWORD start = GetTickCount();
        while (IsWindow(save) && GetTickCount() - start < 10000)
            Sleep(50);
        ASSERT_FALSE(IsWindow(save)) << "Save As dialog did not close";
    }

    // Waits for the maker to go idle (its queue drained).
    void Settle() { SendMessageTimeoutA(m_dialog, WM_NULL, 0, 0, SMTO_NORMAL, 20000, nullptr); }

    std::string MakeSourceTree()
    {
        std::string source = m_root / "release files\\";
        CreateDirectoryA(source.c_str(), nullptr);
        CreateDirectoryA((source + "sub").c_str(), nullptr);
        EXPECT_TRUE(WriteFileText(source + "app.exe", std::string(250000, 'a')));
        EXPECT_TRUE(WriteFileText(source + "Update.exe", "the updater itself"));
        EXPECT_TRUE(WriteFileText(source + "sub\\Update.exe", "a different program"));
        EXPECT_TRUE(WriteFileText(source + "sub\\empty.txt", ""));
        return source;
    }

    TempDir m_root;
    std::string m_tempDir;
    Process m_maker;
    HWND m_dialog = nullptr;
};

TEST_F(UpdateMake, TypedFolderMakesPackageAndDescription)
{
    std::string source = MakeSourceTree();
    EXPECT_EQ(ItemText(ID_EDIT_VERSION), "1.0.0.0");
    SetItemText(ID_EDIT_VERSION, "2.5.0.0");
    SetItemText(ID_EDIT_FOLDER, source);
    PressMake();
    std::string out = m_root / "out\\";
    CreateDirectoryA(out.c_str(), nullptr);
    AnswerSaveDialog(out + "release.upd");
    Settle();

    std::string package = out + "release.bin";
    ASSERT_TRUE(FileExists(package));
    std::string size = std::to_string(ReadFileText(package).size());
    EXPECT_EQ(ReadFileText(out + "release.upd"), "2.5.0.0\r\n" + size + "\r\n");

    SResource reader;
    ASSERT_TRUE(reader.Open(package.c_str(), 0));
    SStringArray names;
    names.SetFlags(SARRAY_NOCASE);
    EXPECT_EQ(reader.GetIndex().GetCount(), 3);
    for (int i = 0; i < reader.GetIndex().GetCount(); i++)
        names.Add(reader.GetIndex().GetName(i));
    EXPECT_GE(names.Find("app.exe"), 0);
    EXPECT_GE(names.Find("sub\\Update.exe"), 0);
    EXPECT_GE(names.Find("sub\\empty.txt"), 0);
    EXPECT_LT(names.Find("Update.exe"), 0);

    Process verify;
    ASSERT_TRUE(verify.Start(BinDir() + "UpdatePack.exe", "verify \"" + package + "\""));
    ASSERT_TRUE(verify.Wait(30000));
    EXPECT_EQ(verify.ExitCode(), 0u);
    // The dialog stays open for another run; an empty version writes only
    // the line end.
    ASSERT_TRUE(m_maker.IsRunning());
    SetItemText(ID_EDIT_VERSION, "");
    PressMake();
    AnswerSaveDialog(out + "empty version.upd");
    Settle();
    size = std::to_string(ReadFileText(out + "empty version.bin").size());
    EXPECT_EQ(ReadFileText(out + "empty version.upd"), "\r\n" + size + "\r\n");
    // The dialog takes dropped files.
    EXPECT_TRUE(GetWindowLongA(m_dialog, GWL_EXSTYLE) & WS_EX_ACCEPTFILES);
}

TEST_F(UpdateMake, BadInputShowsErrorsAndCancelWritesNothing)
{
    SetItemText(ID_EDIT_FOLDER, m_root / "no such folder");
    PressMake();
    ExpectErrorBox("Invalid folder");

    std::string only = m_root / "only updater\\";
    CreateDirectoryA(only.c_str(), nullptr);
    ASSERT_TRUE(WriteFileText(only + "Update.exe", "x"));
    SetItemText(ID_EDIT_FOLDER, only);
    PressMake();
    ExpectErrorBox("No files");

    // "..." opens the folder chooser titled "Source files"; cancelling it
    // keeps the field.
    SetItemText(ID_EDIT_FOLDER, only);
    PostMessageA(m_dialog, WM_COMMAND, MAKEWPARAM(ID_BTN_FOLDER, BN_CLICKED),
                 (LPARAM)GetDlgItem(m_dialog, ID_BTN_FOLDER));
    HWND chooser = nullptr;
    DWORD start = GetTickCount();
    while (!chooser && GetTickCount() - start < 15000) {
        HWND box = FindProcessWindow(m_maker.Id(), nullptr, "#32770");
        std::vector<std::string> texts = box ? ChildTexts(box) : std::vector<std::string>();
        if (std::find(texts.begin(), texts.end(), "Source files") != texts.end())
            chooser = box;
        else
            Sleep(100);
    }
    ASSERT_NE(chooser, nullptr) << "no folder chooser titled \"Source files\"";
    PostMessageA(chooser, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
    start = GetTickCount();
    while (IsWindow(chooser) && GetTickCount() - start < 10000)
        Sleep(50);
    ASSERT_FALSE(IsWindow(chooser));
    EXPECT_EQ(ItemText(ID_EDIT_FOLDER), only);

    std::string source = MakeSourceTree();
    SetItemText(ID_EDIT_FOLDER, source);
    PressMake();
    AnswerSaveDialog("");
    Settle();
    EXPECT_EQ(CountFiles(m_root.Path()), 0);
    EXPECT_TRUE(m_maker.IsRunning());
}

TEST(UpdateArguments, AnyCountButFourOpensTheMaker)
{
    for (const char* arguments : {"a b c", "1 \"http://127.0.0.1:1/x.bin\" C:\\ C:\\x.exe extra"}) {
        SCOPED_TRACE(arguments);
        Process maker;
        ASSERT_TRUE(maker.Start(BinDir() + "Update.exe", arguments));
        HWND dialog = WaitForProcessWindow(maker.Id(), "Make update files", 20000);
        ASSERT_NE(dialog, nullptr);
        EXPECT_EQ(FindProcessWindow(maker.Id(), "Update"), nullptr);
        PostMessageA(dialog, WM_CLOSE, 0, 0);
        ASSERT_TRUE(maker.Wait(10000));
        EXPECT_EQ(maker.ExitCode(), 0u);
    }
}

// The maker dialog built from the tool's own dialog text inside this process,
// so that a drop handle can be made here as the shell makes one, and the
// message boxes can be inspected by handle.
class MakerInProcess : public ::testing::Test {
protected:
    void SetUp() override
    {
        SWndApp::Init(GetModuleHandleA(nullptr), true, false, false);
        SFileMem text;
        ASSERT_TRUE(text.LoadResource("BINARY", 151));
        ASSERT_TRUE(m_maker.CreateFromText(&text, nullptr, nullptr, true, 0));
        m_folder = m_maker.FindById(ID_EDIT_FOLDER);
        ASSERT_NE(m_folder, nullptr);
    }
    void TearDown() override
    {
        m_maker.Destroy();
        // The dialog's quit message too: left behind, it would end the next
        // test's message boxes at once.
        MSG msg;
        while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {}
        SWndApp::Exit();
    }

    // Posts WM_DROPFILES with a drop handle of paths and dispatches it.
    void Drop(const std::vector<std::string>& paths)
    {
        std::string names;
        for (const std::string& path : paths)
            names += path + '\0';
        names += '\0';
        HGLOBAL drop = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, sizeof(DROPFILES) + names.size());
        ASSERT_NE(drop, nullptr);
        DROPFILES* header = (DROPFILES*)GlobalLock(drop);
        header->pFiles = sizeof(DROPFILES);
        memcpy(header + 1, names.data(), names.size());
        GlobalUnlock(drop);
        ASSERT_TRUE(PostMessageA(m_maker.GetHandle(), WM_DROPFILES, (WPARAM)drop, 0));
        MSG msg;
        while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageA(&msg);
        }
        // The receiver leaves the handle to its sender.
        GlobalFree(drop);
    }

    TempDir m_root;
    PWndMake m_maker;
    SWnd* m_folder = nullptr;
};

TEST_F(MakerInProcess, OnlyAFolderAsFirstItemFillsTheFolderField)
{
    std::string folder = m_root / "dropped folder";
    std::string sub = m_root / "dropped folder\\sub";
    CreateDirectoryA(folder.c_str(), nullptr);
    CreateDirectoryA(sub.c_str(), nullptr);
    std::string file = m_root / "a file.txt";
    ASSERT_TRUE(WriteFileText(file, "x"));

    Drop({file, folder});
    EXPECT_STREQ(m_folder->GetText().Text(), "") << "a file first must leave the field alone";

    Drop({folder, sub});
    EXPECT_EQ(std::string(m_folder->GetText().Text()), folder + "\\");

    // Written in another form, the folder is shown in its full form.
    Drop({sub + "\\..\\"});
    EXPECT_EQ(std::string(m_folder->GetText().Text()), folder + "\\");

    Drop({m_root / "no such folder"});
    EXPECT_EQ(std::string(m_folder->GetText().Text()), folder + "\\");
}

// What a message box of this thread showed; filled by a timer that the box's
// own modal loop dispatches, which then presses OK.
struct SeenBox {
    HWND owner = nullptr;
    std::string title;
    std::vector<std::string> texts;
    HICON icon = nullptr;
};
SeenBox g_seen;

BOOL CALLBACK InspectBoxChild(HWND child, LPARAM)
{
    g_seen.texts.push_back(WindowText(child));
    if ((GetWindowLongA(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON && IsWindowVisible(child))
        g_seen.icon = (HICON)SendMessageA(child, STM_GETICON, 0, 0);
    return TRUE;
}

void CALLBACK InspectBox(HWND, UINT, UINT_PTR id, DWORD)
{
    HWND box = FindWindowA("#32770", nullptr);
    DWORD owner = 0;
    if (!box || GetWindowThreadProcessId(box, &owner) != GetCurrentThreadId())
        return;
    KillTimer(nullptr, id);
    g_seen.owner = GetWindow(box, GW_OWNER);
    g_seen.title = WindowText(box);
    EnumChildWindows(box, InspectBoxChild, 0);
    PostMessageA(box, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
}

TEST_F(MakerInProcess, ErrorBoxesAreOwnedInformationBoxes)
{
    std::string only = m_root / "only updater\\";
    CreateDirectoryA(only.c_str(), nullptr);
    ASSERT_TRUE(WriteFileText(only + "Update.exe", "x"));
    struct {
        std::string folder;
        const char* text;
    } cases[] = {{m_root / "no such folder", "Invalid folder"}, {only, "No files"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        g_seen = SeenBox();
        m_folder->SetText(c.folder.c_str());
        UINT_PTR timer = SetTimer(nullptr, 0, 100, InspectBox);
        m_maker.Make();
        KillTimer(nullptr, timer);
        EXPECT_EQ(g_seen.owner, m_maker.GetHandle());
        EXPECT_EQ(g_seen.title, "Error");
        EXPECT_NE(std::find(g_seen.texts.begin(), g_seen.texts.end(), c.text), g_seen.texts.end());
        EXPECT_EQ(g_seen.icon, LoadIconA(nullptr, IDI_INFORMATION));
    }
}

}   // namespace
