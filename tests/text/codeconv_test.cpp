/*
 * Byte-level tests of the ISO-2022-JP <-> Shift_JIS conversion. No windows.h:
 * the same cases run under Wine and in the native sanitizer build.
 */
#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "japanese_samples.h"
#include "text/byte_error.h"
#include "text/codeconv.h"

namespace {

const std::string kToTwoByte = "\x1B$B";
const std::string kToSingleByte = "\x1B(B";
const std::string kToKatakana = "\x1B(I";

std::string Bytes(std::initializer_list<int> values)
{
    std::string text;
    for (int value : values)
        text.push_back((char)value);
    return text;
}

/* Runs the line conversion into a buffer of exactly strlen + 1 bytes whose
 * other bytes are poisoned, and checks the result stays inside it. */
std::string LineToSjis(const std::string &line)
{
    std::vector<char> source(line.size() + 1, '\0');
    memcpy(source.data(), line.data(), line.size());
    size_t source_length = strlen(source.data());
    std::vector<char> destination(source_length + 1, '\xCC');
    JisLineToSjis(source.data(), destination.data());
    size_t length = strnlen(destination.data(), destination.size());
    EXPECT_LT(length, destination.size()) << "destination not NUL-terminated";
    EXPECT_LE(length, source_length);
    return std::string(destination.data(), length);
}

std::string ToJis(const std::string &text)
{
    /* A buffer of exactly the text's size, so reading past it shows. */
    std::vector<char> source(text.size() + 1, '\0');
    memcpy(source.data(), text.data(), text.size());
    char *jis = SjisToJis(source.data());
    EXPECT_NE(jis, nullptr);
    if (!jis)
        return std::string();
    std::string result(jis);
    free(jis);
    return result;
}

std::string SampleSjis(const JapaneseSample &sample)
{
    return std::string((const char *)sample.sjis, 2);
}

std::string SampleJis(const JapaneseSample &sample)
{
    return std::string((const char *)sample.jis, 2);
}

/* 日本語 */
const std::string kNihongoSjis = Bytes({0x93, 0xFA, 0x96, 0x7B, 0x8C, 0xEA});
const std::string kNihongoJis = Bytes({0x46, 0x7C, 0x4B, 0x5C, 0x38, 0x6C});
const std::string kNihongoEuc = Bytes({0xC6, 0xFC, 0xCB, 0xDC, 0xB8, 0xEC});

} // namespace

/* ---- ISO-2022-JP line to Shift_JIS ---- */

TEST(JisLine, KanjiBetweenEscapesBecomesOnePair)
{
    EXPECT_EQ(LineToSjis(kToTwoByte + "\x30\x21" + kToSingleByte), Bytes({0x88, 0x9F}));
    EXPECT_EQ(LineToSjis(kToTwoByte + kNihongoJis + kToSingleByte), kNihongoSjis);
}

TEST(JisLine, EscapesAreConsumedAndTextAroundThemKept)
{
    EXPECT_EQ(LineToSjis("Re: " + kToTwoByte + kNihongoJis + kToSingleByte + " test\r\n"),
              "Re: " + kNihongoSjis + " test\r\n");
}

TEST(JisLine, EveryTwoByteEscapeEntersTwoByteMode)
{
    const std::string escapes[] = {"\x1B$B", "\x1B$@", "\x1BK"};
    for (const std::string &escape : escapes) {
        SCOPED_TRACE(escape.substr(1));
        EXPECT_EQ(LineToSjis("a" + escape + "\x30\x21" + "\x46\x7C"), "a" + Bytes({0x88, 0x9F, 0x93, 0xFA}));
    }
}

TEST(JisLine, EverySingleByteEscapeLeavesTwoByteMode)
{
    /* "0!" would be the pair 0x30 0x21 if two-byte mode were still on. */
    const std::string escapes[] = {"\x1B(B", "\x1B(J", "\x1B(H", "\x1BH"};
    for (const std::string &escape : escapes) {
        SCOPED_TRACE(escape.substr(1));
        EXPECT_EQ(LineToSjis(kToTwoByte + "\x46\x7C" + escape + "0!"), Bytes({0x93, 0xFA}) + "0!");
        EXPECT_EQ(LineToSjis(kToKatakana + "1" + escape + "1"), Bytes({0xB1}) + "1");
    }
}

