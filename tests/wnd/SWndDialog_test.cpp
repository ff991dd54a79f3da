// Dialogs built from dialog texts, with real windows.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "WndTestSupport.h"
#include "ctrl/SLabelCtrl.h"
#include "ctrl/SListCtrl.h"
#include "file/SFileMem.h"
#include "wnd/SWndDialog.h"

namespace {

SString Text(const char* dialogKeys, const char* controls = "")
{
    SString text(
        "VORLIX DIALOG 1.0.0.0\r\n\r\n[DIALOG]\r\nCAPTION=Probe\r\nPOSITION=40 30 300 165\r\n");
    text += dialogKeys;
    text += "\r\n";
    text += controls;
    return text;
}

class ProbeDialog : public SWndDialog {
public:
    std::vector<UINT> seen;
    LPARAM readyUser = 0;
    bool visibleAtReady = false, controlsAtReady = false;

    bool Build(const SString& text, LPARAM user = 0)
    {
        SFileMem file;
        file.Write(text.Text(), text.GetLength());
        file.Seek(0);
        return CreateFromText(&file, nullptr, nullptr, true, user);
    }

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override
    {
        if (msg == SWM_DIALOGREADY) {
            readyUser = lParam;
            visibleAtReady = IsVisible() != 0;
            controlsAtReady = GetRowCount() > 0;
        }
        if (msg >= WM_APP)
            seen.push_back(msg);
        return SWndDialog::Handler(msg, wParam, lParam);
    }

