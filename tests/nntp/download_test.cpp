#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "nntp/connection.h"
#include "session_fixture.h"
#include "support/group_bytes.h"
#include "support/script_client.h"

namespace {

/* A version 5 header; its status as stored: Shift_JIS, at most 63 bytes. */
std::string Header(DWORD last_fetched, DWORD server_last, DWORD records, const wchar_t *status)
{
    return HeaderBytes({5, last_fetched, server_last, 0, records, 0, Sjis(status).substr(0, 63), records, 0, 0});
}

/* An article as stored: kept head lines, body, and its index fields. */
struct Stored {
    DWORD number;
    std::string head, body, subject, date, from;
};

/* The log and the records of articles stored one after another. */
GroupBytes StoreBytes(const std::vector<Stored> &articles)
{
    GroupBytes bytes;
    for (const Stored &a : articles)
        bytes.Add({a.head}, {a.body}, RecordFields{0, a.number, 0, 0, a.subject, a.date, a.from});
    return bytes;
}

const std::string kGreeting = "200 news.example ready\r\n";

std::string GroupReply(DWORD first, DWORD last)
{
    return "211 " + std::to_string(last - first + 1) + " " + std::to_string(first) + " " + std::to_string(last) +
           " fj.test\r\n";
}
/* 221 for a head, 222 for a body. */
std::string ArticleReply(int status, DWORD n, const std::string &lines)
{
    return std::to_string(status) + " " + std::to_string(n) + " <" + std::to_string(n) + "@pelnor.test>\r\n" + lines +
           ".\r\n";
}

/* Plain article n as stored; the server sends a Path line before its head. */
Stored Plain(DWORD n)
{
    std::string from = "user" + std::to_string(n) + "@example.jp";
    return {n,
            "From: " + from + "\r\nSubject: article " + std::to_string(n) +
                "\r\nDate: Fri, 1 Nov 2024 09:00:00 +0900\r\n",
            "body of " + std::to_string(n) + "\r\n",
            "article " + std::to_string(n),
            "1101",
            from.substr(0, 15)};
}
GroupBytes PlainBytes(const std::vector<DWORD> &numbers)
{
    std::vector<Stored> articles;
    for (DWORD n : numbers)
        articles.push_back(Plain(n));
    return StoreBytes(articles);
}
NntpScript &Serve(NntpScript &script, DWORD n)
{
    return script.Reply(ArticleReply(221, n, "Path: news!not-for-mail\r\n" + Plain(n).head))
        .Reply(ArticleReply(222, n, Plain(n).body));
}

struct DataFolder {
    TempFolder folder;
    /* The group's index with this header and nothing else. */
    void Index(const std::wstring &group, DWORD last_fetched, DWORD server_last = 0)
    {
        WriteFileBytes(folder.file(group + L".idx"), Header(last_fetched, server_last, 0, L""));
    }
    std::string Log() { return FileBytes(folder.file(L"fj.test.log")); }
    std::string Idx(const std::wstring &group = L"fj.test") { return FileBytes(folder.file(group + L".idx")); }
    /* Depth 1 unless asked: the one-command-at-a-time dialogue. */
    SessionRun Run(NntpScript &script, const std::vector<std::wstring> &groups = {L"fj.test"}, DWORD limit = 100,
                   DWORD depth = 1, StopWay stop = kNoStop, DWORD receive_timeout_ms = kNntpDefaultReceiveTimeoutMs)
    {
        NntpServer server = TestServer(script.Start(), nullptr, nullptr, depth, receive_timeout_ms);
        if (script.over_tls())
            UseScriptTls(&server);
        return RunScriptedSession(server, groups, folder.path(), limit, stop);
    }
};

} // namespace

