#include "system/SDll.h"

#include <gtest/gtest.h>

namespace {

const char* kLibrary = VX_BIN_DIR "/vx_testlib.dll";

TEST(SDll, LoadsFreesAndDeletesItsCopies)
{
    auto Exists = [](const SString& path) { return GetFileAttributesA(path.Text()) != ~0u; };
    SDll dll;
    EXPECT_FALSE(dll.Free());
    ASSERT_TRUE(dll.Load(kLibrary));
    auto add = (int (*)(int, int))dll.GetProc("vx_testlib_add");
    ASSERT_TRUE(add && add(2, 40) == 42 && dll.GetHandles().GetCount() == 1);
    EXPECT_TRUE(dll.Free());
    EXPECT_TRUE(!GetModuleHandleA(kLibrary) && dll.GetHandles().GetCount() == 0 &&
                !dll.GetProc("vx_testlib_add"));

    // The copy is loaded, not the original; a failed load deletes it like Free.
    ASSERT_TRUE(dll.LoadCopy(kLibrary));
    SString copy = dll.GetCopyPath();
    EXPECT_TRUE(Exists(copy) && !GetModuleHandleA(kLibrary));
    EXPECT_FALSE(dll.Load(VX_BIN_DIR "/vx_no_such_library.dll"));
    EXPECT_TRUE(!Exists(copy) && dll.GetCopyPath().IsEmpty());
    {
        SDll scoped;
        ASSERT_TRUE(scoped.LoadCopy(kLibrary));
        copy = scoped.GetCopyPath();
    }
    EXPECT_FALSE(Exists(copy));
}

}   // namespace
