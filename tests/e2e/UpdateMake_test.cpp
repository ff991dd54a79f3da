// The package maker: Update.exe started in make mode, and the maker dialog
// built from the tool's own dialog text inside this process, so that its
// modal dialogs can be answered and inspected by handle and dropped paths
// handed over (another process cannot hand over a drop handle).
#include <gtest/gtest.h>

#include <algorithm>

#include "E2eSupport.h"
#include "PWndMake.h"
#include "core/SStringArray.h"
#include "file/SFileMem.h"
#include "file/SResource.h"
#include "wnd/SWndApp.h"

using namespace e2e;

namespace {

TEST(UpdateArguments, AnyCountButFourOpensTheMaker)
{
    for (const char* arguments : {"", "1 \"http://127.0.0.1:1/x.bin\" C:\\ C:\\x.exe extra"}) {
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

// What the next modal dialog of this thread showed. A timer, dispatched by
// that dialog's own modal loop, fills it in, types g_reply into a file name
// field when there is one and presses g_answer.
struct Seen {
    HWND owner = nullptr;
    std::string title;
    std::vector<std::string> texts;
    HICON icon = nullptr;
    bool Shows(const char* text) const
    {
        return std::find(texts.begin(), texts.end(), text) != texts.end();
    }
};
Seen g_seen;
std::string g_reply;
int g_answer = IDOK;

BOOL CALLBACK InspectChild(HWND child, LPARAM)
{
    g_seen.texts.push_back(WindowText(child));
    if ((GetWindowLongA(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON && IsWindowVisible(child))
        g_seen.icon = (HICON)SendMessageA(child, STM_GETICON, 0, 0);
    return TRUE;
}

void CALLBACK Answer(HWND, UINT, UINT_PTR id, DWORD)
{
    HWND box = FindWindowA("#32770", nullptr);
    if (!box || GetWindowThreadProcessId(box, nullptr) != GetCurrentThreadId())
        return;
    KillTimer(nullptr, id);
    g_seen.owner = GetWindow(box, GW_OWNER);
    g_seen.title = WindowText(box);
    EnumChildWindows(box, InspectChild, 0);
    // The file name field is a combo box (0x47C) or an edit (0x480).
    for (int field : {0x47C, 0x480})
        if (HWND edit = GetDlgItem(box, field))
            SetWindowTextA(edit, g_reply.c_str());
    PostMessageA(box, WM_COMMAND, MAKEWPARAM(g_answer, BN_CLICKED), 0);
}

class Maker : public ::testing::Test {
protected:
    void SetUp() override
    {
        SWndApp::Init(GetModuleHandleA(nullptr), true, false, false);
        SFileMem text;
        ASSERT_TRUE(text.LoadResource("BINARY", 151));
        ASSERT_TRUE(m_maker.CreateFromText(&text, nullptr, nullptr, true, 0));
        m_version = m_maker.FindById(7);
        m_folder = m_maker.FindById(3);
        ASSERT_TRUE(m_version && m_folder);
    }
    void TearDown() override
    {
        m_maker.Destroy();
        // The dialog's quit message too: left behind, it would end the next
        // test's modal dialogs at once.
        MSG msg;
        while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {}
        SWndApp::Exit();
    }

    // Runs Make (or "..." when browse) with folder typed in, answering the
    // dialog it shows by typing reply and pressing answer.
    Seen Run(const std::string& folder, const std::string& reply, int answer = IDOK,
             bool browse = false)
    {
        m_folder->SetText(folder.c_str());
        g_seen = Seen();
        g_reply = reply;
        g_answer = answer;
        UINT_PTR timer = SetTimer(nullptr, 0, 100, Answer);
        browse ? m_maker.BrowseFolder() : m_maker.Make();
        KillTimer(nullptr, timer);
        return g_seen;
    }

    // Hands the dialog dropped paths as the window base does: folders end in "\\".
    void Drop(const std::vector<std::string>& paths)
    {
        SStringArray dropped;
        for (const std::string& path : paths)
            dropped.Add(path.c_str());
        m_maker.Send(33776, (WPARAM)&dropped, 0);
    }

    TempDir m_root;
    PWndMake m_maker;
    SWnd *m_version = nullptr, *m_folder = nullptr;
};

TEST_F(Maker, MakesPackageAndDescription)
{
    // The version field has the focus with its whole text selected.
    EXPECT_EQ(m_version->GetHandle(), GetFocus());
    EXPECT_TRUE(m_version->Send(EM_GETSEL) == MAKELRESULT(0, 7) &&
                m_version->GetText() == "1.0.0.0");

    std::string source = m_root / "release files\\", out = m_root / "out\\";
    for (const std::string& folder : {source, source + "sub", out})
        CreateDirectoryA(folder.c_str(), nullptr);
    ASSERT_TRUE(WriteFileText(source + "app.exe", std::string(250000, 'a')) &&
                WriteFileText(source + "Update.exe", "the updater itself") &&
                WriteFileText(source + "sub\\Update.exe", "a different program") &&
                WriteFileText(source + "sub\\empty.txt", ""));

    // Cancelling the save dialog writes nothing.
    EXPECT_TRUE(Run(source, "", IDCANCEL).title == "Save As" && CountFiles(out) == 0);

    m_version->SetText("2.5.0.0");
    Run(source, out + "release.upd");
    std::string package = ReadFileText(out + "release.bin");
    EXPECT_EQ(ReadFileText(out + "release.upd"),
              "2.5.0.0\r\n" + std::to_string(package.size()) + "\r\n");
    SResource reader;
    ASSERT_TRUE(reader.Open((out + "release.bin").c_str(), 0));
    // All but the updater at the top; compressed: the mode word, and app.exe
    // as a stream of three small chunks.
    const SResourceIndex& index = reader.GetIndex();
    int app = index.Find("app.exe");
    ASSERT_TRUE(index.GetCount() == 3 && app >= 0 && index.Find("sub\\Update.exe") >= 0 &&
                index.Find("sub\\empty.txt") >= 0);
    EXPECT_TRUE(reader.IsCompressed() && index.GetLength(app) < 2000 &&
                package.compare(index.GetOffset(app), 4, "\3\0\0\0", 4) == 0);
    std::string unpacked = m_root / "unpacked\\";
    EXPECT_TRUE(reader.ExtractAll(unpacked.c_str()) &&
                ReadFileText(unpacked + "app.exe") == std::string(250000, 'a'));

    // Another run from the same dialog; an empty version writes only the line end.
    m_version->SetText("");
    Run(source, out + "empty version.upd");
    EXPECT_EQ(ReadFileText(out + "empty version.upd"),
              "\r\n" + std::to_string(ReadFileText(out + "empty version.bin").size()) + "\r\n");
}

TEST_F(Maker, BadFoldersShowErrorsAndTheChooserCanBeCancelled)
{
    std::string only = m_root / "only updater\\";
    CreateDirectoryA(only.c_str(), nullptr);
    ASSERT_TRUE(WriteFileText(only + "Update.exe", "x"));
    const struct {
        std::string folder;
        const char* text;
    } cases[] = {{m_root / "no such folder", "Invalid folder"}, {only, "No files"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Seen box = Run(c.folder, "");
        EXPECT_TRUE(box.owner == m_maker.GetHandle() && box.title == "Error" && box.Shows(c.text));
        EXPECT_EQ(box.icon, LoadIconA(nullptr, IDI_INFORMATION));
    }
    // "..." opens the folder chooser titled "Source files"; cancelling it
    // keeps the field.
    EXPECT_TRUE(Run(only, "", IDCANCEL, true).Shows("Source files"));
    EXPECT_EQ(only, m_folder->GetText().Text());
}

TEST_F(Maker, OnlyAFolderAsFirstDroppedItemFillsTheFolderField)
{
    EXPECT_TRUE(GetWindowLongA(m_maker.GetHandle(), GWL_EXSTYLE) & WS_EX_ACCEPTFILES);
    std::string folder = m_root / "dropped folder", sub = folder + "\\sub";
    std::string file = m_root / "a file.txt";
    CreateDirectoryA(folder.c_str(), nullptr);
    CreateDirectoryA(sub.c_str(), nullptr);
    ASSERT_TRUE(WriteFileText(file, "x"));

    Drop({file, folder + "\\"});
    EXPECT_EQ(m_folder->GetText(), "") << "a file first must leave the field alone";
    Drop({folder + "\\", sub + "\\"});
    EXPECT_EQ(folder + "\\", m_folder->GetText().Text());
    Drop({sub + "\\..\\"});
    EXPECT_EQ(folder + "\\", m_folder->GetText().Text()) << "the full form of another spelling";
}

}   // namespace