    int Count(UINT msg) const { return (int)std::count(seen.begin(), seen.end(), msg); }
};

// The window rectangle of a child in its dialog's client coordinates.
RECT ChildRect(SWnd* child, HWND dialog)
{
    RECT r;
    GetWindowRect(child->GetHandle(), &r);
    MapWindowPoints(nullptr, dialog, (POINT*)&r, 2);
    return r;
}

const char kControls[] =
    "[BUTTON]\r\nID=1\r\nNAME=OK\r\nCAPTION=OK\r\nPOSITION=10 120 80 24\r\nSTYLE=WS_VISIBLE "
    "\r\n\r\n"
    "[BUTTON]\r\nID=2\r\nNAME=CANCEL\r\nCAPTION=Cancel\r\nPOSITION=100 120 80 "
    "24\r\nSTYLE=WS_VISIBLE \r\n\r\n"
    "[TREE]\r\nID=3\r\nNAME=TWIN\r\nCAPTION=tree text\r\nPOSITION=10 10 120 50\r\n"
    "STYLE=WS_VISIBLE \r\n\r\n"
    "[EDIT]\r\nID=4\r\nNAME=TWIN\r\nCAPTION=second\r\nPOSITION=140 10 100 22\r\n"
    "STYLE=WS_VISIBLE WS_BORDER \r\n";

TEST(SWndDialog, BuildsHiddenDialogAndItsControls)
{
    ProbeDialog dialog;
    ASSERT_TRUE(dialog.Build(
        Text("STYLE=WS_CAPTION WS_SYSMENU \r\nEXSTYLE=WS_EX_TOPMOST \r\n", kControls), 99));
    HWND hwnd = dialog.GetHandle();
    // Hidden (no WS_VISIBLE) yet ready, once, after its controls exist.
    EXPECT_TRUE(!IsWindowVisible(hwnd) && dialog.Count(SWM_DIALOGREADY) == 1);
    EXPECT_TRUE(dialog.readyUser == 99 && !dialog.visibleAtReady && dialog.controlsAtReady);

    RECT client, window;
    GetClientRect(hwnd, &client);
    GetWindowRect(hwnd, &window);
    EXPECT_TRUE(client.right == 300 && client.bottom == 165 && window.left == 40 &&
                window.top == 30);
    EXPECT_EQ(GetWindowLongA(hwnd, GWL_EXSTYLE) & (WS_EX_TOPMOST | WS_EX_ACCEPTFILES),
              WS_EX_TOPMOST);
    EXPECT_TRUE(ClassOf(dialog) == "CLASS_SWND" && dialog.GetText() == "Probe");

    ASSERT_EQ(dialog.GetRowCount(), 4);
    EXPECT_TRUE(dialog.FindById(2) == dialog.FindByName("CANCEL") && !dialog.FindByName("ok"));
    // Two controls named alike: the earlier one is found.
    SWnd* twin = dialog.FindByName("TWIN");
    EXPECT_TRUE(dialog.GetRow(twin) == 2 && dialog.GetRow(&dialog) == -1);

    // A type without its own class is a plain child with position and caption.
    EXPECT_EQ(ClassOf(*twin), "CLASS_SWND");
    EXPECT_TRUE(twin->GetText() == "tree text" && ChildRect(twin, hwnd).left == 10);

    // Positions are pixels at 96 dots per inch, rounded when scaled.
    const SWndDialogEntry &box = dialog.GetDesc().GetDialog(),
                          *field = dialog.GetDesc().GetControl(3);
    dialog.ScaleToDisplay(72);
    dialog.ScaleToDisplay(144);
    EXPECT_TRUE(box.x == 60 && box.y == 45 && box.width == 450 && box.height == 248);
    EXPECT_TRUE(field->x == 210 && field->y == 15 && field->width == 150 && field->height == 33);

    // A dialog with a window refuses a second build.
    EXPECT_TRUE(!dialog.Build(Text("")) && dialog.Count(SWM_DIALOGREADY) == 1);

    // The destroy clean-up removes every control.
    HWND edit = dialog.GetRowControl(3)->GetHandle();
    dialog.Destroy();
    EXPECT_TRUE(dialog.GetRowCount() == 0 && !IsWindow(edit));
}

TEST(SWndDialog, FailedLoadsShowNothing)
{
    ProbeDialog dialog;
    EXPECT_FALSE(
        dialog.Build("VORLIX DIALOG 1.0.0.0\r\n\r\n[DIALOG]\r\nCAPTION=x\r\n\r\n[NOPE]\r\n"));
    EXPECT_EQ(dialog.GetDesc().GetErrorLine(), 6);
    EXPECT_FALSE(dialog.CreateFromText(nullptr, nullptr, nullptr, true, 0));
    EXPECT_TRUE(dialog.GetHandle() == nullptr && dialog.seen.empty());
}

TEST(SWndDialog, DialogOptions)
{
    ProbeDialog dialog;
    ASSERT_TRUE(dialog.Build(Text("STYLE=WS_VISIBLE WS_CAPTION WS_SYSMENU \r\n"
                                  "DIALOG_DRAGFILES=1\r\nDIALOG_FOCUS=4\r\n",
                                  kControls)));
    HWND hwnd = dialog.GetHandle();
    // Shown first, then told it is ready.
    EXPECT_TRUE(IsWindowVisible(hwnd) && dialog.visibleAtReady);
    EXPECT_TRUE(GetWindowLongA(hwnd, GWL_EXSTYLE) & WS_EX_ACCEPTFILES);

    HWND focused = dialog.FindById(4)->GetHandle();
    ASSERT_TRUE(PumpUntil([&] { return GetFocus() == focused; }, 1000));
    // Focus on a missing ID changes nothing.
    ProbeDialog second;
    ASSERT_TRUE(second.Build(Text("STYLE=WS_CAPTION \r\nDIALOG_FOCUS=99\r\n", kControls)));
    EXPECT_EQ(GetFocus(), focused);
}

// The library's message numbers are part of its interface.
static_assert(SWM_CREATE == 0x83E9 && SWM_DIALOGREADY == 0x83EA && SWM_OK == 0x83EE &&
                  SWM_CANCEL == 0x83EF && SWM_DROPFILES == 0x83F0 && SWM_COMMAND == 0x8BC3 &&
                  SWM_THREADNOTIFY == 0x87DA && SWM_THREADMESSAGE == 0x87DB &&
                  SWM_THREADEND == 0x87DC,
              "library message numbers");

COLORREF BrushColour(HBRUSH brush)
{
    LOGBRUSH info = {};
    GetObjectA(brush, sizeof(info), &info);
    return info.lbColor;
}

TEST(SWndDialog, EveryColourKeyReadsBothForms)
{
    // One colour, written as #RRGGBB and as #AARRGGBB, on every key that takes one.
    for (const char* colour : {"#204060", "#FF204060"}) {
        SCOPED_TRACE(colour);
        SString keys, controls;
        keys.Format("BACKCOLOR=%s\r\n", colour);
        controls.Format(
            "[LABEL]\r\nNAME=L\r\nBACKCOLOR=%s\r\nTEXTCOLOR=%s\r\n\r\n[LIST]\r\nNAME=S\r\n"
            "BACKCOLOR=%s\r\nTEXTCOLOR=%s\r\nLIST_SELBACKCOLOR=%s\r\n"
            "LIST_SELTEXTCOLOR=%s\r\n",
            colour, colour, colour, colour, colour, colour);
        ProbeDialog dialog;
        ASSERT_TRUE(dialog.Build(Text(keys.Text(), controls.Text())));
        SLabelCtrl* label = (SLabelCtrl*)dialog.FindByName("L");
        SListCtrl* list = (SListCtrl*)dialog.FindByName("S");
        HBRUSH listBrush = (HBRUSH)dialog.Send(WM_CTLCOLORLISTBOX, 0, (LPARAM)list->GetHandle());
        for (COLORREF value : {BrushColour(dialog.GetBackBrush()), label->GetBackColor(),
                               label->GetTextColor(), BrushColour(listBrush), list->GetTextColor(),
                               list->GetSelBackColor(), list->GetSelTextColor()})
            EXPECT_EQ(value, RGB(0x20, 0x40, 0x60));
    }
}

TEST(SWndDialog, OkAndCancelOnlyWhileModal)
{
    ProbeDialog dialog;
    ASSERT_TRUE(dialog.Build(Text("STYLE=WS_CAPTION \r\n", kControls)));
    dialog.Send(SWM_COMMAND, (WPARAM)dialog.FindByName("OK"));
    dialog.SetModal(true);
    for (const char* name : {"OK", "CANCEL", "TWIN"})
        dialog.Send(SWM_COMMAND, (WPARAM)dialog.FindByName(name));
    dialog.SetModal(false);
    std::vector<UINT> expected = {SWM_COMMAND, SWM_COMMAND, SWM_OK,
                                  SWM_COMMAND, SWM_CANCEL,  SWM_COMMAND};
    EXPECT_EQ(std::vector<UINT>(dialog.seen.end() - 6, dialog.seen.end()), expected);
}

TEST(SWndDialog, TabMovesTheFocusByGroup)
{
    // Document order c, a, b; groups 2, 1, 1; d takes no part.
    SString controls;
    const char* rows[] = {"3\r\nTABENABLED=1\r\nTABGROUP=2", "1\r\nTABENABLED=1\r\nTABGROUP=1",
                          "2\r\nTABENABLED=1\r\nTABGROUP=1", "4\r\nTABGROUP=0"};
    for (const char* row : rows)
        controls += SString("[WINDOW]\r\nPOSITION=0 0 10 10\r\nSTYLE=WS_VISIBLE \r\nID=") + row +
            "\r\n\r\n";
    ProbeDialog dialog;
    ASSERT_TRUE(dialog.Build(Text("STYLE=WS_VISIBLE WS_CAPTION \r\n", controls.Text())));
    EXPECT_EQ(dialog.FindById(4)->GetTabGroup(), -1);
    SWnd* at = dialog.FindById(1);
    at->SetFocus();
    for (int next : {2, 3, 1}) {
        at->Send(WM_KEYDOWN, VK_TAB, 0);
        EXPECT_EQ(GetFocus(), dialog.FindById(next)->GetHandle()) << next;
        at = dialog.FindById(next);
    }
}

}   // namespace
