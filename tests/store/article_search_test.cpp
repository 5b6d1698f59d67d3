/* Searching stored groups: subjects, senders and bodies, folded as a
 * reader searches, over logs written from the documented layout. */
#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

#include "store/article_search.h"
#include "support/store_bytes.h"
#include "support/temp_folder.h"
#include "text/stored_text.h"

namespace {

/* A group whose log holds the articles given (stored bytes) and whose
 * records carry the index's cut subject and sender. */
void WriteGroup(const TempFolder &data, const std::wstring &group,
                const std::vector<std::pair<std::vector<std::string>, std::string>> &articles,
                const std::vector<uint32_t> &flags)
{
    GroupBytes g;
    HeaderFields h;
    for (size_t i = 0; i < articles.size(); i++) {
        const auto &head = articles[i].first;
        std::string subject = head[1].substr(9, head[1].size() - 11), from = head[0].substr(6, 15);
        g.Add(head, {articles[i].second}, RecordFields{flags[i], (uint32_t)(i + 1), 0, 0, subject.substr(0, 47), "0305",
                                                       from.substr(0, from.find(" <"))});
        h.record_count++;
        h.unread += flags[i] & 1 ? 0 : 1;
    }
    ASSERT_TRUE(WriteFileBytes(data.file(group + L".log"), g.log));
    ASSERT_TRUE(WriteFileBytes(data.file(group + L".idx"), g.Index(h)));
}

std::string Utf8(const std::wstring &text)
{
    char bytes[256] = {};
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), (int)text.size(), bytes, sizeof bytes - 1, nullptr, nullptr);
    return bytes;
}

const std::string kLongSubject = "Subject: " + std::string(60, 'x') + " tailword\r\n";

class ArticleSearchTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        WriteGroup(data_, L"fj.a",
                   {
                       {{"From: Yamada <yamada@example.jp>\r\n", "Subject: Ruby \x82\xCC\x8E\xBF\x96\xE2\r\n"},
                        "\x96\x7B\x95\xB6\x82\xC5\x82\xB7\x81\x42\r\n"},
                       {{"From: \x8D\xB2\x93\xA1 <sato@example.jp>\r\n",
                         "Subject: \x82\x6F\x82\x64\x82\x71\x82\x6B\x93\xFC\x96\xE5\r\n"}, /* ＰＥＲＬ入門 */
                        "perl is fun\r\n"},
                       {{"From: Kim <kim@example.kr>\r\n", "Subject: &#xD55C;&#xAE00; test\r\n"},
                        "\xC3\xBD\xC4\x96\x7B\x95\xB6 only-in-body\r\n"}, /* ﾃｽﾄ本文 */
                       {{"From: Long <long@example.jp>\r\n", kLongSubject}, "nothing\r\n"},
                       {{"From: Cafe <cafe@example.fr>\r\n", "Subject: Caf&#xE9;\r\n"}, "au lait\r\n"},
                   },
                   {0, 1, 0, 0, 0});
        /* A group whose log is gone: its records are all there is. */
        WriteGroup(data_, L"fj.b", {{{"From: ruby fan <fan@example.jp>\r\n", "Subject: Ruby tips\r\n"}, "ruby\r\n"}},
                   {0});
        DeleteFileW(data_.file(L"fj.b.log").c_str());
    }

    /* The hits as "group:record", the groups searched in turn. */
    std::vector<std::string> Search(const std::wstring &text, unsigned fields, std::vector<std::wstring> groups,
                                    DWORD block_size)
    {
        StoredBuffer stored;
        StoredBufferInit(&stored);
        EXPECT_EQ(Utf16ToStored(&stored, (const char16_t *)text.c_str(), text.size()), 1);
        TextPattern pattern;
        EXPECT_EQ(TextPatternCompile(&pattern, stored.data, stored.used), 1);
        struct Sink {
            std::vector<std::string> hits;
            std::string group;
        } sink;
        GroupSearch search = {};
        search.pattern = &pattern;
        search.fields = fields;
        search.block_size = block_size;
        search.context = &sink;
        search.hit = [](void *context, const SearchHit *hit) {
            Sink *s = (Sink *)context;
            s->hits.push_back(s->group + ":" + std::to_string(hit->record_number));
            return 1;
        };
        for (const std::wstring &group : groups) {
            sink.group = std::string(group.begin(), group.end());
            EXPECT_EQ(SearchGroup(&search, data_.path().c_str(), group.c_str()), 1) << sink.group;
        }
        TextPatternFree(&pattern);
        StoredBufferRelease(&stored);
        return sink.hits;
    }

    TempFolder data_;
};

