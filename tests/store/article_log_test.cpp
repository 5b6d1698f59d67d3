#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "store/article_reader.h"
#include "store/article_writer.h"
#include "store/index_file.h"
#include "store_test_util.h"

namespace {

/* Articles as the download hands them to the store (the body already
 * unstuffed; the head's continuations are the download's tests'), and the
 * record fields each gets with the filter "+ Hello", "- Re:" (no subject
 * line matches the empty text: high). */
struct Sample {
    std::vector<std::string> head, body;
    RecordFields record;
};

const Sample kSamples[] = {
    {{"From: \"Taro Yamada\" <taro@example.jp>\r\n", "Subject: Hello world\r\n", "Newsgroups: fj.test\r\n",
      "Date: Tue, 5 Mar 2002 10:00:00 +0900\r\n", "Message-ID: <1@example.jp>\r\n"},
     {"First line.\r\n", "\r\n", ".\r\n"},
     {4, 101, 0, 0, "Hello world", "0305", "Taro Yamada"}},
    {{"Subject: Re: question\r\n", "From: hanako@example.jp (" SJIS_YAMADA " Hanako)\r\n",
      "Date: 25 Dec 2001 23:59:59 GMT\r\n"},
     {"Reply body\r\n"},
     {2, 102, 0, 0, "Re: question", "1225", SJIS_YAMADA " Hanako"}},
    {{"From: averyveryverylongaddress@example.com\r\n"},
     {"================ not a separator\r\n", "end\r\n"},
     {4, 105, 0, 0, "(none)", "0000", "averyveryverylo"}},
    {{"Subject: Plain\r\n"}, {}, {0, 106, 0, 0, "Plain", "0000", "(Unknown)"}},
};

/* The log and records of the first `count` samples, stored back to back. */
GroupBytes Stored(int count)
{
    GroupBytes g;
    for (int i = 0; i < count; i++)
        g.Add(kSamples[i].head, kSamples[i].body, kSamples[i].record);
    return g;
}

/* The header of the first `count` samples, all unread. */
HeaderFields Counts(int count, uint32_t last_fetched = 0, uint32_t server_last = 0)
{
    HeaderFields h{5, last_fetched, server_last, 0, (uint32_t)count, 0, "", (uint32_t)count};
    for (int i = 0; i < count; i++) {
        h.high += kSamples[i].record.flags == 4;
        h.low += kSamples[i].record.flags == 2;
    }
    return h;
}

class ArticleLogTest : public GroupFixture {
protected:
    /* Stores the samples as a download run does. */
    void StoreAll()
    {
        ASSERT_TRUE(WriteFileBytes(FilterPath(), "+ Hello\r\n- Re:\r\n"));
        ASSERT_TRUE(GroupStoreOpenLog(&store_));
        ASSERT_TRUE(GroupStoreOpenIndex(&store_));
        ArticleWriter writer;
        ArticleWriterInit(&writer, &store_);
        for (const Sample &s : kSamples) {
            ASSERT_TRUE(ArticleWriterBegin(&writer, s.record.number));
            for (const std::string &line : s.head)
                ASSERT_TRUE(ArticleWriterAddHeaderLine(&writer, line.c_str()));
            ASSERT_TRUE(ArticleWriterFinishHead(&writer));
            for (const std::string &line : s.body)
                ASSERT_TRUE(ArticleWriterBodyLine(&writer, line.c_str()));
            ASSERT_TRUE(ArticleWriterFinishArticle(&writer));
        }
        ArticleWriterRelease(&writer);
        GroupStoreCloseLog(&store_);
        GroupStoreCloseIndex(&store_);
    }
    /* A rebuild of a group whose header said 9 fetched, server at 12. */
    int Rebuild()
    {
        GroupStoreReset(&store_);
        GroupStoreSetLastFetched(&store_, 9);
        GroupStoreSetServerLast(&store_, 12);
        GroupStoreSetSavedPosition(&store_, 3);
        return IndexRebuild(&store_);
    }
};

} // namespace

/* The download's own tests and the end-to-end runs check the header lines
 * kept and the fields cut; here the filter's priorities and the reading. */
TEST_F(ArticleLogTest, LogAndIndexOfSeveralArticlesByteForByte)
{
    StoreAll();
    GroupStoreSetLastFetched(&store_, 106);
    GroupStoreSetServerLast(&store_, 110);
    ASSERT_TRUE(IndexWriteHeader(&store_, INVALID_HANDLE_VALUE));
    EXPECT_EQ(FileBytes(LogPath()), Stored(4).log);
    EXPECT_EQ(FileBytes(IndexPath()), Stored(4).Index(Counts(4, 106, 110)));

    /* A range past the log's end is not read (an article read whole is the
     * reading test's copy). */
    SetLastError(0);
    EXPECT_EQ(ReadArticle(&store_, 0, (DWORD)Stored(4).log.size() + 1), nullptr);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_HANDLE_EOF);
}

/* (A missing index made from its log at start-up, and a body line longer
 * than a read of the log, are the data folder's test.) */
TEST_F(ArticleLogTest, RebuildFromTheLogAlone)
{
    StoreAll();
    /* A log cut inside an article keeps the whole ones before it, and an old,
     * longer index is cut after the last record. */
    const std::string third = Stored(3).articles[2];
    for (size_t cut : {(size_t)5, third.find("X-Local"), third.find("===="), third.find("====") + 20,
                       third.size() - 2}) {
        ASSERT_TRUE(WriteFileBytes(IndexPath(), std::string(100 + 92 * 5, 'x')));
        ASSERT_TRUE(WriteFileBytes(LogPath(), Stored(2).log + third.substr(0, cut)));
        ASSERT_TRUE(Rebuild()) << cut;
        EXPECT_EQ(FileBytes(IndexPath()), Stored(2).Index(Counts(2, 102, 12))) << cut;
    }

    /* A head line is read whole: a header folded over many lines is stored
     * joined, a long References line. Longer than a read of the log, it
     * stops the rebuild with 234, keeping the records before it. */
    GroupBytes long_head_line = Stored(1);
    long_head_line.Add({"Subject: Plain\r\n", "References: " + std::string(5000, 'r') + "\r\n"}, {"b\r\n"},
                       {0, 2, 0, 0, "Plain", "0000", "(Unknown)"});
    ASSERT_TRUE(WriteFileBytes(LogPath(), long_head_line.log));
    ASSERT_TRUE(Rebuild());
    EXPECT_EQ(FileBytes(IndexPath()), long_head_line.Index({5, 101, 12, 0, 2, 0, "", 2, 1, 0}));
    std::string long_head = ArticleBytes({"References: " + std::string(70000, 'r') + "\r\n"}, 2, {"b\r\n"});
    ASSERT_TRUE(WriteFileBytes(LogPath(), Stored(1).log + long_head + Stored(4).articles[3]));
    SetLastError(0);
    EXPECT_FALSE(Rebuild());
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_MORE_DATA);
    EXPECT_EQ(FileBytes(IndexPath()), Stored(1).Index(Counts(1, 9, 12)));
}
