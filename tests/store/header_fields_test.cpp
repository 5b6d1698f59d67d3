#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "store/header_fields.h"
#include "sjis_samples.h"

namespace {

std::string Subject(const char *text)
{
    char field[48];
    memset(field, 'Z', sizeof field);
    SubjectField(text, field);
    std::string s(field, sizeof field);
    EXPECT_EQ(s.find('Z'), std::string::npos) << "every byte written";
    size_t end = s.find('\0');
    EXPECT_NE(end, std::string::npos);
    EXPECT_EQ(s.find_first_not_of('\0', end), std::string::npos) << "NUL-padded";
    return s.substr(0, end);
}

std::string Date(const char *line)
{
    char field[4];
    DateField(line, field);
    return std::string(field, 4);
}

std::string From(const char *line)
{
    char field[16];
    memset(field, 'Z', sizeof field);
    FromField(line, field);
    std::string s(field, sizeof field);
    size_t end = s.find('\0');
    EXPECT_NE(end, std::string::npos);
    EXPECT_EQ(s.find_first_not_of('\0', end), std::string::npos) << "NUL-padded";
    return s.substr(0, end);
}

} // namespace

TEST(SubjectField, CopiesUpToTheLineEnd)
{
    EXPECT_EQ(Subject("Hello world\r\nFrom: x\r\n"), "Hello world");
    EXPECT_EQ(Subject("lf ends too\nmore"), "lf ends too");
    EXPECT_EQ(Subject("\r\n"), "");
    EXPECT_EQ(Subject(""), "");
    EXPECT_EQ(Subject(nullptr), "(none)");
}

TEST(SubjectField, CutsAt47BytesNeverSplittingACharacter)
{
    std::string a60(60, 'a');
    EXPECT_EQ(Subject((a60 + "\r\n").c_str()), std::string(47, 'a'));
    /* 45 + a two-byte character = 47: kept whole. */
    EXPECT_EQ(Subject((std::string(45, 'a') + SJIS_NIHONGO "\r\n").c_str()), std::string(45, 'a') + "\x93\xFA");
    /* 46 + a two-byte character: its lead byte would be byte 47 alone. */
    EXPECT_EQ(Subject((std::string(46, 'a') + SJIS_NIHONGO "\r\n").c_str()), std::string(46, 'a'));
    /* A run of two-byte characters from an odd start. */
    std::string kanji;
    for (int i = 0; i < 30; i++)
        kanji += SJIS_HYO;
    EXPECT_EQ(Subject(("x" + kanji).c_str()), "x" + kanji.substr(0, 46));
    /* A trail byte that looks like '\\' stays with its lead byte. */
    EXPECT_EQ(Subject(SJIS_HYO "\r\n"), SJIS_HYO);
    /* A lead byte with no trail byte before the line end is dropped. */
    EXPECT_EQ(Subject("ab\x93\r\n"), "ab");
    EXPECT_EQ(Subject("ab\x93"), "ab");
}

TEST(DateField, DayAndEnglishMonth)
{
    EXPECT_EQ(Date("Date: Tue, 5 Mar 2002 10:00:00 +0900\r\n"), "0305");
    EXPECT_EQ(Date("Date: Tue, 05 Mar 2002 10:00:00 +0900\r\n"), "0305");
    EXPECT_EQ(Date("Date: 25 Dec 2001 23:59:59 GMT\r\n"), "1225");
    EXPECT_EQ(Date("Date: Wed, 1 Jan 2003"), "0101");
    /* The byte between day and month is not looked at. */
    EXPECT_EQ(Date("Date: 5-Mar-2002\r\n"), "0305");
    static const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int m = 0; m < 12; m++) {
        char expected[5];
        snprintf(expected, sizeof expected, "%02d31", m + 1);
        EXPECT_EQ(Date((std::string("Date: 31 ") + months[m] + " 1999\r\n").c_str()), expected) << months[m];
    }
}

TEST(DateField, UnreadableDatesGiveZeros)
{
    EXPECT_EQ(Date(nullptr), "0000");
    EXPECT_EQ(Date("Date: Mar 5 2002\r\n"), "0000");         /* month before day */
    EXPECT_EQ(Date("Date: Tue, 5 mar 2002\r\n"), "0000");    /* case-sensitive */
    EXPECT_EQ(Date("Date: 2002-03-05\r\n"), "0000");         /* numeric month */
    EXPECT_EQ(Date("Date: Tuesday\r\nSubject: 5 Mar\r\n"), "0000"); /* CR before any digit */
    EXPECT_EQ(Date("Date: \r\n"), "0000");
    EXPECT_EQ(Date("Date:"), "0000");
    EXPECT_EQ(Date("Date: 5"), "0000");
    EXPECT_EQ(Date("Date: 5 Ma"), "0000");
    /* The text starts after six bytes, whatever they are. */
    EXPECT_EQ(Date("Date:5 Mar 2002\r\n"), "0000");
}

