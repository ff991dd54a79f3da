#include "system/SDll.h"

#include <gtest/gtest.h>

namespace {

const char* kLibrary1 = VX_BIN_DIR "/vx_testlib1.dll";
const char* kLibrary2 = VX_BIN_DIR "/vx_testlib2.dll";

typedef int (*AddFunction)(int, int);
typedef int (*IdFunction)();

bool FileExists(const char* path)
{
    return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
}

int LoadedId(const SDll& dll)
{
    IdFunction id = (IdFunction)dll.GetProc("vx_testlib_id");
    return id ? id() : -1;
}

}   // namespace

TEST(SDll, LoadGetProcAndFree)
{
    SDll dll;
    EXPECT_FALSE(dll.Free());
    EXPECT_EQ(dll.GetProc("vx_testlib_add"), nullptr);

    ASSERT_TRUE(dll.Load(kLibrary1));
    EXPECT_TRUE(dll.IsLoaded());
    EXPECT_TRUE(dll.GetCopyPath().IsEmpty());
    ASSERT_EQ(dll.GetHandles().GetCount(), 1);
    EXPECT_EQ(dll.GetHandles().GetAt(0), dll.GetModule());
    AddFunction add = (AddFunction)dll.GetProc("vx_testlib_add");
    ASSERT_NE(add, nullptr);
    EXPECT_EQ(add(2, 40), 42);
    EXPECT_EQ(dll.GetProc("vx_testlib_missing"), nullptr);
    EXPECT_NE(GetModuleHandleA(kLibrary1), nullptr);

    EXPECT_TRUE(dll.Free());
    EXPECT_FALSE(dll.IsLoaded());
    EXPECT_EQ(dll.GetHandles().GetCount(), 0);
    EXPECT_EQ(dll.GetProc("vx_testlib_add"), nullptr);
    EXPECT_EQ(GetModuleHandleA(kLibrary1), nullptr);
    EXPECT_FALSE(dll.Free());
}

TEST(SDll, LoadTwiceUnloadsTheFirst)
{
    SDll dll;
    ASSERT_TRUE(dll.Load(kLibrary1));
    EXPECT_EQ(LoadedId(dll), 1);
    ASSERT_TRUE(dll.Load(kLibrary2));
    EXPECT_EQ(LoadedId(dll), 2);
    EXPECT_EQ(GetModuleHandleA(kLibrary1), nullptr);
    EXPECT_NE(GetModuleHandleA(kLibrary2), nullptr);
    EXPECT_EQ(dll.GetHandles().GetCount(), 1);
}

TEST(SDll, FailedLoad)
{
    SDll dll;
    ASSERT_TRUE(dll.Load(kLibrary1));
    EXPECT_FALSE(dll.Load(VX_BIN_DIR "/vx_no_such_library.dll"));
    EXPECT_FALSE(dll.IsLoaded());
    EXPECT_EQ(GetModuleHandleA(kLibrary1), nullptr);   // the first was freed
    EXPECT_EQ(dll.GetProc("vx_testlib_add"), nullptr);
    EXPECT_FALSE(dll.Load(nullptr));
    EXPECT_FALSE(dll.LoadCopy(VX_BIN_DIR "/vx_no_such_library.dll"));
    EXPECT_TRUE(dll.GetCopyPath().IsEmpty());
    EXPECT_FALSE(dll.Free());
}

TEST(SDll, TemporaryCopyIsDeletedOnFree)
{
    SString copy;
    {
        SDll dll;
        ASSERT_TRUE(dll.LoadCopy(kLibrary2));
        copy = dll.GetCopyPath();
        ASSERT_FALSE(copy.IsEmpty());
        EXPECT_TRUE(FileExists(copy.Text()));
        EXPECT_EQ(LoadedId(dll), 2);
        EXPECT_EQ(GetModuleHandleA(kLibrary2), nullptr);   // the original stays unloaded

        EXPECT_TRUE(dll.Free());
        EXPECT_FALSE(FileExists(copy.Text()));
        EXPECT_TRUE(dll.GetCopyPath().IsEmpty());

        ASSERT_TRUE(dll.LoadCopy(kLibrary1));
        copy = dll.GetCopyPath();
        EXPECT_TRUE(FileExists(copy.Text()));
        // Loading in place also frees and deletes the copy.
        ASSERT_TRUE(dll.Load(kLibrary2));
        EXPECT_FALSE(FileExists(copy.Text()));
        EXPECT_TRUE(dll.GetCopyPath().IsEmpty());

        ASSERT_TRUE(dll.LoadCopy(kLibrary1));
        copy = dll.GetCopyPath();
    }
    EXPECT_FALSE(FileExists(copy.Text()));   // the destructor frees
}
