// The tool's two dialogs, built from the texts linked into this program.
#include <windows.h>

#include <commctrl.h>

#include "CtrlTestSupport.h"
#include "ctrl/SEditCtrl.h"
#include "ctrl/SLabelCtrl.h"
#include "ctrl/SListCtrl.h"
#include "ctrl/SProgressCtrl.h"

namespace {

::testing::Environment* const g_app = ::testing::AddGlobalTestEnvironment(new AppEnvironment);

bool BuildFromResource(SWndDialog* dialog, unsigned short id)
{
    SFileMem text;
    return text.LoadResource("BINARY", id) &&
        dialog->CreateFromText(&text, nullptr, nullptr, true, 0);
}

RECT ClientPlace(HWND dialog, SWnd* control)
{
    RECT rect;
    control->GetWindowRect(&rect);
    MapWindowPoints(nullptr, dialog, (POINT*)&rect, 2);
    return rect;
}

// Every control lies inside the client area, no two overlap, and each
// caption fits its control in the font it is drawn with.
void ExpectTidyLayout(const SWndDialog& dialog)
{
    RECT client;
    dialog.GetClientRect(&client);
    for (int i = 0; i < dialog.GetRowCount(); i++) {
        SWnd* control = dialog.GetRowControl(i);
        RECT a = ClientPlace(dialog.GetHandle(), control);
        RECT inside;
        IntersectRect(&inside, &a, &client);
        EXPECT_TRUE(EqualRect(&inside, &a)) << dialog.GetRowName(i) << " leaves the dialog";
        for (int j = i + 1; j < dialog.GetRowCount(); j++) {
            RECT b = ClientPlace(dialog.GetHandle(), dialog.GetRowControl(j));
            RECT both;
            EXPECT_FALSE(IntersectRect(&both, &a, &b))
                << dialog.GetRowName(i) << " overlaps " << dialog.GetRowName(j);
        }
        SString caption = control->GetText();
        if (caption.IsEmpty())
            continue;
        HDC dc = GetDC(control->GetHandle());
        HFONT font = (HFONT)control->Send(WM_GETFONT);
        HGDIOBJ old = SelectObject(dc, font ? font : SWndApp::GetFont(SWND_FONT_MESSAGE));
        SIZE size;
        GetTextExtentPoint32A(dc, caption.Text(), caption.GetLength(), &size);
        SelectObject(dc, old);
        ReleaseDC(control->GetHandle(), dc);
        RECT inner;
        control->GetClientRect(&inner);
        EXPECT_LE(size.cx + 4, inner.right) << dialog.GetRowName(i) << " clips its text";
        EXPECT_LE(size.cy + 2, inner.bottom) << dialog.GetRowName(i) << " clips its text";
    }
}

TEST(ToolDialogs, InstallerDialog)
{
    SWndDialog dialog;
    ASSERT_TRUE(BuildFromResource(&dialog, 150));
    EXPECT_STREQ("Update", dialog.GetText().Text());
    EXPECT_TRUE(GetWindowLongA(dialog.GetHandle(), GWL_EXSTYLE) & WS_EX_TOPMOST);
    EXPECT_TRUE(dialog.HasCaption());
    RECT client;
    dialog.GetClientRect(&client);
    EXPECT_EQ(300, client.right);
    EXPECT_EQ(220, client.bottom);

    const char* names[] = {"LABEL", "PROGRESS", "Label2", "LIST"};
    ASSERT_EQ(4, dialog.GetRowCount());
    for (int i = 0; i < 4; i++)
        EXPECT_STREQ(names[i], dialog.GetRowName(i));

    auto* label = dynamic_cast<SLabelCtrl*>(dialog.FindByName("LABEL"));
    ASSERT_NE(nullptr, label);
    EXPECT_STREQ("Updating files...", label->GetText().Text());
    auto* errors = dynamic_cast<SLabelCtrl*>(dialog.FindByName("Label2"));
    ASSERT_NE(nullptr, errors);
    EXPECT_STREQ("Errors:", errors->GetText().Text());

    auto* progress = dynamic_cast<SProgressCtrl*>(dialog.FindByName("PROGRESS"));
    ASSERT_NE(nullptr, progress);
    PBRANGE range = {-1, -1};
    progress->Send(PBM_GETRANGE, TRUE, (LPARAM)&range);
    EXPECT_EQ(0, range.iLow);
    EXPECT_EQ(1000, range.iHigh);
    EXPECT_EQ(0, progress->GetPos());

    auto* list = dynamic_cast<SListCtrl*>(dialog.FindByName("LIST"));
    ASSERT_NE(nullptr, list);
    EXPECT_EQ(0, list->GetCount());
    EXPECT_TRUE(GetWindowLongA(list->GetHandle(), GWL_STYLE) & LBS_NOINTEGRALHEIGHT);
    // The vertical scroll bar comes with more lines than the list shows.
    for (int i = 0; i < 40; i++)
        list->InsertString("D:\\app\\data\\file.txt");
    EXPECT_TRUE(GetWindowLongA(list->GetHandle(), GWL_STYLE) & WS_VSCROLL);

    ExpectTidyLayout(dialog);
}

TEST(ToolDialogs, MakerDialog)
{
    SWndDialog dialog;
    ASSERT_TRUE(BuildFromResource(&dialog, 151));
    EXPECT_STREQ("Make update files", dialog.GetText().Text());
    EXPECT_TRUE(GetWindowLongA(dialog.GetHandle(), GWL_EXSTYLE) & WS_EX_ACCEPTFILES);
    RECT client;
    dialog.GetClientRect(&client);
    EXPECT_EQ(300, client.right);
    EXPECT_EQ(165, client.bottom);

    struct {
        const char* name;
        int id;
        const char* caption;
    } expected[] = {{"EDIT_FOLDER", 3, ""},
                    {"BTN_FOLDER", 4, "..."},
                    {"Label1", -1, "Folder: (you can drag & drop the folder)"},
                    {"BTN_MAKE", 1, "Make"},
                    {"Label2", -1, "Version:"},
                    {"EDIT_VERSION", 7, "1.0.0.0"}};
    ASSERT_EQ(6, dialog.GetRowCount());
    for (int i = 0; i < 6; i++) {
        SCOPED_TRACE(expected[i].name);
        EXPECT_STREQ(expected[i].name, dialog.GetRowName(i));
        SWnd* control = dialog.FindByName(expected[i].name);
        ASSERT_NE(nullptr, control);
        if (expected[i].id >= 0) {
            EXPECT_EQ(expected[i].id, control->GetId());
            EXPECT_EQ(control, dialog.FindById(expected[i].id));
        }
        EXPECT_STREQ(expected[i].caption, control->GetText().Text());
    }

    // The version field has the focus with its whole text selected, so typing
    // replaces it.
    auto* version = dynamic_cast<SEditCtrl*>(dialog.FindByName("EDIT_VERSION"));
    ASSERT_NE(nullptr, version);
    EXPECT_EQ(version->GetHandle(), GetFocus());
    int start = -1, end = -1;
    EXPECT_TRUE(version->GetSel(&start, &end));
    EXPECT_EQ(0, start);
    EXPECT_EQ(7, end);
    EXPECT_NE(nullptr, dynamic_cast<SEditCtrl*>(dialog.FindByName("EDIT_FOLDER")));

    ExpectTidyLayout(dialog);
}

}   // namespace
