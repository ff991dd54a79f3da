// The controls as the dialog builder makes them from dialog texts, and the
// installer's dialog from the text linked into this program.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "../wnd/WndTestSupport.h"
#include "core/SStringArray.h"
#include "ctrl/SButtonCtrl.h"
#include "ctrl/SLabelCtrl.h"
#include "ctrl/SListCtrl.h"
#include "ctrl/SProgressCtrl.h"
#include "file/SFileMem.h"
#include "wnd/SWndDialog.h"

// Live objects made with new in this program, to see that the controls free
// what they allocate.
static long g_liveObjects = 0;
void* operator new(size_t size)
{
    void* p = HeapAlloc(GetProcessHeap(), 0, size ? size : 1);
    if (!p)
        abort();
    g_liveObjects++;
    return p;
}
void operator delete(void* p) noexcept
{
    if (p && HeapFree(GetProcessHeap(), 0, p))
        g_liveObjects--;
}
void operator delete(void* p, size_t) noexcept
{
    operator delete(p);
}

namespace {

::testing::Environment* const g_app = ::testing::AddGlobalTestEnvironment(new WndEnvironment);

// Records the controls its commands came from; its background is red left
// of x = 160 and white right of it.
class RecordingDialog : public SWndDialog {
public:
    std::vector<WPARAM> commands;

    // Builds a visible 320 x 240 dialog holding the given control sections.
    bool Build(const char* controls)
    {
        SString text("VORLIX DIALOG 1.0.0.0\r\n\r\n[DIALOG]\r\nCAPTION=Controls\r\n"
                     "POSITION=0 0 320 240\r\nSTYLE=WS_VISIBLE WS_CAPTION \r\n\r\n");
        text += controls;
        SWndDialogDesc desc;
        return desc.Parse(text.Text()) && CreateFromDesc(desc, nullptr, true, 0);
    }

    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override
    {
        if (msg == SWM_COMMAND)
            commands.push_back(wParam);
        if (msg == WM_ERASEBKGND && wParam) {
            RECT left = {0, 0, 160, 240}, right = {160, 0, 320, 240};
            HBRUSH red = CreateSolidBrush(RGB(255, 0, 0));
            FillRect((HDC)wParam, &left, red);
            FillRect((HDC)wParam, &right, (HBRUSH)GetStockObject(WHITE_BRUSH));
            DeleteObject(red);
            return 1;
        }
        return SWndDialog::Handler(msg, wParam, lParam);
    }
};

// A control's client area drawn through WM_PRINTCLIENT into a black image.
struct Picture {
    int width = 0, height = 0;
    std::vector<COLORREF> pixels;

