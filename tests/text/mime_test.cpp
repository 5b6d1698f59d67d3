/*
 * Byte-level tests of the encoded-word decoder, the encoder and base64. No
 * windows.h: the same cases run under Wine and in the native sanitizer
 * build. Expected base64 texts were worked out by hand from the raw bytes
 * each comment names and checked against an independent base64 encoder.
 */
#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "japanese_samples.h"
#include "text/byte_error.h"
#include "text/codeconv.h"
#include "text/mime.h"

namespace {

const std::string kToTwoByte = "\x1B$B";
const std::string kToSingleByte = "\x1B(B";

std::string Bytes(std::initializer_list<int> values)
{
    std::string text;
    for (int value : values)
        text.push_back((char)value);
    return text;
}

/* Decodes into a destination of exactly strlen + 1 poisoned bytes, from a
 * source of exactly its own size, so any overrun is caught. */
std::string Decode(const std::string &line)
{
    std::vector<char> source(line.begin(), line.end());
    source.push_back('\0');
    size_t source_length = strlen(source.data());
    std::vector<char> destination(source_length + 1, '\xCC');
    DecodeEncodedWords(source.data(), destination.data());
    size_t length = strnlen(destination.data(), destination.size());
    EXPECT_LT(length, destination.size()) << "destination not NUL-terminated";
    EXPECT_LE(length, source_length);
    return std::string(destination.data(), length);
}

std::string Encode64(const std::string &bytes)
{
    std::vector<char> source(bytes.begin(), bytes.end());
    source.push_back('\0');
    std::vector<char> destination(Base64EncodedSize(strlen(source.data())), '\xCC');
    Base64Encode(source.data(), destination.data());
    size_t length = strnlen(destination.data(), destination.size());
    EXPECT_EQ(length + 1, destination.size()) << "size not as announced";
    return std::string(destination.data(), length);
}

std::vector<std::string> WordTexts(const EncodedWord *list)
{
    std::vector<std::string> texts;
    for (; list; list = list->next)
        texts.push_back(list->text);
    return texts;
}

std::vector<std::string> EncodeWords(const std::string &jis)
{
    EncodedWord *list = nullptr;
    EXPECT_EQ(EncodeAsWords(&list, jis.c_str()), 1);
    std::vector<std::string> texts = WordTexts(list);
    ReleaseWordList(list);
    return texts;
}

std::string WithoutModeEscapes(std::string text)
{
    for (const std::string &escape : {kToTwoByte, kToSingleByte}) {
        size_t at;
        while ((at = text.find(escape)) != std::string::npos)
            text.erase(at, escape.size());
    }
    return text;
}

std::string LineToSjis(const std::string &jis)
{
    std::vector<char> destination(jis.size() + 1);
    JisLineToSjis(jis.c_str(), destination.data());
    return destination.data();
}

/* The katakana and kanji of "ネットニュースの読み方は" in JIS X 0208, 24 bytes. */
const std::string kTwelvePairs = "%M%C%H%K%e!<%9$NFI$_J}$O";

/* 日本語 */
const std::string kNihongoJis = Bytes({0x46, 0x7C, 0x4B, 0x5C, 0x38, 0x6C});

/* ESC $ B 0x24 0x41 ESC ( B, the hiragana "ち". */
const std::string kChiWord = "GyRCJEEbKEI=";
const std::string kChiJis = kToTwoByte + "\x24\x41" + kToSingleByte;

} // namespace

/* ---- Decoding ---- */

TEST(DecodeWords, BothOpeningsAreDecoded)
{
    EXPECT_EQ(Decode("=?iso-2022-jp?B?" + kChiWord + "?="), kChiJis);
    EXPECT_EQ(Decode("=?ISO-2022-JP?B?" + kChiWord + "?="), kChiJis);
    EXPECT_EQ(Decode("Subject: Re: =?iso-2022-jp?B?" + kChiWord + "?= (2)\r\n"),
              "Subject: Re: " + kChiJis + " (2)\r\n");
}

