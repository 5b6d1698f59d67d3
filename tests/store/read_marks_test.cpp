#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "store/index_file.h"
#include "store/read_marks.h"
#include "store_test_util.h"

namespace {

class ReadMarksTest : public GroupFixture {
protected:
    /* Four articles: normal, high, low, high; `read` says which are read.
     * Every header field holds something. */
    void WriteFour(const std::vector<bool> &read)
    {
        const uint32_t priority[4] = {0, 2, 1, 2};
        std::vector<uint32_t> flags;
        header_ = HeaderFields{5, 73, 80, 0xDEADBEEF, 4, 3, "four", 0, 2, 1};
        for (int i = 0; i < 4; i++) {
            flags.push_back(priority[i] << 1 | (read[i] ? 1 : 0));
            header_.unread += read[i] ? 0 : 1;
        }
        group_ = SimpleGroup({"zero", "one", "two", "three"}, 70, flags);
        WriteGroup(group_, header_);
    }
    void ExpectNoTemporaries()
    {
        EXPECT_FALSE(FileExists(folder_.file(L"fj.test.id~")) || FileExists(folder_.file(L"fj.test.lo~")));
    }
    SimpleGroup group_{{}, 0, {}};
    HeaderFields header_;
};

} // namespace

TEST_F(ReadMarksTest, DeletionKeepsTheUnreadArticles)
{
    /* (Everything read is the delete command's case.) */
    const std::vector<std::vector<bool>> cases = {
        {false, false, false, false}, /* nothing read: both files copied whole */
        {false, true, false, true},
        {true, false, true, false}};
    for (const auto &read : cases) {
        WriteFour(read);
        ASSERT_TRUE(DeleteReadArticles(&store_));
        /* The unread articles back to back; their records with new log
         * and subject-text offsets; counts of the kept ones, saved position
         * 0, unread unchanged. */
        std::string log, records;
        HeaderFields h = header_;
        h.record_count = h.saved_position = h.high = h.low = 0;
        for (int i = 0; i < 4; i++) {
            if (read[i])
                continue;
            RecordFields r = group_.records[i];
            r.offset = (uint32_t)log.size();
            r.subject_offset = r.offset + 9;
            log += group_.articles[i];
            records += RecordBytes(r);
            h.record_count++;
            h.high += (r.flags >> 1) == 2;
            h.low += (r.flags >> 1) == 1;
        }
        EXPECT_EQ(FileBytes(LogPath()), log);
        EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + records);
        ExpectNoTemporaries();
    }

    /* A group without records is rewritten too. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(HeaderFields{5, 0, 0, 0, 0, 9})));
    ASSERT_TRUE(WriteFileBytes(LogPath(), "stray bytes"));
    ASSERT_TRUE(DeleteReadArticles(&store_));
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(HeaderFields()));
    EXPECT_EQ(FileBytes(LogPath()), "");
    ExpectNoTemporaries();
}

TEST_F(ReadMarksTest, FailedDeletionLeavesBothFilesUntouched)
{
    WriteFour({false, true, false, false});
    /* Record 2 claims more bytes than the log holds: copying it fails after
     * record 0 has been copied. */
    group_.records[2].length = 100000;
    std::string index = group_.Index(header_);
    const std::string broken[] = {
        index,
        index.substr(0, 100 + 92 * 3 + 10), /* fewer records than the header says */
        index.substr(0, 60),                /* no whole header */
    };
    const DWORD errors[] = {ERROR_HANDLE_EOF, ERROR_HANDLE_EOF, ERROR_INVALID_DATA};
    for (int i = 0; i < 3; i++) {
        ASSERT_TRUE(WriteFileBytes(IndexPath(), broken[i]));
        EXPECT_FALSE(DeleteReadArticles(&store_));
        EXPECT_EQ(GetLastError(), errors[i]);
        EXPECT_EQ(FileBytes(IndexPath()), broken[i]);
        EXPECT_EQ(FileBytes(LogPath()), group_.log);
        ExpectNoTemporaries();
    }
}

/* (The catch-up command's test checks both catch-ups' bytes.) */
TEST_F(ReadMarksTest, MarkAllReadOfAShortOrEmptyIndex)
{
    /* A header claiming a record the file lacks: the records there are
     * marked one by one, and the header keeps the count reached. */
    WriteFour({false, true, false, false});
    header_.record_count = 5;
    header_.unread = 6;
    group_.records[1].flags &= ~1u;
    ASSERT_TRUE(WriteFileBytes(IndexPath(), group_.Index(header_)));
    EXPECT_FALSE(IndexMarkAllRead(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_HANDLE_EOF);
    for (RecordFields &r : group_.records)
        r.flags |= 1;
    header_.unread = 2;
    EXPECT_EQ(FileBytes(IndexPath()), group_.Index(header_));

    /* No records: only the header, with unread put to 0. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(HeaderFields{5, 0, 0, 0, 0, 0, "", 5})));
    ASSERT_TRUE(IndexMarkAllRead(&store_));
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(HeaderFields()));
}

TEST_F(ReadMarksTest, RefilterRewritesOnlyThePriorityBits)
{
    /* The subject fields are stale: the text matched is the log's. */
    group_ = SimpleGroup({"apple pie", "banana split", "cherry"}, 10, {4, 1 | 2, 2});
    for (RecordFields &r : group_.records) {
        r.subject = "stale";
        r.date = "9999";
    }
    HeaderFields h{5, 0, 0, 0, 3, 0, "", 0, 1, 1};
    WriteGroup(group_, h);
    ASSERT_TRUE(WriteFileBytes(FilterPath(), "- cherry pie\r\n+ split\r\n"));
    ASSERT_TRUE(IndexReadHeader(&store_));
    store_.unread_count = 1; /* the list's own count, saved as it is */
    ASSERT_TRUE(IndexRefilter(&store_));
    /* "apple pie": no keyword; "banana split" holds "split"; "cherry" is
     * within "cherry pie" and stays low. */
    group_.records[0].flags = 0;
    group_.records[1].flags = 1 | 4;
    h.unread = 1;
    EXPECT_EQ(FileBytes(IndexPath()), group_.Index(h));

    /* The text is read wherever the range points (after a deletion it may
     * be another article's); beyond the log it is empty, which every
     * keyword matches. */
    group_.records[0].subject_offset = group_.records[2].subject_offset;
    group_.records[0].subject_length = 6;
    group_.records[2].subject_offset = 1000000;
    WriteGroup(group_, h);
    ASSERT_TRUE(WriteFileBytes(FilterPath(), "+ cherry\r\n"));
    ASSERT_TRUE(IndexReadHeader(&store_));
    ASSERT_TRUE(IndexRefilter(&store_));
    group_.records[0].flags = 4;
    group_.records[1].flags = 1;
    group_.records[2].flags = 4;
    h.high = 2;
    h.low = 0;
    EXPECT_EQ(FileBytes(IndexPath()), group_.Index(h));
}
