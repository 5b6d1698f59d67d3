#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "store/index_convert.h"
#include "store/index_file.h"
#include "store_test_util.h"

namespace {

/* The log the old indexes belong to: three articles. */
const std::string kArticles[3] = {
    ArticleBytes({"From: Ann <ann@x>\r\n", "Subject: first\r\n", "Date: 1 Feb 2001\r\n"}, 31, {"1\r\n"}),
    ArticleBytes({"Subject: second\r\n", "From: bob@x (Bob)\r\n", "Date: 12 Nov 2001\r\n"}, 32, {"2\r\n"}),
    ArticleBytes({"Date: 3 Apr 2002\r\n", "From: carol@x\r\n"}, 34, {"3\r\n"}),
};

uint32_t Offset(int article)
{
    uint32_t offset = 0;
    for (int i = 0; i < article; i++)
        offset += (uint32_t)kArticles[i].size();
    return offset;
}

/* Flags the old records carry: read, read + high, low. */
const uint32_t kFlags[3] = {1, 1 | 4, 2};

/* The old headers, field by field: version, last fetched 34, server last
 * 40, reserved 77, record count, saved position 2, status "old", then (from
 * version 3) unread. */
std::string OldHeader(uint32_t version, uint32_t count, uint32_t unread)
{
    std::string h = U32(version) + U32(34) + U32(40) + U32(77) + U32(count) + U32(2) + Padded("old", 64);
    if (version >= 3)
        h += U32(unread);
    return h;
}

/* Version 2 and 3 records: four words and 48 further bytes (an old
 * subject); version 4: subject, date and sender as well. */
std::string OldRecord(uint32_t version, int i)
{
    std::string r = U32(kFlags[i]) + U32(31 + i) + U32(Offset(i)) + U32((uint32_t)kArticles[i].size());
    r += Padded("stale " + std::to_string(i), 48);
    if (version == 4)
        r += "9999" + Padded("stale from", 16);
    return r;
}

/* The version 5 index all three convert to. */
std::string Version5()
{
    HeaderFields h;
    h.last_fetched = 34;
    h.server_last = 40;
    h.reserved = 77;
    h.record_count = 3;
    h.saved_position = 2;
    h.status = "old";
    h.unread = 1;
    h.high = 1;
    h.low = 1;
    std::string bytes = HeaderBytes(h);
    const char *subjects[3] = {"first", "second", "(none)"};
    const char *dates[3] = {"0201", "1112", "0403"};
    const char *froms[3] = {"Ann", "Bob", "carol@x"};
    const uint32_t subject_lines[3] = {19, 0, 0}; /* where "Subject: " starts */
    for (int i = 0; i < 3; i++) {
        RecordFields r;
        r.flags = kFlags[i];
        r.number = 31 + i;
        r.offset = Offset(i);
        r.length = (uint32_t)kArticles[i].size();
        r.subject = subjects[i];
        r.date = dates[i];
        r.from = froms[i];
        r.subject_offset = i < 2 ? Offset(i) + subject_lines[i] + 9 : Offset(i);
        r.subject_length = i < 2 ? (uint32_t)strlen(subjects[i]) : 0;
        bytes += RecordBytes(r);
    }
    return bytes;
}

/* The records a rebuild makes from the same log: unread, normal, and
 * numbered by their X-Local-Seq lines (31, 32, 34), where the old records
 * said 31, 32, 33. */
std::string RebuiltRecords()
{
    std::string v5 = Version5();
    std::string records;
    const uint32_t numbers[3] = {31, 32, 34};
    for (int i = 0; i < 3; i++)
        records += U32(0) + U32(numbers[i]) + v5.substr(100 + 92 * i + 8, 84);
    return records;
}

class IndexConvertTest : public GroupFixture {
protected:
    void SetUp() override
    {
        GroupFixture::SetUp();
        ASSERT_TRUE(WriteFileBytes(LogPath(), kArticles[0] + kArticles[1] + kArticles[2]));
    }
    std::string Old(uint32_t version, uint32_t unread = 1)
    {
        std::string bytes = OldHeader(version, 3, unread);
        for (int i = 0; i < 3; i++)
            bytes += OldRecord(version, i);
        return bytes;
    }
    int BringUp()
    {
        unknown_ = -1;
        return IndexBringUpToDate(&store_, &unknown_);
    }
    std::wstring TemporaryPath() const { return IndexPath() + L"~"; }
    int unknown_ = -1;
};

} // namespace

TEST_F(IndexConvertTest, Version2To3AddsTheUnreadCount)
{
    ASSERT_TRUE(WriteFileBytes(IndexPath(), Old(2)));
    ASSERT_TRUE(IndexConvertStep(&store_, 2));
    /* Records copied unchanged; one of the three has its read bit clear. */
    EXPECT_EQ(FileBytes(IndexPath()), Old(3, 1));
    EXPECT_FALSE(FileExists(TemporaryPath()));
}

TEST_F(IndexConvertTest, Version3To4FillsDateAndSenderFromTheLog)
{
    ASSERT_TRUE(WriteFileBytes(IndexPath(), Old(3)));
    ASSERT_TRUE(IndexConvertStep(&store_, 3));
    std::string v4 = OldHeader(4, 3, 1);
    std::string v5 = Version5();
    for (int i = 0; i < 3; i++)
        v4 += v5.substr(100 + 92 * i, 84); /* a version 5 record less its last two words */
    EXPECT_EQ(FileBytes(IndexPath()), v4);
    EXPECT_FALSE(FileExists(TemporaryPath()));
}