TEST(DecodeWords, OtherSpellingsCharsetsAndEncodingsAreCopied)
{
    const std::string copied[] = {
        "=?Iso-2022-jp?B?" + kChiWord + "?=",
        "=?iso-2022-JP?B?" + kChiWord + "?=",
        "=?ISO-2022-jp?B?" + kChiWord + "?=",
        "=?iso-2022-jp?b?" + kChiWord + "?=",
        "=?ISO-2022-JP?b?" + kChiWord + "?=",
        "=?iso-2022-jp?Q?=1B$B$A=1B(B?=",
        "=?ISO-2022-JP?Q?=1B$B$A=1B(B?=",
        "=?utf-8?B?44Gh?=",
        "=?iso-8859-1?Q?caf=E9?=",
        "=?iso-2022-jp*ja?B?" + kChiWord + "?=",
    };
    for (const std::string &line : copied) {
        SCOPED_TRACE(line);
        EXPECT_EQ(Decode(line), line);
        EXPECT_EQ(Decode("x " + line + " y"), "x " + line + " y");
    }
    /* A word that is copied does not stop the next one from being decoded. */
    EXPECT_EQ(Decode("=?utf-8?B?44Gh?= =?iso-2022-jp?B?" + kChiWord + "?="), "=?utf-8?B?44Gh?= " + kChiJis);
}

TEST(DecodeWords, BlanksAndFoldsBetweenWordsAreKept)
{
    const std::string word = "=?iso-2022-jp?B?" + kChiWord + "?=";
    EXPECT_EQ(Decode(word + " " + word), kChiJis + " " + kChiJis);
    EXPECT_EQ(Decode(word + word), kChiJis + kChiJis);
    EXPECT_EQ(Decode(word + "\r\n\t" + word + "\r\n"), kChiJis + "\r\n\t" + kChiJis + "\r\n");
    EXPECT_EQ(Decode(word + "  x  " + word), kChiJis + "  x  " + kChiJis);
}

TEST(DecodeWords, LinesWithoutAnOpeningAreCopied)
{
    const std::string lines[] = {
        "",
        "From: someone@example.com (Taro)\r\n",
        "a = b ? c : d; x?=y ?= =",
        "Subject: " + Bytes({0x93, 0xFA, 0x96, 0x7B, 0xB1, 0xFF, 0x80}),
        kChiJis,
    };
    for (const std::string &line : lines) {
        SCOPED_TRACE(line);
        EXPECT_EQ(Decode(line), line);
    }
}

TEST(DecodeWords, EqualsQuestionWithoutAnOpeningIsCopiedAndDecodingGoesOn)
{
    const std::string word = "=?iso-2022-jp?B?" + kChiWord + "?=";
    EXPECT_EQ(Decode("a=?b " + word + " c"), "a=?b " + kChiJis + " c");
    EXPECT_EQ(Decode("=?" + word), "=?" + kChiJis);
    EXPECT_EQ(Decode("==?" + word), "==?" + kChiJis);
    /* Openings cut off by the end of the line. */
    EXPECT_EQ(Decode("x=?"), "x=?");
    EXPECT_EQ(Decode("x=?iso-2022-jp?B"), "x=?iso-2022-jp?B");
    EXPECT_EQ(Decode("x=?ISO-2022-JP"), "x=?ISO-2022-JP");
    EXPECT_EQ(Decode("x="), "x=");
}

TEST(DecodeWords, WordWithoutItsClosingEndsTheLine)
{
    /* "?" followed by anything but "=" drops the rest. */
    EXPECT_EQ(Decode("a =?iso-2022-jp?B?" + kChiWord + "?x tail =?iso-2022-jp?B?" + kChiWord + "?="), "a " + kChiJis);
    EXPECT_EQ(Decode("a =?iso-2022-jp?B?" + kChiWord + "?"), "a " + kChiJis);
    EXPECT_EQ(Decode("a =?iso-2022-jp?B?" + kChiWord + "?" "?="), "a " + kChiJis);
    /* A word running to the end of the line is decoded up to it. */
    EXPECT_EQ(Decode("a =?iso-2022-jp?B?" + kChiWord), "a " + kChiJis);
    /* Text after a word with no "?" is read as more groups: the blank and
     * the "x" make the byte 0x03 (64 * 4 + 49 / 16, cut to a byte). */
    EXPECT_EQ(Decode("=?iso-2022-jp?B?" + kChiWord + " x"), kChiJis + "\x03");
    /* An empty word. */
    EXPECT_EQ(Decode("a=?iso-2022-jp?B?" "?=b"), "ab");
}

