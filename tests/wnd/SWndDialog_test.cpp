// Dialogs built from dialog texts, with real windows.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <vector>

#include "WndTestSupport.h"
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
    bool visibleAtReady = false;
    bool controlsAtReady = false;

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

    int Count(UINT msg) const
    {
        int n = 0;
        for (UINT m : seen)
            n += m == msg;
        return n;
    }
};

SIZE ClientSize(HWND hwnd)
{
    RECT r;
    GetClientRect(hwnd, &r);
    SIZE s = {r.right - r.left, r.bottom - r.top};
    return s;
}

POINT ClientOrigin(HWND hwnd)
{
    POINT p = {0, 0};
    ClientToScreen(hwnd, &p);
    return p;
}

const char kControls[] =
    "[BUTTON]\r\nID=1\r\nNAME=OK\r\nCAPTION=OK\r\nPOSITION=10 120 80 24\r\nSTYLE=WS_VISIBLE "
    "\r\n\r\n"
    "[BUTTON]\r\nID=2\r\nNAME=CANCEL\r\nCAPTION=Cancel\r\nPOSITION=100 120 80 "
    "24\r\nSTYLE=WS_VISIBLE \r\n\r\n"
    "[TREE]\r\nID=3\r\nNAME=TWIN\r\nCAPTION=tree text\r\nPOSITION=10 10 120 50\r\nSTYLE=WS_VISIBLE "
    "TVS_HASLINES \r\nHALIGN=8\r\nVALIGN=8192\r\n\r\n"
    "[EDIT]\r\nID=4\r\nNAME=TWIN\r\nCAPTION=second\r\nPOSITION=140 10 100 22\r\nSTYLE=WS_VISIBLE "
    "WS_BORDER \r\n"
    "FONT=Arial, 14, 1\r\n";

