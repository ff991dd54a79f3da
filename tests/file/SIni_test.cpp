#include "file/SIni.h"

#include <stdio.h>
#include <string.h>
#include <time.h>

#include <string>

#include <gtest/gtest.h>

namespace {

const char* kText = "; settings\r\n"
                    "  [Main]  \r\n"
                    "Version=1.2\r\n"
                    "  Size=5\r\n"
                    "name = value\r\n"
                    "Name=a=b\r\n"
                    "Empty=\r\n"
                    "x\r\n"
                    "[Other]\n"
                    "Version=9\n"
                    "Tail=end";

TEST(SIniTest, SectionsTrimmedKeysAndValuesNot)
{
    SFileMem source;
    SIni ini;
    source.WriteString(kText);
    source.Seek(7);
    ASSERT_TRUE(ini.OpenMemory(&source));
    EXPECT_EQ(source.Tell(), 7);   // the source's position is left alone
    // Section, key, value; "Tail" lies in the next section, "x" has no "=".
    const char* rows[][3] = {
        {"main", "Version", "1.2"}, {"MAIN", "name", "a=b"}, {"Main", "name ", " value"},
        {"Main", "  Size", "5"},    {"Main", "Size", ""},    {"other", "version", "9"},
        {"Other", "Tail", "end"},   {"Main", "Tail", ""},    {"Main", "x", ""},
        {"Mai", "Version", ""},
    };
    for (auto& r : rows)
        EXPECT_STREQ(ini.GetString(r[0], r[1]).Text(), r[2]) << r[0] << "/" << r[1];
    EXPECT_STREQ(ini.GetString(nullptr, "Version").Text(), "");

    EXPECT_TRUE(SIni::FindSection(&source, " main ") == -1 &&
                SIni::FindKey(&source, "other", "tail") == (int)strlen(kText) - 8);
    // The first section of a name wins, and a key right after it is found.
    // A section line is found trimmed, but only a line that is a section as
    // it stands ends the one before.
    SFileMem twice;
    twice.WriteString("[a]\nk=1\n[A]\nk=2\n[b]\n [c]\nm=3");
    EXPECT_TRUE(SIni::FindKey(&twice, "A", "k") == 4 && SIni::FindKey(&twice, "b", "k") == -1);
    EXPECT_TRUE(SIni::FindKey(&twice, "b", "m") == 25 && SIni::FindSection(&twice, "c") == 20);

    // Opening another text replaces the first.
    ASSERT_TRUE(ini.OpenMemory(&twice));
    EXPECT_TRUE(ini.GetString("other", "Tail") == "" && ini.GetString("c", "m") == "3");
}

TEST(SIniFileTest, FileModeReadsTheFileAtEachQuery)
{
    SIni ini;
    EXPECT_FALSE(ini.OpenMemory(nullptr) || ini.OpenFile(""));

    char path[64];
    snprintf(path, sizeof(path), "SIni_test_%ld.ini", (long)time(nullptr));
    ASSERT_TRUE(ini.OpenFile(path));
    EXPECT_STREQ(ini.GetString("s", "k").Text(), "");   // not there yet
    const char* versions[][2] = {{"[S]\r\nk=first\r\n", "first"}, {"[S]\nk=second", "second"}};
    for (auto& v : versions) {
        FILE* f = fopen(path, "wb");
        ASSERT_TRUE(f);
        fputs(v[0], f);
        fclose(f);
        EXPECT_STREQ(ini.GetString("s", "k").Text(), v[1]);
    }
    remove(path);

    // Going back to memory mode forgets the file.
    SFileMem text;
    text.WriteString("[S]\nk=memory\n");
    ASSERT_TRUE(ini.OpenMemory(&text));
    EXPECT_TRUE(ini.GetFileName() == "" && ini.GetString("s", "k") == "memory");
}

}   // namespace