TEST(FromField, NameBeforeAnAddressInAngleBrackets)
{
    EXPECT_EQ(From("From: \"Taro Yamada\" <taro@example.jp>\r\n"), "Taro Yamada");
    EXPECT_EQ(From("From: Taro Yamada <taro@example.jp>\r\n"), "Taro Yamada");
    EXPECT_EQ(From("From: " SJIS_YAMADA " <yamada@example.jp>\r\n"), SJIS_YAMADA);
    /* A name written against '<' loses its last byte; a two-byte character
     * cut that way is dropped whole. */
    EXPECT_EQ(From("From: Taro<taro@example.jp>\r\n"), "Tar");
    EXPECT_EQ(From("From: " SJIS_YAMADA "<yamada@example.jp>\r\n"), "\x8E\x52");
    /* The last '<' counts, and '>' must be the line's last character. */
    EXPECT_EQ(From("From: a (b) <c@d>\r\n"), "a (b)");
    EXPECT_EQ(From("From: <only@address>\r\n"), "(Unknown)");
    EXPECT_EQ(From("From: \"\" <x@y>\r\n"), "(Unknown)");
}

TEST(FromField, NameInParenthesesAfterTheAddress)
{
    EXPECT_EQ(From("From: taro@example.jp (Taro Yamada)\r\n"), "Taro Yamada");
    EXPECT_EQ(From("From: t@x (a (b))\r\n"), "a (b)");
    EXPECT_EQ(From("From: t@x ()\r\n"), "(Unknown)");
    EXPECT_EQ(From("From: t@x (" SJIS_NIHONGO ")\r\n"), SJIS_NIHONGO);
}

TEST(FromField, BareAddressCutTo15Bytes)
{
    EXPECT_EQ(From("From: averyveryverylongaddress@example.com\r\n"), "averyveryverylo");
    EXPECT_EQ(From("From: t@x\r\n"), "t@x");
    EXPECT_EQ(From("From: t@x (unclosed\r\n"), "t@x (unclosed");
    EXPECT_EQ(From("From: name>\r\n"), "name>");
    EXPECT_EQ(From("From: \r\n"), "(Unknown)");
    EXPECT_EQ(From("From:"), "(Unknown)");
    EXPECT_EQ(From(nullptr), "(Unknown)");
}

TEST(FromField, NeverSplitsACharacterAtThe15ByteLimit)
{
    /* 13 + two bytes = 15: kept. */
    EXPECT_EQ(From(("From: " + std::string(13, 'n') + SJIS_NIHONGO "\r\n").c_str()),
              std::string(13, 'n') + "\x93\xFA");
    /* 14 + two bytes: the lead byte would be the 15th alone. */
    EXPECT_EQ(From(("From: " + std::string(14, 'n') + SJIS_NIHONGO "\r\n").c_str()), std::string(14, 'n'));
    /* The same limit applies inside quotes and parentheses. */
    EXPECT_EQ(From(("From: \"" + std::string(14, 'q') + SJIS_HYO "\" <a@b>\r\n").c_str()), std::string(14, 'q'));
    EXPECT_EQ(From("From: a@b (" SJIS_NIHONGO SJIS_NIHONGO SJIS_NIHONGO ")\r\n"),
              SJIS_NIHONGO SJIS_NIHONGO "\x93\xFA");
}

TEST(FieldCutLength, StopsAtLineEndsAndCharacterBoundaries)
{
    EXPECT_EQ(FieldCutLength("abc", 10), 3u);
    EXPECT_EQ(FieldCutLength("abc", 2), 2u);
    EXPECT_EQ(FieldCutLength("a" SJIS_HYO, 2), 1u);
    EXPECT_EQ(FieldCutLength("a" SJIS_HYO, 3), 3u);
    EXPECT_EQ(FieldCutLength("ab\rcd", 10), 2u);
    EXPECT_EQ(FieldCutLength("\xE0\n", 10), 0u);
    EXPECT_EQ(FieldCutLength("\xFC\xFC\x80", 10), 3u); /* 0x80 is no lead byte */
}
