// The tool's two dialogs, built from the texts linked into this program.
#include <windows.h>

#include <gtest/gtest.h>

#include "ctrl/SEditCtrl.h"
#include "ctrl/SProgressCtrl.h"
#include "file/SFileMem.h"
#include "wnd/SWndApp.h"
#include "wnd/SWndDialog.h"

namespace {

// The application state for the whole program, the control tests included.
class AppEnvironment : public ::testing::Environment {
public:
    void SetUp() override { SWndApp::Init(GetModuleHandleA(nullptr), false, false, false); }
    void TearDown() override { SWndApp::Exit(); }
};

::testing::Environment* const g_app = ::testing::AddGlobalTestEnvironment(new AppEnvironment);

bool BuildFromResource(SWndDialog* dialog, unsigned short id)
{
    SFileMem text;
    return text.LoadResource("BINARY", id) &&
        dialog->CreateFromText(&text, nullptr, nullptr, true, 0);
}

struct Row {
    const char* name;
    int id;
    const char* caption;
};

// The controls in document order, each found by its name and its ID.
void ExpectRows(const SWndDialog& dialog, std::initializer_list<Row> rows)
{
    ASSERT_EQ((int)rows.size(), dialog.GetRowCount());
    int i = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_STREQ(row.name, dialog.GetRowName(i));
        SWnd* control = dialog.GetRowControl(i++);
        EXPECT_EQ(control, dialog.FindByName(row.name));
        EXPECT_EQ(control, dialog.FindById(row.id));
        EXPECT_STREQ(row.caption, control->GetText().Text());
    }
}

TEST(ToolDialogs, InstallerDialog)
{
    SWndDialog dialog;
    ASSERT_TRUE(BuildFromResource(&dialog, 150));
    EXPECT_STREQ("Update", dialog.GetText().Text());
    EXPECT_TRUE(GetWindowLongA(dialog.GetHandle(), GWL_EXSTYLE) & WS_EX_TOPMOST);
    ExpectRows(dialog,
               {{"LABEL", 1, "Updating files..."},
                {"PROGRESS", 2, ""},
                {"LIST", 4, ""},
                {"Label2", 3, "Errors:"}});
    auto* progress = dynamic_cast<SProgressCtrl*>(dialog.FindByName("PROGRESS"));
    ASSERT_NE(nullptr, progress);
    int low = -1, high = -1;
    EXPECT_TRUE(progress->GetRange(&low, &high));
    EXPECT_EQ(0, low);
    EXPECT_EQ(1000, high);
    EXPECT_EQ(0, progress->GetPos());
}

TEST(ToolDialogs, MakerDialog)
{
    SWndDialog dialog;
    ASSERT_TRUE(BuildFromResource(&dialog, 151));
    EXPECT_STREQ("Make update files", dialog.GetText().Text());
    EXPECT_TRUE(GetWindowLongA(dialog.GetHandle(), GWL_EXSTYLE) & WS_EX_ACCEPTFILES);
    ExpectRows(dialog,
               {{"EDIT_FOLDER", 3, ""},
                {"BTN_FOLDER", 4, "..."},
                {"Label1", 5, "Folder: (you can drag & drop the folder)"},
                {"BTN_MAKE", 1, "Make"},
                {"Label2", 6, "Version:"},
                {"EDIT_VERSION", 7, "1.0.0.0"}});

    // The version field has the focus with its whole text selected, so typing replaces it.
    auto* version = dynamic_cast<SEditCtrl*>(dialog.FindById(7));
    ASSERT_NE(nullptr, version);
    EXPECT_EQ(version->GetHandle(), GetFocus());
    int start = -1, end = -1;
    EXPECT_TRUE(version->GetSel(&start, &end));
    EXPECT_EQ(0, start);
    EXPECT_EQ(7, end);
}

}   // namespace
