// The controls as the dialog builder makes them from dialog texts.
#include <windows.h>

#include <commctrl.h>

#include "CtrlTestSupport.h"
#include "core/SStringArray.h"
#include "ctrl/SButtonCtrl.h"
#include "ctrl/SEditCtrl.h"
#include "ctrl/SLabelCtrl.h"
#include "ctrl/SListCtrl.h"
#include "ctrl/SProgressCtrl.h"

namespace {

const char kDialog[] = "[DIALOG]\r\nCAPTION=Controls\r\nPOSITION=0 0 320 240\r\n"
                       "STYLE=WS_VISIBLE WS_CAPTION WS_SYSMENU \r\n";

// The label's client area as drawn through WM_PRINTCLIENT: one COLORREF per pixel.
std::vector<COLORREF> Render(SWnd* control)
{
    RECT rect;
    control->GetClientRect(&rect);
    HDC screen = GetDC(nullptr);
    HDC dc = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, rect.right, rect.bottom);
    HGDIOBJ old = SelectObject(dc, bitmap);
    FillRect(dc, &rect, (HBRUSH)GetStockObject(BLACK_BRUSH));
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

// Counts the drawing of a label (its erase messages).
class CountingLabel : public SLabelCtrl {
public:
    int erased = 0;
    LRESULT Handler(UINT msg, WPARAM wParam, LPARAM lParam) override
    {
        if (msg == WM_ERASEBKGND)
            erased++;
        return SLabelCtrl::Handler(msg, wParam, lParam);
    }
};

class CountingDialog : public RecordingDialog {
protected:
    SWnd* NewControl(const SWndDialogEntry& entry) override
    {
        if (entry.type == SWND_TYPE_LABEL)
            return new CountingLabel;
        return RecordingDialog::NewControl(entry);
    }
};

TEST(Label, AlignmentAndDrawing)
{
    RecordingDialog dialog;
    ASSERT_TRUE(dialog.Build(
        DialogText({kDialog,
                    "[LABEL]\r\nID=1\r\nNAME=L\r\nCAPTION=Text\r\nPOSITION=0 0 120 24\r\n"
                    "STYLE=WS_VISIBLE \r\nLABEL_HALIGN=_LEFT\r\n",
                    "[LABEL]\r\nID=2\r\nNAME=J\r\nCAPTION=Text\r\nPOSITION=0 30 120 24\r\n"
                    "STYLE=WS_VISIBLE \r\nLABEL_HALIGN=_JUSTIFY\r\n",
                    "[LABEL]\r\nID=3\r\nNAME=C\r\nCAPTION=Text\r\nPOSITION=0 60 120 24\r\n"
                    "STYLE=WS_VISIBLE \r\nLABEL_HALIGN=_CENTER\r\nLABEL_VALIGN=_BOTTOM\r\n",
                    "[LABEL]\r\nID=4\r\nNAME=R\r\nCAPTION=Text\r\nPOSITION=0 90 120 24\r\n"
                    "STYLE=WS_VISIBLE \r\nBACKCOLOR=#FF0000\r\nTEXTCOLOR=#FF00FF00\r\n"})));
    auto* left = dynamic_cast<SLabelCtrl*>(dialog.FindByName("L"));
    auto* justify = dynamic_cast<SLabelCtrl*>(dialog.FindByName("J"));
    auto* center = dynamic_cast<SLabelCtrl*>(dialog.FindByName("C"));
    auto* colored = dynamic_cast<SLabelCtrl*>(dialog.FindByName("R"));
    ASSERT_TRUE(left && justify && center && colored);

    EXPECT_EQ(0, left->GetAlign());
    EXPECT_EQ(3, justify->GetAlign());
    EXPECT_EQ(1 | 32, center->GetAlign());
    // "_JUSTIFY" is kept but draws exactly like "_LEFT"; another alignment does not.
    std::vector<COLORREF> leftPixels = Render(left);
    EXPECT_EQ(leftPixels, Render(justify));
    EXPECT_NE(leftPixels, Render(center));

    // Without colours in the text the background is the button face; a
    // "#RRGGBB" back colour and an "#AARRGGBB" text colour become GDI colours.
    EXPECT_EQ(GetSysColor(COLOR_BTNFACE), leftPixels[0]);
    EXPECT_EQ(RGB(255, 0, 0), colored->GetBackColor());
    EXPECT_EQ(RGB(0, 255, 0), colored->GetTextColor());
    EXPECT_EQ(RGB(255, 0, 0), Render(colored)[0]);

    // A transparent label shows the dialog's own background behind its text.
    RecordingDialog blue;
    ASSERT_TRUE(blue.Build(
        DialogText({"[DIALOG]\r\nPOSITION=0 0 200 100\r\nBACKCOLOR=#0000FF\r\n",
                    "[LABEL]\r\nID=1\r\nNAME=T\r\nCAPTION=Text\r\nPOSITION=10 10 120 24\r\n"
                    "STYLE=WS_VISIBLE \r\nTRANSPARENT=1\r\n"})));
    auto* transparent = dynamic_cast<SLabelCtrl*>(blue.FindByName("T"));
    ASSERT_NE(nullptr, transparent);
    EXPECT_TRUE(transparent->IsTransparent());
    EXPECT_EQ(RGB(0, 0, 255), Render(transparent)[0]);

    // One horizontal and one vertical value survive.
    left->SetAlign(1 | 2);
    EXPECT_EQ(3, left->GetAlign());
    left->SetAlign(2 | 16 | 32);
    EXPECT_EQ(2 | 32, left->GetAlign());
    left->SetAlign(1 | 16 | 64);
    EXPECT_EQ(1 | 16, left->GetAlign());
}

TEST(Label, RedrawsAtOnce)
{
    CountingDialog dialog;
    ASSERT_TRUE(dialog.Build(
        DialogText({kDialog,
                    "[LABEL]\r\nID=1\r\nNAME=L\r\nCAPTION=Before\r\nPOSITION=10 10 200 24\r\n"
                    "STYLE=WS_VISIBLE \r\nLABEL_VALIGN=_MIDDLE\r\n"})));
    auto* label = dynamic_cast<CountingLabel*>(dialog.FindByName("L"));
    ASSERT_NE(nullptr, label);
    Pump();
    std::vector<COLORREF> before = Render(label);

    // No message is pumped between the change and the check.
    label->erased = 0;
    label->SetText("After, a longer text");
    EXPECT_EQ(1, label->erased);
    EXPECT_NE(before, Render(label));

    label->SetAlign(16);   // unchanged: no redraw
    EXPECT_EQ(1, label->erased);
    label->SetAlign(2 | 16);
    EXPECT_EQ(2, label->erased);
}

TEST(Progress, Range)
{
    RecordingDialog dialog;
    ASSERT_TRUE(dialog.Build(DialogText(
        {kDialog, "[PROGRESS]\r\nID=1\r\nNAME=P\r\nPOSITION=10 10 200 20\r\nSTYLE=WS_VISIBLE \r\n",
         "[PROGRESS]\r\nID=2\r\nNAME=Q\r\nPOSITION=10 40 200 20\r\nSTYLE=WS_VISIBLE \r\n"
         "PROGRESS_SMOOTH=1\r\nPROGRESS_MINVALUE=-50\r\nPROGRESS_MAXVALUE=50\r\n"
         "PROGRESS_VALUE=20\r\n"})));
    auto* plain = dynamic_cast<SProgressCtrl*>(dialog.FindByName("P"));
    auto* set = dynamic_cast<SProgressCtrl*>(dialog.FindByName("Q"));
    ASSERT_TRUE(plain && set);
    int low = -1, high = -1;
    EXPECT_TRUE(plain->GetRange(&low, &high));
    EXPECT_EQ(0, low);
    EXPECT_EQ(100, high);
    EXPECT_EQ(0, plain->GetPos());
    EXPECT_FALSE(GetWindowLongA(plain->GetHandle(), GWL_STYLE) & PBS_SMOOTH);

    EXPECT_TRUE(set->GetRange(&low, &high));
    EXPECT_EQ(-50, low);
    EXPECT_EQ(50, high);
    EXPECT_EQ(20, set->GetPos());
    EXPECT_TRUE(GetWindowLongA(set->GetHandle(), GWL_STYLE) & PBS_SMOOTH);

    EXPECT_EQ(20, set->SetPos(-10));
    EXPECT_EQ(-10, set->GetPos());
}

TEST(Mouse, LabelAndProgressReportToTheirParent)
{
    RecordingDialog dialog;
    ASSERT_TRUE(dialog.Build(DialogText(
        {kDialog,
         "[LABEL]\r\nID=1\r\nNAME=L\r\nCAPTION=x\r\nPOSITION=10 10 100 20\r\nSTYLE=WS_VISIBLE \r\n",
         "[PROGRESS]\r\nID=2\r\nNAME=P\r\nPOSITION=10 40 100 20\r\nSTYLE=WS_VISIBLE \r\n"})));
    SWnd* label = dialog.FindByName("L");
    SWnd* progress = dialog.FindByName("P");
    ASSERT_TRUE(label && progress);

    const UINT messages[] = {WM_LBUTTONDOWN,   WM_LBUTTONUP,     WM_LBUTTONDBLCLK, WM_RBUTTONDOWN,
                             WM_RBUTTONUP,     WM_RBUTTONDBLCLK, WM_MBUTTONDOWN,   WM_MBUTTONUP,
                             WM_MBUTTONDBLCLK, SWM_MOUSEEXTRA1,  SWM_MOUSEEXTRA2,  SWM_MOUSEEXTRA3};
    const int codes[] = {9, 17, 65, 12, 20, 68, 10, 18, 66, 33, 34, 36};
    for (SWnd* control : {label, progress}) {
        dialog.reports.clear();
        for (UINT msg : messages)
            control->Send(msg, 0, MAKELPARAM(5, 7));
        control->Send(WM_MOUSEMOVE, 0, MAKELPARAM(5, 7));   // not reported
        ASSERT_EQ(12u, dialog.reports.size());
        POINT screen = {5, 7};
        ClientToScreen(control->GetHandle(), &screen);
        UINT expected = control == label ? 35868u : 35958u;
        for (int i = 0; i < 12; i++) {
            const Report& r = dialog.reports[i];
            EXPECT_EQ(expected, r.msg);
            EXPECT_EQ((WPARAM)control, r.wParam);
            EXPECT_EQ(codes[i], r.code) << "message " << messages[i];
            if (i < 9) {
                EXPECT_EQ(screen.x, r.x);
                EXPECT_EQ(screen.y, r.y);
            }
        }
    }
}

TEST(List, InsertStrings)
{
    RecordingDialog dialog;
    ASSERT_TRUE(
        dialog.Build(DialogText({kDialog,
                                 "[LIST]\r\nID=1\r\nNAME=LIST\r\nPOSITION=10 10 200 150\r\n"
                                 "STYLE=WS_VISIBLE WS_VSCROLL \r\nLIST_CONTENT=0|1|2|3|4\r\n"})));
    auto* list = dynamic_cast<SListCtrl*>(dialog.FindByName("LIST"));
    ASSERT_NE(nullptr, list);
    ASSERT_EQ(5, list->GetCount());
    auto texts = [list] {
        SStringArray all;
        for (int i = 0; i < list->GetCount(); i++)
            all.Add(list->GetItemText(i).Text());
        return all.Join(",");
    };

    SStringArray abc;
    abc.Split("a|b|c", '|');
    EXPECT_EQ(3, list->InsertStrings(&abc, 2, 7, 8, 9));
    EXPECT_STREQ("0,1,a,b,c,2,3,4", texts().Text());
    EXPECT_EQ(8u, list->GetItemValue(3, 1));
    EXPECT_EQ(9u, list->GetItemValue(4, 2));
    EXPECT_EQ(0u, list->GetItemValue(4, 3));

    // Past the end or below -1: appended, not refused.
    SStringArray de;
    de.Split("d|e", '|');
    EXPECT_EQ(2, list->InsertStrings(&de, 99));
    EXPECT_EQ(2, list->InsertStrings(&de, -7));
    EXPECT_STREQ("0,1,a,b,c,2,3,4,d,e,d,e", texts().Text());
    // At the count itself: appended in order too.
    EXPECT_EQ(2, list->InsertStrings(&de, list->GetCount()));
    EXPECT_STREQ("0,1,a,b,c,2,3,4,d,e,d,e,d,e", texts().Text());

    SStringArray empty;
    EXPECT_EQ(0, list->InsertStrings(&empty, 0));
    EXPECT_EQ(0, list->InsertStrings(nullptr, 0));
    EXPECT_EQ(14, list->GetCount());

    // A single insert past the end is refused; removal keeps the rest intact.
    EXPECT_EQ(-1, list->InsertString("z", 99));
    EXPECT_EQ(0, list->InsertString("first", 0, 1, 2, 3));
    EXPECT_EQ(2u, list->GetItemValue(0, 1));
    EXPECT_EQ(14, list->Remove(0));
    EXPECT_EQ(-1, list->Remove(14));
    EXPECT_STREQ("0", list->GetItemText(0).Text());
    list->RemoveAll();
    EXPECT_EQ(0, list->GetCount());

    SListCtrl windowless;
    EXPECT_EQ(-1, windowless.InsertString("x"));
    EXPECT_EQ(0, windowless.InsertStrings(&abc));
}

TEST(ButtonAndEdit, CommandsFocusAndStyles)
{
    RecordingDialog dialog;
    ASSERT_TRUE(dialog.Build(DialogText(
        {kDialog,
         "[BUTTON]\r\nID=4\r\nNAME=B\r\nCAPTION=Go\r\nPOSITION=10 10 80 24\r\nSTYLE=WS_VISIBLE \r\n"
         "BUTTON_DEFAULT=1\r\n",
         "[EDIT]\r\nID=5\r\nNAME=ALL\r\nCAPTION=select me\r\nPOSITION=10 40 200 22\r\n"
         "STYLE=WS_VISIBLE \r\nEDIT_SELECTALL=1\r\n",
         "[EDIT]\r\nID=6\r\nNAME=PLAIN\r\nCAPTION=leave me\r\nPOSITION=10 70 200 22\r\n"
         "STYLE=WS_VISIBLE \r\nEDIT_READONLY=1\r\nEDIT_ALIGN=_RIGHT\r\n"})));
    auto* button = dynamic_cast<SButtonCtrl*>(dialog.FindByName("B"));
    auto* all = dynamic_cast<SEditCtrl*>(dialog.FindByName("ALL"));
    auto* plain = dynamic_cast<SEditCtrl*>(dialog.FindByName("PLAIN"));
    ASSERT_TRUE(button && all && plain);

    button->Click();
    ASSERT_EQ(1u, dialog.reports.size());
    EXPECT_EQ((UINT)SWM_COMMAND, dialog.reports[0].msg);
    EXPECT_EQ((WPARAM)button, dialog.reports[0].wParam);
    EXPECT_EQ(4, GetWindowLongA(((SWnd*)dialog.reports[0].wParam)->GetHandle(), GWL_ID));
    EXPECT_TRUE(GetWindowLongA(button->GetHandle(), GWL_STYLE) & BS_DEFPUSHBUTTON);

    int start = -1, end = -1;
    plain->SetFocus();
    all->SetSel(2, 3);
    all->SetFocus();
    EXPECT_TRUE(all->GetSel(&start, &end));
    EXPECT_EQ(0, start);
    EXPECT_EQ(9, end);
    plain->SetSel(1, 2);
    plain->SetFocus();
    EXPECT_TRUE(plain->GetSel(&start, &end));
    EXPECT_EQ(1, start);   // no select-all without the option
    EXPECT_EQ(2, end);

    LONG style = GetWindowLongA(plain->GetHandle(), GWL_STYLE);
    EXPECT_TRUE(style & ES_READONLY);
    EXPECT_EQ(ES_RIGHT, style & (ES_CENTER | ES_RIGHT));
    EXPECT_FALSE(GetWindowLongA(all->GetHandle(), GWL_STYLE) & ES_READONLY);

    all->SetText("2.0.0.0");
    EXPECT_STREQ("2.0.0.0", all->GetText().Text());
}

}   // namespace
