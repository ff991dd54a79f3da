#include "system/SDll.h"

#include <gtest/gtest.h>

namespace {

const char* kLibrary1 = VX_BIN_DIR "/vx_testlib1.dll";
const char* kLibrary2 = VX_BIN_DIR "/vx_testlib2.dll";
const char* kMissing = VX_BIN_DIR "/vx_no_such_library.dll";

bool Exists(const SString& path)
{
    return GetFileAttributesA(path.Text()) != INVALID_FILE_ATTRIBUTES;
}

// The id of the loaded copy of the test library, -1 when none is loaded.
int LoadedId(const SDll& dll)
{
    auto id = (int (*)())dll.GetProc("vx_testlib_id");
    return id ? id() : -1;
}

TEST(SDll, LoadsFreesAndDeletesItsCopies)
{
    SDll dll;
    EXPECT_FALSE(dll.Free());
    ASSERT_TRUE(dll.Load(kLibrary1));
    auto add = (int (*)(int, int))dll.GetProc("vx_testlib_add");
    ASSERT_NE(add, nullptr);
    EXPECT_EQ(add(2, 40), 42);
    ASSERT_TRUE(dll.Load(kLibrary2));   // unloads the first
    EXPECT_EQ(LoadedId(dll), 2);
    EXPECT_EQ(GetModuleHandleA(kLibrary1), nullptr);
    EXPECT_EQ(dll.GetHandles().GetCount(), 1);
    EXPECT_TRUE(dll.Free());
    EXPECT_EQ(GetModuleHandleA(kLibrary2), nullptr);
    EXPECT_EQ(LoadedId(dll), -1);
    EXPECT_FALSE(dll.Free());

    ASSERT_TRUE(dll.LoadCopy(kLibrary1));
    SString copy = dll.GetCopyPath();
    EXPECT_TRUE(Exists(copy));
    EXPECT_EQ(LoadedId(dll), 1);
    EXPECT_EQ(GetModuleHandleA(kLibrary1), nullptr);   // the original stays unloaded
    // A failed load still frees the library and deletes its copy.
    EXPECT_FALSE(dll.Load(kMissing));
    EXPECT_FALSE(Exists(copy));
    EXPECT_EQ(LoadedId(dll), -1);
    EXPECT_TRUE(dll.GetCopyPath().IsEmpty());
    EXPECT_FALSE(dll.Load(nullptr));
    EXPECT_FALSE(dll.LoadCopy(kMissing));
    {
        SDll scoped;
        ASSERT_TRUE(scoped.LoadCopy(kLibrary2));
        copy = scoped.GetCopyPath();
    }
    EXPECT_FALSE(Exists(copy));   // the destructor frees
}

}   // namespace
