// The window base and the modal loop, with real windows.
#include <windows.h>

#include <gtest/gtest.h>
#include <shlobj.h>

#include <algorithm>
#include <string>
#include <vector>

#include "WndTestSupport.h"
#include "core/SStringArray.h"
#include "wnd/SWnd.h"
#include "wnd/SWndApp.h"

namespace {

const UINT kPing = WM_APP + 50;

// Records messages; answers the create message with `refuse` and can stop
// messages in the pre-filter or destroy itself on a message.
class ProbeWnd : public SWnd {
public:
    LRESULT refuse = 0;
    UINT blocked = 0, destroyOn = 0;
    bool visibleAtCreate = true;
    HWND handleAtCreate = nullptr;
    LPARAM userAtCreate = 0;
    std::vector<UINT> seen;
    std::vector<LPARAM> lParams;
    SStringArray dropped;

    bool PreFilter(UINT msg, WPARAM* wParam, LPARAM* lParam) override
    {
        if (msg == blocked)
            return false;
        if (msg == kPing)
            *wParam = 77;
        return SWnd::PreFilter(msg, wParam, lParam);
    }

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override
    {
        if (msg == SWM_CREATE) {
            handleAtCreate = GetHandle();
            visibleAtCreate = IsWindowVisible(GetHandle()) != 0;
            userAtCreate = lParam;
            return refuse;
        }
        if (msg >= WM_APP || msg == WM_KEYDOWN || msg == WM_DESTROY || msg == WM_SETTEXT) {
            seen.push_back(msg);
            lParams.push_back(msg == kPing ? (LPARAM)wParam : lParam);
        }
        if (msg == SWM_DROPFILES) {
            const SStringArray* paths = (const SStringArray*)wParam;
            for (int i = 0; i < paths->GetCount(); i++)
                dropped.Add(paths->GetText(i));
        }
        if (msg == destroyOn && msg != 0)
            Destroy();
        return SWnd::Handler(msg, wParam, lParam);
    }

