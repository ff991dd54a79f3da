// The controls as the dialog builder makes them from dialog texts.
#include <windows.h>

#include <commctrl.h>
#include <gtest/gtest.h>

#include <vector>

#include "core/SStringArray.h"
#include "ctrl/SButtonCtrl.h"
#include "ctrl/SLabelCtrl.h"
#include "ctrl/SListCtrl.h"
#include "ctrl/SMouseEvent.h"
#include "ctrl/SProgressCtrl.h"
#include "wnd/SWndDialog.h"

namespace {

// Counts each label's erase messages, that is its drawing.
class CountingLabel : public SLabelCtrl {
public:
    int erased = 0;
    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override
    {
        erased += msg == WM_ERASEBKGND;
        return SLabelCtrl::Handler(msg, wParam, lParam);
    }
};

// What a dialog received from its controls, with a copy of the mouse event.
struct Report {
    UINT msg;
    WPARAM wParam;
    SMouseEvent event;
};

class RecordingDialog : public SWndDialog {
public:
    std::vector<Report> reports;

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
            reports.push_back({msg, wParam, {}});
        else if (msg == SWM_LABELMOUSE || msg == SWM_PROGRESSMOUSE)
            reports.push_back({msg, wParam, *(const SMouseEvent*)lParam});
        return SWndDialog::Handler(msg, wParam, lParam);
    }

protected:
    SWnd* NewControl(const SWndDialogEntry& entry) override
    {
        return entry.type == SWND_TYPE_LABEL ? new CountingLabel : SWndDialog::NewControl(entry);
    }
};

// The control's client area drawn through WM_PRINTCLIENT, one COLORREF per pixel.
std::vector<COLORREF> Render(SWnd* control)
{
    RECT rect;
    control->GetClientRect(&rect);
    HDC screen = GetDC(nullptr);
    HDC dc = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, rect.right, rect.bottom);
    HGDIOBJ old = SelectObject(dc, bitmap);
    control->Send(WM_PRINTCLIENT, (WPARAM)dc, PRF_CLIENT);
    std::vector<COLORREF> pixels;
    for (int y = 0; y < rect.bottom; y++)
        for (int x = 0; x < rect.right; x++)
            pixels.push_back(GetPixel(dc, x, y));
    SelectObject(dc, old);
    DeleteObject(bitmap);
    DeleteDC(dc);
    ReleaseDC(nullptr, screen);
    return pixels;
}

TEST(Label, DrawingAndRedraw)
{
    RecordingDialog dialog;
    ASSERT_TRUE(dialog.Build(
        "[LABEL]\r\nNAME=L\r\nCAPTION=Text\r\nPOSITION=0 0 120 24\r\nSTYLE=WS_VISIBLE \r\n\r\n"
        "[LABEL]\r\nNAME=J\r\nCAPTION=Text\r\nPOSITION=0 30 120 24\r\nLABEL_HALIGN=_JUSTIFY\r\n\r\n"
        "[LABEL]\r\nNAME=C\r\nCAPTION=Text\r\nPOSITION=0 60 120 24\r\nLABEL_HALIGN=_CENTER\r\n"
        "LABEL_VALIGN=_BOTTOM\r\n\r\n"
        "[LABEL]\r\nNAME=R\r\nCAPTION=Text\r\nPOSITION=0 90 120 24\r\nBACKCOLOR=#FF0000\r\n"
        "TEXTCOLOR=#FF00FF00\r\n"));
    auto* left = dynamic_cast<CountingLabel*>(dialog.FindByName("L"));
    auto* justify = dynamic_cast<CountingLabel*>(dialog.FindByName("J"));
    auto* center = dynamic_cast<CountingLabel*>(dialog.FindByName("C"));
    auto* colored = dynamic_cast<CountingLabel*>(dialog.FindByName("R"));
    ASSERT_TRUE(left && justify && center && colored);

    // "_JUSTIFY" is kept but draws exactly like "_LEFT"; centring does not.
    EXPECT_EQ(3, justify->GetAlign());
    EXPECT_EQ(1 | 32, center->GetAlign());
    std::vector<COLORREF> leftPixels = Render(left);
    EXPECT_EQ(leftPixels, Render(justify));
    EXPECT_NE(leftPixels, Render(center));
    // Without colours the background is the button face; "#AARRGGBB" loses its alpha.
    EXPECT_EQ(GetSysColor(COLOR_BTNFACE), leftPixels[0]);
    EXPECT_EQ(RGB(0, 255, 0), colored->GetTextColor());
    EXPECT_EQ(RGB(255, 0, 0), Render(colored)[0]);

    // No message is pumped between a change and its check.
    left->erased = 0;
    left->SetText("After, a longer text");
    EXPECT_EQ(1, left->erased);
    EXPECT_NE(leftPixels, Render(left));
    left->SetAlign(16 | 64);   // one vertical value survives: unchanged, no redraw
    left->SetAlign(16);
    EXPECT_EQ(2, left->erased);
    EXPECT_EQ(16, left->GetAlign());
}