TEST(DecodeWords, PaddingAndBytesOutsideTheAlphabet)
{
    auto word = [](const std::string &base64) { return Decode("=?iso-2022-jp?B?" + base64 + "?=."); };
    EXPECT_EQ(word("QQ=="), "A.");
    EXPECT_EQ(word("QUI="), "AB.");
    EXPECT_EQ(word("QUJD"), "ABC.");
    EXPECT_EQ(word("QUJDRA=="), "ABCD.");
    /* Decoding goes on after a padded group. */
    EXPECT_EQ(word("QQ==QUJD"), "AABC.");
    EXPECT_EQ(word("QUI=QQ=="), "ABA.");
    /* Any byte outside the alphabet stops a group's output like "=". */
    EXPECT_EQ(word("QUJ*"), "AB.");
    EXPECT_EQ(word("QU-D"), "A.");
    /* It is worth 64 in the first place too: 64 * 4 + 64 / 16 = 0x104. */
    EXPECT_EQ(word("===="), "\x04.");
    /* Every character of the alphabet, "+" and "/" included. */
    EXPECT_EQ(word("BCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/A"),
              Bytes({0x04, 0x20, 0xC4, 0x14, 0x61, 0xC8, 0x24, 0xA2, 0xCC, 0x34, 0xE3, 0xD0, 0x45, 0x24, 0xD4, 0x55,
                     0x65, 0xD8, 0x65, 0xA6, 0xDC, 0x75, 0xE7, 0xE0, 0x86, 0x28, 0xE4, 0x96, 0x69, 0xE8, 0xA6, 0xAA,
                     0xEC, 0xB6, 0xEB, 0xF0, 0xC7, 0x2C, 0xF4, 0xD7, 0x6D, 0xF8, 0xE7, 0xAE, 0xFC, 0xF7, 0xEF, 0xC0}) +
                  ".");
}

TEST(DecodeWords, GroupCutShortStopsAtTheQuestionMarkOrTheEnd)
{
    /* Missing characters count as padding; the "?=" after them still closes
     * the word. */
    EXPECT_EQ(Decode("=?iso-2022-jp?B?QUJDRA?=x"), "ABCDx");
    EXPECT_EQ(Decode("=?iso-2022-jp?B?QUJDREU?=x"), "ABCDEx");
    /* One lone character still gives its byte: 17 * 4 + 64 / 16 = 'H'. */
    EXPECT_EQ(Decode("=?iso-2022-jp?B?QUJDR?=x"), "ABCHx");
    EXPECT_EQ(Decode("=?iso-2022-jp?B?GyRCJEEbKEI?=x"), kChiJis + "x");
    /* The same groups cut by the end of the line. */
    EXPECT_EQ(Decode("=?iso-2022-jp?B?QUJDRA"), "ABCD");
    EXPECT_EQ(Decode("=?iso-2022-jp?B?QUJDREU"), "ABCDE");
    EXPECT_EQ(Decode("=?iso-2022-jp?B?QUJDR"), "ABCH");
    EXPECT_EQ(Decode("=?iso-2022-jp?B?"), "");
}

TEST(DecodeWords, DecodesInPlace)
{
    std::string line = "Subject: =?ISO-2022-JP?B?" + kChiWord + "?= =?iso-2022-jp?B?QUJDRA?=!";
    std::vector<char> buffer(line.begin(), line.end());
    buffer.push_back('\0');
    DecodeEncodedWords(buffer.data(), buffer.data());
    EXPECT_EQ(std::string(buffer.data()), "Subject: " + kChiJis + " ABCD!");
}

TEST(DecodeWords, FoldedJapaneseSubjectBecomesShiftJis)
{
    /* "Re: ネットニュースの" + "読み方について質問" as a header line and its
     * continuation line, the way a news server hands them over. */
    const std::string head = "Subject: Re: =?ISO-2022-JP?B?GyRCJU0lQyVIJUslZSE8JTkkThsoQg==?=\r\n";
    const std::string fold = " =?iso-2022-jp?B?GyRCRkkkX0p9JEskRCQkJEY8QUxkGyhC?=\r\n";
    const std::string head_sjis = Bytes({0x83, 0x6C, 0x83, 0x62, 0x83, 0x67, 0x83, 0x6A, 0x83, 0x85, 0x81, 0x5B,
                                         0x83, 0x58, 0x82, 0xCC});
    const std::string fold_sjis = Bytes({0x93, 0xC7, 0x82, 0xDD, 0x95, 0xFB, 0x82, 0xC9, 0x82, 0xC2, 0x82, 0xA2,
                                         0x82, 0xC4, 0x8E, 0xBF, 0x96, 0xE2});

    EXPECT_EQ(LineToSjis(Decode(head)), "Subject: Re: " + head_sjis + "\r\n");
    EXPECT_EQ(LineToSjis(Decode(fold)), " " + fold_sjis + "\r\n");
    /* Kept on one line, the fold stays between the two texts. */
    EXPECT_EQ(LineToSjis(Decode(head.substr(0, head.size() - 2) + "\r\n\t" + fold.substr(1))),
              "Subject: Re: " + head_sjis + "\r\n\t" + fold_sjis + "\r\n");
}

/* ---- Encoding ---- */