TEST(ArticleDownload, StoresKeptHeaderLinesAndUnstuffedBodies)
{
    std::string head = " a continuation before any header\r\n"
                       "Path: a!b\r\n"
                       "From: Taro <taro@example.jp>\r\n"
                       "subject: a lower-case name is not kept\r\n"
                       "Subject: \x1b$B$3$s\x1b(B hello\r\n"
                       "\tfolded part\r\n"
                       "X-Foo: bar\r\n"
                       " continuation of a line not kept\r\n"
                       "Date: Tue, 5 Mar 2024 10:00:00 +0900\r\n"
                       "Message-ID: <1@pelnor.test>\r\n";
    /* Dot-stuffed lines; a NUL byte ends the body without an error. */
    std::string body =
        "line one\r\n..x\r\n.abc\r\n\x1b$B$3$s\x1b(B\r\n\r\n...\r\ncut" + std::string(1, '\0') + "off\r\n";
    NntpScript script;
    script.Send(kGreeting).Reply(GroupReply(1, 1)).Reply(ArticleReply(221, 1, head)).Reply(ArticleReply(222, 1, body));
    DataFolder data;
    data.Index(L"fj.test", 0);
    SessionRun run = data.Run(script);
    EXPECT_EQ(run.ok, 1);
    EXPECT_STREQ(run.result.title, L"");
    EXPECT_STREQ(run.result.text, L"1件の記事を取得しました。");
    EXPECT_EQ(run.result.severity, 0u);
    EXPECT_EQ(script.Transcript(), "GROUP fj.test\r\nHEAD 1\r\nBODY 1\r\nQUIT\r\n");
    GroupBytes expected = StoreBytes({{1,
                                       "From: Taro <taro@example.jp>\r\n"
                                       "Subject: \x82\xb1\x82\xf1 hellofolded part\r\n"
                                       "Date: Tue, 5 Mar 2024 10:00:00 +0900\r\n"
                                       "Message-ID: <1@pelnor.test>\r\n",
                                       "line one\r\n.x\r\nabc\r\n\x82\xb1\x82\xf1\r\n\r\n..\r\n",
                                       "\x82\xb1\x82\xf1 hellofolded part", "0305", "Taro"}});
    EXPECT_EQ(data.Log(), expected.log);
    EXPECT_EQ(data.Idx(), Header(1, 1, 1, L"1件の記事を取得しました。") + expected.Records());
}

TEST(ArticleDownload, NothingNewAfterCatchUpOnTheServer)
{
    /* Caught up on the server (all ones): only the server's position is
     * taken. Up to date, or even past the server's last: nothing new. */
    for (DWORD last_fetched : {0xFFFFFFFFu, 40u, 50u}) {
        NntpScript script;
        script.Send(kGreeting).Reply(GroupReply(3, 40));
        DataFolder data;
        data.Index(L"fj.test", last_fetched, 7);
        SessionRun run = data.Run(script);
        EXPECT_EQ(run.ok, 1);
        EXPECT_STREQ(run.result.text, L"新規記事はありませんでした");
        EXPECT_EQ(script.Transcript(), "GROUP fj.test\r\nQUIT\r\n");
        EXPECT_EQ(data.Idx(), Header(40, 40, 0, L"新規記事はありませんでした"));
        EXPECT_EQ(data.Log(), "");
    }
}