TEST_F(IndexConvertTest, EveryOldVersionEndsAsVersion5)
{
    for (uint32_t version = 2; version <= 4; version++) {
        ASSERT_TRUE(WriteFileBytes(IndexPath(), Old(version)));
        ASSERT_TRUE(BringUp()) << version;
        EXPECT_EQ(unknown_, 0);
        EXPECT_EQ(FileBytes(IndexPath()), Version5()) << version;
        EXPECT_FALSE(FileExists(TemporaryPath()));
    }
    /* A current index is left as it is. */
    ASSERT_TRUE(BringUp());
    EXPECT_EQ(FileBytes(IndexPath()), Version5());
}

TEST_F(IndexConvertTest, Version1TextHeaderIsReplacedAndRecordsRebuilt)
{
    ASSERT_TRUE(WriteFileBytes(IndexPath(), "34\r\n" SJIS_NIHONGO " ok\r\n40\r\n77\r\n"));
    ASSERT_TRUE(BringUp());
    HeaderFields h;
    h.last_fetched = 34;
    h.server_last = 40;
    h.reserved = 77;
    h.record_count = 3;
    h.status = SJIS_NIHONGO " ok";
    h.unread = 3;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + RebuiltRecords());
}

TEST_F(IndexConvertTest, RecordsWithoutArticlesInTheLog)
{
    /* The log lost its last article: version 3 records get the fields of
     * an article without a head; version 4 records keep theirs. */
    ASSERT_TRUE(WriteFileBytes(LogPath(), kArticles[0] + kArticles[1]));
    ASSERT_TRUE(WriteFileBytes(IndexPath(), Old(3)));
    ASSERT_TRUE(IndexConvertStep(&store_, 3));
    std::string last = FileBytes(IndexPath()).substr(92 + 84 * 2);
    EXPECT_EQ(last, U32(2) + U32(33) + U32(Offset(2)) + U32((uint32_t)kArticles[2].size()) + Padded("(none)", 48) +
                        "0000" + Padded("(Unknown)", 16));

    ASSERT_TRUE(WriteFileBytes(IndexPath(), Old(4)));
    ASSERT_TRUE(IndexConvertStep(&store_, 4));
    last = FileBytes(IndexPath()).substr(100 + 92 * 2);
    EXPECT_EQ(last, OldRecord(4, 2) + U32(Offset(2)) + U32(0));
}

TEST_F(IndexConvertTest, FailedConversionLeavesTheOldIndex)
{
    std::string old = Old(3);
    ASSERT_TRUE(WriteFileBytes(IndexPath(), old));
    ASSERT_TRUE(WriteFileBytes(LogPath(), kArticles[0] + "Subject: " + std::string(2000, 'x') + "\r\n"));
    EXPECT_FALSE(BringUp());
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_MORE_DATA);
    EXPECT_EQ(unknown_, 0);
    EXPECT_EQ(FileBytes(IndexPath()), old);
    EXPECT_FALSE(FileExists(TemporaryPath()));

    /* An old header cut short. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), old.substr(0, 60)));
    EXPECT_FALSE(IndexConvertStep(&store_, 3));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_DATA);
    EXPECT_EQ(FileBytes(IndexPath()), old.substr(0, 60));
    EXPECT_FALSE(FileExists(TemporaryPath()));
}

TEST_F(IndexConvertTest, UnknownVersionIsReportedAndNothingChanges)
{
    for (uint32_t version : {0u, 6u, 500u}) {
        std::string bytes = U32(version) + std::string(96, '\0');
        ASSERT_TRUE(WriteFileBytes(IndexPath(), bytes));
        EXPECT_FALSE(BringUp());
        EXPECT_EQ(unknown_, 1) << version;
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_DATA);
        EXPECT_EQ(FileBytes(IndexPath()), bytes);
    }
}

TEST_F(IndexConvertTest, TruncatedIndexIsRebuiltKeepingWhatItStillSays)
{
    HeaderFields rebuilt;
    rebuilt.record_count = 3;
    rebuilt.unread = 3;
    std::string records = RebuiltRecords();
    std::string v5 = Version5();

    /* 14 bytes: version, last fetched, server last and half of reserved. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), v5.substr(0, 14)));
    ASSERT_TRUE(BringUp());
    rebuilt.last_fetched = 34;
    rebuilt.server_last = 40;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(rebuilt) + records);

    /* A whole header whose records are cut: the header numbers stay. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), v5.substr(0, 100 + 92 + 40)));
    ASSERT_TRUE(BringUp());
    rebuilt.reserved = 77;
    rebuilt.status = "old";
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(rebuilt) + records);

    /* Nothing or too little to hold a version: made anew. */
    for (size_t size : {0, 3}) {
        ASSERT_TRUE(WriteFileBytes(IndexPath(), v5.substr(0, size)));
        ASSERT_TRUE(BringUp());
        HeaderFields fresh;
        fresh.record_count = 3;
        fresh.unread = 3;
        EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(fresh) + records);
    }
}
