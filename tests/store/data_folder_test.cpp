#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <utility>

#include "store/data_folder.h"
#include "store_test_util.h"

/* "*.bak" goes from the draft folder alone: any case of ".bak", and only at
 * the end of the name. (A group file already there is kept: every frame
 * test starts on one.) */
TEST(DataFolder, StartMakesTheFilesAndRemovesDraftBackupsOnly)
{
    TempFolder folder;
    int unknown_version;
    ASSERT_TRUE(StartDataFolder(folder.path().c_str(), &unknown_version));
    EXPECT_TRUE(FolderExists(folder.file(L"draft")));
    for (const wchar_t *name : {L"active.dat", L"category.dat", L"group.dat"}) {
        EXPECT_TRUE(FileExists(folder.file(name))) << name;
        EXPECT_EQ(FileBytes(folder.file(name)), "") << name;
    }

    for (const wchar_t *name : {L"draft\\two.BAK", L"draft\\keep.bakup", L"outside.bak"})
        ASSERT_TRUE(WriteFileBytes(folder.file(name), "x"));
    ASSERT_TRUE(StartDataFolder(folder.path().c_str(), &unknown_version));
    EXPECT_FALSE(FileExists(folder.file(L"draft\\two.BAK")));
    EXPECT_TRUE(FileExists(folder.file(L"draft\\keep.bakup")));
    EXPECT_TRUE(FileExists(folder.file(L"outside.bak"))); /* the data folder's own are kept */
}

/* fj.new: neither file; fj.ok: a current index, left alone (a log whose
 * index is lost is the old folder start's test). '#' lines and lines of two
 * bytes or fewer name no group. A group that cannot be brought up (an index
 * of an unknown version, a name that cannot be a file name) is left as it
 * is and the others go on. */
TEST(DataFolder, EverySubscribedGroupGetsACurrentIndex)
{
    TempFolder folder;
    ASSERT_TRUE(WriteFileBytes(folder.file(L"group.dat"), "# mine\r\nfj.new\r\n\r\nfj.bad\r\n..\\evil\r\n"
                                                          "#x\r\nx\r\njapan." SJIS_NIHONGO "\r\nfj.ok\r\nab"));
    HeaderFields ok{5, 3};
    ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.ok.idx"), HeaderBytes(ok)));
    const std::string bad = U32(6) + std::string(96, '\0');
    ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.bad.idx"), bad));

    int unknown_version = 0;
    ASSERT_TRUE(StartDataFolder(folder.path().c_str(), &unknown_version));
    EXPECT_EQ(FileBytes(folder.file(L"fj.bad.idx")), bad); /* the frame's start names it */
    EXPECT_EQ(FileBytes(folder.file(L"fj.new.idx")), HeaderBytes(HeaderFields()));
    EXPECT_EQ(FileBytes(folder.file(L"fj.ok.idx")), HeaderBytes(ok));
    for (const wchar_t *made : {L"x.idx", L"japan.日本語.idx"})
        EXPECT_TRUE(FileExists(folder.file(made))) << made;
    for (const wchar_t *none : {L"..\\evil.idx", L"fj.new.log", L"#x.idx", L"ab.idx"})
        EXPECT_FALSE(FileExists(folder.file(none))) << none;
}

/* An index whose records do not fit its log (the log cut short, emptied,
 * or records overlapping) is rebuilt from the log at start-up, and last
 * fetched then comes from the log, so lost articles are fetched again and
 * kept ones are not. */
TEST(DataFolder, IndexThatDoesNotFitItsLogIsRebuiltFromIt)
{
    /* Articles 7, 8 and 9, read, with 8's body line `body8`. */
    auto group_of = [](const std::string &body8) {
        std::pair<std::string, std::vector<RecordFields>> group;
        auto &[log, records] = group;
        for (uint32_t number : {7, 8, 9}) {
            std::string article =
                ArticleBytes({"Subject: hi\r\n", "From: a@b\r\n"}, number, {number == 8 ? body8 : "x\r\n"});
            records.push_back({1, number, (uint32_t)log.size(), (uint32_t)article.size(), "hi", "0000", "a@b",
                               (uint32_t)log.size() + 9, 2});
            log += article;
        }
        return group;
    };
    const auto [log, records] = group_of("x\r\n");
    /* A body line may be of any length. */
    const auto [long_log, long_records] = group_of(std::string(100000, 'x') + "\r\n");
    HeaderFields stored{5, 12, 20, 0, 3, 2, "200 ok", 0, 0, 0};
    /* Header `h` over the first `n` records, unread if `rebuilt`. */
    auto index_of = [](HeaderFields h, std::vector<RecordFields> rs, size_t n = 3, bool rebuilt = true) {
        std::string bytes = HeaderBytes(h);
        for (size_t i = 0; i < n; i++) {
            rs[i].flags = rebuilt ? 0 : rs[i].flags;
            bytes += RecordBytes(rs[i]);
        }
        return bytes;
    };
    std::vector<RecordFields> overlapping = records;
    overlapping[2].offset -= 4;
    const struct {
        const char *what;
        std::string log;
        std::vector<RecordFields> records;
        std::string expected;
    } cases[] = {
        {"fits", log, records, index_of(stored, records, 3, false)},
        {"cut short", log.substr(0, log.size() - 5), records, index_of({5, 8, 20, 0, 2, 0, "200 ok", 2}, records, 2)},
        {"cut short after a long line", long_log.substr(0, long_log.size() - 5), long_records,
         index_of({5, 8, 20, 0, 2, 0, "200 ok", 2}, long_records, 2)},
        {"emptied", "", records, index_of({5, 0, 20, 0, 0, 0, "200 ok", 0}, records, 0)},
        {"overlapping", log, overlapping, index_of({5, 9, 20, 0, 3, 0, "200 ok", 3}, records)},
    };
    for (const auto &c : cases) {
        TempFolder folder;
        ASSERT_TRUE(WriteFileBytes(folder.file(L"group.dat"), "fj.a\r\n"));
        ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.a.log"), c.log));
        ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.a.idx"), index_of(stored, c.records, 3, false)));
        int unknown_version;
        ASSERT_TRUE(StartDataFolder(folder.path().c_str(), &unknown_version)) << c.what;
        EXPECT_EQ(FileBytes(folder.file(L"fj.a.idx")), c.expected) << c.what;
    }
}

TEST(DataFolder, GroupNamesThatCannotBeFileNames)
{
    for (const wchar_t *name : {L"", L"..", L"../evil", L"a..b", L".hidden", L"trailing.", L"a/b", L"c:evil", L"a*b",
                                L"a?b", L"a\"b", L"a<b", L"a>b", L"a|b", L"a b", L"a\x7F", L"con", L"CON.test",
                                L"Aux", L"prn.a.b", L"com1", L"LPT9.foo", L"conin$"})
        EXPECT_FALSE(IsValidGroupName(name)) << name;
    for (const wchar_t *name : {L"fj.comp.misc", L"japan.日本語", L"con2", L"console.x", L"x.con", L"a-b_c+d",
                                L"com10"})
        EXPECT_TRUE(IsValidGroupName(name)) << name;
}
