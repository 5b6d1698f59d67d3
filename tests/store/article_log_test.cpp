#include <gtest/gtest.h>
#include <windows.h>

#include <stdlib.h>

#include <string>
#include <vector>

#include "store/article_reader.h"
#include "store/article_writer.h"
#include "store/index_convert.h"
#include "store/index_file.h"
#include "store_test_util.h"

namespace {

/* What the download hands to the store for one article. */
struct Incoming {
    uint32_t number;
    std::vector<std::string> head; /* continuation lines start with a blank or tab */
    std::vector<std::string> body;
};

/* Four articles and what the log holds of each head. */
const Incoming kIncoming[] = {
    {101,
     {"From: \"Taro Yamada\" <taro@example.jp>\r\n", "Subject: Hello world\r\n", "Newsgroups: fj.test\r\n",
      "Date: Tue, 5 Mar 2002 10:00:00 +0900\r\n", "Message-ID: <1@example.jp>\r\n"},
     {"First line.\r\n", "\r\n", ".\r\n"}},
    {102,
     {"Subject: Re: ques\r\n", "\t tion\r\n", "From: hanako@example.jp (" SJIS_YAMADA " Hanako)\r\n",
      "Date: 25 Dec 2001 23:59:59 GMT\r\n", "References: <1@example.jp>\r\n"},
     {"Reply body\r\n"}},
    {105,
     {"From: averyveryverylongaddress@example.com\r\n", "Message-ID: <3@example.jp>\r\n"},
     {"================ not a separator\r\n", "end\r\n"}},
    {106, {"Subject: Plain\r\n"}, {}},
};

const std::vector<std::string> kStoredHeads[] = {
    {"From: \"Taro Yamada\" <taro@example.jp>\r\n", "Subject: Hello world\r\n", "Newsgroups: fj.test\r\n",
     "Date: Tue, 5 Mar 2002 10:00:00 +0900\r\n", "Message-ID: <1@example.jp>\r\n"},
    {"Subject: Re: question\r\n", "From: hanako@example.jp (" SJIS_YAMADA " Hanako)\r\n",
     "Date: 25 Dec 2001 23:59:59 GMT\r\n", "References: <1@example.jp>\r\n"},
    {"From: averyveryverylongaddress@example.com\r\n", "Message-ID: <3@example.jp>\r\n"},
    {"Subject: Plain\r\n"},
};

/* "4件の記事を取得しました。" */
#define SJIS_STATUS "4\x8C\x8F\x82\xCC\x8B\x4C\x8E\x96\x82\xF0\x8E\xE6\x93\xBE\x82\xB5\x82\xDC\x82\xB5\x82\xBD\x81\x42"

std::string ExpectedLog()
{
    std::string log;
    for (int i = 0; i < 4; i++)
        log += ArticleBytes(kStoredHeads[i], kIncoming[i].number, kIncoming[i].body);
    return log;
}

/* The records of the four articles with the filter "+ Hello", "- Re:". */
std::vector<RecordFields> ExpectedRecords()
{
    std::vector<std::string> articles;
    for (int i = 0; i < 4; i++)
        articles.push_back(ArticleBytes(kStoredHeads[i], kIncoming[i].number, kIncoming[i].body));
    uint32_t offsets[4] = {0};
    for (int i = 1; i < 4; i++)
        offsets[i] = offsets[i - 1] + (uint32_t)articles[i - 1].size();
    std::vector<RecordFields> records(4);
    for (int i = 0; i < 4; i++) {
        records[i].number = kIncoming[i].number;
        records[i].offset = offsets[i];
        records[i].length = (uint32_t)articles[i].size();
    }
    /* Subject "Hello world\r\n" holds "Hello": high (flags 2 << 1). */
    records[0].flags = 4;
    records[0].subject = "Hello world";
    records[0].date = "0305";
    records[0].from = "Taro Yamada";
    records[0].subject_offset = offsets[0] + (uint32_t)kStoredHeads[0][0].size() + 9; /* after the From line */
    records[0].subject_length = 11;
    /* "Re: question\r\n" holds "Re:": low. */
    records[1].flags = 2;
    records[1].subject = "Re: question";
    records[1].date = "1225";
    records[1].from = SJIS_YAMADA " Hanako";
    records[1].subject_offset = offsets[1] + 9;
    records[1].subject_length = 12;
    /* No subject line: the empty text, which every keyword matches. */
    records[2].flags = 4;
    records[2].subject = "(none)";
    records[2].date = "0000";
    records[2].from = "averyveryverylo";
    records[2].subject_offset = offsets[2];
    records[2].subject_length = 0;
    records[3].flags = 0;
    records[3].subject = "Plain";
    records[3].date = "0000";
    records[3].from = "(Unknown)";
    records[3].subject_offset = offsets[3] + 9;
    records[3].subject_length = 5;
    return records;
}

std::string RecordsBytes(const std::vector<RecordFields> &records)
{
    std::string bytes;
    for (const RecordFields &r : records)
        bytes += RecordBytes(r);
    return bytes;
}

class ArticleLogTest : public GroupFixture {
protected:
    /* Stores the four articles as a download run does. */
    void StoreAll()
    {
        ASSERT_TRUE(WriteFileBytes(FilterPath(), "+ Hello\r\n- Re:\r\n"));
        ASSERT_TRUE(GroupStoreOpenLog(&store_));
        ASSERT_TRUE(GroupStoreOpenIndex(&store_));
        ArticleWriter writer;
        ArticleWriterInit(&writer, &store_);
        for (const Incoming &article : kIncoming) {
            ASSERT_TRUE(ArticleWriterBegin(&writer, article.number));
            for (const std::string &line : article.head)
                ASSERT_TRUE(ArticleWriterAddHeaderLine(&writer, line.c_str()));
            ASSERT_TRUE(ArticleWriterFinishHead(&writer));
            for (const std::string &line : article.body)
                ASSERT_TRUE(ArticleWriterBodyLine(&writer, line.c_str()));
            ASSERT_TRUE(ArticleWriterFinishArticle(&writer));
        }
        ArticleWriterRelease(&writer);
        GroupStoreCloseLog(&store_);
        GroupStoreCloseIndex(&store_);
        GroupStoreSetLastFetched(&store_, 106);
        GroupStoreSetServerLast(&store_, 110);
        ASSERT_TRUE(GroupStoreSetStatusText(&store_, L"4件の記事を取得しました。"));
        ASSERT_TRUE(IndexWriteHeader(&store_, INVALID_HANDLE_VALUE));
    }
};

} // namespace

