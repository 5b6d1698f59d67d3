/* Articles as clients send them to stored text. The expected bytes are
 * written from the published encodings: Shift_JIS 日本語 93FA 967B 8CEA,
 * 日本 93FA 967B, あ 82A0, か 82A9, 添付 9359 9574, ﾆｭｰｽ C6 AD B0 BD.
 * No windows.h: shared with the native build. */
#include "text_test.h"

#include <algorithm>

#include "text/article_decoder.h"
#include "text/mime.h"
#include "text/stored_text.h"

namespace {

const std::string kNihon = "\x93\xFA\x96\x7B";
const std::string kAttached = "[\x93\x59\x95\x74] ";

struct Decoded {
    std::string head, body;
};

/* Feeds the article's header lines, then its body lines in parts of at
 * most `part` bytes, as the download does, checking the output is stored
 * text at every step. */
Decoded DecodeArticle(const std::string &article, size_t part = 5)
{
    ArticleDecoder decoder;
    ArticleDecoderInit(&decoder);
    EXPECT_EQ(ArticleDecoderReset(&decoder), 1);
    Decoded result;
    auto take = [&](std::string *to) {
        std::string out(decoder.out.data ? decoder.out.data : "", decoder.out.used);
        EXPECT_TRUE(IsWellFormedStoredText(out.data(), out.size())) << out;
        *to += out;
        ArticleDecoderTake(&decoder);
    };
    size_t at = 0;
    bool in_head = true;
    while (at < article.size()) {
        size_t end = article.find('\n', at);
        end = end == std::string::npos ? article.size() : end + 1;
        std::string line = article.substr(at, end - at);
        at = end;
        if (in_head && (line == "\r\n" || line == "\n")) {
            EXPECT_EQ(ArticleDecoderFinishHeaders(&decoder), 1);
            take(&result.head);
            in_head = false;
            continue;
        }
        if (in_head) {
            EXPECT_EQ(ArticleDecoderHeaderLine(&decoder, line.data(), line.size()), 1);
            take(&result.head);
            continue;
        }
        for (size_t from = 0; from < line.size(); from += part) {
            size_t n = std::min(part, line.size() - from);
            EXPECT_EQ(ArticleDecoderBodyLine(&decoder, line.data() + from, n, from + n == line.size()), 1);
            take(&result.body);
        }
    }
    if (in_head) {
        EXPECT_EQ(ArticleDecoderFinishHeaders(&decoder), 1);
        take(&result.head);
    }
    EXPECT_EQ(ArticleDecoderFinish(&decoder), 1);
    take(&result.body);
    ArticleDecoderRelease(&decoder);
    return result;
}

struct ArticleRow {
    const char *what;
    std::string article;
    std::string head, body;
};

/* The existing header path: encoded words, then ISO-2022-JP. */
std::string ExistingHeader(const std::string &line)
{
    std::vector<char> decoded(line.size() + 1), converted(line.size() + 1);
    DecodeEncodedWords(decoded.data(), line.c_str());
    JisLineToSjis(decoded.data(), converted.data());
    return converted.data();
}

/* The existing body path: each line in parts of up to 1024 bytes. */
std::string ExistingBody(const std::string &line)
{
    JisLineState state = {0};
    std::vector<char> converted(line.size() + 1);
    JisPartToSjis(line.c_str(), converted.data(), &state, 1);
    return converted.data();
}

} // namespace

/* `text` `count` times. */
std::string Repeated(const std::string &text, int count)
{
    std::string result;
    for (int i = 0; i < count; i++)
        result += text;
    return result;
}