    // Drawn afresh, or onScreen: what the window shows now, without a paint.
    explicit Picture(SWnd* control, bool onScreen = false)
    {
        RECT rect;
        control->GetClientRect(&rect);
        width = rect.right;
        height = rect.bottom;
        HDC screen = GetDC(nullptr);
        HDC dc = CreateCompatibleDC(screen);
        HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
        HGDIOBJ old = SelectObject(dc, bitmap);
        if (onScreen) {
            HDC shown = GetDC(control->GetHandle());
            BitBlt(dc, 0, 0, width, height, shown, 0, 0, SRCCOPY);
            ReleaseDC(control->GetHandle(), shown);
        } else {
            control->Send(WM_PRINTCLIENT, (WPARAM)dc, PRF_CLIENT);
        }
        for (int y = 0; y < height; y++)
            for (int x = 0; x < width; x++)
                pixels.push_back(GetPixel(dc, x, y));
        SelectObject(dc, old);
        DeleteObject(bitmap);
        DeleteDC(dc);
        ReleaseDC(nullptr, screen);
    }
    COLORREF At(int x, int y) const { return pixels[y * width + x]; }
    bool operator==(const Picture& other) const { return pixels == other.pixels; }
    // The box of the pixels in rows [top, bottom) whose colour is not back.
    RECT Ink(COLORREF back, int top = 0, int bottom = -1) const
    {
        RECT box = {width, height, -1, -1};
        for (int y = top; y < (bottom < 0 ? height : bottom); y++)
            for (int x = 0; x < width; x++)
                if (At(x, y) != back) {
                    box = {std::min<LONG>(box.left, x), std::min<LONG>(box.top, y),
                           std::max<LONG>(box.right, x), std::max<LONG>(box.bottom, y)};
                }
        return box;
    }
    bool Has(COLORREF colour, int top, int bottom) const
    {
        return std::find(pixels.begin() + top * width, pixels.begin() + bottom * width, colour) !=
            pixels.begin() + bottom * width;
    }
};

int Sign(int value)
{
    return (value > 0) - (value < 0);
}

TEST(Label, DrawingAndRedraw)
{
    RecordingDialog dialog;
    ASSERT_TRUE(dialog.Build(
        "[LABEL]\r\nNAME=A\r\nCAPTION=Text\r\nPOSITION=0 0 160 40\r\nSTYLE=WS_VISIBLE \r\n"
        "LABEL_HALIGN=_RIGHT\r\nLABEL_VALIGN=_MIDDLE\r\n\r\n"
        "[LABEL]\r\nNAME=P\r\nCAPTION=&\r\nPOSITION=0 50 60 24\r\n\r\n"
        "[LABEL]\r\nNAME=T\r\nCAPTION=Text\r\nPOSITION=140 100 60 24\r\nTRANSPARENT=1\r\n"
        "BACKCOLOR=#00FF00\r\nTEXTCOLOR=#0000FF\r\n\r\n"
        "[LABEL]\r\nNAME=C\r\nCAPTION=Text\r\nPOSITION=0 130 120 24\r\nBACKCOLOR=#FF0000FF\r\n"
        "LABEL_HALIGN=_JUSTIFY\r\nLABEL_VALIGN=_BOTTOM\r\n"));
    auto* label = dynamic_cast<SLabelCtrl*>(dialog.FindByName("A"));
    SWnd *prefix = dialog.FindByName("P"), *transparent = dialog.FindByName("T");
    auto* colored = dynamic_cast<SLabelCtrl*>(dialog.FindByName("C"));
    ASSERT_TRUE(label && prefix && transparent && colored);
    EXPECT_TRUE(label->GetAlign() == (2 | 16) && colored->GetAlign() == (3 | 32));

    // Each horizontal and vertical value places the text on its own side;
    // "_JUSTIFY" draws exactly like "_LEFT". Without colours the background
    // is the button face; "#AARRGGBB" loses its alpha.
    const COLORREF face = GetSysColor(COLOR_BTNFACE);
    std::vector<int> aligns;
    std::vector<Picture> pictures;
    for (int v : {0, 16, 32}) {
        for (int h : {0, 1, 2, 3}) {
            label->SetAlign(h | v);
            aligns.push_back(h | v);
            pictures.emplace_back(label);
            EXPECT_TRUE(face == pictures.back().At(0, 0) && label->GetAlign() == (h | v));
        }
    }
    for (size_t i = 0; i < aligns.size(); i++) {
        RECT a = pictures[i].Ink(face);
        int ha = (aligns[i] & 15) % 3, va = aligns[i] >> 4;
        for (size_t j = 0; j < aligns.size(); j++) {
            RECT b = pictures[j].Ink(face);
            int hb = (aligns[j] & 15) % 3, vb = aligns[j] >> 4;
            EXPECT_EQ(Sign(ha - hb), Sign(a.left - b.left)) << aligns[i] << " " << aligns[j];
            EXPECT_EQ(Sign(va - vb), Sign(a.top - b.top)) << aligns[i] << " " << aligns[j];
            EXPECT_EQ(ha == hb && va == vb, pictures[i] == pictures[j]);
        }
    }
    EXPECT_EQ(RGB(0, 0, 255), Picture(colored).At(0, 0));

    // New text is on the screen at once, before any message is handled.
    label->SetText("Other words");
    EXPECT_TRUE(Picture(label, true) == Picture(label));

    // No prefix processing ("drag & drop" shows its ampersand): "&&" draws
    // two ampersands, not one.
    Picture one(prefix);
    prefix->SetText("&&");
    EXPECT_GT(Picture(prefix).Ink(face).right, one.Ink(face).right);

    // A transparent label shows the dialog's background at its own place
    // (red left of x = 160, white right of it) under its text.
    Picture see(transparent);
    EXPECT_EQ(RGB(255, 0, 0), see.At(1, 1));
    EXPECT_EQ(RGB(255, 255, 255), see.At(58, 1));
    EXPECT_TRUE(see.Has(RGB(0, 0, 255), 0, see.height));
    EXPECT_FALSE(see.Has(RGB(0, 255, 0), 0, see.height));
}

TEST(ProgressButton, RangeAndCommand)
{
    // The installer's bar runs from 0 to 1000.
    SWndDialog installer;
    SFileMem text;
    ASSERT_TRUE(text.LoadResource("BINARY", 150) &&
                installer.CreateFromText(&text, nullptr, nullptr, true, 0));
    auto* bar = dynamic_cast<SProgressCtrl*>(installer.FindByName("PROGRESS"));
    ASSERT_TRUE(bar && dynamic_cast<SLabelCtrl*>(installer.FindByName("LABEL")) &&
                dynamic_cast<SListCtrl*>(installer.FindByName("LIST")));
    int low = -1, high = -1;
    EXPECT_TRUE(bar->GetRange(&low, &high) && low == 0 && high == 1000 && bar->GetPos() == 0);

    RecordingDialog dialog;
    ASSERT_TRUE(dialog.Build("[BUTTON]\r\nID=4\r\nNAME=B\r\nCAPTION=Go\r\nPOSITION=10 100 80 24\r\n"
                             "STYLE=WS_VISIBLE \r\nBUTTON_DEFAULT=1\r\n"));
    auto* button = dynamic_cast<SButtonCtrl*>(dialog.FindByName("B"));
    ASSERT_NE(button, nullptr);
    EXPECT_TRUE(GetWindowLongA(button->GetHandle(), GWL_STYLE) & BS_DEFPUSHBUTTON);
    button->Click();
    EXPECT_EQ(std::vector<WPARAM> {(WPARAM)button}, dialog.commands);
}

TEST(List, ItemsColoursAndRecords)
{
    long liveBefore = g_liveObjects;
    {
        RecordingDialog dialog;
        ASSERT_TRUE(dialog.Build("[LIST]\r\nNAME=LIST\r\nPOSITION=170 10 140 150\r\n"
                                 "LIST_CONTENT=0|1|2\r\nTEXTCOLOR=#0000FF\r\nBACKCOLOR=#FFFF00\r\n"
                                 "LIST_SELBACKCOLOR=#FF00FF00\r\nLIST_SELTEXTCOLOR=#FF0000\r\n"));
        auto* list = dynamic_cast<SListCtrl*>(dialog.FindByName("LIST"));
        ASSERT_NE(nullptr, list);
        auto texts = [list] {
            SStringArray all;
            for (int i = 0; i < list->GetCount(); i++)
                all.Add(list->GetItemText(i).Text());
            return SString(all.Join(","));
        };

        // The selected item in its colours, the others in theirs.
        ASSERT_TRUE(list->SetSelection(0));
        Picture drawn(list);
        RECT item;
        list->Send(LB_GETITEMRECT, 0, (LPARAM)&item);
        int h = item.bottom;
        EXPECT_TRUE(drawn.Has(RGB(0, 255, 0), 0, h) && drawn.Has(RGB(255, 0, 0), 0, h));
        EXPECT_TRUE(drawn.Has(RGB(255, 255, 0), h, 2 * h) && drawn.Has(RGB(0, 0, 255), h, 2 * h));
        EXPECT_FALSE(drawn.Has(RGB(0, 0, 255), 0, h) || drawn.Has(RGB(255, 0, 0), h, 3 * h));

        SStringArray abc, de, empty;
        abc.Split("a|b|c", '|');
        de.Split("d|e", '|');
        long liveItems = g_liveObjects;
        EXPECT_TRUE(list->InsertStrings(&abc, 1, 7, 8, 9) == 3 && list->GetItemValue(2, 1) == 8u);
        // Past the end, below -1 or at the count: appended in order, not refused.
        EXPECT_TRUE(list->InsertStrings(&de, 99) == 2 && list->InsertStrings(&de, -7) == 2);
        EXPECT_STREQ("0,a,b,c,1,2,d,e,d,e", texts().Text());
        EXPECT_TRUE(list->InsertStrings(&empty, 0) == 0 && list->InsertStrings(nullptr, 0) == 0);
        // A single item past the end is refused.
        EXPECT_EQ(-1, list->InsertString("z", 99));

        // Removal takes the item's record with it; the others keep theirs.
        EXPECT_TRUE(list->Remove(2) == 9 && list->Remove(9) == -1 && list->Remove(8) == 8);
        EXPECT_TRUE(texts() == "0,a,c,1,2,d,e,d" && list->GetItemValue(1, 2) == 9u);
        list->RemoveAll();
        EXPECT_TRUE(list->GetCount() == 0 &&
                    g_liveObjects == liveItems - 3);   // the first three too
        list->InsertStrings(&abc);
    }
    // Destroying the dialog frees the records of the items left.
    EXPECT_EQ(liveBefore, g_liveObjects);
}

}   // namespace