TEST_F(ArticleLogTest, LogAndIndexOfSeveralArticlesByteForByte)
{
    /* A new group: start-up made its index, a header only. */
    int unknown = 0;
    ASSERT_TRUE(IndexBringUpToDate(&store_, &unknown));
    ASSERT_EQ(FileBytes(IndexPath()), HeaderBytes(HeaderFields()));
    ASSERT_TRUE(IndexReadHeader(&store_));
    GroupStoreSetReserved(&store_, 7);

    StoreAll();

    EXPECT_EQ(FileBytes(LogPath()), ExpectedLog());
    HeaderFields header;
    header.last_fetched = 106;
    header.server_last = 110;
    header.reserved = 7;
    header.record_count = 4;
    header.status = SJIS_STATUS;
    header.unread = 4;
    header.high = 2;
    header.low = 1;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(header) + RecordsBytes(ExpectedRecords()));
}

TEST_F(ArticleLogTest, ArticlesAndSubjectsReadBackAsWideText)
{
    StoreAll();
    std::vector<RecordFields> records = ExpectedRecords();
    std::string first = ArticleBytes(kStoredHeads[0], 101, kIncoming[0].body);
    wchar_t *article = ReadArticle(&store_, records[0].offset, records[0].length);
    ASSERT_NE(article, nullptr);
    EXPECT_EQ(std::wstring(article), std::wstring(first.begin(), first.end()));
    free(article);

    IndexRecord stored[4];
    DWORD count = 4;
    ASSERT_TRUE(IndexReadHeader(&store_));
    ASSERT_TRUE(IndexReadRecords(&store_, stored, 0, &count));
    ASSERT_EQ(count, 4u);
    const wchar_t *subjects[4] = {L"Hello world", L"Re: question", L"", L"Plain"};
    for (int i = 0; i < 4; i++) {
        wchar_t *subject = ReadSubjectText(&store_, &stored[i]);
        ASSERT_NE(subject, nullptr);
        EXPECT_STREQ(subject, subjects[i]);
        free(subject);
    }
    wchar_t *second = ReadArticle(&store_, records[1].offset, records[1].length);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(std::wstring(second).find(L"(山田 Hanako)"), std::wstring::npos);
    free(second);

    /* A record that reaches past the log's end cannot be read whole. */
    SetLastError(0);
    EXPECT_EQ(ReadArticle(&store_, records[3].offset, records[3].length + 1), nullptr);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_HANDLE_EOF);
}

TEST_F(ArticleLogTest, AbandonedArticleLeavesNothingBehind)
{
    StoreAll();
    std::string before = FileBytes(LogPath());
    std::string index_before = FileBytes(IndexPath());
    ASSERT_TRUE(IndexReadHeader(&store_));
    ASSERT_TRUE(GroupStoreOpenLog(&store_));
    ASSERT_TRUE(GroupStoreOpenIndex(&store_));
    ArticleWriter writer;
    ArticleWriterInit(&writer, &store_);
    ASSERT_TRUE(ArticleWriterBegin(&writer, 107));
    ASSERT_TRUE(ArticleWriterAddHeaderLine(&writer, "Subject: refused body\r\n"));
    ASSERT_TRUE(ArticleWriterFinishHead(&writer));
    ASSERT_TRUE(ArticleWriterAbandon(&writer));
    /* The next article starts where the abandoned one did. */
    ASSERT_TRUE(ArticleWriterBegin(&writer, 108));
    ASSERT_TRUE(ArticleWriterAddHeaderLine(&writer, "Subject: next\r\n"));
    ASSERT_TRUE(ArticleWriterFinishHead(&writer));
    ASSERT_TRUE(ArticleWriterFinishArticle(&writer));
    ArticleWriterRelease(&writer);
    GroupStoreCloseLog(&store_);
    GroupStoreCloseIndex(&store_);
    std::string next = ArticleBytes({"Subject: next\r\n"}, 108, {});
    EXPECT_EQ(FileBytes(LogPath()), before + next);
    EXPECT_EQ(GroupStoreRecordCount(&store_), 5u);
    RecordFields record;
    record.number = 108;
    record.offset = (uint32_t)before.size();
    record.length = (uint32_t)next.size();
    record.subject = "next";
    record.from = "(Unknown)";
    record.subject_offset = record.offset + 9;
    record.subject_length = 4;
    EXPECT_EQ(FileBytes(IndexPath()).substr(100), index_before.substr(100) + RecordBytes(record));
}

TEST_F(ArticleLogTest, RebuildOfAMissingIndexGivesTheSameRecords)
{
    StoreAll();
    ASSERT_TRUE(DeleteFileW(IndexPath().c_str()));
    int unknown = 0;
    ASSERT_TRUE(IndexBringUpToDate(&store_, &unknown));
    HeaderFields header; /* a new header: nothing fetched yet */
    header.record_count = 4;
    header.unread = 4;
    header.high = 2;
    header.low = 1;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(header) + RecordsBytes(ExpectedRecords()));
}