TEST(EncodeWords, ShortTextsMakeOneWord)
{
    EXPECT_EQ(EncodeWords("Hello"), std::vector<std::string>{"=?iso-2022-jp?B?SGVsbG8=?="});
    /* ESC $ B 日本語 ESC ( B */
    EXPECT_EQ(EncodeWords(kToTwoByte + kNihongoJis + kToSingleByte),
              std::vector<std::string>{"=?iso-2022-jp?B?GyRCRnxLXDhsGyhC?="});
}

TEST(EncodeWords, EmptyTextMakesNoWords)
{
    EncodedWord *list = nullptr;
    EXPECT_EQ(EncodeAsWords(&list, ""), 1);
    EXPECT_EQ(list, nullptr);
    ReleaseWordList(nullptr);
}

TEST(EncodeWords, PiecesStayBelowTwentySixBytesWithTheirNextToken)
{
    /* 22 single bytes: 22 + 1 + 3 is 26, so the 23rd starts a new word. */
    EXPECT_EQ(EncodeWords("abcdefghijklmnopqrstuvwxyz0123"),
              (std::vector<std::string>{"=?iso-2022-jp?B?YWJjZGVmZ2hpamtsbW5vcHFyc3R1dg==?=",
                                        "=?iso-2022-jp?B?d3h5ejAxMjM=?="}));
    /* ESC $ B and eight pairs (19 bytes) leave room for ESC ( B. */
    EXPECT_EQ(EncodeWords(kToTwoByte + kTwelvePairs.substr(0, 16) + kToSingleByte),
              std::vector<std::string>{"=?iso-2022-jp?B?GyRCJU0lQyVIJUslZSE8JTkkThsoQg==?="});
    /* Twenty single bytes: ESC $ B no longer fits and opens the next word. */
    EXPECT_EQ(EncodeWords("abcdefghijklmnopqrst" + kToTwoByte + "F|" + kToSingleByte),
              (std::vector<std::string>{"=?iso-2022-jp?B?YWJjZGVmZ2hpamtsbW5vcHFyc3Q=?=",
                                        "=?iso-2022-jp?B?GyRCRnwbKEI=?="}));
}

TEST(EncodeWords, TwoByteModeIsCarriedFromWordToWord)
{
    /* ESC $ B and nine pairs fill the first word, which closes with
     * ESC ( B; the second reopens two-byte mode for the last three. */
    EXPECT_EQ(EncodeWords(kToTwoByte + kTwelvePairs + kToSingleByte),
              (std::vector<std::string>{"=?iso-2022-jp?B?GyRCJU0lQyVIJUslZSE8JTkkTkZJGyhC?=",
                                        "=?iso-2022-jp?B?GyRCJF9KfSRPGyhC?="}));
    /* "Re: " + ESC $ B + seven pairs + ESC ( B, then ESC $ B + three pairs +
     * ESC ( B + " test". */
    EXPECT_EQ(EncodeWords("Re: " + kToTwoByte + kTwelvePairs.substr(0, 20) + kToSingleByte + " test"),
              (std::vector<std::string>{"=?iso-2022-jp?B?UmU6IBskQiVNJUMlSCVLJWUhPCU5GyhC?=",
                                        "=?iso-2022-jp?B?GyRCJE5GSSRfGyhCIHRlc3Q=?="}));
}

TEST(EncodeWords, EscapesAtTheEdgeOfAWord)
{
    /* ESC ( B first in the next word is skipped: the previous word has
     * already closed two-byte mode. Nothing left makes an empty word. */
    EXPECT_EQ(EncodeWords(kToTwoByte + kTwelvePairs.substr(0, 18) + kToSingleByte),
              (std::vector<std::string>{"=?iso-2022-jp?B?GyRCJU0lQyVIJUslZSE8JTkkTkZJGyhC?=", ""}));
    EXPECT_EQ(EncodeWords(kToTwoByte + kTwelvePairs.substr(0, 18) + kToSingleByte + "abc"),
              (std::vector<std::string>{"=?iso-2022-jp?B?GyRCJU0lQyVIJUslZSE8JTkkTkZJGyhC?=",
                                        "=?iso-2022-jp?B?YWJj?="}));
    /* An ESC $ B that ends a word is taken out; the next word opens with
     * its own before the pair. */
    EXPECT_EQ(EncodeWords("abcdefghijklmnopqrs" + kToTwoByte + "F|" + kToSingleByte + "x"),
              (std::vector<std::string>{"=?iso-2022-jp?B?YWJjZGVmZ2hpamtsbW5vcHFycw==?=",
                                        "=?iso-2022-jp?B?GyRCRnwbKEJ4?="}));
    /* A text ending in two-byte mode still gets its closing escape. */
    EXPECT_EQ(EncodeWords(kToTwoByte + kNihongoJis), std::vector<std::string>{"=?iso-2022-jp?B?GyRCRnxLXDhsGyhC?="});
}

