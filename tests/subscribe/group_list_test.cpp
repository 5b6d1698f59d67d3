#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "nntp/connection.h"
#include "resources/resource.h"
#include "nntp/group_list.h"
#include "subscribe/group_list_dialog.h"
#include "support/gui_helper.h"
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
        RunGroupListDownload(GetModuleHandleW(nullptr), nullptr, active.c_str(), category.c_str(), L"127.0.0.1",
                             (DWORD)port, user, password);
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
    /* Each authentication command is followed by an empty line; then the
     * plain command for a server that does not know LIST active. */
    NntpScript login;
    login.Send(kGreeting).Reply("381 more\r\n").Recv().Reply("281 ok\r\n").Recv();
    Case cases[] = {
        {NntpScript().Send(kGreeting).Reply("215 list follows\r\n" + list), nullptr, nullptr, "LIST active\r\n",
         "alt.test\r\nfj.comp.misc\r\njunk\r\nfj.test\r\njapan.nodates\r\nalt.binaries.test\r\n",
         "alt\r\nfj\r\njunk\r\njapan\r\n"},
        {NntpScript(login).Reply("500 what?\r\n").Reply("215 list\r\nfj.test 3 1 y\r\n.\r\n"), "taro", "himitsu",
         "authinfo user taro\r\n\r\nauthinfo pass himitsu\r\n\r\nLIST active\r\nLIST\r\n", "fj.test\r\n", "fj\r\n"},
        /* A password without a user logs in with neither. */
        {NntpScript().Send(kGreeting).Reply("215 list\r\n.\r\n"), nullptr, "himitsu", "LIST active\r\n", "", ""},
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

TEST(GroupList, FailureTexts)
{
    DialogRun refused;
    refused.Run(FreeLoopbackPort());
    EXPECT_EQ(refused.OnlyBox(), L"Can't connect to server");

    struct Case {
        NntpScript script;
        const char *user;
        std::wstring text;
        const char *active; /* null: not created */
    };
    const std::string long_user(4080, 'u');
    const std::string long_line = "fj.long " + std::string(1020, '9') + "\r\n";
    Case cases[] = {
        {NntpScript().Close(), nullptr, L"Recv fail: Can't connect to server", nullptr},
        {NntpScript().Send("400 too busy\r\n"), nullptr, L"Connection refused : 400 too busy\r\n", nullptr},
        /* Only a request for the password lets the login go on. */
        {NntpScript().Send(kGreeting).Reply("281 Authentication accepted\r\n"), "taro",
         L"281 Authentication accepted\r\n", nullptr},
        {NntpScript().Send(kGreeting).Reply("381 more\r\n").Recv(2).Send("481 rejected\r\n"), "taro",
         L"481 rejected\r\n", nullptr},
        {NntpScript().Send(kGreeting), long_user.c_str(), L"Can't send data", nullptr},
        {NntpScript().Send(kGreeting).Recv().Close(), "taro", L"Can't redv data", nullptr},
        {NntpScript().Send(kGreeting).Reply("500 what?\r\n").Reply("503 program fault\r\n"), nullptr,
         L"サーバが予期せぬ応答をしました。:503 program fault\r\n", ""},
        {NntpScript().Send(kGreeting).Recv().Close(), nullptr, L"受信に失敗", ""},
        /* A broken transfer keeps what was written. */
        {NntpScript().Send(kGreeting).Reply("215 list\r\nfj.test 3 1 y\r\nalt.test 2 1 y\r\n" + long_line + ".\r\n"),
         nullptr, L"正常に受信できませんでした(234)", "fj.test\r\nalt.test\r\n"},
        {NntpScript().Send(kGreeting).Reply("215 list\r\nfj.test 3 1 y\r\nfj.te").Close(), nullptr,
         L"正常に受信できませんでした(38)", "fj.test\r\n"},
    };
    for (Case &c : cases) {
        DialogRun run;
        run.Run(c.script.Start(), c.user, "himitsu");
        EXPECT_EQ(run.OnlyBox(), c.text);
        if (c.active)
            EXPECT_EQ(FileBytes(run.active), c.active) << c.text;
        else
            EXPECT_FALSE(FileExists(run.active)) << c.text;
    }
}

TEST(GroupList, CounterAndTheDoubledNoticeOnAFileOpenFailure)
{
    TempFolder folder;
    std::wstring active = folder.file(L"active.dat"), category = folder.file(L"category.dat");
    /* The worker's failure text, then "g" for each group told and "+" for
     * each completion notice. */
    auto run_worker = [&]() {
        NntpScript script;
        script.Send(kGreeting).Reply("215 list\r\nfj.test 3 1 y\r\nalt.test 2 1 y\r\n.\r\n");
        std::wstring told;
        GroupListEvents events = {&told, [](void *t) { *(std::wstring *)t += L"g"; },
                                  [](void *t) { *(std::wstring *)t += L"+"; }};
        GroupListJob *job = GroupListJobCreate(active.c_str(), category.c_str(), L"127.0.0.1", (DWORD)script.Start(),
                                               nullptr, nullptr, &events);
        GroupListRun(job);
        std::wstring result = (job->error_text ? job->error_text : L"") + told;
        GroupListJobFree(job);
        return result;
    };
    EXPECT_EQ(run_worker(), L"gg+");

    /* Held open without sharing, a file can be neither created nor truncated. */
    for (const std::wstring *locked : {&active, &category}) {
        HANDLE holder = CreateFileW(locked->c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
        EXPECT_EQ(run_worker(), locked == &active ? L"Can't open active file(32)++" : L"Can't open category file(32)++");
        CloseHandle(holder);
    }
    /* active.dat was closed again: it can be opened exclusively. */
    HANDLE again = CreateFileW(active.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(again, INVALID_HANDLE_VALUE);
    CloseHandle(again);
}

TEST(GroupList, NoticeAfterTheDialogHasGoneIsHarmless)
{
    NntpSetTimeouts(0, 700);
    NntpScript script;
    script.Stall();
    DialogRun run;
    run.watcher.SetDialogHandler([](HWND dialog) { PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0); });
    run.Run(script.Start());
    NntpSetTimeouts(0, kNntpDefaultReceiveTimeoutMs);
    /* The worker gives up on the silent server after the dialog has gone;
     * its notice goes nowhere. */
    script.Transcript();
    EXPECT_TRUE(script.finished());
    PumpPending();
    EXPECT_TRUE(run.watcher.boxes().empty());
}