TEST(JisLine, KatakanaModeSetsTheTopBit)
{
    EXPECT_EQ(LineToSjis(kToKatakana + "\x31"), Bytes({0xB1}));
    /* ﾆｭｰｽ */
    EXPECT_EQ(LineToSjis(kToKatakana + "\x46\x2D\x30\x3D" + kToSingleByte + "!"), Bytes({0xC6, 0xAD, 0xB0, 0xBD}) + "!");

    std::string all;
    std::string expected;
    for (int c = 0x21; c <= 0x5F; c++) {
        all.push_back((char)c);
        expected.push_back((char)(c | 0x80));
    }
    EXPECT_EQ(LineToSjis(kToKatakana + all), expected);
}

TEST(JisLine, ModesSwitchWithinOneLine)
{
    EXPECT_EQ(LineToSjis("A" + kToKatakana + "1" + kToTwoByte + "\x30\x21" + kToKatakana + "2" + kToSingleByte + "B"),
              "A" + Bytes({0xB1, 0x88, 0x9F, 0xB2}) + "B");
}

TEST(JisLine, UnknownEscapesAreOrdinaryBytes)
{
    EXPECT_EQ(LineToSjis("a\x1B(Zb"), "a\x1B(Zb");
    EXPECT_EQ(LineToSjis("a\x1B$Ab"), "a\x1B$Ab");
    EXPECT_EQ(LineToSjis("a\x1Bxb"), "a\x1Bxb");
    /* In two-byte mode ESC stands alone like any control byte. */
    EXPECT_EQ(LineToSjis(kToTwoByte + "\x1B" + "\x30\x21"), Bytes({0x1B, 0x88, 0x9F}));
    /* Escapes cut off by the end of the line. */
    EXPECT_EQ(LineToSjis("ab\x1B"), "ab\x1B");
    EXPECT_EQ(LineToSjis("ab\x1B$"), "ab\x1B$");
    EXPECT_EQ(LineToSjis("ab\x1B("), "ab\x1B(");
}

TEST(JisLine, LineEndingInTwoByteModeDoesNotCarryOver)
{
    EXPECT_EQ(LineToSjis(kToTwoByte + kNihongoJis), kNihongoSjis);
    EXPECT_EQ(LineToSjis("0!F|"), "0!F|");
    EXPECT_EQ(LineToSjis(kToTwoByte + kNihongoJis + "\r\n"), kNihongoSjis + "\r\n");
    EXPECT_EQ(LineToSjis("0!\r\n"), "0!\r\n");
}

TEST(JisLine, EucPairsInTwoByteModeAreConverted)
{
    EXPECT_EQ(LineToSjis(kToTwoByte + kNihongoEuc + kToSingleByte), kNihongoSjis);
    EXPECT_EQ(LineToSjis(kToTwoByte + "\x30\x21" + kNihongoEuc + "\x30\x21"),
              Bytes({0x88, 0x9F}) + kNihongoSjis + Bytes({0x88, 0x9F}));
    /* Outside two-byte mode EUC bytes are copied as they are. */
    EXPECT_EQ(LineToSjis(kNihongoEuc), kNihongoEuc);
}

TEST(JisLine, UnpairedBytesAreCopied)
{
    /* A JIS byte followed by a byte outside 0x21-0x7E. */
    EXPECT_EQ(LineToSjis(kToTwoByte + "\x30 " + "\x30\x21"), Bytes({0x30, 0x20, 0x88, 0x9F}));
    EXPECT_EQ(LineToSjis(kToTwoByte + "\x30\xC6" + "\x30\x21"), Bytes({0x30, 0xC6, 0x88, 0x9F}));
    /* An EUC byte followed by a byte outside 0xA1-0xFE. */
    EXPECT_EQ(LineToSjis(kToTwoByte + "\xC6\x41" + "\x30\x21"), Bytes({0xC6, 0x41, 0x88, 0x9F}));
    EXPECT_EQ(LineToSjis(kToTwoByte + "\xC6\xFF" + "\x30\x21"), Bytes({0xC6, 0xFF, 0x88, 0x9F}));
}

