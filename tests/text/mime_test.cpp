/* Encoded words and base64. No windows.h: shared with the native build. */
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

std::string Word(const std::string &base64)
{
    return kOpening + base64 + "?=";
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

/* Encodes `jis` onto `list`, frees the list and returns its words. */
std::vector<std::string> EncodeWords(const std::string &jis, EncodedWord *list = nullptr)
{
    EXPECT_EQ(EncodeAsWords(&list, jis.c_str()), 1);
    std::vector<std::string> texts;
    for (const EncodedWord *word = list; word; word = word->next)
        texts.push_back(word->text);
    ReleaseWordList(list);
    return texts;
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

TEST(EncodeWords, Texts)
{
    struct Encoding {
        std::string jis;
        std::vector<std::string> words;
    };
    const std::string pairs = "%M%C%H%K%e!<%9$NFI$_J}$O"; /* ネットニュースの読み方は */
    const Encoding encodings[] = {
        {"", {}},
        {"Hello", {Word("SGVsbG8=")}},
        {"\x1B$B" + kNihongoJis + "\x1B(B", {Word("GyRCRnxLXDhsGyhC")}},
        /* A piece, its next token and three bytes stay below 26 bytes: 22
         * single bytes; ESC $ B and eight pairs leave room for ESC ( B. */
        {"abcdefghijklmnopqrstuvwxyz0123", {Word("YWJjZGVmZ2hpamtsbW5vcHFyc3R1dg=="), Word("d3h5ejAxMjM=")}},
        {"\x1B$B" + pairs.substr(0, 16) + "\x1B(B", {Word("GyRCJU0lQyVIJUslZSE8JTkkThsoQg==")}},
        /* After twenty single bytes ESC $ B no longer fits. */
        {"abcdefghijklmnopqrst\x1B$BF|\x1B(B", {Word("YWJjZGVmZ2hpamtsbW5vcHFyc3Q="), Word("GyRCRnwbKEI=")}},
        /* Two-byte mode carries over: each word closes it, the next reopens it. */
        {"\x1B$B" + pairs + "\x1B(B", {Word("GyRCJU0lQyVIJUslZSE8JTkkTkZJGyhC"), Word("GyRCJF9KfSRPGyhC")}},
        {"Re: \x1B$B" + pairs.substr(0, 20) + "\x1B(B test",
         {Word("UmU6IBskQiVNJUMlSCVLJWUhPCU5GyhC"), Word("GyRCJE5GSSRfGyhCIHRlc3Q=")}},
        /* ESC ( B first in a word is skipped, leaving an empty word when
         * nothing follows; ESC $ B last in a word moves to the next. */
        {"\x1B$B" + pairs.substr(0, 18) + "\x1B(B", {Word("GyRCJU0lQyVIJUslZSE8JTkkTkZJGyhC"), ""}},
        {"\x1B$B" + pairs.substr(0, 18) + "\x1B(Babc", {Word("GyRCJU0lQyVIJUslZSE8JTkkTkZJGyhC"), Word("YWJj")}},
        {"abcdefghijklmnopqrs\x1B$BF|\x1B(Bx", {Word("YWJjZGVmZ2hpamtsbW5vcHFycw=="), Word("GyRCRnwbKEJ4")}},
        /* A text ending in two-byte mode still gets its closing escape. */
        {"\x1B$B" + kNihongoJis, {Word("GyRCRnxLXDhsGyhC")}},
    };
    for (const Encoding &encoding : encodings)
        EXPECT_EQ(EncodeWords(encoding.jis), encoding.words) << "row " << &encoding - encodings;

    /* Words are appended to an existing list. */
    EncodedWord *list = nullptr;
    ASSERT_EQ(EncodeAsWords(&list, "Hello"), 1);
    EXPECT_EQ(EncodeWords("Hi", list), (std::vector<std::string>{Word("SGVsbG8="), Word("SGk=")}));
}

TEST(Base64, Encodings)
{
    const Conversion encodings[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"}, {"\xFB\xFF", "+/8="}, {"\xFF\xFF\xFF", "////"}, {"\x80", "gA=="},
        {kAlphabetBytes, kAlphabet}, {kChiJis, "GyRCJEEbKEI="},
    };
    for (const Conversion &encoding : encodings) {
        EXPECT_EQ(ConvertLine(Base64Encode, encoding.from, Base64EncodedSize), encoding.to) << encoding.to;
        EXPECT_EQ(Base64EncodedSize(encoding.from.size()), encoding.to.size() + 1) << encoding.to;
    }
}