TEST(SWndDialog, BuildsHiddenDialogAndItsControls)
{
    ProbeDialog dialog;
    ASSERT_TRUE(dialog.Build(
        Text("STYLE=WS_CAPTION WS_SYSMENU \r\nEXSTYLE=WS_EX_TOPMOST \r\n", kControls), 99));
    HWND hwnd = dialog.GetHandle();
    // Hidden (no WS_VISIBLE) yet ready, once, after its controls exist.
    EXPECT_FALSE(IsWindowVisible(hwnd));
    EXPECT_EQ(dialog.Count(SWM_DIALOGREADY), 1);
    EXPECT_EQ(dialog.readyUser, 99);
    EXPECT_FALSE(dialog.visibleAtReady);
    EXPECT_TRUE(dialog.controlsAtReady);

    SIZE client = ClientSize(hwnd);
    EXPECT_EQ(client.cx, 300);
    EXPECT_EQ(client.cy, 165);
    RECT window;
    GetWindowRect(hwnd, &window);
    EXPECT_EQ(window.left, 40);
    EXPECT_EQ(window.top, 30);
    EXPECT_TRUE(GetWindowLongA(hwnd, GWL_EXSTYLE) & WS_EX_TOPMOST);
    EXPECT_FALSE(GetWindowLongA(hwnd, GWL_EXSTYLE) & WS_EX_ACCEPTFILES);
    char className[32];
    GetClassNameA(hwnd, className, sizeof(className));
    EXPECT_STREQ(className, "CLASS_SWND");
    EXPECT_EQ(dialog.GetText(), "Probe");

    ASSERT_EQ(dialog.GetRowCount(), 4);
    SWnd* ok = dialog.FindByName("OK");
    ASSERT_NE(ok, nullptr);
    EXPECT_EQ(ok->GetId(), 1);
    EXPECT_EQ(dialog.FindById(2), dialog.FindByName("CANCEL"));
    EXPECT_EQ(dialog.FindByName("ok"), nullptr);
    // Two controls named alike: the earlier one is found.
    SWnd* twin = dialog.FindByName("TWIN");
    ASSERT_NE(twin, nullptr);
    EXPECT_EQ(dialog.GetRow(twin), 2);
    EXPECT_EQ(dialog.GetRowId(3), 4);
    EXPECT_STREQ(dialog.GetRowName(3), "TWIN");
    EXPECT_EQ(dialog.GetRow(&dialog), -1);

    // A type without its own class is a plain child with position and caption.
    GetClassNameA(twin->GetHandle(), className, sizeof(className));
    EXPECT_STREQ(className, "CLASS_SWND");
    EXPECT_EQ(twin->GetText(), "tree text");
    RECT r;
    GetWindowRect(twin->GetHandle(), &r);
    MapWindowPoints(nullptr, hwnd, (POINT*)&r, 2);
    EXPECT_EQ(r.left, 10);
    EXPECT_EQ(twin->GetLayoutFlags(), 8u | 8192u);

    // Only the control with a FONT face has its own font.
    EXPECT_EQ(dialog.GetRowFont(0), nullptr);
    ASSERT_NE(dialog.GetRowFont(3), nullptr);
    LOGFONTA font;
    GetObjectA(dialog.GetRowFont(3), sizeof(font), &font);
    EXPECT_STREQ(font.lfFaceName, "Arial");
    EXPECT_EQ(font.lfWeight, FW_BOLD);
    EXPECT_EQ((HFONT)dialog.GetRowControl(3)->Send(WM_GETFONT), dialog.GetRowFont(3));

    // Automatic layout: the tree moves right by the growth and grows down.
    SetWindowPos(hwnd, nullptr, 0, 0, window.right - window.left + 50,
                 window.bottom - window.top + 20, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    GetWindowRect(twin->GetHandle(), &r);
    MapWindowPoints(nullptr, hwnd, (POINT*)&r, 2);
    EXPECT_EQ(r.left, 60);
    EXPECT_EQ(r.right - r.left, 120);
    EXPECT_EQ(r.bottom - r.top, 70);

    // A dialog with a window refuses a second build.
    EXPECT_FALSE(dialog.Build(Text("")));
    EXPECT_EQ(dialog.Count(SWM_DIALOGREADY), 1);

    // The destroy clean-up removes every control.
    HWND edit = dialog.GetRowControl(3)->GetHandle();
    dialog.Destroy();
    EXPECT_EQ(dialog.GetRowCount(), 0);
    EXPECT_FALSE(IsWindow(edit));
    EXPECT_EQ(dialog.FindByName("OK"), nullptr);
}

TEST(SWndDialog, FailedLoadsShowNothing)
{
    ProbeDialog dialog;
    EXPECT_FALSE(
        dialog.Build("VORLIX DIALOG 1.0.0.0\r\n\r\n[DIALOG]\r\nCAPTION=x\r\n\r\n[NOPE]\r\n"));
    EXPECT_EQ(dialog.GetDesc().GetErrorLine(), 6);
    EXPECT_FALSE(dialog.Build("VORLIX DIALOG\r\n"));
    EXPECT_FALSE(dialog.CreateFromText(nullptr, nullptr, nullptr, true, 0));
    EXPECT_EQ(dialog.GetHandle(), nullptr);
    EXPECT_TRUE(dialog.seen.empty());
}

TEST(SWndDialog, DialogOptions)
{
    ProbeDialog dialog;
    ASSERT_TRUE(dialog.Build(
        Text("STYLE=WS_VISIBLE WS_CAPTION WS_SYSMENU WS_SIZEBOX \r\nBACKCOLOR=#204060\r\n"
             "DIALOG_NOCLOSE=1\r\nDIALOG_DRAGFILES=1\r\nDIALOG_MINSIZE=1\r\n"
             "DIALOG_STATUSBARTEXT=one|two\r\nDIALOG_FOCUS=4\r\n",
             kControls)));
    HWND hwnd = dialog.GetHandle();
    EXPECT_TRUE(IsWindowVisible(hwnd));
    // Shown first, then told it is ready.
    EXPECT_TRUE(dialog.visibleAtReady);
    char className[32];
    GetClassNameA(hwnd, className, sizeof(className));
    EXPECT_STREQ(className, "CLASS_SWNDEX");
    EXPECT_TRUE(GetClassLongA(hwnd, GCL_STYLE) & CS_NOCLOSE);
    EXPECT_TRUE(GetWindowLongA(hwnd, GWL_EXSTYLE) & WS_EX_ACCEPTFILES);
    EXPECT_NE(dialog.GetBackBrush(), nullptr);
    LOGBRUSH brush;
    GetObjectA(dialog.GetBackBrush(), sizeof(brush), &brush);
    EXPECT_EQ(brush.lbColor, RGB(0x20, 0x40, 0x60));

    // The status bar adds its height below the POSITION client area.
    ASSERT_NE(dialog.GetStatusBar(), nullptr);
    EXPECT_EQ(dialog.GetStatusBar()->Send(SB_GETPARTS, 0, 0), 2);
    char part[16] = "";
    dialog.GetStatusBar()->Send(SB_GETTEXTA, 1, (LPARAM)part);
    EXPECT_STREQ(part, "two");
    RECT bar;
    dialog.GetStatusBar()->GetWindowRect(&bar);
    EXPECT_EQ(ClientSize(hwnd).cy, 165 + (bar.bottom - bar.top));

    // The built size is the smallest the user may drag to.
    RECT window;
    GetWindowRect(hwnd, &window);
    MINMAXINFO info = {};
    dialog.Send(WM_GETMINMAXINFO, 0, (LPARAM)&info);
    EXPECT_EQ(info.ptMinTrackSize.x, window.right - window.left);
    EXPECT_EQ(info.ptMinTrackSize.y, window.bottom - window.top);

    HWND focused = dialog.FindById(4)->GetHandle();
    ASSERT_TRUE(PumpUntil([&] { return GetFocus() == focused; }, 1000));
    // Focus on a missing ID changes nothing.
    ProbeDialog second;
    ASSERT_TRUE(second.Build(Text("STYLE=WS_CAPTION \r\nDIALOG_FOCUS=99\r\n", kControls)));
    EXPECT_EQ(GetFocus(), focused);
}

TEST(SWndDialog, OkAndCancelOnlyWhileModal)
{
    ProbeDialog dialog;
    ASSERT_TRUE(dialog.Build(Text("STYLE=WS_CAPTION \r\n", kControls)));
    SWnd* ok = dialog.FindByName("OK");
    SWnd* cancel = dialog.FindByName("CANCEL");
    SWnd* other = dialog.FindByName("TWIN");
    dialog.Send(SWM_COMMAND, (WPARAM)ok);
    EXPECT_EQ(dialog.Count(SWM_OK), 0);
    dialog.SetModal(true);
    dialog.Send(SWM_COMMAND, (WPARAM)ok);
    dialog.Send(SWM_COMMAND, (WPARAM)cancel);
    dialog.Send(SWM_COMMAND, (WPARAM)other);
    EXPECT_EQ(dialog.Count(SWM_OK), 1);
    EXPECT_EQ(dialog.Count(SWM_CANCEL), 1);
    EXPECT_EQ(dialog.Count(SWM_COMMAND), 4);
    dialog.SetModal(false);
}

TEST(SWndDialog, ToolBarResizeGrowsTheDialogAndMovesTheOtherChildren)
{
    ProbeDialog dialog;
    ASSERT_TRUE(dialog.Build(Text("STYLE=WS_CAPTION \r\n", kControls)));
    SWnd host;
    RECT hostRect = {0, 0, 300, 30};
    ASSERT_TRUE(
        host.Create("", WS_CHILD, 0, &hostRect, dialog.GetHandle(), nullptr, 0, nullptr, false));
    HWND ok = dialog.FindByName("OK")->GetHandle();
    RECT before, after;
    GetWindowRect(ok, &before);
    int height = ClientSize(dialog.GetHandle()).cy;
    dialog.Send(SWM_TOOLBARRESIZED, (WPARAM)&host);
    GetWindowRect(ok, &after);
    EXPECT_EQ(after.top - before.top, 30);
    EXPECT_EQ(after.left, before.left);
    EXPECT_EQ(ClientSize(dialog.GetHandle()).cy, height + 30);
    host.Move(0, 0, 300, 20);
    dialog.Send(SWM_TOOLBARRESIZED, (WPARAM)&host);
    GetWindowRect(ok, &after);
    EXPECT_EQ(after.top - before.top, 20);
    RECT hostNow;
    host.GetWindowRect(&hostNow);
    EXPECT_EQ(hostNow.top, hostRect.top + ClientOrigin(dialog.GetHandle()).y);
}

TEST(SWndDialog, LayeredDialogLosesItsFrame)
{
    ProbeDialog dialog;
    ASSERT_TRUE(
        dialog.Build(Text("STYLE=WS_CAPTION WS_SYSMENU WS_SIZEBOX \r\nEXSTYLE=WS_EX_CLIENTEDGE "
                          "WS_EX_TOOLWINDOW \r\nDIALOG_LAYER=1\r\nDIALOG_STATUSBARTEXT=x\r\n")));
    LONG style = GetWindowLongA(dialog.GetHandle(), GWL_STYLE);
    LONG exStyle = GetWindowLongA(dialog.GetHandle(), GWL_EXSTYLE);
    EXPECT_EQ(style & 0x00CF0000, 0);
    EXPECT_EQ(exStyle & 0x200, 0);
    EXPECT_TRUE(exStyle & WS_EX_TOOLWINDOW);
    EXPECT_TRUE(exStyle & WS_EX_LAYERED);
    EXPECT_EQ(dialog.GetStatusBar(), nullptr);
    EXPECT_EQ(ClientSize(dialog.GetHandle()).cx, 300);
}

TEST(SWndDialog, TabMovesTheFocusByGroup)
{
    // Document order c, a, b; groups 2, 1, 1; d takes no part.
    ProbeDialog dialog;
    ASSERT_TRUE(dialog.Build(Text("STYLE=WS_VISIBLE WS_CAPTION \r\n",
                                  "[WINDOW]\r\nID=3\r\nPOSITION=0 0 10 10\r\nSTYLE=WS_VISIBLE \r\n"
                                  "TABENABLED=1\r\nTABGROUP=2\r\n\r\n"
                                  "[WINDOW]\r\nID=1\r\nPOSITION=0 20 10 10\r\nSTYLE=WS_VISIBLE \r\n"
                                  "TABENABLED=1\r\nTABGROUP=1\r\n\r\n"
                                  "[WINDOW]\r\nID=2\r\nPOSITION=0 40 10 10\r\nSTYLE=WS_VISIBLE \r\n"
                                  "TABENABLED=1\r\nTABGROUP=1\r\n\r\n"
                                  "[WINDOW]\r\nID=4\r\nPOSITION=0 60 10 10\r\nSTYLE=WS_VISIBLE \r\n"
                                  "TABGROUP=0\r\n")));
    SWnd* a = dialog.FindById(1);
    SWnd* b = dialog.FindById(2);
    SWnd* c = dialog.FindById(3);
    EXPECT_EQ(dialog.FindById(4)->GetTabGroup(), -1);
    EXPECT_EQ(c->GetTabGroup(), 2);
    a->SetFocus();
    SWnd* at = a;
    for (SWnd* next : {b, c, a}) {
        at->Send(WM_KEYDOWN, VK_TAB, 0);
        EXPECT_EQ(GetFocus(), next->GetHandle()) << next->GetId();
        at = next;
    }
}

}   // namespace