using Hits = std::vector<std::string>;
const unsigned kAll = kSearchSubject | kSearchSender | kSearchBody;
const std::vector<std::wstring> kBoth = {L"fj.a", L"fj.b"};

TEST_F(ArticleSearchTest, FindsWhatTheReaderAsksForWhereTheReaderAsks)
{
    const struct {
        const wchar_t *text;
        unsigned fields;
        std::vector<std::wstring> groups;
        Hits hits;
    } rows[] = {
        {L"ruby", kSearchSubject, kBoth, {"fj.a:0", "fj.b:0"}},
        {L"ＲＵＢＹ", kSearchSubject, kBoth, {"fj.a:0", "fj.b:0"}},
        {L"の質問", kSearchSubject, {L"fj.a"}, {"fj.a:0"}},
        {L"perl入門", kSearchSubject, {L"fj.a"}, {"fj.a:1"}}, /* a read article, full-width in its subject */
        {L"テスト", kSearchBody, kBoth, {"fj.a:2"}},         /* half-width in the body */
        {L"only-in-body", kSearchSubject | kSearchSender, kBoth, {}},
        {L"ONLY-IN-BODY", kSearchBody, kBoth, {"fj.a:2"}},
        {L"한글", kSearchSubject, kBoth, {"fj.a:2"}}, /* references */
        {L"CAFÉ", kSearchSubject, kBoth, {"fj.a:4"}},
        {L"tailword", kSearchSubject, kBoth, {"fj.a:3"}}, /* past what the record keeps */
        {L"tailword", kSearchSender | kSearchBody | kSearchSubject, kBoth, {"fj.a:3"}},
        {L"example.kr", kSearchSender, kBoth, {"fj.a:2"}}, /* the address, from the log */
        {L"yamada@example", kSearchBody, kBoth, {}},        /* the head is not the body */
        {L"yamada", kSearchSender | kSearchBody, kBoth, {"fj.a:0"}},
        {L"ruby fan", kSearchSender, kBoth, {"fj.b:0"}}, /* no log: the record's sender */
        {L"ruby", kSearchBody, {L"fj.b"}, {}},            /* no log: no body */
        {L"example", kSearchSender, kBoth, {"fj.a:0", "fj.a:1", "fj.a:2", "fj.a:3", "fj.a:4"}},
        {L"nowhere", kAll, kBoth, {}},
        {L"X-Local-Seq", kAll, kBoth, {}},
    };
    /* Once with the log read in one go, once a few bytes at a time. */
    for (DWORD block : {0u, 64u})
        for (const auto &row : rows)
            EXPECT_EQ(Search(row.text, row.fields, row.groups, block), row.hits)
                << "block " << block << " fields " << row.fields << " text " << Utf8(row.text);
}

TEST_F(ArticleSearchTest, StoppingKeepsTheHitsFoundSoFar)
{
    std::vector<std::pair<std::vector<std::string>, std::string>> many;
    for (int i = 0; i < 50; i++)
        many.push_back({{"From: a <a@example.jp>\r\n", "Subject: same\r\n"}, "needle\r\n"});
    WriteGroup(data_, L"fj.many", many, std::vector<uint32_t>(50, 0));
    TextPattern pattern;
    ASSERT_EQ(TextPatternCompile(&pattern, "needle", 6), 1);
    struct Sink {
        JobCancel cancel;
        std::vector<DWORD> hits;
    } sink;
    JobCancelInit(&sink.cancel);
    GroupSearch search = {};
    search.pattern = &pattern;
    search.fields = kSearchBody;
    search.cancel = &sink.cancel;
    search.context = &sink;
    search.hit = [](void *context, const SearchHit *hit) {
        Sink *s = (Sink *)context;
        s->hits.push_back(hit->record_number);
        if (s->hits.size() == 3)
            JobCancelRequest(&s->cancel);
        return 1;
    };
    EXPECT_EQ(SearchGroup(&search, data_.path().c_str(), L"fj.many"), 1);
    EXPECT_EQ(sink.hits, (std::vector<DWORD>{0, 1, 2}));
    JobCancelFree(&sink.cancel);
    TextPatternFree(&pattern);
}

TEST_F(ArticleSearchTest, AGroupWithoutAnIndexFails)
{
    TextPattern pattern;
    ASSERT_EQ(TextPatternCompile(&pattern, "x", 1), 1);
    GroupSearch search = {};
    search.pattern = &pattern;
    search.fields = kSearchSubject;
    search.hit = [](void *, const SearchHit *) { return 1; };
    EXPECT_EQ(SearchGroup(&search, data_.path().c_str(), L"fj.none"), 0);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);
    TextPatternFree(&pattern);
}

} // namespace
