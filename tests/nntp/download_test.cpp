#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include <string.h>

#include <string>
#include <vector>

#include "nntp/progress.h"
#include "resources/resource.h"
#include "support/script_client.h"
#include "session_fixture.h"
#include "support/gui_helper.h"
#include "support/temp_folder.h"

namespace {

/* ---- expected store bytes, from the log and index layouts ---- */

const std::string kSeparator = "================\r\n";

std::string U32(DWORD v)
{
    std::string out(4, '\0');
    memcpy(&out[0], &v, 4);
    return out;
}

std::string Padded(const std::string &text, size_t size)
{
    std::string out = text;
    out.resize(size, '\0');
    return out;
}

/* Index header, version 5 (100 bytes). */
std::string IndexHeaderBytes(DWORD last_fetched, DWORD server_last, DWORD records, const std::string &status)
{
    return U32(5) + U32(last_fetched) + U32(server_last) + U32(0) + U32(records) + U32(0) + Padded(status, 64) +
           U32(records) + U32(0) + U32(0);
}

/* A stored article and its index record (92 bytes) at log offset `at`. */
struct StoredArticle {
    DWORD number;
    std::string head;    /* kept lines as stored, without the sequence line */
    std::string body;    /* as stored */
    std::string subject; /* index subject field */
    std::string date;    /* MMDD */
    std::string from;    /* index from field */
    std::string Log() const
    {
        return head + "X-Local-Seq: " + std::to_string(number) + "\r\n" + "\r\n" + body + kSeparator;
    }
    std::string Record(DWORD at) const
    {
        size_t subject_at = head.find("Subject: ");
        size_t subject_end = head.find("\r\n", subject_at) + 2;
        return U32(0) + U32(number) + U32(at) + U32((DWORD)Log().size()) + Padded(subject, 48) + date +
               Padded(from, 16) + U32(at + (DWORD)subject_at + 9) + U32((DWORD)(subject_end - subject_at) - 11);
    }
};

/* The log and the records of articles stored one after another. */
struct StoreBytes {
    std::string log, records;
    void Add(const StoredArticle &a)
    {
        records += a.Record((DWORD)log.size());
        log += a.Log();
    }
};

/* "N件の記事を取得しました。" and the limit text, in Shift_JIS. */
std::string FetchedText(int n)
{
    return std::to_string(n) + "\x8c\x8f\x82\xcc\x8b\x4c\x8e\x96\x82\xf0\x8e\xe6\x93\xbe\x82\xb5\x82\xdc\x82\xb5"
                               "\x82\xbd\x81\x42";
}
const std::string kNoNewArticles = "\x90\x56\x8b\x4b\x8b\x4c\x8e\x96\x82\xcd\x82\xa0\x82\xe8\x82\xdc\x82\xb9\x82\xf1"
                                   "\x82\xc5\x82\xb5\x82\xbd";

/* ---- the server's side ---- */

std::string HeadReply(DWORD n, const std::string &lines)
{
    return "221 " + std::to_string(n) + " <" + std::to_string(n) + "@pelnor.test> head\r\n" + lines + ".\r\n";
}
std::string BodyReply(DWORD n, const std::string &stuffed_lines)
{
    return "222 " + std::to_string(n) + " <" + std::to_string(n) + "@pelnor.test> body\r\n" + stuffed_lines +
           ".\r\n";
}

/* A plain article n as the server sends it and as it is stored. */
struct PlainArticle {
    std::string head_lines, body_lines;
    StoredArticle stored;
    explicit PlainArticle(DWORD n)
    {
        std::string number = std::to_string(n);
        head_lines = "Path: news!not-for-mail\r\nFrom: user" + number + "@example.jp\r\nSubject: article " + number +
                     "\r\nDate: Fri, 1 Nov 2024 09:00:00 +0900\r\nMessage-ID: <" + number + "@pelnor.test>\r\n";
        body_lines = "body of " + number + "\r\n";
        stored.number = n;
        stored.head = "From: user" + number + "@example.jp\r\nSubject: article " + number +
                      "\r\nDate: Fri, 1 Nov 2024 09:00:00 +0900\r\nMessage-ID: <" + number + "@pelnor.test>\r\n";
        stored.body = body_lines;
        stored.subject = "article " + number;
        stored.date = "1101";
        stored.from = ("user" + number + "@example.jp").substr(0, 15);
    }
    NntpScript &Serve(NntpScript &script) const
    {
        return script.Reply(HeadReply(stored.number, head_lines)).Reply(BodyReply(stored.number, body_lines));
    }
};

const std::string kGreeting = "200 news.example ready\r\n";

std::string GroupReply(DWORD count, DWORD first, DWORD last, const std::string &group = "fj.test")
{
    return "211 " + std::to_string(count) + " " + std::to_string(first) + " " + std::to_string(last) + " " +
           group + "\r\n";
}

struct DataFolder {
    TempFolder folder;
    /* The group's index with this header and nothing else. */
    void Index(const std::wstring &group, DWORD last_fetched, DWORD server_last = 0)
    {
        WriteFileBytes(folder.file(group + L".idx"), IndexHeaderBytes(last_fetched, server_last, 0, ""));
    }
    std::string Log(const std::wstring &group = L"fj.test") { return FileBytes(folder.file(group + L".log")); }
    std::string Idx(const std::wstring &group = L"fj.test") { return FileBytes(folder.file(group + L".idx")); }
    const std::wstring &path() const { return folder.path(); }
};

} // namespace