TEST(ArticleDecoder, Articles)
{
    const std::string utf8_nihongo = "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E";
    const ArticleRow rows[] = {
        {"UTF-8 8bit",
         "From: a@example.com\r\nSubject: test\r\nX-Mailer: any\r\nMIME-Version: 1.0\r\n"
         "Content-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: 8bit\r\n\r\n" +
             utf8_nihongo + "\r\nabc\r\n",
         "From: a@example.com\r\nSubject: test\r\n", kNihongoSjis + "\r\nabc\r\n"},
        {"UTF-8 base64 with an emoji",
         "Content-Type: text/plain; charset=\"utf-8\"\r\nContent-Transfer-Encoding: base64\r\n\r\n"
         "5pel5pys6Kqe8J+YgA0K\r\n",
         "", kNihongoSjis + "&#x1F600;\r\n"},
        {"UTF-8 quoted-printable, soft line breaks inside a character",
         "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
         "=E6=97=A5=E6=9C=\r\n=AC=E8=AA=9E a=3Db  \r\nx=\r\ny\r\n",
         "", kNihongoSjis + " a=b\r\nxy\r\n"},
        {"UTF-8 Q word in the subject",
         "Subject: Re: =?UTF-8?Q?=E6=97=A5=E6=9C=AC_test?= ok\r\n\r\n", "Subject: Re: " + kNihon + " test ok\r\n",
         ""},
        {"adjacent B words split inside a character, folded",
         "Subject: =?utf-8?B?5pel5pw=?=\r\n =?UTF-8?b?rOiqng==?= x\r\n\r\n", "Subject: " + kNihongoSjis + " x\r\n",
         ""},
        {"words of two character sets side by side",
         "Subject: =?iso-8859-1?Q?caf=E9?= =?shift_jis?B?gqA=?=\r\n\r\n", "Subject: caf&#xE9;\x82\xA0\r\n", ""},
        {"Shift_JIS 8bit", "Content-Type: text/plain; charset=Shift_JIS\r\n\r\n" + kNihongoSjis + " \xC6\xAD\xB0\xBD\r\n",
         "", kNihongoSjis + " \xC6\xAD\xB0\xBD\r\n"},
        /* NEC row 13's ∵ (JIS 2D7A) is stored as CP932 encodes U+2235. */
        {"EUC-JP 8bit", "Content-Type: text/plain; charset=euc-jp\r\n\r\n\xC6\xFC\xCB\xDC\xB8\xEC \xAD\xFA\r\n", "",
         kNihongoSjis + " \x81\xE6\r\n"},
        {"undeclared EUC-JP and Shift_JIS lines",
         "Subject: \x93\xFA\x96\x7B\r\n\r\n\xC6\xFC\xCB\xDC\xB8\xEC\r\n" + kNihongoSjis + "\r\n",
         "Subject: " + kNihon + "\r\n", kNihongoSjis + "\r\n" + kNihongoSjis + "\r\n"},
        {"ISO-8859-1 body", "Content-Type: text/plain; charset=ISO-8859-1\r\n\r\ncaf\xE9 \xA7\r\n", "",
         "caf&#xE9; \x81\x98\r\n"},
        {"multipart/mixed with a text entity and an attachment",
         "Content-Type: multipart/mixed; boundary=\"XyZ\"\r\n\r\nThis is a multi-part message in MIME format.\r\n"
         "--XyZ\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: 8bit\r\n\r\n" +
             utf8_nihongo +
             "\r\n\r\n--XyZ\r\nContent-Type: application/octet-stream;\r\n name=\"a.bin\"\r\n"
             "Content-Transfer-Encoding: base64\r\n"
             "Content-Disposition: attachment; filename=\"=?UTF-8?B?5pel5pys?=.txt\"\r\n\r\naGVsbG8=\r\n--XyZ--\r\n",
         "", kNihongoSjis + "\r\n\r\n\r\n" + kAttached + kNihon + ".txt (application/octet-stream, 5 bytes)\r\n"},
        {"multipart/alternative, text and html, nested in mixed",
         "Content-Type: multipart/mixed; boundary=outer\r\n\r\n--outer\r\n"
         "Content-Type: multipart/alternative; boundary=\"inner\"\r\n\r\n--inner\r\n"
         "Content-Type: text/plain; charset=iso-2022-jp\r\n\r\n\x1B$BF|K\\8l\x1B(B\r\n--inner\r\n"
         "Content-Type: text/html; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
         "<p>hi</p>=\r\n\r\n--inner--\r\n--outer\r\nContent-Type: image/png; name*=utf-8''%E6%97%A5.png\r\n\r\n"
         "abc\r\nde\r\n--outer--\r\nepilogue\r\n",
         "", kNihongoSjis + "\r\n\r\n" + kAttached + "(text/html, 9 bytes)\r\n" + kAttached +
                 "\x93\xFA.png (image/png, 7 bytes)\r\n"},
        {"long lines of a preamble and of attachments, read as they come",
         "Content-Type: multipart/mixed; boundary=b\r\n\r\n" + std::string(300, 'p') + "\r\n--b\r\n\r\nt\r\n--b\r\n"
         "Content-Type: text/plain\r\n\r\nb\r\n" + std::string(259, 'a') + "\r\n--b\r\n"
         "Content-Type: image/gif\r\nContent-Transfer-Encoding: base64\r\n\r\n" + std::string(400, 'A') +
             "\r\n--b--\r\n",
         "", "t\r\n\r\n" + kAttached + "(text/plain, 262 bytes)\r\n" + kAttached + "(image/gif, 300 bytes)\r\n"},
        {"long text lines, decoded in pieces at spaces, ISO-2022-JP two-byte mode across them",
         "Content-Type: text/plain; charset=utf-8\r\n\r\n" + Repeated(utf8_nihongo + " ", 600) + "\r\n" +
             Repeated("\x1B$BF| K\\\x1B(B", 400) + "\r\n",
         "", Repeated(kNihongoSjis + " ", 600) + "\r\n" + Repeated("\x93\xFA \x96\x7B", 400) + "\r\n"},
        /* Undeclared 8-bit text is guessed piece by piece: EUC-JP for the
         * first (Shift_JIS cannot read it), Shift_JIS for the second,
         * however the line arrives. */
        {"a long line guessed in pieces",
         "\r\n\xC6\xFC\xCB\xDC\xB8\xEC " + Repeated("a ", 2060) + "\xE0\xA1\r\n", "",
         kNihongoSjis + " " + Repeated("a ", 2060) + "\xE0\xA1\r\n"},
        {"a non-text article is listed",
         "Content-Type: application/pdf; name=x.pdf\r\nContent-Transfer-Encoding: base64\r\n\r\nJVBE\r\nRg==\r\n", "",
         "\r\n" + kAttached + "x.pdf (application/pdf, 4 bytes)\r\n"},
        {"the sender's reference text in a type and a name",
         "Content-Type: application/x-&#x41; name=\"&#x42;\"\r\n\r\nab\r\n", "",
         "\r\n" + kAttached + "&#x26;#x42; (application/x-&#x26;#x41, 2 bytes)\r\n"},
        {"a multipart article without its boundary is text",
         "Content-Type: multipart/mixed\r\n\r\n--b\r\nabc\r\n", "", "--b\r\nabc\r\n"},
        {"format=flowed is kept as sent",
         "Content-Type: text/plain; charset=utf-8; format=flowed\r\n\r\nThis is \r\n flowed.\r\n> q \r\n", "",
         "This is \r\n flowed.\r\n> q \r\n"},
        {"malformed base64 keeps what decodes",
         "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n\r\n5pe l5p\r\n!ys6Kqe\r\n"
         "****\r\n=\r\nYQ\r\n",
         "", kNihongoSjis + "a"},
        {"unknown charset: text guessed, word kept as written",
         "Subject: =?x-unknown?B?Zm9v?= =?utf-8?B?5pel?=\r\n"
         "Content-Type: text/plain; charset=x-unknown\r\n\r\n" +
             utf8_nihongo + "\r\n",
         "Subject: =?x-unknown?B?Zm9v?= \x93\xFA\r\n", kNihongoSjis + "\r\n"},
        {"words without their closing keep the line end",
         "Subject: =?utf-8?B?5pel\r\nFrom: =?utf-8?Q?a b?= <x@y>\r\n\r\n",
         "Subject: =?utf-8?B?5pel\r\nFrom: =?utf-8?Q?a b?= <x@y>\r\n", ""},
        {"a sender's own reference text",
         "Subject: &#x1F600; &#x41; &#X1; &\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n&#x1F600;&&#x26;\r\n",
         "Subject: &#x26;#x1F600; &#x26;#x41; &#X1; &\r\n", "&#x26;#x1F600;&&#x26;#x26;\r\n"},
        {"raw UTF-8 header, unfolded, unkept lines and their continuations dropped",
         "Subject: " + utf8_nihongo + "\r\n\tmore\r\nX-Face: abc\r\n def\r\nDate: Mon, 1 Jan 2024\r\n\r\n",
         "Subject: " + kNihongoSjis + "\tmore\r\nDate: Mon, 1 Jan 2024\r\n", ""},
        {"ISO-2022-JP lines ending in two-byte and katakana mode",
         "Content-Type: text/plain; charset=ISO-2022-JP\r\n\r\n\x1B$BF|K\\\r\nab\r\n\x1B(IF-0=\r\nc\r\n", "",
         kNihon + "\r\nab\r\n\xC6\xAD\xB0\xBD\r\nc\r\n"},
        {"ISO-2022-JP-2 and -2004 escapes",
         "Content-Type: text/plain; charset=ISO-2022-JP-2\r\n\r\n\x1B$(D\x22\x2F\x1B(B \x1B.A\x1BNi\r\n"
         "\x1B$(Q\x24\x77\x24\x22\x1B(B\r\n",
         "", "&#x2D8; &#xE9;\r\n\x82\xA9&#x309A;\x82\xA0\r\n"},
    };
    for (const ArticleRow &row : rows) {
        Decoded decoded = DecodeArticle(row.article);
        EXPECT_EQ(decoded.head, row.head) << row.what;
        EXPECT_EQ(decoded.body, row.body) << row.what;
        /* Pieces of 1024 bytes, as the download reads them. */
        EXPECT_EQ(DecodeArticle(row.article, 1024).body, row.body) << row.what;
    }
}

