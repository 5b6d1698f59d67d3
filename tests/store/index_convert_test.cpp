#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "store_test_util.h"
#include "support/old_indexes.h"

using IndexConvertTest = GroupFixture;

TEST_F(IndexConvertTest, EveryOldVersionEndsAsVersion5)
{
    ASSERT_TRUE(WriteFileBytes(LogPath(), OldLog()));
    HeaderFields h{5, 34, 40, 77, 3, 2, "old", 1, 1, 1};
    for (uint32_t version = 2; version <= 4; version++) {
        ASSERT_TRUE(WriteFileBytes(IndexPath(), OldIndex(version)));
        ASSERT_TRUE(BringUp()) << version;
        EXPECT_EQ(unknown_, 0);
        EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + CurrentRecords(false)) << version;
        EXPECT_FALSE(FileExists(IndexPath() + L"~"));
    }

    /* Version 1: a text header of lines (last fetched, status, server last,
     * reserved) is replaced and the records rebuilt. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), OldTextIndex(SJIS_NIHONGO " ok")));
    ASSERT_TRUE(BringUp());
    h.saved_position = h.high = h.low = 0;
    h.status = SJIS_NIHONGO " ok";
    h.unread = 3;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + CurrentRecords(true));
}

TEST_F(IndexConvertTest, TruncatedIndexIsRebuiltKeepingWhatItStillSays)
{
    ASSERT_TRUE(WriteFileBytes(LogPath(), OldLog()));
    HeaderFields h{5, 34, 40, 77, 3, 0, "old", 3};
    std::string current = HeaderBytes(h) + CurrentRecords(false);

    /* A whole header whose records are cut: the header numbers stay. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), current.substr(0, 100 + 92 + 40)));
    ASSERT_TRUE(BringUp());
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + CurrentRecords(true));

    /* 14 bytes: version, last fetched, server last and half of reserved. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), current.substr(0, 14)));
    ASSERT_TRUE(BringUp());
    h.reserved = 0;
    h.status = "";
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + CurrentRecords(true));

    /* Too little to hold a version: made anew, last fetched from the log's
     * highest article number. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), current.substr(0, 3)));
    ASSERT_TRUE(BringUp());
    h.server_last = 0;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + CurrentRecords(true));
}