TEST(ArticleDownload, RefusedGroupIsAWarningAndTheRunGoesOn)
{
    struct Case {
        std::string reply;
        const wchar_t *text;
    };
    for (const Case &c :
         {Case{"411 No such group fj.gone\r\n", L"グループへ移動できませんでした : 411 No such group fj.gone"},
          Case{"211 12x 1 5 fj.gone\r\n", L"予期せぬ文字列が返りました : 211 12x 1 5 fj.gone"},
          /* Ranges that cannot be the group's are never probed. */
          Case{"211 5 10 3 fj.gone\r\n", L"予期せぬ文字列が返りました : 211 5 10 3 fj.gone"},
          Case{"211 5 1 4294967295 fj.gone\r\n", L"予期せぬ文字列が返りました : 211 5 1 4294967295 fj.gone"},
          Case{"211 5 1 99999999999 fj.gone\r\n", L"予期せぬ文字列が返りました : 211 5 1 99999999999 fj.gone"},
          Case{"211 5 1 3000000 fj.gone\r\n", L"予期せぬ文字列が返りました : 211 5 1 3000000 fj.gone"},
          Case{"200 5 1 5 fj.gone\r\n", L"予期せぬ文字列が返りました : 200 5 1 5 fj.gone"}}) {
        NntpScript script;
        Serve(script.Send(kGreeting).Reply(c.reply).Reply(GroupReply(1, 1)), 1).Reply(c.reply);
        DataFolder data;
        data.Index(L"fj.gone", 5, 9);
        data.Index(L"fj.test", 0);
        SessionRun run = data.Run(script, {L"fj.gone", L"fj.test", L"fj.gone"});
        EXPECT_EQ(run.ok, 1);
        EXPECT_STREQ(run.result.title, L"fj.gone");
        EXPECT_STREQ(run.result.text, c.text);
        EXPECT_EQ(run.result.severity, 1u);
        EXPECT_EQ(script.Transcript(),
                  "GROUP fj.gone\r\nGROUP fj.test\r\nHEAD 1\r\nBODY 1\r\nGROUP fj.gone\r\nQUIT\r\n");
        /* Only the status changes: the refusal is shown in the group's row. */
        EXPECT_EQ(data.Idx(L"fj.gone"), Header(5, 9, 0, c.text));
        /* The bar's range is one less than the articles: 0 for one. */
        EXPECT_EQ(run.range_counts, std::vector<DWORD>{0});
        EXPECT_EQ(run.stored, 1u);
    }

    /* A group whose reply cannot be read stops the run; QUIT still goes. */
    NntpScript fatal;
    fatal.Send(kGreeting).Recv().Close();
    DataFolder data;
    data.Index(L"fj.gone", 5, 9);
    SessionRun run = data.Run(fatal, {L"fj.gone", L"fj.test"});
    EXPECT_EQ(run.ok, 0);
    EXPECT_STREQ(run.result.title, L"Socket ERROR");
    EXPECT_STREQ(run.result.text, L"受信に失敗しました(38).");
    EXPECT_EQ(run.result.severity, 2u);
    EXPECT_EQ(fatal.Transcript(), "GROUP fj.gone\r\nQUIT\r\n");
}

TEST(ArticleDownload, StoreFailureTexts)
{
    DataFolder data;
    auto expect_failure = [&](const wchar_t *text, const std::string &sent, DWORD severity = 2) {
        NntpScript script;
        script.Send(kGreeting).Reply(GroupReply(1, 1));
        SessionRun run = data.Run(script);
        EXPECT_EQ(run.ok, severity == 2 ? 0 : 1);
        EXPECT_STREQ(run.result.title, L"fj.test");
        EXPECT_STREQ(run.result.text, text);
        EXPECT_EQ(run.result.severity, severity);
        EXPECT_EQ(script.Transcript(), sent);
    };
    /* No index: the group is not even selected, and the run goes on. */
    expect_failure(L"インデックスの初期化に失敗しました(2)", "QUIT\r\n", 1);
    /* A log that cannot be opened (a folder of that name). */
    data.Index(L"fj.test", 0);
    std::wstring log = data.folder.file(L"fj.test.log");
    CreateDirectoryW(log.c_str(), nullptr);
    expect_failure(L"ファイルが開けませんでした(5)", "GROUP fj.test\r\nQUIT\r\n");
    RemoveDirectoryW(log.c_str());
    /* An index another reader holds: its header loads, but it cannot be
     * opened for writing. */
    HANDLE reader = CreateFileW(data.folder.file(L"fj.test.idx").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, 0, nullptr);
    expect_failure(L"インデックスファイルのオープンに失敗しました(32).", "GROUP fj.test\r\nQUIT\r\n");
    CloseHandle(reader);
}

