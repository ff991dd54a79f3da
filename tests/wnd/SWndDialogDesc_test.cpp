// The dialog text parser, without windows.
#include <gtest/gtest.h>

#include "file/SFileMem.h"
#include "wnd/SWndDialogDesc.h"

namespace {

const char kHead[] =
    "VORLIX DIALOG 1.0.0.0\r\n\r\n[DIALOG]\r\nCAPTION=Test\r\nPOSITION=0 0 200 100\r\n\r\n";

SString Doc(const char* controls)
{
    return SString(kHead) + controls;
}

// The common fields of an entry: id, name, caption, font (face size flags,
// or "-"), position (or "-"), style, ex-style, transparent and locked.
SString Fields(const SWndDialogEntry& e)
{
    SString font = "-", position = "-", all;
    if (e.hasFont)
        font.Format("%s %d %d", e.fontFace.Text(), e.fontSize, e.fontFlags);
    if (e.hasPosition)
        position.Format("%d %d %d %d", e.x, e.y, e.width, e.height);
    all.Format("%d|%s|%s|%s|%s|%x|%x|%d%d", e.id, e.name.Text(), e.caption.Text(), font.Text(),
               position.Text(), e.style, e.exStyle, e.transparent, e.locked);
    return all;
}

TEST(SWndDialogDesc, SectionNamesIgnoreCaseButNotBlanks)
{
    SWndDialogDesc desc;
    ASSERT_TRUE(desc.Parse(Doc("[label]\r\n\r\n[CodeEdit]\r\n").Text()));
    ASSERT_EQ(desc.GetControlCount(), 2);
    EXPECT_TRUE(desc.GetControl(0)->type == SWND_TYPE_LABEL &&
                desc.GetControl(1)->type == SWND_TYPE_CODEEDIT);

    // 6 lines of head, then "[CODE EDIT]" on line 7.
    EXPECT_FALSE(desc.Parse(Doc("[CODE EDIT]\r\nNAME=x\r\n").Text()));
    EXPECT_TRUE(desc.GetErrorLine() == 7 && desc.GetControlCount() == 0 &&
                desc.GetDialog().caption == "");
    EXPECT_TRUE(SWndDialogDesc::FindType("LABE") == -1 && SWndDialogDesc::FindType("") == -1);
}

TEST(SWndDialogDesc, DocumentStructureFailures)
{
    SWndDialogDesc desc;
    EXPECT_TRUE(!desc.Parse("VORLIX DIALOG 1.0.0.1\r\n\r\n[DIALOG]\r\n") &&
                desc.GetErrorLine() == 1);
    // Lower case, nothing, or no section at all: nothing to build.
    for (const char* text :
         {"vorlix dialog 1.0.0.0\r\n\r\n[DIALOG]\r\n", "", "VORLIX DIALOG 1.0.0.0\r\n\r\n"})
        EXPECT_FALSE(desc.Parse(text)) << text;
    EXPECT_FALSE(desc.Load(nullptr));

    // A property line without "=" fails the whole load and names its line.
    EXPECT_FALSE(desc.Parse(Doc("[LABEL]\r\nNAME=x\r\nbroken line\r\n").Text()));
    EXPECT_TRUE(desc.GetErrorLine() == 9 && desc.GetControlCount() == 0);

    // The last section may end at the end of the text, with or without a
    // line break; extra empty lines at the end are harmless.
    ASSERT_TRUE(desc.Parse(Doc("[LABEL]\r\nNAME=last").Text()));
    EXPECT_TRUE(desc.GetControl(0)->name == "last" && desc.GetErrorLine() == 0);
    ASSERT_TRUE(desc.Parse(Doc("[LABEL]\nNAME=unix\n\n\n").Text()));
    EXPECT_TRUE(desc.GetControl(0)->name == "unix" && desc.GetControlCount() == 1);
}

TEST(SWndDialogDesc, CommonKeysAndPropertyText)
{
    SWndDialogDesc desc;
    ASSERT_TRUE(
        desc.Parse(Doc("[EDIT]\r\nID=7\r\nid=3\r\nNAME=EDIT_VERSION\r\nCAPTION=1.0.0.0  \r\n"
                       "FONT=\"Arial, Narrow\", 12, 3\r\nPOSITION=-5 10 70000 22\r\n"
                       "STYLE=WS_VISIBLE WS_BORDER ES_AUTOHSCROLL BS_FLAT \r\n"
                       "EXSTYLE=WS_EX_CLIENTEDGE \r\nTRANSPARENT=2\r\nISLOCKED=0\r\n"
                       "=dropped\r\nEDIT_SELECTALL=1\r\nEDIT_TEXT=a=b\r\n")
                       .Text()));
    const SWndDialogEntry* e = desc.GetControl(0);
    // BS_FLAT is no edit word and is ignored; positions are 16-bit.
    EXPECT_STREQ(Fields(*e).Text(),
                 "7|EDIT_VERSION|1.0.0.0  |Arial, Narrow 12 3|-5 10 4464 22|10800080|200|10");
    // Keys are case-sensitive: "id" is a property, not the ID.
    EXPECT_EQ(e->properties, "id=3\r\nEDIT_SELECTALL=1\r\nEDIT_TEXT=a=b\r\n");
    EXPECT_TRUE(e->GetInt("id") == 3 && e->GetText("EDIT_TEXT") == "a=b" && !e->HasKey("EDIT"));
    EXPECT_EQ(e->GetColor("MISSING"), (uint32_t)SWND_COLOR_NOTSET);

    // Wrong field counts keep the defaults; an empty face is the default font.
    ASSERT_TRUE(desc.Parse(Doc("[LABEL]\r\nFONT=Arial, 12\r\nPOSITION=1 2 3\r\n\r\n"
                               "[LABEL]\r\nFONT=a,1,2,3\r\nPOSITION=1 2 3 4 5\r\n\r\n"
                               "[LABEL]\r\nFONT=, 0, 0\r\n")
                               .Text()));
    const char* fields[] = {"0|||-|-|0|0|00", "1|||-|-|0|0|00", "2||| 0 0|-|0|0|00"};
    for (int i = 0; i < 3; i++)
        EXPECT_STREQ(Fields(*desc.GetControl(i)).Text(), fields[i]) << i;
}

TEST(SWndDialogDesc, StyleWordsPerType)
{
    // The same words mean different bits, or nothing, per type.
    const struct {
        int type;
        const char* words;
        uint32_t style;
    } rows[] = {
        {SWND_TYPE_DIALOG, "WS_CAPTION WS_SYSMENU WS_EX_TOPMOST", 0x00C00000u | 0x00080000u | 0x8u},
        {SWND_TYPE_LABEL, "WS_CAPTION WS_DISABLED WS_BORDER", 0x08000000u | 0x00800000u},
        {SWND_TYPE_PROGRESS, "PBS_SMOOTH\tPBS_VERTICAL", 0x5u},
        {SWND_TYPE_LIST, "LBS_NOINTEGRALHEIGHT WS_VSCROLL lbs_sort", 0x100u | 0x00200000u},
        {SWND_TYPE_BUTTON, "BS_DEFPUSHBUTTON BS_VCENTER", 0xC01u},
        {SWND_TYPE_DIALOG, "WS_VISIBLEX", 0u},
    };
    for (const auto& r : rows)
        EXPECT_EQ(SWndDialogDesc::ParseStyle(r.type, r.words), r.style) << r.words;
}

TEST(SWndDialogDesc, Colours)
{
    // "#RRGGBB" becomes a GDI colour; "#AARRGGBB" keeps its bytes as written.
    const struct {
        const char* text;
        uint32_t value;
    } colours[] = {{"#FF0000", 0x000000FFu},
                   {"#123456", 0x00563412u},
                   {"#FF00FF00", 0xFF00FF00u},
                   {"#FF000000", (uint32_t)SWND_COLOR_NOTSET},
                   {"#12345G", 0u},
                   {"FF00FF00F", 0u}};
    for (const auto& c : colours)
        EXPECT_EQ(SWndDialogDesc::ParseColor(c.text), c.value) << c.text;

    SWndDialogDesc desc;
    ASSERT_TRUE(desc.Parse(Doc("[LABEL]\r\nBACKCOLOR=#FF000000\r\nTEXTCOLOR=#000000\r\n\r\n"
                               "[LABEL]\r\nBACKCOLOR=red\r\nLIST_SELBACKCOLOR=#0000FF\r\n")
                               .Text()));
    EXPECT_TRUE(desc.GetControl(0)->backColor == SWND_COLOR_NOTSET &&
                desc.GetControl(0)->textColor == 0u);
    EXPECT_TRUE(desc.GetControl(1)->backColor == 0u &&
                desc.GetControl(1)->textColor == SWND_COLOR_NOTSET);
    EXPECT_EQ(desc.GetControl(1)->GetColor("LIST_SELBACKCOLOR"), 0x00FF0000u);
}

TEST(SWndDialogDesc, DuplicateIdsAreRenumbered)
{
    SWndDialogDesc desc;
    ASSERT_TRUE(
        desc.Parse(Doc("[BUTTON]\r\nID=1\r\n\r\n[BUTTON]\r\nID=2\r\n\r\n[LABEL]\r\nID=1\r\n\r\n"
                       "[LABEL]\r\n\r\n[LABEL]\r\n\r\n[LABEL]\r\nID=4\r\n")
                       .Text()));
    // 1 was taken, so the third gets 3; the first 0 keeps it; 4 is taken by
    // the time the last one comes.
    const int ids[] = {1, 2, 3, 0, 4, 5};
    ASSERT_EQ(desc.GetControlCount(), 6);
    for (int i = 0; i < 6; i++)
        EXPECT_EQ(desc.GetControl(i)->id, ids[i]) << i;
}

TEST(SWndDialogDesc, LoadReadsFromTheFilePosition)
{
    SFileMem file;
    SString text = Doc("[PROGRESS]\r\nNAME=PROGRESS\r\nPROGRESS_MAXVALUE=1000\r\n");
    file.Write("junk", 4);
    file.Write(text.Text(), text.GetLength());
    file.Seek(4);
    SWndDialogDesc desc;
    ASSERT_TRUE(desc.Load(&file));
    EXPECT_TRUE(desc.GetDialog().width == 200 &&
                desc.GetControl(0)->GetInt("PROGRESS_MAXVALUE") == 1000);
    EXPECT_TRUE(SWndDialogDesc::ParseInt(" -42x") == -42 && SWndDialogDesc::ParseInt("x1") == 0);
    EXPECT_EQ(SWndDialogDesc::ParseInt("99999999999"), 2147483647);
}

}   // namespace
