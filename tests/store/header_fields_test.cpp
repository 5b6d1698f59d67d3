/* The stored header block and the index fields cut from it (byte-level:
 * also built natively under the sanitizers). */
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "sjis_samples.h"
#include "store/header_block.h"
#include "store/header_fields.h"

namespace {

/* The text a field holds, checking that everything after it is NUL. */
template <size_t N>
std::string Field(void (*cut)(const char *, char *), const char *line)
{
    char field[N];
    memset(field, 'Z', N);
    cut(line, field);
    std::string s(field, N);
    size_t end = s.find('\0');
    EXPECT_EQ(s.find_first_not_of('\0', end), std::string::npos) << "NUL-padded";
    return s.substr(0, end);
}

} // namespace

/* Folded lines: the download's tests check them joined in the log. */
TEST(HeaderBlock, NotesTheNamedLines)
{
    HeaderBlock block;
    HeaderBlockInit(&block);
    ASSERT_TRUE(HeaderBlockPrepare(&block));
    for (const char *line : {"Subject: one\r\n", "Subject: Re: question\r\n", "Newsgroup: fj.b\r\n",
                             "Newsgroups: fj.a\r\n", "From: a@b\r\n", "X-Local-Seq: 1\r\n", "X-Local-Seq: 4711\r\n",
                             "Date-Received: x\r\n"})
        ASSERT_TRUE(HeaderBlockAdd(&block, line));
    std::string head = "Subject: one\r\nSubject: Re: question\r\nNewsgroup: fj.b\r\nNewsgroups: fj.a\r\n"
                       "From: a@b\r\nX-Local-Seq: 1\r\nX-Local-Seq: 4711\r\nDate-Received: x\r\n";
    EXPECT_EQ(std::string(block.buffer, HeaderBlockSize(&block)), head);
    /* The later line of a name wins; neither the plural "Newsgroups:" nor
     * "Date-Received" is a line the block notes. */
    EXPECT_EQ(block.subject_line, 14u);
    EXPECT_EQ(block.subject_length, 23u);
    EXPECT_EQ(block.newsgroup_line, 37u);
    EXPECT_EQ(block.newsgroup_length, 17u);
    EXPECT_EQ(block.from_line, 72u);
    EXPECT_EQ(block.sequence, 4711u);
    EXPECT_EQ(block.date_line, kNoHeaderLine);

    /* The buffer grows, keeping what it held. */
    std::string huge = "References: " + std::string(5000, 'r') + "\r\n";
    ASSERT_TRUE(HeaderBlockAdd(&block, huge.c_str()));
    EXPECT_EQ(std::string(block.buffer, HeaderBlockSize(&block)), head + huge);
    HeaderBlockFree(&block);
}

/* Date ("MMDD") and sender (15 bytes) fields; a cut never splits a
 * Shift_JIS character. The subject's cut (47 bytes) is pinned down whole by
 * its fuzz target's checks; the common forms, and no line at all, are the
 * article log test's stored records. */
TEST(HeaderFields, SubjectDateAndSender)
{
    const struct {
        char field;
        std::string line, text;
    } cases[] = {
        {'D', "Date: 5-Mar-2002\r\n", "0305"}, /* the byte after the day is not looked at */
        {'D', "Date: Mar 5 2002\r\n", "0000"}, /* no month after the day */
        {'D', "Date: Tue, 5 mar 2002\r\n", "0000"},
        {'D', "Date: Tuesday\r\nSubject: 5 Mar\r\n", "0000"},
        {'D', "Date: 5 Ma", "0000"},
        {'F', "From: " SJIS_YAMADA " <yamada@example.jp>\r\n", SJIS_YAMADA},
        {'F', "From: Taro<taro@example.jp>\r\n", "Tar"}, /* against '<': the last byte goes */
        {'F', "From: " SJIS_YAMADA "<yamada@example.jp>\r\n", "\x8E\x52"},
        {'F', "From: a (b) <c@d>\r\n", "a (b)"},
        {'F', "From: <only@address>\r\n", "(Unknown)"},
        {'F', "From: t@x (a (b))\r\n", "a (b)"},
        {'F', "From: t@x ()\r\n", "(Unknown)"},
        {'F', "From: t@x (unclosed\r\n", "t@x (unclosed"},
        {'F', "From: \r\n", "(Unknown)"},
        {'F', "From: nnnnnnnnnnnnn" SJIS_NIHONGO "\r\n", "nnnnnnnnnnnnn\x93\xFA"},
        {'F', "From: nnnnnnnnnnnnnn" SJIS_NIHONGO "\r\n", "nnnnnnnnnnnnnn"},
        {'F', "From: \"qqqqqqqqqqqqqq" SJIS_HYO "\" <a@b>\r\n", "qqqqqqqqqqqqqq"},
        {'F', "From: a@b (" SJIS_NIHONGO SJIS_NIHONGO SJIS_NIHONGO ")\r\n", SJIS_NIHONGO SJIS_NIHONGO "\x93\xFA"},
    };
    for (const auto &c : cases) {
        const char *line = c.line.c_str();
        EXPECT_EQ(c.field == 'D' ? Field<4>(DateField, line) : Field<16>(FromField, line), c.text) << c.line;
    }
    const char *months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    for (int m = 0; m < 12; m++) {
        char line[32], expected[8];
        snprintf(line, sizeof line, "Date: 31 %.3s 1999\r\n", months + 3 * m);
        snprintf(expected, sizeof expected, "%02d31", m + 1);
        EXPECT_EQ(Field<4>(DateField, line), expected);
    }
}
