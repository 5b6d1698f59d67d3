#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "store/index_file.h"
#include "store_test_util.h"

namespace {

const std::string kFirst = ArticleBytes({"Subject: one\r\n", "From: a@b\r\n"}, 1, {"body 1\r\n"});
const std::string kSecond = ArticleBytes({"Subject: two\r\n", "Date: 7 Jul 2007\r\n"}, 2, {"body 2\r\n", "\r\n"});
const std::string kThird = ArticleBytes({"Subject: three\r\n"}, 3, {"body 3\r\n"});

RecordFields Record(uint32_t number, uint32_t offset, const std::string &article, const std::string &subject,
                    const std::string &date, const std::string &from)
{
    RecordFields r;
    r.number = number;
    r.offset = offset;
    r.length = (uint32_t)article.size();
    r.subject = subject;
    r.date = date;
    r.from = from;
    r.subject_offset = offset + 9;
    r.subject_length = (uint32_t)subject.size();
    return r;
}

std::string FirstRecord()
{
    return RecordBytes(Record(1, 0, kFirst, "one", "0000", "a@b"));
}

std::string SecondRecord()
{
    return RecordBytes(Record(2, (uint32_t)kFirst.size(), kSecond, "two", "0707", "(Unknown)"));
}

class RebuildTest : public GroupFixture {
protected:
    /* Rebuilds with the header values a group had: 9 fetched, server at 12. */
    int Rebuild()
    {
        GroupStoreReset(&store_);
        GroupStoreSetLastFetched(&store_, 9);
        GroupStoreSetServerLast(&store_, 12);
        GroupStoreSetSavedPosition(&store_, 3);
        return IndexRebuild(&store_);
    }
    HeaderFields Header(uint32_t records) const
    {
        HeaderFields h;
        h.last_fetched = 9;
        h.server_last = 12;
        h.record_count = records;
        h.unread = records;
        return h;
    }
};

} // namespace

TEST_F(RebuildTest, OneRecordPerArticleAndNothingAfterThem)
{
    /* An old index longer than the new one is cut after the last record. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), std::string(100 + 92 * 5, 'x')));
    ASSERT_TRUE(WriteFileBytes(LogPath(), kFirst + kSecond));
    ASSERT_TRUE(Rebuild());
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(Header(2)) + FirstRecord() + SecondRecord());

    /* An empty or missing log gives a header only; no log is made. */
    ASSERT_TRUE(WriteFileBytes(LogPath(), ""));
    ASSERT_TRUE(Rebuild());
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(Header(0)));
    ASSERT_TRUE(DeleteFileW(LogPath().c_str()));
    ASSERT_TRUE(Rebuild());
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(Header(0)));
    EXPECT_FALSE(FileExists(LogPath()));
}

TEST_F(RebuildTest, LogCutInsideAnArticleKeepsTheWholeOnes)
{
    const std::string cuts[] = {
        kThird.substr(0, 5),                        /* inside the first header line */
        kThird.substr(0, kThird.find("X-Local")),   /* after a whole header line */
        kThird.substr(0, kThird.find("body")),      /* after the blank line */
        kThird.substr(0, kThird.find("body") + 3),  /* inside a body line */
        kThird.substr(0, kThird.size() - 2),        /* the separator without its line end */
    };
    for (const std::string &cut : cuts) {
        ASSERT_TRUE(WriteFileBytes(LogPath(), kFirst + kSecond + cut));
        ASSERT_TRUE(Rebuild()) << cut;
        EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(Header(2)) + FirstRecord() + SecondRecord()) << cut;
    }
}

TEST_F(RebuildTest, OverLongLineStopsTheRebuildWithError234)
{
    /* 1023 bytes with the line end is the longest line a log may hold. */
    std::string longest = ArticleBytes({"Subject: two\r\n", "Date: 7 Jul 2007\r\n"}, 2,
                                       {std::string(1021, 'b') + "\r\n"});
    ASSERT_TRUE(WriteFileBytes(LogPath(), kFirst + longest));
    ASSERT_TRUE(Rebuild());
    EXPECT_EQ(GroupStoreRecordCount(&store_), 2u);

    std::string too_long = ArticleBytes({"Subject: two\r\n"}, 2, {std::string(1022, 'b') + "\r\n"});
    ASSERT_TRUE(WriteFileBytes(LogPath(), kFirst + too_long + kThird));
    SetLastError(0);
    EXPECT_FALSE(Rebuild());
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_MORE_DATA);
    /* The records before the long line are kept, with their header. */
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(Header(1)) + FirstRecord());

    std::string long_header = ArticleBytes({"Subject: " + std::string(1100, 's') + "\r\n"}, 2, {});
    ASSERT_TRUE(WriteFileBytes(LogPath(), long_header));
    EXPECT_FALSE(Rebuild());
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_MORE_DATA);
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(Header(0)));
}

TEST_F(RebuildTest, SeparatorCountsOnlyAsAWholeLine)
{
    std::string not_separator = ArticleBytes({"Subject: one\r\n", "From: a@b\r\n"}, 1,
                                             {"================ and more\r\n", "================\r\r\n"});
    ASSERT_TRUE(WriteFileBytes(LogPath(), not_separator + kSecond));
    ASSERT_TRUE(Rebuild());
    EXPECT_EQ(FileBytes(IndexPath()),
              HeaderBytes(Header(2)) + RecordBytes(Record(1, 0, not_separator, "one", "0000", "a@b")) +
                  RecordBytes(Record(2, (uint32_t)not_separator.size(), kSecond, "two", "0707", "(Unknown)")));
}

TEST_F(RebuildTest, ExactSeparatorInABodySplitsTheArticle)
{
    /* The body holds a line of exactly sixteen '=': the first part ends
     * there, and the rest runs on into the next article's head. */
    std::string first_part = "Subject: one\r\nX-Local-Seq: 1\r\n\r\nabove\r\n================\r\n";
    std::string rest = "below\r\n================\r\n";
    ASSERT_TRUE(WriteFileBytes(LogPath(), first_part + rest + kSecond));
    ASSERT_TRUE(Rebuild());
    RecordFields first = Record(1, 0, first_part, "one", "0000", "(Unknown)");
    /* The second record runs from "below" to the end of the next article,
     * whose head lines it took. */
    RecordFields second = Record(2, (uint32_t)first_part.size(), rest + kSecond, "two", "0707", "(Unknown)");
    second.subject_offset = (uint32_t)(first_part.size() + rest.size() + 9);
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(Header(2)) + RecordBytes(first) + RecordBytes(second));
}