namespace {

/* Article 1 of 1..3 served and the head of article 2. */
NntpScript ServeUpTo2()
{
    NntpScript script;
    Serve(script.Send(kGreeting).Reply(GroupReply(1, 3)), 1).Reply(ArticleReply(221, 2, Plain(2).head));
    return script;
}

/* Articles 1 and 2 of 1..3 served. */
NntpScript FirstTwoOfThree()
{
    NntpScript script;
    Serve(Serve(script.Send(kGreeting).Reply(GroupReply(1, 3)), 1), 2);
    return script;
}

} // namespace

/* Every fault inside a group keeps what was stored before it, byte for
 * byte the same whether the commands went one at a time or ahead in the
 * window: the header says the last article completely stored and counts
 * it, an unfinished article is cut off the log, and a reply that is not the
 * one asked for ends the run instead of being paired with the next
 * command. Depth 1 stops sending at the failing command; the window had
 * sent all. A second run against a healthy server then fetches only what
 * is missing. Faults that used to leave a group stuck for good are rows
 * too: a body line longer than a reply line is stored whole, a group
 * whose name the data folder refuses is passed over with its status, and
 * a stop while the server stalls ends the run at once. Every row runs over
 * TLS as well, with the same outcome; bytes that break the encryption
 * itself end the run as a broken link does. */
