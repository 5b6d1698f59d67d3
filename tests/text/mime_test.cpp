/* Encoded words. No windows.h: shared with the native build. The encoder and
 * base64 encoding, which only posting will use, are fuzzed as round trips. */
#include "text/mime.h"
#include "text_test.h"

namespace {

const std::string kOpening = "=?iso-2022-jp?B?";
/* The hiragana "ち" as a word and in ISO-2022-JP. */
const std::string kChi = "=?iso-2022-jp?B?GyRCJEEbKEI=?=";
const std::string kChiJis = "\x1B$B\x24\x41\x1B(B";

/* The decoder in the source-first shape of the line helpers. */
void DecodeLine(const char *src, char *dst)
{
    DecodeEncodedWords(dst, src);
}

/* Every character of the alphabet, "+" and "/" included, and its bytes. */
const std::string kAlphabet = "BCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/A";
const std::string kAlphabetBytes = "\x04\x20\xC4\x14\x61\xC8\x24\xA2\xCC\x34\xE3\xD0\x45\x24\xD4\x55\x65\xD8\x65\xA6"
                                   "\xDC\x75\xE7\xE0\x86\x28\xE4\x96\x69\xE8\xA6\xAA\xEC\xB6\xEB\xF0\xC7\x2C\xF4\xD7"
                                   "\x6D\xF8\xE7\xAE\xFC\xF7\xEF\xC0";

/* Decodes into a buffer of the source's size, and again in place: the same. */
std::string Decode(const std::string &line)
{
    std::string decoded = ConvertLine(DecodeLine, line);
    std::string in_place = line.c_str();
    DecodeEncodedWords(&in_place[0], &in_place[0]);
    EXPECT_STREQ(in_place.c_str(), decoded.c_str()) << "decoded in place";
    return decoded;
}

} // namespace

TEST(DecodeWords, Lines)
{
    const Conversion lines[] = {
        {kChi, kChiJis},
        {"=?ISO-2022-JP?B?GyRCJEEbKEI=?=", kChiJis},
        {"Subject: Re: " + kChi + " (2)\r\n", "Subject: Re: " + kChiJis + " (2)\r\n"},
        /* Blanks and folds between words are kept. */
        {kChi + " " + kChi, kChiJis + " " + kChiJis},
        {kChi + kChi, kChiJis + kChiJis},
        {kChi + "\r\n\t" + kChi + "\r\n", kChiJis + "\r\n\t" + kChiJis + "\r\n"},
        /* "=?" without a known opening is copied and decoding goes on. */
        {"=?utf-8?B?44Gh?= " + kChi, "=?utf-8?B?44Gh?= " + kChiJis},
        {"a=?b " + kChi + " c", "a=?b " + kChiJis + " c"},
        {"==?" + kChi, "==?" + kChiJis},
        /* A word followed by anything but "?=" ends the line, as does the
         * line's end; without a "?", " x" is a group: 64 * 4 + 49 / 16. */
        {"a " + kOpening + "GyRCJEEbKEI=?x tail " + kChi, "a " + kChiJis},
        {"a " + kOpening + "GyRCJEEbKEI=?" "?=", "a " + kChiJis},
        {"a " + kOpening + "GyRCJEEbKEI=", "a " + kChiJis},
        {kOpening + "GyRCJEEbKEI= x", kChiJis + "\x03"},
        {"a" + kOpening + "?=b", "ab"},
        /* Groups cut short by "?" or the end; missing characters count as
         * padding, a lone one still gives 17 * 4 + 64 / 16 = "H". */
        {kOpening + "QUJDRA?=x", "ABCDx"}, {kOpening + "QUJDREU?=x", "ABCDEx"}, {kOpening + "QUJDR?=x", "ABCHx"},
        {kOpening + "GyRCJEEbKEI?=x", kChiJis + "x"}, {kOpening + "QUJDREU", "ABCDE"}, {kOpening + "QUJDR", "ABCH"},
        {kOpening, ""},
        /* Padding, and bytes outside the alphabet worth 64 like "=". */
        {kOpening + "QQ==QUJD?=", "AABC"}, {kOpening + "QUI=QQ==?=", "ABA"}, {kOpening + "QUJ*?=", "AB"},
        {kOpening + "QU-D?=", "A"}, {kOpening + "====?=", "\x04"}, {kOpening + kAlphabet + "?=", kAlphabetBytes},
    };
    for (const Conversion &line : lines)
        EXPECT_EQ(Decode(line.from), line.to) << "row " << &line - lines;

    /* Other case mixes, "b", "Q", other charsets, no "=?", cut openings. */
    const std::string unchanged[] = {
        "=?Iso-2022-jp?B?GyRCJEEbKEI=?=", "=?iso-2022-JP?B?GyRCJEEbKEI=?=", "=?ISO-2022-jp?B?GyRCJEEbKEI=?=",
        "=?iso-2022-jp?b?GyRCJEEbKEI=?=", "=?ISO-2022-JP?b?GyRCJEEbKEI=?=", "=?iso-2022-jp*ja?B?GyRCJEEbKEI=?=",
        "=?iso-2022-jp?Q?=1B$B$A=1B(B?=", "=?ISO-2022-JP?Q?=1B$B$A=1B(B?=", "=?iso-8859-1?Q?caf=E9?=",
        "From: someone@example.com (Taro)\r\n", "a = b ? c : d; x?=y ?= =", "Subject: \x93\xFA\x96\x7B\xB1\xFF\x80",
        kChiJis, "x=?", "x=?iso-2022-jp?B", "x=?ISO-2022-JP", "x=", "",
    };
    for (const std::string &line : unchanged)
        EXPECT_EQ(Decode(line), line);
}
