#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "registry_fixture.h"
#include "settings/settings.h"

class ViewOptionsTest : public PelnorKeyTest {};

TEST_F(ViewOptionsTest, MissingKeysAreCreatedAndTheReadFails)
{
    DWORD value = 77;
    SetLastError(0);
    EXPECT_EQ(ReadViewOption(L"SubjectView", L"ViewReadArticle", &value), 0);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(value, 77u);
    EXPECT_TRUE(KeyExists(L"SubjectView"));
    EXPECT_FALSE(KeyExists(L"ArticleView"));
}

TEST_F(ViewOptionsTest, ConveniencePairsGiveTheDefaultsWhenMissing)
{
    DWORD value = 77;
    EXPECT_EQ(ReadViewReadArticle(&value), 0);
    EXPECT_EQ(value, 0u);
    value = 77;
    EXPECT_EQ(ReadPriorityViewLevel(&value), 0);
    EXPECT_EQ(value, 1u);
    value = 77;
    SetLastError(0);
    EXPECT_EQ(ReadShowArticleHeader(&value), 0);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(value, 0u);
    EXPECT_TRUE(KeyExists(L"SubjectView"));
    EXPECT_TRUE(KeyExists(L"ArticleView"));
}

TEST_F(ViewOptionsTest, WritesLandInTheirSubkeysAndReadBack)
{
    ASSERT_EQ(WriteViewReadArticle(1), 1);
    ASSERT_EQ(WritePriorityViewLevel(2), 1);
    ASSERT_EQ(WriteShowArticleHeader(1), 1);

    RawValue raw = QueryRaw(L"ViewReadArticle", L"SubjectView");
    EXPECT_EQ(raw.type, (DWORD)REG_DWORD);
    EXPECT_EQ(raw.bytes, std::string("\x01\x00\x00\x00", 4));
    raw = QueryRaw(L"PriorityViewLevel", L"SubjectView");
    EXPECT_EQ(raw.type, (DWORD)REG_DWORD);
    EXPECT_EQ(raw.bytes, std::string("\x02\x00\x00\x00", 4));
    raw = QueryRaw(L"ShowArticleHeader", L"ArticleView");
    EXPECT_EQ(raw.type, (DWORD)REG_DWORD);
    EXPECT_EQ(raw.bytes, std::string("\x01\x00\x00\x00", 4));
    EXPECT_FALSE(QueryRaw(L"ShowArticleHeader", L"SubjectView").exists);
    EXPECT_EQ(ValueCount(), 0);

    DWORD value = 0;
    EXPECT_EQ(ReadViewReadArticle(&value), 1);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(ReadPriorityViewLevel(&value), 1);
    EXPECT_EQ(value, 2u);
    EXPECT_EQ(ReadShowArticleHeader(&value), 1);
    EXPECT_EQ(value, 1u);

    /* A stored 0 (normal) is read as 0, not replaced by the default. */
    ASSERT_EQ(WritePriorityViewLevel(0), 1);
    value = 77;
    EXPECT_EQ(ReadPriorityViewLevel(&value), 1);
    EXPECT_EQ(value, 0u);
}

TEST_F(ViewOptionsTest, GeneralFormUsesAnySubkey)
{
    ASSERT_EQ(WriteViewOption(L"GroupView", L"Column0", 120), 1);
    EXPECT_EQ(QueryRaw(L"Column0", L"GroupView").bytes, std::string("\x78\x00\x00\x00", 4));
    DWORD value = 0;
    EXPECT_EQ(ReadViewOption(L"GroupView", L"Column0", &value), 1);
    EXPECT_EQ(value, 120u);

    /* A value of another type is refused. */
    PlantRaw(L"Column1", REG_SZ, Utf16Bytes(L"12"), L"GroupView");
    value = 77;
    SetLastError(0);
    EXPECT_EQ(ReadViewOption(L"GroupView", L"Column1", &value), 0);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_DATA);
    EXPECT_EQ(value, 77u);
}

TEST_F(ViewOptionsTest, SettingsSaveLeavesTheSubkeysAlone)
{
    ASSERT_EQ(WriteShowArticleHeader(1), 1);
    Settings s;
    InitSettings(&s);
    int complete;
    ASSERT_EQ(LoadSettings(&s, &complete), 1);
    ASSERT_EQ(SaveSettings(&s), 1);
    DWORD value = 0;
    EXPECT_EQ(ReadShowArticleHeader(&value), 1);
    EXPECT_EQ(value, 1u);
    DeleteObject(s.ArticleFont);
    DeleteObject(s.SubjectFont);
    FreeSettings(&s);
}

TEST_F(ViewOptionsTest, KeyThatCannotBeCreatedFailsTheOptions)
{
    VolatileParentKey parent;
    DWORD value = 77;
    SetLastError(0);
    EXPECT_EQ(ReadViewOption(kSubjectViewSubkey, kViewReadArticleName, &value), 0);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_CHILD_MUST_BE_VOLATILE);
    EXPECT_EQ(value, 77u);
    EXPECT_EQ(ReadPriorityViewLevel(&value), 0);
    EXPECT_EQ(value, 1u);
    SetLastError(0);
    EXPECT_EQ(WriteViewReadArticle(1), 0);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_CHILD_MUST_BE_VOLATILE);
}
