#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>

#include "store_test_util.h"

namespace {

/* The log the old indexes belong to: three articles. */
const std::string kArticles[3] = {
    ArticleBytes({"From: Ann <ann@x>\r\n", "Subject: first\r\n", "Date: 1 Feb 2001\r\n"}, 31, {"1\r\n"}),
    ArticleBytes({"Subject: second\r\n", "From: bob@x (Bob)\r\n", "Date: 12 Nov 2001\r\n"}, 32, {"2\r\n"}),
    ArticleBytes({"Date: 3 Apr 2002\r\n", "From: carol@x\r\n"}, 34, {"3\r\n"}),
};
const uint32_t kOffsets[3] = {0, (uint32_t)kArticles[0].size(), (uint32_t)(kArticles[0] + kArticles[1]).size()};

/* Flags the old records carry: read, read + high, low. */
const uint32_t kFlags[3] = {1, 1 | 4, 2};

/* An old index, field by field. Header: version, last fetched 34, server
 * last 40, reserved 77, record count 3, saved position 2, status "old",
 * then (from version 3) unread 1. Records: four words and a 48-byte
 * subject; version 4 also the date and sender. */
std::string OldIndex(uint32_t version)
{
    std::string bytes = U32(version) + U32(34) + U32(40) + U32(77) + U32(3) + U32(2) + Padded("old", 64);
    if (version >= 3)
        bytes += U32(1);
    for (int i = 0; i < 3; i++) {
        bytes += U32(kFlags[i]) + U32(31 + i) + U32(kOffsets[i]) + U32((uint32_t)kArticles[i].size());
        bytes += Padded("stale " + std::to_string(i), 48);
        if (version == 4)
            bytes += "9999" + Padded("stale from", 16);
    }
    return bytes;
}

/* The version 5 records of the three articles; `rebuilt`: as a rebuild
 * makes them (unread, normal, numbered by their X-Local-Seq lines 31, 32,
 * 34 where the old records said 31, 32, 33). */
std::string Records(bool rebuilt)
{
    const char *subjects[3] = {"first", "second", "(none)"};
    const char *dates[3] = {"0201", "1112", "0403"};
    const char *froms[3] = {"Ann", "Bob", "carol@x"};
    const uint32_t subject_at[3] = {19 + 9, 9, 0};
    const uint32_t numbers[3] = {31, 32, 34};
    std::string bytes;
    for (int i = 0; i < 3; i++)
        bytes += RecordBytes(RecordFields{rebuilt ? 0 : kFlags[i], rebuilt ? numbers[i] : 31u + i, kOffsets[i],
                                          (uint32_t)kArticles[i].size(), subjects[i], dates[i], froms[i],
                                          kOffsets[i] + subject_at[i], i < 2 ? (uint32_t)strlen(subjects[i]) : 0});
    return bytes;
}

using IndexConvertTest = GroupFixture;

} // namespace

TEST_F(IndexConvertTest, EveryOldVersionEndsAsVersion5)
{
    ASSERT_TRUE(WriteFileBytes(LogPath(), kArticles[0] + kArticles[1] + kArticles[2]));
    HeaderFields h{5, 34, 40, 77, 3, 2, "old", 1, 1, 1};
    for (uint32_t version = 2; version <= 4; version++) {
        ASSERT_TRUE(WriteFileBytes(IndexPath(), OldIndex(version)));
        ASSERT_TRUE(BringUp()) << version;
        EXPECT_EQ(unknown_, 0);
        EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + Records(false)) << version;
        EXPECT_FALSE(FileExists(IndexPath() + L"~"));
    }

    /* Version 1: a text header of lines (last fetched, status, server last,
     * reserved) is replaced and the records rebuilt. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), "34\r\n" SJIS_NIHONGO " ok\r\n40\r\n77\r\n"));
    ASSERT_TRUE(BringUp());
    h.saved_position = h.high = h.low = 0;
    h.status = SJIS_NIHONGO " ok";
    h.unread = 3;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + Records(true));
}

TEST_F(IndexConvertTest, TruncatedIndexIsRebuiltKeepingWhatItStillSays)
{
    ASSERT_TRUE(WriteFileBytes(LogPath(), kArticles[0] + kArticles[1] + kArticles[2]));
    HeaderFields h{5, 34, 40, 77, 3, 0, "old", 3};
    std::string current = HeaderBytes(h) + Records(false);

    /* A whole header whose records are cut: the header numbers stay. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), current.substr(0, 100 + 92 + 40)));
    ASSERT_TRUE(BringUp());
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + Records(true));

    /* 14 bytes: version, last fetched, server last and half of reserved. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), current.substr(0, 14)));
    ASSERT_TRUE(BringUp());
    h.reserved = 0;
    h.status = "";
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + Records(true));

    /* Too little to hold a version: made anew. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), current.substr(0, 3)));
    ASSERT_TRUE(BringUp());
    h.last_fetched = h.server_last = 0;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + Records(true));
}
