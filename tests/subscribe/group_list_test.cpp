#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "nntp/group_list.h"
#include "subscribe/group_list_dialog.h"
#include "support/gui_helper.h"
#include "support/opening_cases.h"
#include "support/script_client.h"
#include "support/temp_folder.h"

namespace {

const std::string kGreeting = "200 news.example ready\r\n";

/* The download through its dialog, into a fresh folder; the boxes it showed
 * are recorded. */
struct DialogRun {
    TempFolder folder;
    ModalWatcher watcher;
    std::wstring active = folder.file(L"active.dat"), category = folder.file(L"category.dat");
    void Run(int port, const char *user = nullptr, const char *password = nullptr)
    {
        NntpServer server = TestServer(port, user, password);
        Run(server);
    }
    void Run(const NntpServer &server, int decode_charsets = 0)
    {
        RunGroupListDownload(GetModuleHandleW(nullptr), nullptr, active.c_str(), category.c_str(), &server,
                             decode_charsets);
    }
    /* The one box the run showed: caption "PELNOR", exclamation icon. */
    std::wstring OnlyBox()
    {
        if (watcher.boxes().size() != 1)
            return std::to_wstring(watcher.boxes().size()) + L" boxes";
        EXPECT_EQ(watcher.boxes()[0].caption, L"PELNOR");
        EXPECT_EQ(watcher.boxes()[0].icon, (UINT)MB_ICONEXCLAMATION);
        return watcher.boxes()[0].text;
    }
};

} // namespace

TEST(GroupList, WritesActiveAndCategoryFiles)
{
    /* The name ends at the first blank; a line without one is taken whole;
     * categories in order of first appearance, "junk" its own. */
    const std::string list = "alt.test 0000000010 0000000001 y\r\n"
                             "fj.comp.misc 0000000005 0000000001 y\r\n"
                             "junk 0000000000 0000000001 n\r\n"
                             "fj.test 0000000003 0000000001 m\r\n"
                             "japan.nodates\r\n"
                             "alt.binaries.test 0000000001 0000000001 y\r\n.\r\n";
    struct Case {
        NntpScript script;
        const char *user, *password;
        std::string sent, active, category;
    };
    Case cases[] = {
        {NntpScript().Send(kGreeting).Reply("215 list follows\r\n" + list), nullptr, nullptr, "LIST active\r\n",
         "alt.test\r\nfj.comp.misc\r\njunk\r\nfj.test\r\njapan.nodates\r\nalt.binaries.test\r\n",
         "alt\r\nfj\r\njunk\r\njapan\r\n"},
        /* The plain command for a server that does not know LIST active. */
        {NntpScript().Send(kGreeting).Reply("500 what?\r\n").Reply("215 list\r\nfj.test 3 1 y\r\n.\r\n"), nullptr,
         nullptr, "LIST active\r\nLIST\r\n", "fj.test\r\n", "fj\r\n"},
        {NntpScript().Send(kGreeting).Reply("215 list\r\n.\r\n"), nullptr, nullptr, "LIST active\r\n", "", ""},
        /* A NUL byte ends the list there, without an error. */
        {NntpScript().Send(kGreeting).Reply(std::string("215 list\r\nfj.test 3 1 y\r\nalt.te\0st 2 1 y\r\n", 42)),
         nullptr, nullptr, "LIST active\r\n", "fj.test\r\n", "fj\r\n"},
    };
    for (Case &c : cases) {
        DialogRun run;
        WriteFileBytes(run.active, "stale\r\n");
        WriteFileBytes(run.category, "stale\r\n");
        run.Run(c.script.Start(), c.user, c.password);
        EXPECT_EQ(c.script.Transcript(), c.sent); /* no QUIT: the connection is just closed */
        EXPECT_TRUE(run.watcher.boxes().empty());
        EXPECT_EQ(run.watcher.dialog_titles().size(), 1u);
        EXPECT_EQ(FileBytes(run.active), c.active);
        EXPECT_EQ(FileBytes(run.category), c.category);
    }
}

TEST(GroupList, OpensTheConversationAsTheTableSays)
{
    for (const OpeningCase &c : OpeningCases()) {
        SCOPED_TRACE(c.name);
        NntpScript script = OpeningScript(c, true, "215 list\r\nfj.test 3 1 y\r\n.\r\n");
        DialogRun run;
        run.Run(OpeningServer(c, script.Start()));
        /* No QUIT: the connection is just closed. */
        EXPECT_EQ(script.Transcript(), OpeningTranscript(c, true, "LIST active"));
        if (c.list_text) {
            EXPECT_EQ(run.OnlyBox(), c.list_text);
        } else {
            EXPECT_TRUE(run.watcher.boxes().empty());
            EXPECT_EQ(FileBytes(run.active), "fj.test\r\n");
        }
    }
}

