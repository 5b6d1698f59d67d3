/* The article a draft becomes. No windows.h: shared with the native build.
 * Expected bytes are written from the formats: JIS X 0208 codes and UTF-8
 * from the published tables, base64 by hand. */
#include "text/outgoing_article.h"
#include "text_test.h"

namespace {

struct OutgoingCase {
    const char *what;
    std::string head, body;
    const char *user_name, *organization;
    std::string expected_head, expected_body;
};

const std::string kProgramHead = "Message-ID: <1@example.jp>\r\nDate: Thu, 26 Nov 2026 01:02:03 +0000\r\n"
                                 "MIME-Version: 1.0\r\n";
const std::string kJis = "Content-Type: text/plain; charset=ISO-2022-JP\r\nContent-Transfer-Encoding: 7bit\r\n"
                         "User-Agent: Pelnor/1.1\r\n\r\n";
const std::string kUtf8 = "Content-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: 8bit\r\n"
                          "User-Agent: Pelnor/1.1\r\n\r\n";
const std::string kFrom = "From: Taro <taro@example.jp>\r\n";

/* 漢字 in Shift_JIS and as one word; 山田 likewise. */
const std::string kKanji = "\x8a\xbf\x8e\x9a";
const std::string kKanjiWord = "=?iso-2022-jp?B?GyRCNEE7ehsoQg==?=";
const std::string kYamada = "\x8e\x52\x93\x63";
/* Twenty hiragana, あ to と: three words of nine, nine and two. */
const std::string kKana = "\x82\xa0\x82\xa2\x82\xa4\x82\xa6\x82\xa8\x82\xa9\x82\xab\x82\xad\x82\xaf\x82\xb1\x82\xb3"
                          "\x82\xb5\x82\xb7\x82\xb9\x82\xbb\x82\xbd\x82\xbf\x82\xc2\x82\xc4\x82\xc6";

const OutgoingCase kCases[] = {
    {"ASCII throughout; dots are left for the protocol", "Newsgroups: fj.test\r\nSubject: hello\r\n",
     "line 1\r\n.dot\r\n", "Taro", nullptr, "Newsgroups: fj.test\r\nSubject: hello\r\n" + kFrom + kProgramHead + kJis,
     "line 1\r\n.dot\r\n"},
    {"Japanese subject after a readable Re:, body in ISO-2022-JP",
     "Newsgroups: fj.test\r\nSubject: Re: " + kKanji + "\r\n", "a" + kKanji + "b\r\n", "Taro", nullptr,
     "Newsgroups: fj.test\r\nSubject: Re: " + kKanjiWord + "\r\n" + kFrom + kProgramHead + kJis,
     "a\x1b$B4A;z\x1b(Bb\r\n"},
    {"a long subject folds between its words", "Subject: " + kKana + "\r\nNewsgroups: fj.test\r\n", "", "Taro",
     nullptr,
     "Subject: =?iso-2022-jp?B?GyRCJCIkJCQmJCgkKiQrJC0kLyQxGyhC?=\r\n =?iso-2022-jp?B?GyRCJDMkNSQ3JDkkOyQ9JD8kQSREGyhC?="
     "\r\n =?iso-2022-jp?B?GyRCJEYkSBsoQg==?=\r\nNewsgroups: fj.test\r\n" +
         kFrom + kProgramHead + kJis,
     ""},
    {"half-width katakana and a character beyond Shift_JIS go as UTF-8",
     "Newsgroups: fj.test\r\nSubject: &#x1F600;\r\n", "\xc3\xbd\xc4\r\n", "Taro", nullptr,
     "Newsgroups: fj.test\r\nSubject: =?UTF-8?B?8J+YgA==?=\r\n" + kFrom + kProgramHead + kUtf8,
     "\xef\xbe\x83\xef\xbd\xbd\xef\xbe\x84\r\n"},
    {"NEC row 13 is not ISO-2022-JP", "Newsgroups: fj.test\r\nSubject: x\r\n", "\x87\x40\r\n", "Taro", nullptr,
     "Newsgroups: fj.test\r\nSubject: x\r\n" + kFrom + kProgramHead + kUtf8, "\xe2\x91\xa0\r\n"},
    {"the program's and the server's headers are replaced; the draft's organization wins",
     "From: someone@else\r\nPath: a!b\r\nNewsgroups: fj.test\r\nMessage-ID: <old@x>\r\nSubject: s\r\n"
     "References: \r\nLines: 3\r\nOrganization: Draft Org\r\nX-Local-Seq: 4\r\n",
     "b\r\n", "Taro", "Settings Org",
     "Newsgroups: fj.test\r\nSubject: s\r\nOrganization: Draft Org\r\n" + kFrom + kProgramHead + kJis, "b\r\n"},
    {"the settings' organization, encoded; a name with a comma quoted",
     "Newsgroups: fj.test\r\nSubject: s\r\n", "", "Yamada, \"Taro\"", "\x8e\x52\x93\x63",
     "Newsgroups: fj.test\r\nSubject: s\r\nFrom: \"Yamada, \\\"Taro\\\"\" <taro@example.jp>\r\n"
     "Organization: =?iso-2022-jp?B?GyRCOzNFRBsoQg==?=\r\n" + kProgramHead + kJis,
     ""},
    {"without a name, the address alone", "Newsgroups: fj.test\r\nSubject: s\r\n", "", "",
     nullptr, "Newsgroups: fj.test\r\nSubject: s\r\nFrom: taro@example.jp\r\n" + kProgramHead + kJis, ""},
    {"lone LF and CR end lines; the last line gets its CR LF", "Newsgroups: fj.test\r\nSubject: s\r\n",
     "one\ntwo\rthree", "Taro", nullptr, "Newsgroups: fj.test\r\nSubject: s\r\n" + kFrom + kProgramHead + kJis,
     "one\r\ntwo\r\nthree\r\n"},
};

TEST(OutgoingArticle, DraftsBecomeArticles)
{
    for (const OutgoingCase &c : kCases) {
        OutgoingHeaders headers = {c.user_name, "taro@example.jp", c.organization, "<1@example.jp>",
                                   "Thu, 26 Nov 2026 01:02:03 +0000", "Pelnor/1.1"};
        StoredBuffer out;
        StoredBufferInit(&out);
        ASSERT_EQ(BuildOutgoingArticle(c.head.data(), c.head.size(), c.body.data(), c.body.size(), &headers, &out), 1)
            << c.what;
        EXPECT_EQ(std::string(out.data, out.used), c.expected_head + c.expected_body) << c.what;
        StoredBufferRelease(&out);
    }
}

TEST(OutgoingArticle, JapaneseNameIsEncoded)
{
    std::string name = kYamada;
    OutgoingHeaders headers = {name.c_str(), "yamada@example.jp", nullptr, "<2@x>", "D", nullptr};
    StoredBuffer out;
    StoredBufferInit(&out);
    ASSERT_EQ(BuildOutgoingArticle("", 0, "", 0, &headers, &out), 1);
    EXPECT_EQ(std::string(out.data, out.used),
              "From: =?iso-2022-jp?B?GyRCOzNFRBsoQg==?= <yamada@example.jp>\r\nMessage-ID: <2@x>\r\nDate: D\r\n"
              "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=ISO-2022-JP\r\n"
              "Content-Transfer-Encoding: 7bit\r\n\r\n");
    StoredBufferRelease(&out);
}

} // namespace