TEST(ArticleDownload, FaultsKeepWhatWasStoredAtEitherDepthAndTheNextRunGoesOn)
{
    const std::string head3 = "221 3 <3@pelnor.test>\r\n";
    NntpScript at_body = FirstTwoOfThree();
    at_body.Reply(ArticleReply(221, 3, Plain(3).head));
    const std::string nul(1, '\0');
    /* Article 3 with a line of 2,406 bytes: a two-byte text crossing every
     * 1,024-byte part of it, then single-byte text again. */
    std::string jis_pairs, sjis_pairs;
    for (int i = 0; i < 1200; i++) {
        jis_pairs += "$3";
        sjis_pairs += "\x82\xb1";
    }
    Stored long_line = Plain(3);
    long_line.body = "." + sjis_pairs + " end\r\nafter\r\n";
    NntpScript long_body = NntpScript(at_body).Reply(ArticleReply(222, 3, "..\x1b$B" + jis_pairs + "\x1b(B end\r\nafter\r\n"));
    const std::wstring refused_name = L"fj.refused|name";
    NntpScript all_three = FirstTwoOfThree();
    Serve(all_three, 3);
    struct Case {
        const char *name;
        NntpScript script;
        const wchar_t *text; /* the group's status */
        bool ok;
        std::vector<Stored> stored;
        DWORD last_fetched;
        StopWay stop;
        std::wstring before; /* a group listed before fj.test, and what the run says of it */
        std::wstring before_status;
        bool tls_only = false;
    } cases[] = {
        {"close between articles", FirstTwoOfThree().Recv().Close(), L"受信に失敗しました(38).", false,
         {Plain(1), Plain(2)}, 2},
        {"close mid-HEAD", FirstTwoOfThree().Recv().Send(head3 + "From: x\r\nSubj").Close(),
         L"受信が正常に終了しませんでした(38).", false, {Plain(1), Plain(2)}, 2},
        {"over-long line", FirstTwoOfThree().Recv().Send(head3 + "Subject: " + std::string(1030, 's') + "\r\n.\r\n"),
         L"受信が正常に終了しませんでした(234).", false, {Plain(1), Plain(2)}, 2},
        {"close before BODY's reply", NntpScript(at_body).Recv().Close(), L"受信に失敗しました(38).", false,
         {Plain(1), Plain(2)}, 2},
        {"close mid-BODY", NntpScript(at_body).Recv().Send("222 3 <3@pelnor.test>\r\nbody of").Close(),
         L"受信が正常に終了しませんでした(38).", false, {Plain(1), Plain(2)}, 2},
        {"receive time-out", FirstTwoOfThree().Recv().Stall(), L"受信に失敗しました(10060).", false,
         {Plain(1), Plain(2)}, 2},
        {"wrong article", FirstTwoOfThree().Reply("221 4 <4@pelnor.test>\r\n"),
         L"予期せぬ文字列が返りました : 221 4 <4@pelnor.test>", false, {Plain(1), Plain(2)}, 2},
        {"out-of-step reply", FirstTwoOfThree().Reply("222 3 <3@pelnor.test>\r\n"),
         L"予期せぬ文字列が返りました : 222 3 <3@pelnor.test>", false, {Plain(1), Plain(2)}, 2},
        {"error reply", FirstTwoOfThree().Reply("500 what?\r\n"), L"予期せぬ文字列が返りました : 500 what?", false,
         {Plain(1), Plain(2)}, 2},
        /* A "." line inside article 2's body ends it; the line after it is
         * no reply to HEAD 3. */
        {"stray line", ServeUpTo2().Reply("222 2 <2@pelnor.test>\r\nbody of 2\r\n.\r\nstray\r\n.\r\n"),
         L"予期せぬ文字列が返りました : stray", false, {Plain(1), Plain(2)}, 2},
        {"refused body", NntpScript(at_body).Reply("423 gone\r\n"), L"2件の記事を取得しました。", true,
         {Plain(1), Plain(2)}, 3},
        /* A NUL byte ends article 2's body; the rest of its reply is
         * dropped, so article 3 is read as article 3. */
        {"NUL in a body",
         Serve(ServeUpTo2().Reply("222 2 <2@pelnor.test>\r\nbody of 2\r\nx" + nul + "y\r\n" + nul +
                                  "\r\nmore\r\n.\r\n"),
               3),
         L"3件の記事を取得しました。", true, {Plain(1), Plain(2), Plain(3)}, 3},
        {"long body line", long_body, L"3件の記事を取得しました。", true, {Plain(1), Plain(2), long_line}, 3},
        {"stop while the server stalls", FirstTwoOfThree().Recv().Stall(), L"2件の記事を取得しました。", true,
         {Plain(1), Plain(2)}, 2, kStopFromThreadAtSecond},
        {"name the data folder refuses", all_three, L"3件の記事を取得しました。", true,
         {Plain(1), Plain(2), Plain(3)}, 3, kNoStop, refused_name,
         refused_name + L": インデックスの初期化に失敗しました(123)"},
        {"corrupt TLS record", FirstTwoOfThree().Recv().SendRaw("garbage\r\n"),
         L"受信に失敗しました(13).", false, {Plain(1), Plain(2)}, 2, kNoStop, L"", L"", true},
    };
    const std::string all_sent = "GROUP fj.test\r\nHEAD 1\r\nBODY 1\r\nHEAD 2\r\nBODY 2\r\nHEAD 3\r\nBODY 3\r\n";
    for (Case &c : cases)
      for (bool tls : {false, true}) {
        if (c.tls_only && !tls)
            continue;
        GroupBytes stored = StoreBytes(c.stored);
        std::string sent[2];
        DWORD depths[2] = {1, kDefaultPipelineDepth};
        for (int i = 0; i < 2; i++) {
            SCOPED_TRACE(std::string(c.name) + (tls ? " over TLS" : "") + " at depth " + std::to_string(depths[i]));
            NntpScript script = c.script;
            if (tls)
                script.OverTls();
            DataFolder data;
            data.Index(L"fj.test", 0);
            std::vector<std::wstring> groups = {L"fj.test"};
            if (!c.before.empty())
                groups.insert(groups.begin(), c.before);
            /* A stop must end the wait at once, long before the time-out. */
            SessionRun run = data.Run(script, groups, 100, depths[i], c.stop, c.stop ? 60000 : 700);
            EXPECT_EQ(run.ok, c.ok ? 1 : 0);
            EXPECT_STREQ(run.result.title, c.ok ? L"" : L"fj.test");
            EXPECT_STREQ(run.result.text, c.text);
            EXPECT_EQ(data.Log(), stored.log);
            EXPECT_EQ(data.Idx(), Header(c.last_fetched, 3, (DWORD)c.stored.size(), c.text) + stored.Records());
            EXPECT_EQ(run.unstored, c.before.empty() ? std::vector<std::wstring>{}
                                                      : std::vector<std::wstring>{c.before_status});
            sent[i] = script.Transcript();
            /* Only TLS 1.2 with a forward-secret AEAD suite is offered. */
            if (tls) {
                std::string link = script.TlsInfo();
                EXPECT_EQ(link.compare(0, 18, "TLS TLSv1.2 ECDHE-"), 0) << link;
                EXPECT_TRUE(link.find("-GCM-") != std::string::npos || link.find("CHACHA20") != std::string::npos)
                    << link;
            }
            if (c.last_fetched == 3 || i == 0)
                continue;
            NntpScript again;
            if (tls)
                again.OverTls();
            Serve(again.Send(kGreeting).Reply(GroupReply(1, 3)), 3);
            run = data.Run(again);
            EXPECT_EQ(run.ok, 1);
            EXPECT_EQ(again.Transcript(), "GROUP fj.test\r\nHEAD 3\r\nBODY 3\r\nQUIT\r\n");
            GroupBytes all = PlainBytes({1, 2, 3});
            EXPECT_EQ(data.Log(), all.log);
            EXPECT_EQ(data.Idx(), Header(3, 3, 3, L"1件の記事を取得しました。") + all.Records());
        }
        SCOPED_TRACE(std::string(c.name) + (tls ? " over TLS" : ""));
        ASSERT_GE(sent[0].size(), 6u);
        EXPECT_EQ(all_sent.compare(0, sent[0].size() - 6, sent[0], 0, sent[0].size() - 6), 0);
        EXPECT_EQ(sent[0].substr(sent[0].size() - 6), "QUIT\r\n");
        EXPECT_EQ(sent[1], all_sent + "QUIT\r\n");
    }
}