/* Clean ISO-2022-JP gives exactly the bytes of the existing path. */
TEST(ArticleDecoder, CleanIso2022JpAsBefore)
{
    const std::string words[] = {
        "Subject: =?ISO-2022-JP?B?GyRCRnxLXDhsGyhC?=\r\n",
        "Subject: Re: =?iso-2022-jp?B?GyRCJUYlOSVIGyhC?= (test) =?ISO-2022-JP?B?GyRCRnxLXDhsGyhC?= end\r\n",
        "From: =?iso-2022-jp?B?GyRCJUYlOSVIGyhC?= <a@example.com>\r\n",
        "Subject: plain ascii \x1B$B0!\x1B(B\r\n",
    };
    const std::string expected[] = {
        "Subject: " + kNihongoSjis + "\r\n",
        "Subject: Re: \x83\x65\x83\x58\x83\x67 (test) " + kNihongoSjis + " end\r\n",
        "From: \x83\x65\x83\x58\x83\x67 <a@example.com>\r\n",
        "Subject: plain ascii \x88\x9F\r\n",
    };
    for (size_t i = 0; i < sizeof(words) / sizeof(words[0]); i++) {
        EXPECT_EQ(ExistingHeader(words[i]), expected[i]) << i;
        EXPECT_EQ(DecodeArticle(words[i] + "\r\n").head, expected[i]) << i;
    }

    std::string body = "\x1B$BF|K\\8l\x1B(B abc\r\n\r\n\x1B$@0!\x1B(J~\\\r\n";
    for (const JapaneseSample &sample : kJapaneseSamples)
        body += "\x1B$B" + std::string(sample.jis) + "\x1B(B\r\n";
    std::string long_line = "x";
    for (int i = 0; i < 700; i++)
        long_line += "\x1B$B" + kNihongoJis + "\x1B(B";
    body += long_line + "\r\n";
    std::string existing;
    for (size_t at = 0; at < body.size();) {
        size_t end = body.find('\n', at) + 1;
        existing += ExistingBody(body.substr(at, end - at));
        at = end;
    }
    const std::string headers[] = {"Content-Type: text/plain; charset=iso-2022-jp\r\n", ""};
    for (const std::string &header : headers) {
        EXPECT_EQ(DecodeArticle(header + "\r\n" + body, 1024).body, existing);
        EXPECT_EQ(DecodeArticle(header + "\r\n" + body, 3).body, existing);
    }
}