TEST(ArticleDownload, StoresKeptHeaderLinesAndUnstuffedBodies)
{
    std::string head1 = "Path: a!b\r\n"
                        "From: Taro <taro@example.jp>\r\n"
                        "subject: a lower-case name is not kept\r\n"
                        "Subject: \x1b$B$3$s\x1b(B hello\r\n"
                        "\tfolded part\r\n"
                        "X-Foo: bar\r\n"
                        " continuation of a line not kept\r\n"
                        "Newsgroups: fj.test\r\n"
                        "Date: Tue, 5 Mar 2024 10:00:00 +0900\r\n"
                        "Message-ID: <1@pelnor.test>\r\n"
                        "References: <0@pelnor.test>\r\n";
    std::string body1 = "line one\r\n"
                        "..x\r\n"
                        ".abc\r\n"
                        "\x1b$B$3$s\x1b(B\r\n"
                        "\r\n"
                        "...\r\n"
                        "=?ISO-8859-1?Q?not_a_header?=\r\n";
    std::string head2 = " a continuation before any header\r\n"
                        "From: hanako@example.jp (Hanako)\r\n"
                        "Subject: second\r\n"
                        "Date: Wed, 13 Nov 2024 10:00:00 +0900\r\n"
                        "Message-ID: <2@pelnor.test>\r\n";
    NntpScript script;
    script.Send(kGreeting)
        .Reply(GroupReply(2, 1, 2))
        .Reply(HeadReply(1, head1))
        .Reply(BodyReply(1, body1))
        .Reply(HeadReply(2, head2))
        .Reply(BodyReply(2, "only\r\n"));
    DataFolder data;
    data.Index(L"fj.test", 0);
    SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"}, nullptr, nullptr, data.path(), 100);
    EXPECT_EQ(run.ok, 1);
    EXPECT_STREQ(run.result.title, L"");
    EXPECT_STREQ(run.result.text, L"2件の記事を取得しました。");
    EXPECT_EQ(run.result.severity, 0u);
    EXPECT_EQ(script.Transcript(), "GROUP fj.test\r\nHEAD 1\r\nBODY 1\r\nHEAD 2\r\nBODY 2\r\nQUIT\r\n");

    StoredArticle a1{1,
                     "From: Taro <taro@example.jp>\r\n"
                     "Subject: \x82\xb1\x82\xf1 hellofolded part\r\n"
                     "Newsgroups: fj.test\r\n"
                     "Date: Tue, 5 Mar 2024 10:00:00 +0900\r\n"
                     "Message-ID: <1@pelnor.test>\r\n"
                     "References: <0@pelnor.test>\r\n",
                     "line one\r\n"
                     ".x\r\n"
                     "abc\r\n"
                     "\x82\xb1\x82\xf1\r\n"
                     "\r\n"
                     "..\r\n"
                     "=?ISO-8859-1?Q?not_a_header?=\r\n",
                     "\x82\xb1\x82\xf1 hellofolded part",
                     "0305",
                     "Taro"};
    StoredArticle a2{2,
                     "From: hanako@example.jp (Hanako)\r\n"
                     "Subject: second\r\n"
                     "Date: Wed, 13 Nov 2024 10:00:00 +0900\r\n"
                     "Message-ID: <2@pelnor.test>\r\n",
                     "only\r\n",
                     "second",
                     "1113",
                     "Hanako"};
    StoreBytes expected;
    expected.Add(a1);
    expected.Add(a2);
    EXPECT_EQ(data.Log(), expected.log);
    EXPECT_EQ(data.Idx(), IndexHeaderBytes(2, 2, 2, FetchedText(2)) + expected.records);
}

