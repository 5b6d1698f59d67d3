#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "store/read_marks.h"
#include "store_test_util.h"

namespace {

/* Four articles: normal, high, low, high; `read` says which are read. */
SimpleGroup Four(const std::vector<bool> &read)
{
    const uint32_t priority[4] = {0, 2, 1, 2};
    std::vector<uint32_t> flags;
    for (int i = 0; i < 4; i++)
        flags.push_back(priority[i] << 1 | (read[i] ? 1 : 0));
    return SimpleGroup({"zero", "one", "two", "three"}, 70, flags);
}

HeaderFields FourHeader(const SimpleGroup &group)
{
    HeaderFields h;
    h.last_fetched = 73;
    h.server_last = 80;
    h.record_count = 4;
    h.saved_position = 3;
    h.status = "four";
    h.high = 2;
    h.low = 1;
    for (const RecordFields &r : group.records)
        h.unread += (r.flags & 1) ? 0 : 1;
    return h;
}

class ReadMarksTest : public GroupFixture {
protected:
    /* What must remain: the unread articles back to back, their records
     * with new log offsets and the old subject-text offsets; record, high
     * and low counts of the kept ones, saved position 0, unread unchanged. */
    void ExpectKept(const SimpleGroup &group, const std::vector<int> &kept)
    {
        std::string log, index;
        HeaderFields h = FourHeader(group);
        h.record_count = (uint32_t)kept.size();
        h.saved_position = 0;
        h.high = h.low = 0;
        for (int i : kept) {
            RecordFields r = group.records[i];
            r.offset = (uint32_t)log.size();
            log += group.articles[i];
            index += RecordBytes(r);
            h.high += (r.flags >> 1) == 2;
            h.low += (r.flags >> 1) == 1;
        }
        EXPECT_EQ(FileBytes(LogPath()), log);
        EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + index);
        ExpectNoTemporaries();
    }
    void ExpectNoTemporaries()
    {
        EXPECT_FALSE(FileExists(folder_.file(L"fj.test.id~")));
        EXPECT_FALSE(FileExists(folder_.file(L"fj.test.lo~")));
    }
};

} // namespace

TEST_F(ReadMarksTest, DeletionKeepsTheUnreadArticles)
{
    const std::vector<std::vector<bool>> cases = {
        {false, false, false, false}, /* nothing read: both files copied whole */
        {false, true, false, true},
        {true, true, true, true},     /* a header and an empty log remain */
    };
    for (const auto &read : cases) {
        SimpleGroup group = Four(read);
        WriteGroup(group, FourHeader(group));
        ASSERT_TRUE(DeleteReadArticles(&store_));
        std::vector<int> kept;
        for (int i = 0; i < 4; i++)
            if (!read[i])
                kept.push_back(i);
        ExpectKept(group, kept);
    }
    EXPECT_TRUE(FileExists(LogPath()));
}

TEST_F(ReadMarksTest, SubjectTextOffsetsAreKeptAsTheyWere)
{
    SimpleGroup group = Four({true, false, false, false});
    WriteGroup(group, FourHeader(group));
    ASSERT_TRUE(DeleteReadArticles(&store_));
    std::string index = FileBytes(IndexPath());
    EXPECT_EQ(ReadU32(index, 100 + 8), 0u);
    EXPECT_EQ(ReadU32(index, 100 + 84), group.records[1].subject_offset);
    EXPECT_NE(ReadU32(index, 100 + 84), 9u);
}

TEST_F(ReadMarksTest, GroupWithoutRecordsIsRewrittenToo)
{
    HeaderFields h;
    h.saved_position = 9;
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(h)));
    ASSERT_TRUE(WriteFileBytes(LogPath(), "stray bytes"));
    ASSERT_TRUE(DeleteReadArticles(&store_));
    h.saved_position = 0;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h));
    EXPECT_EQ(FileBytes(LogPath()), "");
    ExpectNoTemporaries();
}

TEST_F(ReadMarksTest, FailureLeavesBothFilesUntouched)
{
    SimpleGroup group = Four({false, true, false, false});
    /* Record 2 claims more bytes than the log holds: copying it fails after
     * record 0 has been copied. */
    group.records[2].length = 100000;
    std::string index = group.Index(FourHeader(group));
    const std::string broken[] = {
        index,
        index.substr(0, 100 + 92 * 3 + 10), /* fewer records than the header says */
        index.substr(0, 60),                /* no whole header */
    };
    const DWORD errors[] = {ERROR_HANDLE_EOF, ERROR_HANDLE_EOF, ERROR_INVALID_DATA};
    for (int i = 0; i < 3; i++) {
        ASSERT_TRUE(WriteFileBytes(IndexPath(), broken[i]));
        ASSERT_TRUE(WriteFileBytes(LogPath(), group.log));
        EXPECT_FALSE(DeleteReadArticles(&store_));
        EXPECT_EQ(GetLastError(), errors[i]);
        EXPECT_EQ(FileBytes(IndexPath()), broken[i]);
        EXPECT_EQ(FileBytes(LogPath()), group.log);
        ExpectNoTemporaries();
    }
    /* A missing log fails at once. */
    ASSERT_TRUE(DeleteFileW(LogPath().c_str()));
    EXPECT_FALSE(DeleteReadArticles(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);
    ExpectNoTemporaries();
}

TEST_F(ReadMarksTest, CatchUpOnTheServerSetsLastFetchedToAllOnes)
{
    SimpleGroup group = Four({false, true, false, false});
    WriteGroup(group, FourHeader(group));
    ASSERT_TRUE(CatchUpServer(&store_));
    HeaderFields h = FourHeader(group);
    h.last_fetched = 0xFFFFFFFFu;
    EXPECT_EQ(FileBytes(IndexPath()), group.Index(h));
}
