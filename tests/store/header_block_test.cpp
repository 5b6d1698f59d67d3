#include <gtest/gtest.h>

#include <string>

#include "store/header_block.h"

namespace {

class HeaderBlockTest : public testing::Test {
protected:
    void SetUp() override
    {
        HeaderBlockInit(&block_);
        ASSERT_TRUE(HeaderBlockPrepare(&block_));
    }
    void TearDown() override { HeaderBlockFree(&block_); }
    std::string Text() const { return std::string(block_.buffer, HeaderBlockSize(&block_)); }
    HeaderBlock block_;
};

} // namespace

TEST_F(HeaderBlockTest, NotesWhereEachNamedLineStands)
{
    ASSERT_TRUE(HeaderBlockAdd(&block_, "From: a@b\r\n"));           /* 0, 11 bytes */
    ASSERT_TRUE(HeaderBlockAdd(&block_, "Subject: hello\r\n"));      /* 11, 16 */
    ASSERT_TRUE(HeaderBlockAdd(&block_, "Newsgroups: fj.test\r\n")); /* 27, 21 */
    ASSERT_TRUE(HeaderBlockAdd(&block_, "Date: 1 Jan 2000\r\n"));    /* 48, 18 */
    ASSERT_TRUE(HeaderBlockAdd(&block_, "X-Local-Seq: 4711\r\n"));   /* 66, 19 */
    EXPECT_EQ(Text(), "From: a@b\r\nSubject: hello\r\nNewsgroups: fj.test\r\nDate: 1 Jan 2000\r\nX-Local-Seq: 4711\r\n");
    EXPECT_EQ(block_.buffer[HeaderBlockSize(&block_)], '\0');
    EXPECT_EQ(block_.from_line, 0u);
    EXPECT_EQ(block_.subject_line, 11u);
    EXPECT_EQ(block_.subject_length, 16u);
    EXPECT_EQ(block_.date_line, 48u);
    EXPECT_EQ(block_.sequence, 4711u);
    /* "Newsgroups:" is not the singular "Newsgroup: " line. */
    EXPECT_EQ(block_.newsgroup_line, 0xFFFFFFFFu);
    EXPECT_EQ(block_.in_subject, 0);
}

TEST_F(HeaderBlockTest, LineNamesAreExactAndCaseSensitive)
{
    ASSERT_TRUE(HeaderBlockAdd(&block_, "subject: lower\r\n"));
    ASSERT_TRUE(HeaderBlockAdd(&block_, "Subject:nospace\r\n"));
    ASSERT_TRUE(HeaderBlockAdd(&block_, "FROM: upper\r\n"));
    ASSERT_TRUE(HeaderBlockAdd(&block_, "Date-Received: x\r\n"));
    EXPECT_EQ(block_.subject_line, 0xFFFFFFFFu);
    EXPECT_EQ(block_.from_line, 0xFFFFFFFFu);
    /* "Date:" is five bytes: "Date-Received" does not start with it. */
    EXPECT_EQ(block_.date_line, 0xFFFFFFFFu);
    ASSERT_TRUE(HeaderBlockAdd(&block_, "Newsgroup: fj.one\r\n"));
    EXPECT_EQ(block_.newsgroup_line, 64u);
    EXPECT_EQ(block_.newsgroup_length, 19u);
    EXPECT_EQ(block_.in_newsgroup, 1);
}

TEST_F(HeaderBlockTest, LaterLineOfTheSameNameWins)
{
    ASSERT_TRUE(HeaderBlockAdd(&block_, "Subject: one\r\n"));
    ASSERT_TRUE(HeaderBlockAdd(&block_, "Subject: second\r\n"));
    EXPECT_EQ(block_.subject_line, 14u);
    EXPECT_EQ(block_.subject_length, 17u);
    ASSERT_TRUE(HeaderBlockAdd(&block_, "X-Local-Seq: 1\r\n"));
    ASSERT_TRUE(HeaderBlockAdd(&block_, "X-Local-Seq: 2\r\n"));
    EXPECT_EQ(block_.sequence, 2u);
}