TEST(ArticleDownload, MissingArticlesAreSkippedAndTheLimitHolds)
{
    /* first = 10 is above last fetched + 1: the run starts at 10. 10 is
     * missing at HEAD, 12 at BODY; neither counts toward the limit of 3. */
    NntpScript script;
    script.Send(kGreeting).Reply(GroupReply(6, 10, 16)).Reply("423 No such article number 10\r\n");
    PlainArticle(11).Serve(script);
    script.Reply(HeadReply(12, PlainArticle(12).head_lines)).Reply("423 gone\r\n");
    PlainArticle(13).Serve(script);
    PlainArticle(14).Serve(script);
    DataFolder data;
    data.Index(L"fj.test", 0);
    SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"}, nullptr, nullptr, data.path(), 3);
    EXPECT_EQ(run.ok, 1);
    EXPECT_STREQ(run.result.text, L"制限数の3件の記事を取得しました。サーバには未取得の記事が残っています。");
    EXPECT_EQ(script.Transcript(), "GROUP fj.test\r\nHEAD 10\r\nHEAD 11\r\nBODY 11\r\nHEAD 12\r\nBODY 12\r\n"
                                   "HEAD 13\r\nBODY 13\r\nHEAD 14\r\nBODY 14\r\nQUIT\r\n");
    StoreBytes expected;
    for (DWORD n : {11, 13, 14})
        expected.Add(PlainArticle(n).stored);
    EXPECT_EQ(data.Log(), expected.log); /* nothing of 12 stays in the log */
    /* The limit text in Shift_JIS, cut to the 63 bytes the header holds. */
    std::string limit_text = "\x90\xa7\x8c\xc0\x90\x94\x82\xcc\x33\x8c\x8f\x82\xcc\x8b\x4c"
                             "\x8e\x96\x82\xf0\x8e\xe6\x93\xbe\x82\xb5\x82\xdc\x82\xb5\x82\xbd\x81\x42\x83\x54\x81\x5b\x83\x6f\x82\xc9\x82\xcd\x96\xa2\x8e\xe6\x93\xbe\x82\xcc\x8b\x4c\x8e\x96\x82\xaa\x8e\x63\x82\xc1\x82\xc4";
    EXPECT_EQ(data.Idx(), IndexHeaderBytes(14, 16, 3, limit_text) + expected.records);

    /* The next run starts exactly after the last article processed. */
    NntpScript next;
    next.Send(kGreeting).Reply(GroupReply(6, 10, 16));
    PlainArticle(15).Serve(next);
    PlainArticle(16).Serve(next);
    run = RunScriptedSession(next.Start(), {L"fj.test"}, nullptr, nullptr, data.path(), 3);
    EXPECT_STREQ(run.result.text, L"2件の記事を取得しました。");
    EXPECT_EQ(next.Transcript(), "GROUP fj.test\r\nHEAD 15\r\nBODY 15\r\nHEAD 16\r\nBODY 16\r\nQUIT\r\n");
    expected.Add(PlainArticle(15).stored);
    expected.Add(PlainArticle(16).stored);
    EXPECT_EQ(data.Log(), expected.log);
    EXPECT_EQ(data.Idx(), IndexHeaderBytes(16, 16, 5, FetchedText(2)) + expected.records);
}