TEST(JisLine, OtherBytesStandAloneInTwoByteMode)
{
    const int singles[] = {0x01, 0x09, 0x0A, 0x0D, 0x20, 0x7F, 0x80, 0x9F, 0xA0, 0xFF};
    for (int single : singles) {
        SCOPED_TRACE(single);
        EXPECT_EQ(LineToSjis(kToTwoByte + Bytes({single, 0x30, 0x21, single, 0x46, 0x7C})),
                  Bytes({single, 0x88, 0x9F, single, 0x93, 0xFA}));
    }
}

TEST(JisLine, NulInSecondPositionEndsTheLine)
{
    EXPECT_EQ(LineToSjis(kToTwoByte + "\x30\x21\x30"), Bytes({0x88, 0x9F, 0x30}));
    EXPECT_EQ(LineToSjis(kToTwoByte + "\x30\x21\xC6"), Bytes({0x88, 0x9F, 0xC6}));
}

TEST(JisLine, SingleByteTextIsCopied)
{
    EXPECT_EQ(LineToSjis(""), "");
    std::string all;
    for (int c = 1; c <= 0xFF; c++) {
        if (c != 0x1B)
            all.push_back((char)c);
    }
    EXPECT_EQ(LineToSjis(all), all);
}

TEST(JisLine, EverySampleCharacter)
{
    for (const JapaneseSample &sample : kJapaneseSamples) {
        SCOPED_TRACE(sample.code_point);
        EXPECT_EQ(LineToSjis(kToTwoByte + SampleJis(sample) + kToSingleByte), SampleSjis(sample));
    }
    EXPECT_EQ(LineToSjis(kToTwoByte + AllSamplesJis()), AllSamplesSjis());
}

/* ---- Pair arithmetic ---- */

TEST(PairMapping, SampleCharactersBothWays)
{
    for (const JapaneseSample &sample : kJapaneseSamples) {
        SCOPED_TRACE(sample.code_point);
        unsigned char s1 = 0, s2 = 0, j1 = 0, j2 = 0;
        JisPairToSjis(sample.jis[0], sample.jis[1], &s1, &s2);
        EXPECT_EQ(s1, sample.sjis[0]);
        EXPECT_EQ(s2, sample.sjis[1]);
        SjisPairToJis(sample.sjis[0], sample.sjis[1], &j1, &j2);
        EXPECT_EQ(j1, sample.jis[0]);
        EXPECT_EQ(j2, sample.jis[1]);
    }
}

TEST(PairMapping, WholeJisGridMapsOneToOneIntoShiftJis)
{
    std::vector<bool> seen(0x10000, false);
    for (int j1 = 0x21; j1 <= 0x7E; j1++) {
        for (int j2 = 0x21; j2 <= 0x7E; j2++) {
            unsigned char s1, s2, back1, back2;
            JisPairToSjis((unsigned char)j1, (unsigned char)j2, &s1, &s2);
            ASSERT_TRUE(IsSjisLeadByte(s1)) << j1 << "," << j2;
            ASSERT_TRUE(s1 <= 0xEF) << j1 << "," << j2;
            ASSERT_TRUE(s2 >= 0x40 && s2 <= 0xFC && s2 != 0x7F) << j1 << "," << j2;
            ASSERT_FALSE(seen[s1 * 256 + s2]) << j1 << "," << j2;
            seen[s1 * 256 + s2] = true;
            SjisPairToJis(s1, s2, &back1, &back2);
            ASSERT_EQ(back1, j1);
            ASSERT_EQ(back2, j2);
        }
    }
}

