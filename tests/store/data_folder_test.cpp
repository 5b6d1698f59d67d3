#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "store/data_folder.h"
#include "store_test_util.h"

TEST(DataFolder, StartMakesTheFilesAndRemovesDraftBackupsOnly)
{
    TempFolder folder;
    int unknown_version;
    ASSERT_TRUE(StartDataFolder(folder.path().c_str(), &unknown_version));
    EXPECT_TRUE(FolderExists(folder.file(L"draft")));
    for (const wchar_t *name : {L"active.dat", L"category.dat", L"group.dat"}) {
        EXPECT_TRUE(FileExists(folder.file(name))) << name;
        EXPECT_EQ(FileBytes(folder.file(name)), "");
    }

    /* A second start keeps what is there; "*.bak" goes from the draft
     * folder alone, and only names that really end in ".bak". */
    ASSERT_TRUE(WriteFileBytes(folder.file(L"group.dat"), "# none yet\r\n"));
    for (const wchar_t *name : {L"draft\\one.bak", L"draft\\two.BAK", L"draft\\keep.txt", L"draft\\keep.bakup",
                                L"outside.bak"})
        ASSERT_TRUE(WriteFileBytes(folder.file(name), "x"));
    ASSERT_TRUE(StartDataFolder(folder.path().c_str(), &unknown_version));
    EXPECT_EQ(unknown_version, 0);
    EXPECT_EQ(FileBytes(folder.file(L"group.dat")), "# none yet\r\n");
    for (const wchar_t *name : {L"draft\\one.bak", L"draft\\two.BAK"})
        EXPECT_FALSE(FileExists(folder.file(name))) << name;
    for (const wchar_t *name : {L"draft\\keep.txt", L"draft\\keep.bakup", L"outside.bak"})
        EXPECT_TRUE(FileExists(folder.file(name))) << name;
}

TEST(DataFolder, EverySubscribedGroupGetsACurrentIndex)
{
    /* fj.new: neither file; fj.log: a log only; fj.ok: a current index, left
     * alone. '#' lines and lines of two bytes or fewer name no group. */
    TempFolder folder;
    ASSERT_TRUE(WriteFileBytes(folder.file(L"group.dat"), "# mine\r\nfj.new\r\n\r\nfj.log\r\n#x\r\nx\r\njapan." SJIS_NIHONGO
                                                          "\r\nfj.ok\r\nab"));
    const std::string article = ArticleBytes({"Subject: hi\r\n", "From: a@b\r\n"}, 5, {"x\r\n"});
    ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.log.log"), article));
    HeaderFields ok{5, 3};
    ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.ok.idx"), HeaderBytes(ok)));

    int unknown_version;
    ASSERT_TRUE(StartDataFolder(folder.path().c_str(), &unknown_version));
    EXPECT_EQ(FileBytes(folder.file(L"fj.new.idx")), HeaderBytes(HeaderFields()));
    EXPECT_FALSE(FileExists(folder.file(L"fj.new.log")));
    EXPECT_EQ(FileBytes(folder.file(L"fj.log.idx")),
              HeaderBytes(HeaderFields{5, 0, 0, 0, 1, 0, "", 1, 0, 0}) +
                  RecordBytes(RecordFields{0, 5, 0, (uint32_t)article.size(), "hi", "0000", "a@b", 9, 2}));
    EXPECT_EQ(FileBytes(folder.file(L"fj.ok.idx")), HeaderBytes(ok));
    EXPECT_TRUE(FileExists(folder.file(L"x.idx")));
    EXPECT_TRUE(FileExists(folder.file(L"japan.日本語.idx")));
    EXPECT_FALSE(FileExists(folder.file(L"#x.idx")));
    EXPECT_FALSE(FileExists(folder.file(L"ab.idx")));
}

/* An index of an unknown version, or a name that cannot be a file name:
 * the groups before it are done, the bad one kept, those after not reached. */
TEST(DataFolder, BadGroupStopsTheStartThere)
{
    const struct {
        const char *group;
        DWORD error;
        int unknown_version;
    } cases[] = {{"fj.bad", ERROR_INVALID_DATA, 1}, {"..\\evil", ERROR_INVALID_NAME, 0}};
    const std::string bad_index = U32(6) + std::string(96, '\0');
    for (const auto &c : cases) {
        TempFolder outer;
        std::wstring data = outer.file(L"data\\");
        ASSERT_TRUE(CreateDirectoryW(data.c_str(), nullptr));
        ASSERT_TRUE(WriteFileBytes(data + L"group.dat", "fj.first\r\n" + std::string(c.group) + "\r\nfj.after\r\n"));
        ASSERT_TRUE(WriteFileBytes(data + L"fj.bad.idx", bad_index));
        int unknown_version = !c.unknown_version;
        SetLastError(0);
        EXPECT_FALSE(StartDataFolder(data.c_str(), &unknown_version));
        EXPECT_EQ(GetLastError(), c.error);
        EXPECT_EQ(unknown_version, c.unknown_version);
        EXPECT_TRUE(FileExists(data + L"fj.first.idx"));
        EXPECT_EQ(FileBytes(data + L"fj.bad.idx"), bad_index);
        EXPECT_FALSE(FileExists(outer.file(L"evil.idx")));
        EXPECT_FALSE(FileExists(data + L"fj.after.idx"));
    }

    for (const wchar_t *name : {L"", L"..", L"../evil", L"a..b", L".hidden", L"trailing.", L"a/b", L"c:evil", L"a*b",
                                L"a?b", L"a\"b", L"a<b", L"a>b", L"a|b", L"a b", L"a\x7F", L"con", L"CON.test",
                                L"Aux", L"prn.a.b", L"com1", L"LPT9.foo", L"conin$"})
        EXPECT_FALSE(IsValidGroupName(name)) << name;
    for (const wchar_t *name : {L"fj.comp.misc", L"japan.日本語", L"con2", L"console.x", L"x.con", L"a-b_c+d",
                                L"com10"})
        EXPECT_TRUE(IsValidGroupName(name)) << name;
}