/* A server that wants MODE READER first (INN's innd, to the hosts it feeds)
 * gets it once, and the command goes again. */
TEST(ArticleDownload, ModeReaderIsSentOnceWhenTheServerAsksForIt)
{
    NntpScript script;
    script.Send(kGreeting)
        .Reply("401 MODE-READER\r\n")
        .Reply("200 reader ready\r\n")
        .Reply(GroupReply(1, 1))
        .Reply("401 MODE-READER\r\n"); /* a second time is a refused article */
    DataFolder data;
    data.Index(L"fj.test", 0);
    SessionRun run = data.Run(script);
    EXPECT_EQ(run.ok, 1);
    EXPECT_EQ(script.Transcript(), "GROUP fj.test\r\nMODE READER\r\nGROUP fj.test\r\nHEAD 1\r\nQUIT\r\n");
    EXPECT_EQ(data.Idx(), Header(1, 1, 0, L"0件の記事を取得しました。"));
}

/* Missing articles, the limit and a stop, at depth 1 and with the window:
 * the files are byte for byte the same. An article missing at its head or
 * body is skipped and not counted toward the limit; a missing last article
 * still moves last fetched; a stop takes effect after the article in
 * progress and starts no later group. The window reads and drops the reply
 * to a body sent ahead for an article refused at its head, sends nothing
 * the limit has no room for, and on a stop leaves the replies out unread.
 * MODE READER asked for at a head drops every reply out and asks again. */