TEST(PairMapping, ShiftJisOutsideTheGridWrapsModulo256)
{
    unsigned char j1, j2;
    /* The user-defined area beyond JIS row 0x7E. */
    SjisPairToJis(0xF0, 0x40, &j1, &j2);
    EXPECT_EQ(j1, 0x7F);
    EXPECT_EQ(j2, 0x21);
    SjisPairToJis(0xFC, 0xFC, &j1, &j2);
    EXPECT_EQ(j1, 0x98);
    EXPECT_EQ(j2, 0x7E);
}

/* ---- Shift_JIS to ISO-2022-JP ---- */

TEST(SjisToJis, AsciiGetsOnlyTheClosingEscape)
{
    EXPECT_EQ(ToJis("Hello, world"), "Hello, world" + kToSingleByte);
    EXPECT_EQ(ToJis(""), kToSingleByte);
}

TEST(SjisToJis, KanjiRunIsWrappedInEscapes)
{
    EXPECT_EQ(ToJis(kNihongoSjis), kToTwoByte + kNihongoJis + kToSingleByte);
    EXPECT_EQ(ToJis("Re: " + kNihongoSjis + " test"),
              "Re: " + kToTwoByte + kNihongoJis + kToSingleByte + " test" + kToSingleByte);
    EXPECT_EQ(ToJis("a" + kNihongoSjis + "b" + kNihongoSjis),
              "a" + kToTwoByte + kNihongoJis + kToSingleByte + "b" + kToTwoByte + kNihongoJis + kToSingleByte);
}

TEST(SjisToJis, HalfWidthKatakanaStaysSingleByte)
{
    EXPECT_EQ(ToJis(Bytes({0xB1, 0xC6, 0xDF})), Bytes({0xB1, 0xC6, 0xDF}) + kToSingleByte);
    EXPECT_EQ(ToJis(kNihongoSjis + Bytes({0xB1})),
              kToTwoByte + kNihongoJis + kToSingleByte + Bytes({0xB1}) + kToSingleByte);
}

TEST(SjisToJis, TrailBytesOutsideTheTableAreCopied)
{
    const int copied[] = {0x01, 0x30, 0x3F, 0x7F, 0xFD, 0xFF};
    for (int trail : copied) {
        SCOPED_TRACE(trail);
        EXPECT_EQ(ToJis(Bytes({0x88, trail, 0x88, 0x9F})),
                  kToTwoByte + Bytes({0x88, trail, 0x30, 0x21}) + kToSingleByte);
    }
    /* The edges of the trail range are converted. */
    EXPECT_EQ(ToJis(Bytes({0x81, 0x40, 0x88, 0xFC})), kToTwoByte + Bytes({0x21, 0x21, 0x30, 0x7E}) + kToSingleByte);
}

TEST(SjisToJis, LeadByteCutOffByTheEnd)
{
    EXPECT_EQ(ToJis("A" + Bytes({0x88})), "A" + kToTwoByte + Bytes({0x88}) + kToSingleByte);
}

TEST(SjisToJis, GrowsPast256Bytes)
{
    /* The text, its closing escape and the NUL fill 256 bytes exactly at
     * 252 characters; one more needs the buffer to grow. */
    for (size_t length : {251u, 252u, 253u, 256u, 300u, 1000u}) {
        SCOPED_TRACE(length);
        std::string ascii(length, 'x');
        EXPECT_EQ(ToJis(ascii), ascii + kToSingleByte);
    }

    std::string sjis;
    std::string jis;
    for (int i = 0; i < 300; i++) {
        sjis += "a" + kNihongoSjis;
        jis += (i ? kToSingleByte : "") + "a" + kToTwoByte + kNihongoJis;
    }
    /* The last run is closed by the final escape alone. */
    EXPECT_EQ(ToJis(sjis), jis + kToSingleByte);
}

TEST(SjisToJis, SampleCharacters)
{
    for (const JapaneseSample &sample : kJapaneseSamples) {
        SCOPED_TRACE(sample.code_point);
        EXPECT_EQ(ToJis(SampleSjis(sample)), kToTwoByte + SampleJis(sample) + kToSingleByte);
    }
    EXPECT_EQ(ToJis(AllSamplesSjis()), kToTwoByte + AllSamplesJis() + kToSingleByte);
}