    bool Saw(UINT msg) const { return std::find(seen.begin(), seen.end(), msg) != seen.end(); }
};

TEST(SWnd, CreateMessagePreFilterAndDestroy)
{
    // A refused window is destroyed unseen: no WM_DESTROY, no table entry.
    ProbeWnd refused;
    refused.refuse = 1;
    RECT r = {10, 10, 110, 90};
    EXPECT_FALSE(refused.Create("x", WS_VISIBLE, 0, &r, nullptr, nullptr, 5));
    ASSERT_NE(refused.handleAtCreate, nullptr);
    EXPECT_TRUE(refused.GetHandle() == nullptr && !IsWindow(refused.handleAtCreate));
    EXPECT_TRUE(SWnd::FromHandle(refused.handleAtCreate) == nullptr && !refused.Saw(WM_DESTROY));

    // Without a parent a pop-up although not asked for; shown only after
    // the create message.
    ProbeWnd wnd;
    ASSERT_TRUE(
        wnd.Create("Probe", WS_VISIBLE | WS_CAPTION | WS_SYSMENU, 0, &r, nullptr, nullptr, 42));
    EXPECT_TRUE(wnd.userAtCreate == 42 && !wnd.visibleAtCreate && wnd.IsVisible());
    EXPECT_TRUE(SWnd::FromHandle(wnd.GetHandle()) == &wnd &&
                !wnd.Create("again", 0, 0, &r, nullptr, nullptr, 0));
    EXPECT_TRUE((GetWindowLongA(wnd.GetHandle(), GWL_STYLE) & WS_POPUP) &&
                ClassOf(wnd) == "CLASS_SWND");
    ProbeWnd child;
    RECT cr = {5, 5, 25, 25};
    ASSERT_TRUE(child.Create("", WS_CHILD, WS_EX_STATICEDGE, &cr, wnd.GetHandle(), (HMENU)12, 0,
                             nullptr, true));
    EXPECT_EQ(ClassOf(child), "CLASS_SWNDEX");

    // A message stopped by the pre-filter answers 0 and never reaches the
    // default processing; the pre-filter can rewrite wParam.
    wnd.SetText("kept");
    wnd.blocked = WM_GETTEXT;
    char text[16] = "unchanged";
    EXPECT_EQ(SendMessageA(wnd.GetHandle(), WM_GETTEXT, sizeof(text), (LPARAM)text), 0);
    EXPECT_STREQ(text, "unchanged");
    wnd.Send(kPing, 1, 0);
    EXPECT_TRUE(wnd.Saw(kPing) && wnd.lParams.back() == 77);

    // WM_DESTROY takes the windows out of the table and clears their handles.
    HWND childHandle = child.GetHandle();
    EXPECT_TRUE(wnd.Destroy());
    EXPECT_TRUE(wnd.Saw(WM_DESTROY) && child.Saw(WM_DESTROY));
    EXPECT_TRUE(wnd.GetHandle() == nullptr && child.GetHandle() == nullptr);
    EXPECT_TRUE(SWnd::FromHandle(childHandle) == nullptr && !wnd.Destroy());
}

TEST(SWnd, ModalLoopEndingsAndKeys)
{
    RECT r = {0, 0, 120, 80};
    bool wait = true;

    // Destroyed from inside a handler: the loop ends on the next round and
    // leaves no WM_QUIT behind.
    ProbeWnd a;
    ASSERT_TRUE(a.Create("", WS_VISIBLE, 0, &r, nullptr, nullptr, 0));
    a.destroyOn = kPing;
    a.Post(kPing);
    EXPECT_EQ(SWndApp::RunModalLoop(&a, &wait), 0);
    EXPECT_TRUE(a.GetHandle() == nullptr && !TakeQuit());

    EXPECT_TRUE(SWndApp::RunModalLoop(nullptr, &wait) == -1 &&
                SWndApp::RunModalLoop(&a, &wait) == -1);

    // WM_QUIT taken by the modal loop is posted again for the main loop.
    ProbeWnd wnd;
    ASSERT_TRUE(wnd.Create("", WS_VISIBLE, 0, &r, nullptr, nullptr, 0));
    PostQuitMessage(6);
    EXPECT_EQ(SWndApp::RunModalLoop(&wnd, nullptr), 6);
    int code = 0;
    EXPECT_TRUE(TakeQuit(&code) && code == 6);

    wnd.destroyOn = SWM_CANCEL;
    wnd.Post(WM_KEYDOWN, VK_RETURN, 0);
    wnd.Post(WM_KEYDOWN, 'A', 0);
    wnd.Post(WM_KEYDOWN, VK_ESCAPE, 0);
    EXPECT_EQ(SWndApp::RunModalLoop(&wnd, &wait), 0);
    // OK arrives before its key, with lParam 1; cancel ends it.
    std::vector<UINT> expected = {SWM_OK, WM_KEYDOWN, WM_KEYDOWN, SWM_CANCEL, WM_DESTROY};
    EXPECT_EQ(wnd.seen, expected);
    EXPECT_EQ(wnd.lParams[0], 1);
}

TEST(SWnd, DroppedFilesBecomeAStringArray)
{
    // A DROPFILES block as the shell hands it over: 8-bit paths, each
    // 0-terminated, and a final 0 (the zeroed last byte).
    char folder[MAX_PATH], file[MAX_PATH];
    GetTempPathA(MAX_PATH, folder);
    folder[strlen(folder) - 1] = 0;
    GetModuleFileNameA(nullptr, file, MAX_PATH);
    std::string paths = std::string(folder) + '\0' + file + '\0';
    HGLOBAL drop = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, sizeof(DROPFILES) + paths.size() + 1);
    DROPFILES* header = (DROPFILES*)GlobalLock(drop);
    header->pFiles = sizeof(DROPFILES);
    memcpy(header + 1, paths.data(), paths.size());
    GlobalUnlock(drop);

    ProbeWnd wnd;
    RECT r = {0, 0, 100, 80};
    ASSERT_TRUE(wnd.Create("", 0, WS_EX_ACCEPTFILES, &r, nullptr, nullptr, 0));
    wnd.Post(WM_DROPFILES, (WPARAM)drop);
    ASSERT_TRUE(PumpUntil([&] { return wnd.Saw(33776); }));
    EXPECT_EQ(std::string(wnd.dropped.Join("|").Text()), std::string(folder) + "\\|" + file);
    // The handle was not released by the window: it can still be read.
    EXPECT_EQ(DragQueryFileA((HDROP)drop, 0xFFFFFFFF, nullptr, 0), 2u);
    GlobalFree(drop);
}

}   // namespace