TEST(ArticleDownload, NothingNewAfterCatchUpOnTheServer)
{
    struct Case {
        DWORD last_fetched;
        DWORD expected_last_fetched;
    };
    /* Caught up on the server (all ones): only the server's position is
     * taken. Up to date, or even past the server's last: nothing new. */
    for (Case c : {Case{0xFFFFFFFF, 40}, Case{40, 40}, Case{50, 40}}) {
        NntpScript script;
        script.Send(kGreeting).Reply(GroupReply(9, 3, 40));
        DataFolder data;
        data.Index(L"fj.test", c.last_fetched, 7);
        SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"}, nullptr, nullptr, data.path());
        EXPECT_EQ(run.ok, 1);
        EXPECT_STREQ(run.result.text, L"新規記事はありませんでした");
        EXPECT_STREQ(run.result.title, L"");
        EXPECT_EQ(script.Transcript(), "GROUP fj.test\r\nQUIT\r\n");
        EXPECT_EQ(data.Idx(), IndexHeaderBytes(c.expected_last_fetched, 40, 0, kNoNewArticles));
        EXPECT_EQ(data.Log(), "");
    }
}

TEST(ArticleDownload, RefusedGroupIsSkippedAndTheRunGoesOn)
{
    NntpScript script;
    script.Send(kGreeting).Reply("411 No such group fj.gone\r\n").Reply(GroupReply(1, 1, 1));
    PlainArticle(1).Serve(script);
    DataFolder data;
    data.Index(L"fj.gone", 5, 9);
    data.Index(L"fj.test", 0);
    SessionRun run =
        RunScriptedSession(script.Start(), {L"fj.gone", L"fj.test"}, nullptr, nullptr, data.path());
    EXPECT_EQ(run.ok, 1);
    EXPECT_STREQ(run.result.text, L"1件の記事を取得しました。");
    EXPECT_EQ(script.Transcript(), "GROUP fj.gone\r\nGROUP fj.test\r\nHEAD 1\r\nBODY 1\r\nQUIT\r\n");
    EXPECT_EQ(data.Idx(L"fj.gone"), IndexHeaderBytes(5, 9, 0, "")); /* left as it was */

    /* A group whose reply cannot be read stops the run; QUIT still goes. */
    NntpScript fatal;
    fatal.Send(kGreeting).Recv().Close();
    run = RunScriptedSession(fatal.Start(), {L"fj.gone", L"fj.test"}, nullptr, nullptr, data.path());
    EXPECT_EQ(run.ok, 0);
    EXPECT_STREQ(run.result.title, L"Socket ERROR");
    EXPECT_EQ(fatal.Transcript(), "GROUP fj.gone\r\nQUIT\r\n");
}

TEST(ArticleDownload, StoreFailureTexts)
{
    /* No index: the group is not even selected. */
    NntpScript no_index;
    no_index.Send(kGreeting);
    DataFolder data;
    SessionRun run = RunScriptedSession(no_index.Start(), {L"fj.test"}, nullptr, nullptr, data.path());
    EXPECT_EQ(run.ok, 0);
    EXPECT_STREQ(run.result.title, L"fj.test");
    EXPECT_STREQ(run.result.text, L"インデックスの初期化に失敗しました(2)");
    EXPECT_EQ(run.result.severity, 2u);
    EXPECT_EQ(no_index.Transcript(), "QUIT\r\n");

    /* A log that cannot be opened (a folder of that name). */
    NntpScript log_folder;
    log_folder.Send(kGreeting).Reply(GroupReply(1, 1, 1));
    data.Index(L"fj.test", 0);
    CreateDirectoryW(data.folder.file(L"fj.test.log").c_str(), nullptr);
    run = RunScriptedSession(log_folder.Start(), {L"fj.test"}, nullptr, nullptr, data.path());
    EXPECT_STREQ(run.result.title, L"fj.test");
    EXPECT_STREQ(run.result.text, L"ファイルが開けませんでした(5)");
    EXPECT_EQ(log_folder.Transcript(), "GROUP fj.test\r\nQUIT\r\n");
    RemoveDirectoryW(data.folder.file(L"fj.test.log").c_str());

    /* An index that others read: its header loads, but it cannot be
     * opened for writing. */
    NntpScript read_only;
    read_only.Send(kGreeting).Reply(GroupReply(1, 1, 1));
    HANDLE reader = CreateFileW(data.folder.file(L"fj.test.idx").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, 0, nullptr);
    run = RunScriptedSession(read_only.Start(), {L"fj.test"}, nullptr, nullptr, data.path());
    CloseHandle(reader);
    EXPECT_STREQ(run.result.text, L"インデックスファイルのオープンに失敗しました(32).");
    EXPECT_EQ(read_only.Transcript(), "GROUP fj.test\r\nQUIT\r\n");
    EXPECT_EQ(run.result.severity, 2u);
}

