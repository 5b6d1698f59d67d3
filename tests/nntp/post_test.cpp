/* Sending the waiting drafts against the scripted server: one table of
 * what the server says to each draft and what becomes of the draft. */
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "session_fixture.h"
#include "support/group_bytes.h"
#include "support/script_client.h"
#include "support/temp_folder.h"

namespace {

/* After the greeting the client sends a line (or an article, through its
 * "." line); the server sends `reply`, or closes when it is null. */
struct PostStep {
    bool article;
    const char *reply;
};

using Files = std::vector<std::pair<std::wstring, std::string>>;

struct PostCase {
    const char *name;
    Files drafts;                  /* the draft folder before the run */
    std::vector<std::wstring> groups;
    int send_only;
    std::vector<PostStep> steps;
    std::string transcript;        /* what the client sent; "<ID>" the generated Message-ID, Date as "D" */
    Files after;                   /* the draft folder after the run */
    std::vector<std::wstring> kept;
    DWORD error;                   /* the run's; 0 when it succeeded */
    const wchar_t *title, *text;   /* the run's result when it failed */
};

const std::string kDraft = "Newsgroups: fj.test\r\nSubject: hello\r\n\r\n.dot\r\nline\r\n";
const std::string kDraftWithId = "Newsgroups: fj.test\r\nSubject: hello\r\nMessage-ID: <ID>\r\n\r\n.dot\r\nline\r\n";
const std::string kHeldId = "<held.1@example.jp>";
const std::string kDraftHeldId = "Newsgroups: fj.test\r\nSubject: hello\r\nMessage-ID: " + kHeldId + "\r\n\r\n.dot\r\nline\r\n";

/* The article the client posts for kDraft (dots doubled, then "."). */
std::string Posted(const std::string &id = "<ID>")
{
    return "Newsgroups: fj.test\r\nSubject: hello\r\nFrom: Taro <taro@example.jp>\r\nMessage-ID: " + id +
           "\r\nDate: D\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=ISO-2022-JP\r\n"
           "Content-Transfer-Encoding: 7bit\r\nUser-Agent: Pelnor/1.1\r\n\r\n..dot\r\nline\r\n.\r\n";
}

const wchar_t kRefused440[] = L"hello: サーバが受け付けませんでした: 440 posting not permitted";

const PostCase kCases[] = {
    {"posted: filed as sent with its Message-ID", {{L"o1.txt", kDraft}}, {}, 0,
     {{false, "340 send it\r\n"}, {true, "240 article received\r\n"}}, "POST\r\n" + Posted() + "QUIT\r\n",
     {{L"s1.txt", kDraftWithId}}, {}, 0, nullptr, nullptr},
    {"refused at POST: kept, and the groups are still downloaded", {{L"o1.txt", kDraft}}, {L"fj.test"}, 0,
     {{false, "440 posting not permitted\r\n"}, {false, "211 0 1 0 fj.test\r\n"}},
     "POST\r\nGROUP fj.test\r\nQUIT\r\n", {{L"o1.txt", kDraftWithId}}, {kRefused440}, 0, nullptr, nullptr},
    {"refused after the article: kept with the server's reason", {{L"o1.txt", kDraft}}, {}, 0,
     {{false, "340 send it\r\n"}, {true, "441 437 Bad \"Newsgroups\" header field\r\n"}},
     "POST\r\n" + Posted() + "QUIT\r\n", {{L"o1.txt", kDraftWithId}},
     {L"hello: サーバが受け付けませんでした: 441 437 Bad \"Newsgroups\" header field"}, 0, nullptr, nullptr},
    {"a duplicate counts as sent", {{L"o1.txt", kDraft}}, {}, 0,
     {{false, "340 send it\r\n"}, {true, "441 435 Duplicate\r\n"}}, "POST\r\n" + Posted() + "QUIT\r\n",
     {{L"s1.txt", kDraftWithId}}, {}, 0, nullptr, nullptr},
    {"the link drops after 340: kept with its Message-ID for the retry", {{L"o1.txt", kDraft}}, {L"fj.test"}, 0,
     {{false, "340 send it\r\n"}, {false, nullptr}}, "POST\r\n" + Posted() + "QUIT\r\n", {{L"o1.txt", kDraftWithId}}, {}, 38,
     L"投稿", L"受信に失敗しました(38)."},
    {"the link drops after the article: kept", {{L"o1.txt", kDraft}}, {}, 0,
     {{false, "340 send it\r\n"}, {true, nullptr}}, "POST\r\n" + Posted() + "QUIT\r\n", {{L"o1.txt", kDraftWithId}}, {}, 38,
     L"投稿", L"受信に失敗しました(38)."},
    {"a retry the server already has is not posted again", {{L"o1.txt", kDraftHeldId}}, {}, 0,
     {{false, "223 0 <held.1@example.jp>\r\n"}}, "STAT " + kHeldId + "\r\nQUIT\r\n", {{L"s1.txt", kDraftHeldId}},
     {}, 0, nullptr, nullptr},
    {"a retry the server lacks goes with the same Message-ID", {{L"o1.txt", kDraftHeldId}}, {}, 0,
     {{false, "430 no such article\r\n"}, {false, "340 send it\r\n"}, {true, "240 ok\r\n"}},
     "STAT " + kHeldId + "\r\nPOST\r\n" + Posted(kHeldId) + "QUIT\r\n", {{L"s1.txt", kDraftHeldId}}, {}, 0,
     nullptr, nullptr},
    {"only waiting drafts go, in name order; one without a subject stays",
     {{L"o2.txt", kDraft}, {L"o1.txt", "Newsgroups: fj.test\r\n\r\nno subject\r\n"}, {L"note.txt", kDraft},
      {L"s9.txt", kDraft}},
     {}, 0, {{false, "340 send it\r\n"}, {true, "240 ok\r\n"}}, "POST\r\n" + Posted() + "QUIT\r\n",
     {{L"note.txt", kDraft},
      {L"o1.txt", "Newsgroups: fj.test\r\n\r\nno subject\r\n"},
      {L"s2.txt", kDraftWithId},
      {L"s9.txt", kDraft}},
     {L"o1.txt: Newsgroups か Subject がありません。"}, 0, nullptr, nullptr},
    {"send only: no group is downloaded", {{L"o1.txt", kDraft}}, {L"fj.test"}, 1,
     {{false, "340 send it\r\n"}, {true, "240 ok\r\n"}}, "POST\r\n" + Posted() + "QUIT\r\n",
     {{L"s1.txt", kDraftWithId}}, {}, 0, nullptr, nullptr},
};

/* The folder's files and their bytes, by name. */
Files FolderFiles(const std::wstring &folder)
{
    Files files;
    WIN32_FIND_DATAW entry;
    HANDLE find = FindFirstFileW((folder + L"*").c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE)
        return files;
    do {
        if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            files.push_back({entry.cFileName, FileBytes(folder + entry.cFileName)});
    } while (FindNextFileW(find, &entry));
    FindClose(find);
    std::sort(files.begin(), files.end());
    return files;
}

/* The generated Message-ID as "<ID>" and the date as "D", once each was
 * seen to have its form. */
std::string Normalised(std::string text, std::string *id)
{
    static const std::regex kDate("Date: (Mon|Tue|Wed|Thu|Fri|Sat|Sun), \\d{1,2} [A-Z][a-z]{2} \\d{4} "
                                  "\\d\\d:\\d\\d:\\d\\d \\+0000\r\n");
    static const std::regex kId("<\\d{14}\\.[0-9a-f]{16}@example\\.jp>");
    std::smatch match;
    if (std::regex_search(text, match, kId)) {
        if (id->empty())
            *id = match.str();
        EXPECT_EQ(match.str(), *id) << "one Message-ID for the draft";
    }
    if (!id->empty())
        for (size_t at; (at = text.find(*id)) != std::string::npos;)
            text.replace(at, id->size(), "<ID>");
    return std::regex_replace(text, kDate, "Date: D\r\n");
}

TEST(Posting, WaitingDraftsAreSentBeforeTheGroups)
{
    for (const PostCase &c : kCases) {
        SCOPED_TRACE(c.name);
        TempFolder drafts;
        for (const auto &file : c.drafts)
            ASSERT_TRUE(WriteFileBytes(drafts.file(file.first), file.second));
        NntpScript script;
        script.Send("200 news.example ready (posting ok)\r\n");
        for (const PostStep &step : c.steps) {
            if (step.article)
                script.RecvArticle();
            else
                script.Recv();
            if (step.reply)
                script.Send(step.reply);
            else
                script.Close();
        }
        int port = script.Start();
        ASSERT_NE(port, 0);
        NntpServer server = TestServer(port);
        PostingParams posting = {drafts.path().c_str(), "Taro", "taro@example.jp", nullptr};
        TempFolder data;
        WriteFileBytes(data.file(L"fj.test.idx"), HeaderBytes(HeaderFields()));
        SessionRun run =
            RunScriptedSession(server, c.groups, data.path(), 100, kNoStop, nullptr, 0, &posting, c.send_only);
        std::string id;
        EXPECT_EQ(Normalised(script.Transcript(), &id), c.transcript);
        Files after = FolderFiles(drafts.path());
        for (auto &file : after)
            file.second = Normalised(file.second, &id);
        EXPECT_EQ(after, c.after);
        EXPECT_EQ(run.kept, c.kept);
        EXPECT_EQ(run.ok, c.error == 0);
        if (c.error) {
            EXPECT_EQ(run.error, c.error);
            EXPECT_STREQ(run.result.title, c.title);
            EXPECT_STREQ(run.result.text, c.text);
        }
    }
}

TEST(Posting, ProgressNamesEachDraft)
{
    TempFolder drafts;
    ASSERT_TRUE(WriteFileBytes(drafts.file(L"o1.txt"), kDraft));
    ASSERT_TRUE(WriteFileBytes(drafts.file(L"o2.txt"), "Newsgroups: fj.test\r\nSubject: \x8a\xbf\r\n\r\n"));
    NntpScript script;
    script.Send("200 ready\r\n").Reply("440 no\r\n").Reply("440 no\r\n");
    int port = script.Start();
    ASSERT_NE(port, 0);
    PostingParams posting = {drafts.path().c_str(), "Taro", "taro@example.jp", nullptr};
    TempFolder data;
    SessionRun run = RunScriptedSession(TestServer(port), {}, data.path(), 100, kNoStop, nullptr, 0, &posting);
    EXPECT_EQ(run.posting, (std::vector<std::wstring>{L"hello 1/2", L"漢 2/2"}));
    EXPECT_EQ(script.Transcript(), "POST\r\nPOST\r\nQUIT\r\n");
}

} // namespace