TEST(ArticleDownload, SkipsLimitStopAndModeReaderStoreTheSameAtEitherDepth)
{
    struct Case {
        const char *name;
        NntpScript script[2]; /* for depth 1 and the window */
        DWORD from, last, limit;
        std::vector<DWORD> stored;
        const wchar_t *text;
        DWORD last_fetched;
        std::string sent[2];
        bool stop;
    };
    NntpScript skipped[2];
    for (NntpScript &s : skipped) {
        s.Send(kGreeting).Reply(GroupReply(10, 15)).Reply("423 no 10\r\n");
        if (&s == &skipped[1])
            s.Reply(ArticleReply(222, 10, "x\r\n"));
        Serve(s, 11).Reply(ArticleReply(221, 12, Plain(12).head)).Reply("423 gone\r\n");
        Serve(s, 13);
    }
    NntpScript missing_last;
    Serve(missing_last.Send(kGreeting).Reply(GroupReply(10, 15)), 14).Reply("423 gone\r\n");
    NntpScript mode_reader[2];
    mode_reader[0].Send(kGreeting).Reply(GroupReply(1, 2)).Reply("401 MODE-READER\r\n");
    mode_reader[1] = mode_reader[0];
    mode_reader[1].Reply("401 MODE-READER\r\n").Reply("401 MODE-READER\r\n").Reply("401 MODE-READER\r\n");
    for (NntpScript &s : mode_reader)
        Serve(Serve(s.Reply("200 reader ready\r\n"), 1), 2);
    NntpScript stop;
    Serve(stop.Send(kGreeting).Reply(GroupReply(1, 3)), 1);
    const std::string first_two = "HEAD 1\r\nBODY 1\r\nHEAD 2\r\nBODY 2\r\n";
    Case cases[] = {
        {"refused head and body, limit", {skipped[0], skipped[1]}, 0, 15, 2, {11, 13},
         L"制限数の2件の記事を取得しました。サーバには未取得の記事が残っています。", 13,
         {"HEAD 10\r\nHEAD 11\r\nBODY 11\r\nHEAD 12\r\nBODY 12\r\nHEAD 13\r\nBODY 13\r\n",
          "HEAD 10\r\nBODY 10\r\nHEAD 11\r\nBODY 11\r\nHEAD 12\r\nBODY 12\r\nHEAD 13\r\nBODY 13\r\n"},
         false},
        {"missing last", {missing_last, NntpScript(missing_last).Reply("423 gone\r\n")}, 13, 15, 2, {14},
         L"1件の記事を取得しました。", 15,
         {"HEAD 14\r\nBODY 14\r\nHEAD 15\r\n", "HEAD 14\r\nBODY 14\r\nHEAD 15\r\nBODY 15\r\n"}, false},
        {"mode reader", {mode_reader[0], mode_reader[1]}, 0, 2, 100, {1, 2}, L"2件の記事を取得しました。", 2,
         {"HEAD 1\r\nMODE READER\r\n" + first_two, first_two + "MODE READER\r\n" + first_two}, false},
        {"stop", {stop, stop}, 0, 3, 100, {1}, L"1件の記事を取得しました。", 1,
         {"HEAD 1\r\nBODY 1\r\n", first_two + "HEAD 3\r\nBODY 3\r\n"}, true},
    };
    for (Case &c : cases) {
        DWORD depths[2] = {1, kDefaultPipelineDepth};
        for (int i = 0; i < 2; i++) {
            SCOPED_TRACE(std::string(c.name) + " at depth " + std::to_string(depths[i]));
            DataFolder data;
            data.Index(L"fj.test", c.from, c.from ? c.last : 0);
            data.Index(L"fj.later", 0);
            std::vector<std::wstring> groups = {L"fj.test", L"fj.later"};
            groups.resize(c.stop ? 2 : 1); /* a stop must not reach the later group */
            SessionRun run = data.Run(c.script[i], groups, c.limit, depths[i], c.stop ? kStopAtFirst : kNoStop);
            EXPECT_EQ(run.ok, 1);
            EXPECT_STREQ(run.result.text, c.text);
            EXPECT_EQ(c.script[i].Transcript(), "GROUP fj.test\r\n" + c.sent[i] + "QUIT\r\n");
            GroupBytes expected = PlainBytes(c.stored);
            EXPECT_EQ(data.Log(), expected.log);
            EXPECT_EQ(data.Idx(), Header(c.last_fetched, c.last, (DWORD)c.stored.size(), c.text) + expected.Records());
        }
    }
}