TEST(ArticleDownload, ReceiveFailureTexts)
{
    struct Case {
        std::string after_group; /* what the server does after GROUP */
        bool close;
        const wchar_t *text;
    };
    std::string head = PlainArticle(1).head_lines;
    const Case cases[] = {
        {"", true, L"受信に失敗しました(38)."},                                   /* HEAD reply lost */
        {"221 1 <1@pelnor.test> head\r\nFrom: x\r\nSubj", true, L"受信が正常に終了しませんでした(38)."},
        {"221 1 <1@pelnor.test> head\r\nSubject: " + std::string(1030, 's') + "\r\n.\r\n", false,
         L"受信が正常に終了しませんでした(234)."},
    };
    for (const Case &c : cases) {
        NntpScript script;
        script.Send(kGreeting).Reply(GroupReply(1, 1, 1)).Recv();
        if (!c.after_group.empty())
            script.Send(c.after_group);
        if (c.close)
            script.Close();
        DataFolder data;
        data.Index(L"fj.test", 0);
        SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"}, nullptr, nullptr, data.path());
        EXPECT_EQ(run.ok, 0);
        EXPECT_STREQ(run.result.title, L"fj.test");
        EXPECT_STREQ(run.result.text, c.text);
        EXPECT_EQ(run.result.severity, 2u);
        EXPECT_EQ(data.Log(), "");
        EXPECT_EQ(data.Idx(), IndexHeaderBytes(0, 0, 0, ""));
    }

    /* BODY reply lost, and a body cut off. */
    for (bool partial : {false, true}) {
        NntpScript script;
        script.Send(kGreeting).Reply(GroupReply(1, 1, 1)).Reply(HeadReply(1, head)).Recv();
        if (partial)
            script.Send("222 1 <1@pelnor.test> body\r\nfirst line\r\nsecond");
        script.Close();
        DataFolder data;
        data.Index(L"fj.test", 0);
        SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"}, nullptr, nullptr, data.path());
        EXPECT_STREQ(run.result.text, partial ? L"受信が正常に終了しませんでした(38)." : L"受信に失敗しました(38).");
        EXPECT_EQ(data.Log(), "");
    }
}

TEST(ArticleDownload, NulByteEndsTheBodyWithoutAnError)
{
    NntpScript script;
    script.Send(kGreeting)
        .Reply(GroupReply(1, 1, 1))
        .Reply(HeadReply(1, PlainArticle(1).head_lines))
        .Reply(std::string("222 1 <1@pelnor.test> body\r\nkept\r\ncut\0off\r\n.\r\n", 44));
    DataFolder data;
    data.Index(L"fj.test", 0);
    SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"}, nullptr, nullptr, data.path());
    EXPECT_EQ(run.ok, 1);
    StoredArticle a = PlainArticle(1).stored;
    a.body = "kept\r\n";
    StoreBytes expected;
    expected.Add(a);
    EXPECT_EQ(data.Log(), expected.log);
    EXPECT_EQ(data.Idx(), IndexHeaderBytes(1, 1, 1, FetchedText(1)) + expected.records);
}

TEST(ArticleDownload, FailureMidArticleKeepsEarlierArticlesAndTheHeader)
{
    NntpScript script;
    script.Send(kGreeting).Reply(GroupReply(3, 1, 3));
    PlainArticle(1).Serve(script);
    PlainArticle(2).Serve(script);
    script.Reply(HeadReply(3, PlainArticle(3).head_lines)).Recv().Send("222 3 <3@pelnor.test> body\r\nbody of").Close();
    DataFolder data;
    data.Index(L"fj.test", 0);
    SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"}, nullptr, nullptr, data.path());
    EXPECT_EQ(run.ok, 0);
    EXPECT_STREQ(run.result.text, L"受信が正常に終了しませんでした(38).");
    StoreBytes first_two;
    first_two.Add(PlainArticle(1).stored);
    first_two.Add(PlainArticle(2).stored);
    /* Every earlier article with its record; the header as it was. */
    EXPECT_EQ(data.Log(), first_two.log);
    EXPECT_EQ(data.Idx(), IndexHeaderBytes(0, 0, 0, "") + first_two.records);

    /* The next run fetches again from the old last fetched. The records of
     * the first attempt were never counted, so the new ones take their
     * places; the log keeps both copies. */
    NntpScript again;
    again.Send(kGreeting).Reply(GroupReply(3, 1, 3));
    for (DWORD n : {1, 2, 3})
        PlainArticle(n).Serve(again);
    run = RunScriptedSession(again.Start(), {L"fj.test"}, nullptr, nullptr, data.path());
    EXPECT_EQ(run.ok, 1);
    EXPECT_EQ(again.Transcript(), "GROUP fj.test\r\nHEAD 1\r\nBODY 1\r\nHEAD 2\r\nBODY 2\r\nHEAD 3\r\nBODY 3\r\nQUIT\r\n");
    StoreBytes second = first_two;
    second.records.clear();
    for (DWORD n : {1, 2, 3})
        second.Add(PlainArticle(n).stored);
    EXPECT_EQ(data.Log(), second.log);
    EXPECT_EQ(data.Idx(), IndexHeaderBytes(3, 3, 3, FetchedText(3)) + second.records);
}