TEST_F(HeaderBlockTest, SequenceNumberParsing)
{
    struct {
        const char *line;
        uint32_t number;
    } cases[] = {
        {"X-Local-Seq: 0\r\n", 0},
        {"X-Local-Seq: 4294967295\r\n", 4294967295u},
        {"X-Local-Seq: 12 trailing\r\n", 12},      /* a blank ends the digits */
        {"X-Local-Seq: 12", 12},                   /* so does the end */
        {"X-Local-Seq:77\r\n", 77},
        {"X-Local-Seq: 12x\r\n", 0xFFFFFFFFu},     /* any other byte */
        {"X-Local-Seq: 12\n", 0xFFFFFFFFu},        /* a lone LF too */
        {"X-Local-Seq: 4294967296\r\n", 0xFFFFFFFFu},
    };
    for (const auto &c : cases) {
        ASSERT_TRUE(HeaderBlockPrepare(&block_));
        ASSERT_TRUE(HeaderBlockAdd(&block_, c.line));
        EXPECT_EQ(block_.sequence, c.number) << c.line;
    }
}

TEST_F(HeaderBlockTest, ContinuationsJoinTheSubjectLine)
{
    ASSERT_TRUE(HeaderBlockAdd(&block_, "Subject: first\r\n"));    /* 16 bytes */
    ASSERT_TRUE(HeaderBlockAdd(&block_, " \t second\r\n"));        /* "second\r\n": 8 */
    ASSERT_TRUE(HeaderBlockAdd(&block_, "\tthird\r\n"));           /* "third\r\n": 7 */
    EXPECT_EQ(Text(), "Subject: firstsecondthird\r\n");
    EXPECT_EQ(block_.subject_length, 27u);
    EXPECT_EQ(block_.joined, 1);
    /* A new line ends the subject: its continuations do not count. */
    ASSERT_TRUE(HeaderBlockAdd(&block_, "From: x\r\n"));
    ASSERT_TRUE(HeaderBlockAdd(&block_, " y\r\n"));
    EXPECT_EQ(Text(), "Subject: firstsecondthird\r\nFrom: xy\r\n");
    EXPECT_EQ(block_.subject_length, 27u);
}

TEST_F(HeaderBlockTest, ContinuationsJoinTheNewsgroupLine)
{
    ASSERT_TRUE(HeaderBlockAdd(&block_, "Newsgroup: a,\r\n"));
    ASSERT_TRUE(HeaderBlockAddContinuation(&block_, "  b\r\n", 5));
    EXPECT_EQ(Text(), "Newsgroup: a,b\r\n");
    EXPECT_EQ(block_.newsgroup_length, 16u);
    /* A continuation with nothing before it does not step back. */
    ASSERT_TRUE(HeaderBlockPrepare(&block_));
    ASSERT_TRUE(HeaderBlockAdd(&block_, " lonely\r\n"));
    EXPECT_EQ(Text(), "lonely\r\n");
}

TEST_F(HeaderBlockTest, GrowsIn2048ByteStepsKeepingTheLines)
{
    std::string first = "Subject: " + std::string(2029, 's') + "\r\n";
    ASSERT_TRUE(HeaderBlockAdd(&block_, first.c_str()));
    EXPECT_EQ(block_.capacity, 2048u);
    ASSERT_TRUE(HeaderBlockAdd(&block_, "From: abc\r\n"));
    EXPECT_EQ(block_.capacity, 2048u + 2048u);
    std::string huge = "References: " + std::string(5000, 'r') + "\r\n";
    ASSERT_TRUE(HeaderBlockAdd(&block_, huge.c_str()));
    EXPECT_EQ(block_.capacity, 8192u);
    EXPECT_EQ(Text(), first + "From: abc\r\n" + huge);
    EXPECT_EQ(block_.from_line, first.size());
    EXPECT_EQ(block_.buffer_end, block_.buffer + block_.capacity);
}