TEST(GroupList, FailureTexts)
{
    DialogRun refused;
    refused.Run(FreeLoopbackPort());
    EXPECT_EQ(refused.OnlyBox(), L"Can't connect to server");

    struct Case {
        NntpScript script;
        std::wstring text;
        const char *active;
        int decode_charsets = 0;
    };
    const std::string long_line = "fj.long " + std::string(1020, '9') + "\r\n";
    Case cases[] = {
        {NntpScript().Send(kGreeting).Reply("500 what?\r\n").Reply("503 program fault\r\n"),
         L"サーバが予期せぬ応答をしました。:503 program fault\r\n", ""},
        /* A broken transfer keeps what was written. */
        {NntpScript().Send(kGreeting).Reply("215 list\r\nfj.test 3 1 y\r\nalt.test 2 1 y\r\n" + long_line + ".\r\n"),
         L"正常に受信できませんでした(234)", "fj.test\r\nalt.test\r\n"},
        {NntpScript().Send(kGreeting).Reply("215 list\r\nfj.test 3 1 y\r\nfj.te").Close(),
         L"正常に受信できませんでした(38)", "fj.test\r\n"},
        /* A refusal in Japanese reads as sent with DecodeCharsets. */
        {NntpScript().Send("502 \x1b$B@\\B3$G$-$^$;$s\x1b(B\r\n"), L"Connection refused : 502 接続できません\r\n", "", 1},
    };
    for (Case &c : cases) {
        DialogRun run;
        run.Run(TestServer(c.script.Start()), c.decode_charsets);
        EXPECT_EQ(run.OnlyBox(), c.text);
        EXPECT_EQ(FileBytes(run.active), c.active) << c.text;
    }
}

/* A file that cannot be opened is told to the owner at once, besides the
 * notice every run ends with: the owner hears of it twice (kept so). */
TEST(GroupList, CounterAndTheEarlyNoticeOnAFileOpenFailure)
{
    TempFolder folder;
    std::wstring active = folder.file(L"active.dat"), category = folder.file(L"category.dat");
    /* "g" for each group told and "+" for each early notice; the failure
     * and its error. */
    auto run_worker = [&]() {
        NntpScript script;
        script.Send(kGreeting).Reply("215 list\r\nfj.test 3 1 y\r\nalt.test 2 1 y\r\n.\r\n");
        std::wstring told;
        GroupListEvents events = {&told, [](void *t) { *(std::wstring *)t += L"g"; },
                                  [](void *t) { *(std::wstring *)t += L"+"; }};
        NntpServer server = TestServer(script.Start());
        GroupListJob *job = GroupListJobCreate(active.c_str(), category.c_str(), &server);
        GroupListRun(job, &events, nullptr);
        told += L" " + std::to_wstring(job->failure) + L" " + std::to_wstring(job->last_error);
        GroupListJobFree(job);
        return told;
    };
    EXPECT_EQ(run_worker(), L"gg 0 0");

    /* Held open without sharing, a file can be neither created nor truncated. */
    for (const std::wstring *locked : {&active, &category}) {
        HANDLE holder = CreateFileW(locked->c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
        GroupListFailure failure = locked == &active ? kListActiveOpenFailed : kListCategoryOpenFailed;
        EXPECT_EQ(run_worker(), L"+ " + std::to_wstring(failure) + L" 32");
        CloseHandle(holder);
    }
    /* active.dat was closed again: it can be opened exclusively. */
    HANDLE again = CreateFileW(active.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(again, INVALID_HANDLE_VALUE);
    CloseHandle(again);
}

TEST(GroupList, ClosingTheDialogStopsTheDownloadAndItsNoticeGoesNowhere)
{
    NntpScript script;
    script.Stall();
    DialogRun run;
    run.watcher.SetDialogHandler([](HWND dialog) { PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0); });
    run.Run(script.Start());
    /* The silent server's connection is closed at once, not after the
     * receive time-out. */
    script.Transcript(20);
    EXPECT_TRUE(script.finished());
    PumpPending();
    EXPECT_TRUE(run.watcher.boxes().empty());
}
