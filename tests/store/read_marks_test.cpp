#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "store/index_file.h"
#include "store/read_marks.h"
#include "store_test_util.h"

namespace {

const std::string kArticles[4] = {
    ArticleBytes({"Subject: zero\r\n"}, 70, {"0\r\n"}),
    ArticleBytes({"From: x@y\r\n", "Subject: one\r\n"}, 71, {"1\r\n", "11\r\n"}),
    ArticleBytes({"Subject: two\r\n"}, 72, {}),
    ArticleBytes({"Subject: three\r\n"}, 73, {"3\r\n"}),
};
/* normal, high, low, high */
const uint32_t kPriority[4] = {0, 2, 1, 2};

class ReadMarksTest : public GroupFixture {
protected:
    /* Writes the group with the given records read. */
    void WriteGroup(std::vector<bool> read)
    {
        records_.clear();
        std::string log, index;
        uint32_t unread = 0;
        for (int i = 0; i < 4; i++) {
            RecordFields r;
            r.flags = (kPriority[i] << 1) | (read[i] ? 1 : 0);
            r.number = 70 + i;
            r.offset = (uint32_t)log.size();
            r.length = (uint32_t)kArticles[i].size();
            r.subject = "s" + std::to_string(i);
            r.subject_offset = r.offset + (i == 1 ? 11 : 0) + 9;
            r.subject_length = 4;
            records_.push_back(r);
            log += kArticles[i];
            index += RecordBytes(r);
            unread += read[i] ? 0 : 1;
        }
        header_ = HeaderFields();
        header_.last_fetched = 73;
        header_.server_last = 80;
        header_.record_count = 4;
        header_.saved_position = 3;
        header_.status = "four";
        header_.unread = unread;
        header_.high = 2;
        header_.low = 1;
        ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(header_) + index));
        ASSERT_TRUE(WriteFileBytes(LogPath(), log));
    }
    /* What remains after deleting: the unread articles back to back, their
     * records with new log offsets and the old subject-text offsets. */
    void ExpectKept(std::vector<int> kept)
    {
        std::string log, index;
        HeaderFields h = header_;
        h.record_count = (uint32_t)kept.size();
        h.saved_position = 0;
        h.high = 0;
        h.low = 0;
        for (int i : kept) {
            RecordFields r = records_[i];
            r.offset = (uint32_t)log.size();
            log += kArticles[i];
            index += RecordBytes(r);
            h.high += kPriority[i] == 2;
            h.low += kPriority[i] == 1;
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
    std::vector<RecordFields> records_;
    HeaderFields header_;
};

} // namespace

TEST_F(ReadMarksTest, NothingReadCopiesBothFilesWhole)
{
    WriteGroup({false, false, false, false});
    ASSERT_TRUE(DeleteReadArticles(&store_));
    ExpectKept({0, 1, 2, 3});
}

TEST_F(ReadMarksTest, ReadArticlesLeaveLogAndIndex)
{
    WriteGroup({false, true, false, true});
    ASSERT_TRUE(DeleteReadArticles(&store_));
    /* Kept: 0 and 2. The subject-text offset of record 2 still points where
     * it stood in the old log. */
    ExpectKept({0, 2});
    std::string index = FileBytes(IndexPath());
    EXPECT_EQ(ReadU32(index, 100 + 92 + 84), records_[2].subject_offset);
    EXPECT_EQ(ReadU32(index, 100 + 92 + 8), (uint32_t)kArticles[0].size());
}

TEST_F(ReadMarksTest, EverythingReadLeavesAHeaderAndAnEmptyLog)
{
    WriteGroup({true, true, true, true});
    ASSERT_TRUE(DeleteReadArticles(&store_));
    ExpectKept({});
    EXPECT_TRUE(FileExists(LogPath()));
    EXPECT_EQ(FileBytes(IndexPath()).size(), 100u);
}

TEST_F(ReadMarksTest, GroupWithoutRecordsIsRewrittenToo)
{
    HeaderFields h;
    h.saved_position = 9;
    h.unread = 0;
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(h)));
    ASSERT_TRUE(WriteFileBytes(LogPath(), "stray bytes"));
    ASSERT_TRUE(DeleteReadArticles(&store_));
    h.saved_position = 0;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h));
    EXPECT_EQ(FileBytes(LogPath()), "");
    ExpectNoTemporaries();
}

TEST_F(ReadMarksTest, FailureInTheMiddleLeavesBothFilesUntouched)
{
    WriteGroup({false, true, false, false});
    /* Record 2 claims more bytes than the log holds: copying it fails after
     * record 0 has been copied. */
    records_[2].length = 100000;
    std::string index = HeaderBytes(header_);
    for (const RecordFields &r : records_)
        index += RecordBytes(r);
    ASSERT_TRUE(WriteFileBytes(IndexPath(), index));
    std::string log = FileBytes(LogPath());
    EXPECT_FALSE(DeleteReadArticles(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_HANDLE_EOF);
    EXPECT_EQ(FileBytes(IndexPath()), index);
    EXPECT_EQ(FileBytes(LogPath()), log);
    ExpectNoTemporaries();

    /* An index that holds fewer records than its header says. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), index.substr(0, 100 + 92 * 3 + 10)));
    EXPECT_FALSE(DeleteReadArticles(&store_));
    EXPECT_EQ(FileBytes(IndexPath()), index.substr(0, 100 + 92 * 3 + 10));
    EXPECT_EQ(FileBytes(LogPath()), log);
    ExpectNoTemporaries();

    /* A header that cannot be read. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), index.substr(0, 60)));
    EXPECT_FALSE(DeleteReadArticles(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_DATA);
    EXPECT_EQ(FileBytes(LogPath()), log);
    ExpectNoTemporaries();
}

TEST_F(ReadMarksTest, MissingLogFailsAtOnce)
{
    WriteGroup({true, false, false, false});
    std::string index = FileBytes(IndexPath());
    ASSERT_TRUE(DeleteFileW(LogPath().c_str()));
    EXPECT_FALSE(DeleteReadArticles(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(FileBytes(IndexPath()), index);
    ExpectNoTemporaries();
}

TEST_F(ReadMarksTest, LogInUseFailsWithoutTemporaries)
{
    WriteGroup({true, false, false, false});
    HANDLE other = CreateFileW(LogPath().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(DeleteReadArticles(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_SHARING_VIOLATION);
    CloseHandle(other);
    ExpectNoTemporaries();
}

TEST_F(ReadMarksTest, CatchUpOnTheServerSetsLastFetchedToAllOnes)
{
    WriteGroup({false, true, false, false});
    std::string records = FileBytes(IndexPath()).substr(100);
    ASSERT_TRUE(CatchUpServer(&store_));
    HeaderFields h = header_;
    h.last_fetched = 0xFFFFFFFFu;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + records);
    EXPECT_EQ(GroupStoreLastFetched(&store_), kCaughtUpOnServer);
}