struct StoredRow {
    std::u16string text;
    std::string stored;
};

/* UTF-16 to stored text and back gives the sender's text. */
TEST(StoredText, RoundTrip)
{
    const StoredRow rows[] = {
        {u"\u65E5\u672C\u8A9E", kNihongoSjis},
        {u"caf\u00E9 \U0001F600", "caf&#xE9; &#x1F600;"},
        {u"&#x1F600; &#x41; &#x26; &#x &", "&#x26;#x1F600; &#x26;#x41; &#x26;#x26; &#x26;#x &"},
        {u"\uD55C\uAD6D \u00A5 \u2460 \uFF71", "&#xD55C;&#xAD6D; &#xA5; \x87\x40 \xB1"},
        {u"\u5F20 \U00020B9F", "&#x5F20; &#x20B9F;"},
    };
    for (const StoredRow &row : rows) {
        StoredBuffer out;
        StoredBufferInit(&out);
        ASSERT_EQ(Utf16ToStored(&out, row.text.data(), row.text.size()), 1);
        std::string stored(out.data, out.used);
        StoredBufferRelease(&out);
        EXPECT_EQ(stored, row.stored);
        EXPECT_TRUE(IsWellFormedStoredText(stored.data(), stored.size()));
        std::u16string back(stored.size(), u'\0');
        back.resize(StoredToUtf16(stored.data(), stored.size(), &back[0]));
        EXPECT_EQ(back, row.text) << row.stored;
    }
    /* References the writer never makes are text. */
    const std::string literal = "&#x41; &#x0E9; &#xe9; &#xD800; &#x110000;";
    std::u16string back(literal.size(), u'\0');
    back.resize(StoredToUtf16(literal.data(), literal.size(), &back[0]));
    EXPECT_EQ(back, u"&#x41; &#x0E9; &#xe9; &#xD800; &#x110000;");
}

TEST(StoredText, CutLength)
{
    const struct {
        std::string text;
        size_t limit, cut;
    } rows[] = {
        {kNihongoSjis, 3, 2},      {kNihongoSjis, 4, 4},      {"a&#x1F600;b", 5, 1},
        {"a&#x1F600;b", 10, 10},   {"a&#x41;b", 4, 4},        {"\x93", 2, 1},
        {"ab\0cd", 5, 2},
    };
    for (const auto &row : rows)
        EXPECT_EQ(StoredCutLength(row.text.c_str(), row.limit), row.cut) << row.text << " " << row.limit;
}