namespace {

struct WorkerRun {
    SessionParams params;
    RunResult result;
    int ok;
    HWND notify;
};

DWORD WINAPI SessionWorker(LPVOID p)
{
    WorkerRun *run = (WorkerRun *)p;
    run->ok = RunSession(&run->params, &run->result);
    PostMessageW(run->notify, WM_NULL, 0, 0);
    return 0;
}

INT_PTR CALLBACK PlainDialog(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

} // namespace

TEST(ArticleDownload, WorkerThreadDrivesTheProgressDialog)
{
    NntpScript script;
    script.Send(kGreeting).Reply(GroupReply(2, 1, 2, "fj.one"));
    PlainArticle(1).Serve(script);
    PlainArticle(2).Serve(script);
    script.Reply(GroupReply(4, 7, 10, "fj.two"));
    for (DWORD n : {7, 8, 9})
        PlainArticle(n).Serve(script);
    DataFolder data;
    data.Index(L"fj.one", 0);
    data.Index(L"fj.two", 0);

    GroupList list({L"fj.one", L"fj.two"});
    GroupCursor cursor;
    GroupCursorInit(&cursor, list.window());
    HWND dialog = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_PROGRESS), nullptr,
                                     PlainDialog, 0);
    ProgressDialog progress;
    ProgressInit(&progress);
    progress.dialog = dialog;
    WorkerRun run = {};
    RunResultClear(&run.result);
    run.params.server = L"127.0.0.1";
    run.params.port = (DWORD)script.Start();
    run.params.data_path = data.path().c_str();
    run.params.limit = 3;
    run.params.cursor = &cursor;
    run.params.progress = &progress;
    run.ok = -1;
    HANDLE thread = CreateThread(nullptr, 0, SessionWorker, &run, 0, nullptr);
    ASSERT_NE(thread, nullptr);
    /* The list and the dialog answer the worker while this thread pumps. */
    EXPECT_TRUE(PumpUntil([&] { return WaitForSingleObject(thread, 0) == WAIT_OBJECT_0; }, 60000));
    CloseHandle(thread);
    EXPECT_EQ(run.ok, 1);
    EXPECT_STREQ(run.result.text, L"制限数の3件の記事を取得しました。サーバには未取得の記事が残っています。");
    EXPECT_EQ(WindowText(GetDlgItem(dialog, IDC_PROGRESS_GROUP)), L"fj.two");
    HWND bar = GetDlgItem(dialog, IDC_PROGRESS_BAR);
    EXPECT_EQ(progress.range_count, 3u); /* last - start: one less than the range */
    EXPECT_EQ(progress.step_count, 3u);
    EXPECT_EQ(SendMessageW(bar, PBM_GETRANGE, FALSE, 0), 3);
    EXPECT_EQ(SendMessageW(bar, PBM_GETPOS, 0, 0), 3);
    EXPECT_EQ(script.Transcript(), "GROUP fj.one\r\nHEAD 1\r\nBODY 1\r\nHEAD 2\r\nBODY 2\r\n"
                                   "GROUP fj.two\r\nHEAD 7\r\nBODY 7\r\nHEAD 8\r\nBODY 8\r\nHEAD 9\r\nBODY 9\r\n"
                                   "QUIT\r\n");
    DestroyWindow(dialog);
}