TEST(LabelAndProgress, RangeAndMouseReports)
{
    RecordingDialog dialog;
    ASSERT_TRUE(dialog.Build(
        "[LABEL]\r\nNAME=L\r\nCAPTION=x\r\nPOSITION=10 10 100 20\r\nSTYLE=WS_VISIBLE \r\n\r\n"
        "[PROGRESS]\r\nNAME=P\r\nPOSITION=10 40 100 20\r\nSTYLE=WS_VISIBLE \r\n\r\n"
        "[PROGRESS]\r\nNAME=Q\r\nPOSITION=10 70 100 20\r\nPROGRESS_SMOOTH=1\r\n"
        "PROGRESS_MINVALUE=-50\r\nPROGRESS_MAXVALUE=50\r\nPROGRESS_VALUE=20\r\n"));
    auto* plain = dynamic_cast<SProgressCtrl*>(dialog.FindByName("P"));
    auto* set = dynamic_cast<SProgressCtrl*>(dialog.FindByName("Q"));
    ASSERT_TRUE(plain && set);
    int low = -1, high = -1;
    EXPECT_TRUE(plain->GetRange(&low, &high));
    EXPECT_TRUE(low == 0 && high == 100) << low << ".." << high;
    EXPECT_TRUE(set->GetRange(&low, &high));
    EXPECT_TRUE(low == -50 && high == 50) << low << ".." << high;
    EXPECT_EQ(20, set->GetPos());
    EXPECT_TRUE(GetWindowLongA(set->GetHandle(), GWL_STYLE) & PBS_SMOOTH);

    const struct {
        UINT msg;
        int code;
    } table[] = {{WM_LBUTTONDOWN, 9},   {WM_LBUTTONUP, 17},    {WM_LBUTTONDBLCLK, 65},
                 {WM_RBUTTONDOWN, 12},  {WM_RBUTTONUP, 20},    {WM_RBUTTONDBLCLK, 68},
                 {WM_MBUTTONDOWN, 10},  {WM_MBUTTONUP, 18},    {WM_MBUTTONDBLCLK, 66},
                 {SWM_MOUSEEXTRA1, 33}, {SWM_MOUSEEXTRA2, 34}, {SWM_MOUSEEXTRA3, 36}};
    for (const char* name : {"L", "P"}) {
        SWnd* control = dialog.FindByName(name);
        ASSERT_NE(nullptr, control);
        dialog.reports.clear();
        for (const auto& row : table)
            control->Send(row.msg, 0, MAKELPARAM(5, 7));
        control->Send(WM_MOUSEMOVE, 0, MAKELPARAM(5, 7));   // not reported
        ASSERT_EQ(12u, dialog.reports.size());
        POINT screen = {5, 7};
        ClientToScreen(control->GetHandle(), &screen);
        for (int i = 0; i < 12; i++) {
            const Report& r = dialog.reports[i];
            EXPECT_EQ(*name == 'L' ? 35868u : 35958u, r.msg);
            EXPECT_EQ((WPARAM)control, r.wParam);
            EXPECT_EQ(table[i].code, r.event.code) << "message " << table[i].msg;
            // The extra messages carry the cursor position instead.
            EXPECT_TRUE(i >= 9 || (screen.x == r.event.x && screen.y == r.event.y)) << table[i].msg;
        }
    }
}

TEST(List, InsertStringsPositions)
{
    RecordingDialog dialog;
    ASSERT_TRUE(dialog.Build("[LIST]\r\nNAME=LIST\r\nPOSITION=10 10 200 150\r\n"
                             "LIST_CONTENT=0|1|2\r\n"));
    auto* list = dynamic_cast<SListCtrl*>(dialog.FindByName("LIST"));
    ASSERT_NE(nullptr, list);
    auto texts = [list] {
        SStringArray all;
        for (int i = 0; i < list->GetCount(); i++)
            all.Add(list->GetItemText(i).Text());
        return all.Join(",");
    };
    SStringArray abc, de, empty;
    abc.Split("a|b|c", '|');
    de.Split("d|e", '|');

    EXPECT_EQ(3, list->InsertStrings(&abc, 1, 7, 8, 9));
    EXPECT_EQ(8u, list->GetItemValue(2, 1));
    // Past the end, below -1 or at the count: appended in order, not refused.
    EXPECT_EQ(2, list->InsertStrings(&de, 99));
    EXPECT_EQ(2, list->InsertStrings(&de, -7));
    EXPECT_EQ(2, list->InsertStrings(&de, list->GetCount()));
    EXPECT_STREQ("0,a,b,c,1,2,d,e,d,e,d,e", texts().Text());
    EXPECT_EQ(0, list->InsertStrings(&empty, 0));
    EXPECT_EQ(0, list->InsertStrings(nullptr, 0));
    // A single item past the end is refused.
    EXPECT_EQ(-1, list->InsertString("z", 99));
    EXPECT_EQ(12, list->GetCount());
}

TEST(Button, ClickIsACommandToTheParent)
{
    RecordingDialog dialog;
    ASSERT_TRUE(dialog.Build("[BUTTON]\r\nID=4\r\nNAME=B\r\nCAPTION=Go\r\nPOSITION=10 10 80 24\r\n"
                             "STYLE=WS_VISIBLE \r\nBUTTON_DEFAULT=1\r\n"));
    auto* button = dynamic_cast<SButtonCtrl*>(dialog.FindByName("B"));
    ASSERT_NE(nullptr, button);
    EXPECT_TRUE(GetWindowLongA(button->GetHandle(), GWL_STYLE) & BS_DEFPUSHBUTTON);
    button->Click();
    ASSERT_EQ(1u, dialog.reports.size());
    EXPECT_EQ(35779u, dialog.reports[0].msg);
    EXPECT_EQ((WPARAM)button, dialog.reports[0].wParam);
}

}   // namespace