TEST(SjisToJis, RoundTripsThroughTheLineConversion)
{
    std::string mixed;
    for (const JapaneseSample &sample : kJapaneseSamples)
        mixed += SampleSjis(sample) + " " + Bytes({0xB1}) + SampleSjis(sample) + "x";
    EXPECT_EQ(LineToSjis(ToJis(mixed)), mixed);

    /* Every character of the JIS X 0208 grid, one text of 17672 bytes. */
    std::string grid;
    for (int j1 = 0x21; j1 <= 0x7E; j1++) {
        for (int j2 = 0x21; j2 <= 0x7E; j2++) {
            unsigned char s1, s2;
            JisPairToSjis((unsigned char)j1, (unsigned char)j2, &s1, &s2);
            grid.push_back((char)s1);
            grid.push_back((char)s2);
        }
    }
    std::string jis = ToJis(grid);
    ASSERT_EQ(jis.size(), grid.size() + 6);
    EXPECT_EQ(LineToSjis(jis), grid);
}

/* ---- Cutting Shift_JIS text ---- */

TEST(SjisCut, AsciiIsCutAtTheLimit)
{
    EXPECT_EQ(SjisCutLength("abcdef", 0), 0u);
    EXPECT_EQ(SjisCutLength("abcdef", 4), 4u);
    EXPECT_EQ(SjisCutLength("abcdef", 6), 6u);
    EXPECT_EQ(SjisCutLength("abcdef", 100), 6u);
    EXPECT_EQ(SjisCutLength("", 10), 0u);
}

TEST(SjisCut, LimitOnALeadByteKeepsTheWholeCharacterOut)
{
    const std::string text = "A" + kNihongoSjis; /* A 93 FA 96 7B 8C EA */
    const size_t expected[] = {0, 1, 1, 3, 3, 5, 5, 7, 7, 7};
    for (size_t limit = 0; limit < sizeof(expected) / sizeof(expected[0]); limit++) {
        SCOPED_TRACE(limit);
        EXPECT_EQ(SjisCutLength(text.c_str(), limit), expected[limit]);
    }
}

TEST(SjisCut, TrailBytesThatLookLikeLeadBytes)
{
    /* 93 FA: the trail 0xFA is in the lead range too. */
    const std::string text = Bytes({0x93, 0xFA, 0x93, 0xFA, 0x81, 0x81});
    EXPECT_EQ(SjisCutLength(text.c_str(), 1), 0u);
    EXPECT_EQ(SjisCutLength(text.c_str(), 2), 2u);
    EXPECT_EQ(SjisCutLength(text.c_str(), 3), 2u);
    EXPECT_EQ(SjisCutLength(text.c_str(), 5), 4u);
    EXPECT_EQ(SjisCutLength(text.c_str(), 6), 6u);
}

TEST(SjisCut, HalfWidthKatakanaAreSingleBytes)
{
    const std::string text = Bytes({0xB1, 0xC6, 0xDF, 0x88, 0x9F});
    EXPECT_EQ(SjisCutLength(text.c_str(), 2), 2u);
    EXPECT_EQ(SjisCutLength(text.c_str(), 3), 3u);
    EXPECT_EQ(SjisCutLength(text.c_str(), 4), 3u);
    EXPECT_EQ(SjisCutLength(text.c_str(), 5), 5u);
}

TEST(SjisCut, StopsAtNul)
{
    const char text[] = "ab\0cd";
    EXPECT_EQ(SjisCutLength(text, 5), 2u);
    /* A lead byte the text ends on has no trail to lose. */
    const std::string lone = "a" + Bytes({0x88});
    EXPECT_EQ(SjisCutLength(lone.c_str(), 2), 2u);
    EXPECT_EQ(SjisCutLength(lone.c_str(), 10), 2u);
}