TEST(EncodeWords, WordsDecodeBackToTheText)
{
    std::string sjis;
    for (const JapaneseSample &sample : kJapaneseSamples)
        sjis += std::string((const char *)sample.sjis, 2) + (sjis.size() % 7 ? "" : " ") + Bytes({0xB1});
    const std::string texts[] = {
        sjis,
        AllSamplesSjis(),
        "Re: " + AllSamplesSjis() + " (" + std::string(50, 'x') + ")",
        std::string(100, 'y'),
    };
    for (const std::string &text : texts) {
        char *jis_text = SjisToJis(text.c_str());
        ASSERT_NE(jis_text, nullptr);
        const std::string jis = jis_text;
        free(jis_text);

        std::vector<std::string> words = EncodeWords(jis);
        ASSERT_GT(words.size(), 1u);
        std::string pieces;
        std::string sjis_back;
        for (const std::string &word : words) {
            SCOPED_TRACE(word);
            if (word.empty())
                continue;
            EXPECT_LE(word.size(), 80u);
            EXPECT_EQ(word.compare(0, 16, "=?iso-2022-jp?B?"), 0);
            EXPECT_EQ(word.compare(word.size() - 2, 2, "?="), 0);
            std::string piece = Decode(word);
            EXPECT_LE(piece.size(), 25u);
            pieces += piece;
            /* Each word stands alone: converted by itself, it gives its share. */
            sjis_back += LineToSjis(piece);
        }
        EXPECT_EQ(WithoutModeEscapes(pieces), WithoutModeEscapes(jis));
        EXPECT_EQ(sjis_back, text);
        /* The words on one line decode to the whole text. */
        std::string line;
        for (const std::string &word : words)
            line += word;
        EXPECT_EQ(LineToSjis(Decode(line)), text);
    }
}

TEST(EncodeWords, WordsAreAppendedToAList)
{
    EncodedWord *list = nullptr;
    ASSERT_EQ(EncodeAsWords(&list, "Hello"), 1);
    ASSERT_EQ(EncodeAsWords(&list, "abcdefghijklmnopqrstuvwxyz0123"), 1);
    EXPECT_EQ(WordTexts(list), (std::vector<std::string>{"=?iso-2022-jp?B?SGVsbG8=?=",
                                                         "=?iso-2022-jp?B?YWJjZGVmZ2hpamtsbW5vcHFyc3R1dg==?=",
                                                         "=?iso-2022-jp?B?d3h5ejAxMjM=?="}));
    ReleaseWordList(list);
}

/* ---- Base64 ---- */

TEST(Base64, TestVectors)
{
    EXPECT_EQ(Encode64(""), "");
    EXPECT_EQ(Encode64("f"), "Zg==");
    EXPECT_EQ(Encode64("fo"), "Zm8=");
    EXPECT_EQ(Encode64("foo"), "Zm9v");
    EXPECT_EQ(Encode64("foob"), "Zm9vYg==");
    EXPECT_EQ(Encode64("fooba"), "Zm9vYmE=");
    EXPECT_EQ(Encode64("foobar"), "Zm9vYmFy");
}

TEST(Base64, HighBytesAndTheWholeAlphabet)
{
    EXPECT_EQ(Encode64(Bytes({0xFB, 0xFF})), "+/8=");
    EXPECT_EQ(Encode64(Bytes({0xFF, 0xFF, 0xFF})), "////");
    EXPECT_EQ(Encode64(Bytes({0x80})), "gA==");
    EXPECT_EQ(Encode64(Bytes({0x04, 0x20, 0xC4, 0x14, 0x61, 0xC8, 0x24, 0xA2, 0xCC, 0x34, 0xE3, 0xD0,
                              0x45, 0x24, 0xD4, 0x55, 0x65, 0xD8, 0x65, 0xA6, 0xDC, 0x75, 0xE7, 0xE0,
                              0x86, 0x28, 0xE4, 0x96, 0x69, 0xE8, 0xA6, 0xAA, 0xEC, 0xB6, 0xEB, 0xF0,
                              0xC7, 0x2C, 0xF4, 0xD7, 0x6D, 0xF8, 0xE7, 0xAE, 0xFC, 0xF7, 0xEF, 0xC0})),
              "BCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/A");
    /* ESC $ B 0x24 0x41 ESC ( B */
    EXPECT_EQ(Encode64(kChiJis), kChiWord);
}
