#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "nntp/connection.h"
#include "support/script_client.h"
#include "resources/resource.h"
#include "subscribe/group_list.h"
#include "support/gui_helper.h"
#include "support/temp_folder.h"

namespace {

const std::string kGreeting = "200 news.example ready\r\n";

/* Runs the download through its dialog; the boxes it showed are recorded. */
struct DialogRun {
    TempFolder folder;
    ModalWatcher watcher;
    std::wstring active() const { return folder.file(L"active.dat"); }
    std::wstring category() const { return folder.file(L"category.dat"); }
    int Run(int port, const char *user = nullptr, const char *password = nullptr)
    {
        return RunGroupListDownload(GetModuleHandleW(nullptr), nullptr, active().c_str(), category().c_str(),
                                    L"127.0.0.1", (DWORD)port, user, password);
    }
    /* The one box the run showed: caption "PELNOR", exclamation icon. */
    std::wstring OnlyBox()
    {
        if (watcher.boxes().size() != 1) {
            ADD_FAILURE() << watcher.boxes().size() << " boxes";
            return L"";
        }
        const RecordedBox &box = watcher.boxes()[0];
        EXPECT_EQ(box.caption, L"PELNOR");
        EXPECT_EQ(box.icon, (UINT)MB_ICONEXCLAMATION);
        return box.text;
    }
};

/* A message-only window that counts the completion notices it receives. */
struct NoticeCounter {
    HWND window = nullptr;
    static int count;
    static LRESULT CALLBACK Proc(HWND w, UINT m, WPARAM wp, LPARAM lp)
    {
        if (m == WM_COMMAND && LOWORD(wp) == IDC_GROUP_LIST_DONE && lp == 0)
            count++;
        return DefWindowProcW(w, m, wp, lp);
    }
    NoticeCounter()
    {
        WNDCLASSW wc = {};
        wc.lpfnWndProc = Proc;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = L"PelnorNoticeCounter";
        RegisterClassW(&wc);
        window = CreateWindowW(L"PelnorNoticeCounter", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                               GetModuleHandleW(nullptr), nullptr);
        count = 0;
    }
    ~NoticeCounter() { DestroyWindow(window); }
};
int NoticeCounter::count;

std::string ListReply(const std::string &status, const std::string &lines)
{
    return status + lines + ".\r\n";
}

const std::string kList = "alt.test 0000000010 0000000001 y\r\n"
                          "fj.comp.misc 0000000005 0000000001 y\r\n"
                          "junk 0000000000 0000000001 n\r\n"
                          "fj.test 0000000003 0000000001 m\r\n"
                          "japan.nodates\r\n"
                          "alt.binaries.test 0000000001 0000000001 y\r\n";
const std::string kActive = "alt.test\r\nfj.comp.misc\r\njunk\r\nfj.test\r\njapan.nodates\r\nalt.binaries.test\r\n";
const std::string kCategory = "alt\r\nfj\r\njunk\r\njapan\r\n";

} // namespace

TEST(GroupList, WritesActiveAndCategoryFilesFromListActive)
{
    NntpScript script;
    script.Send(kGreeting).Reply(ListReply("215 list follows\r\n", kList));
    DialogRun run;
    WriteFileBytes(run.active(), "old contents that must go\r\n");
    EXPECT_EQ(run.Run(script.Start()), 0);
    EXPECT_EQ(script.Transcript(), "LIST active\r\n"); /* no QUIT: the connection is just closed */
    EXPECT_TRUE(run.watcher.boxes().empty());
    ASSERT_EQ(run.watcher.dialog_titles().size(), 1u);
    EXPECT_EQ(run.watcher.dialog_titles()[0], L"購読可能ｸﾞﾙｰﾌﾟの取得中..");
    EXPECT_EQ(FileBytes(run.active()), kActive);
    EXPECT_EQ(FileBytes(run.category()), kCategory);
}

TEST(GroupList, FallsBackToPlainList)
{
    NntpScript script;
    script.Send(kGreeting).Reply("500 what?\r\n").Reply(ListReply("215 list\r\n", "fj.test 3 1 y\r\n"));
    DialogRun run;
    run.Run(script.Start());
    EXPECT_EQ(script.Transcript(), "LIST active\r\nLIST\r\n");
    EXPECT_TRUE(run.watcher.boxes().empty());
    EXPECT_EQ(FileBytes(run.active()), "fj.test\r\n");
    EXPECT_EQ(FileBytes(run.category()), "fj\r\n");
}

TEST(GroupList, EmptyListLeavesEmptyFilesAndNoMessage)
{
    NntpScript script;
    script.Send(kGreeting).Reply(ListReply("215 list\r\n", ""));
    DialogRun run;
    WriteFileBytes(run.category(), "stale\r\n");
    run.Run(script.Start());
    EXPECT_TRUE(run.watcher.boxes().empty());
    EXPECT_TRUE(FileExists(run.active()));
    EXPECT_EQ(FileBytes(run.active()), "");
    EXPECT_EQ(FileBytes(run.category()), "");
}

TEST(GroupList, CounterShowsTheGroupsStored)
{
    NntpScript script;
    script.Send(kGreeting).Reply(ListReply("215 list\r\n", kList));
    TempFolder folder;
    NoticeCounter notices;
    GroupListDialogState state = {};
    state.dialog = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_GROUP_LIST), nullptr,
                                      [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return FALSE; }, 0);
    ASSERT_NE(state.dialog, nullptr);
    wchar_t text[64];
    GetDlgItemTextW(state.dialog, IDC_GROUP_COUNT, text, 64);
    EXPECT_STREQ(text, L"0 group(s).");
    GroupListJob *job = GroupListJobCreate(folder.file(L"active.dat").c_str(), folder.file(L"category.dat").c_str(),
                                           L"127.0.0.1", (DWORD)script.Start(), nullptr, nullptr, notices.window);
    ASSERT_NE(job, nullptr);
    EXPECT_EQ(job->notify_command, 103u);
    job->dialog_state = nullptr;
    state.job = job;
    job->dialog_state = &state;
    state.references = 2; /* the worker's release must not free the test's state */
    GroupListWorker(job);
    EXPECT_EQ(state.group_count, 6u);
    GetDlgItemTextW(state.dialog, IDC_GROUP_COUNT, text, 64);
    EXPECT_STREQ(text, L"6 group(s).");
    EXPECT_EQ(job->error_text, nullptr);
    PumpPending();
    EXPECT_EQ(NoticeCounter::count, 1);
    GroupListJobFree(job);
    DestroyWindow(state.dialog);
}

TEST(GroupList, AuthenticationCommandsAreFollowedByAnEmptyLine)
{
    NntpScript script;
    script.Send(kGreeting)
        .Reply("381 PASS required\r\n")
        .Recv(2) /* the empty line and the password command */
        .Send("281 ok\r\n")
        .Recv(2)
        .Send(ListReply("215 list\r\n", "fj.test 3 1 y\r\n"));
    DialogRun run;
    run.Run(script.Start(), "taro", "himitsu");
    EXPECT_EQ(script.Transcript(), "authinfo user taro\r\n\r\nauthinfo pass himitsu\r\n\r\nLIST active\r\n");
    EXPECT_TRUE(run.watcher.boxes().empty());
    EXPECT_EQ(FileBytes(run.active()), "fj.test\r\n");
}

TEST(GroupList, AuthenticationRefusalsShowTheServersReply)
{
    NntpScript accepted_user;
    accepted_user.Send(kGreeting).Reply("281 Authentication accepted\r\n");
    DialogRun run;
    run.Run(accepted_user.Start(), "taro", "himitsu");
    EXPECT_EQ(run.OnlyBox(), L"281 Authentication accepted\r\n");
    EXPECT_EQ(accepted_user.Transcript(), "authinfo user taro\r\n\r\n");
    EXPECT_FALSE(FileExists(run.active())); /* the files are not touched */

    NntpScript wrong_password;
    wrong_password.Send(kGreeting).Reply("381 more\r\n").Recv(2).Send("481 rejected\r\n");
    DialogRun run2;
    run2.Run(wrong_password.Start(), "taro", "wrong");
    EXPECT_EQ(run2.OnlyBox(), L"481 rejected\r\n");

    /* A password without a user, or a user without one, sends nothing. */
    NntpScript no_user;
    no_user.Send(kGreeting).Reply(ListReply("215 list\r\n", ""));
    DialogRun run3;
    run3.Run(no_user.Start(), nullptr, "himitsu");
    EXPECT_EQ(no_user.Transcript(), "LIST active\r\n");
    EXPECT_TRUE(run3.watcher.boxes().empty());
}

TEST(GroupList, ConnectionFailureTexts)
{
    DialogRun refused;
    refused.Run(FreeLoopbackPort());
    EXPECT_EQ(refused.OnlyBox(), L"Can't connect to server");

    NntpScript silent;
    silent.Close();
    DialogRun no_greeting;
    no_greeting.Run(silent.Start());
    EXPECT_EQ(no_greeting.OnlyBox(), L"Recv fail: Can't connect to server");

    NntpScript busy;
    busy.Send("400 too busy\r\n");
    DialogRun rejected;
    rejected.Run(busy.Start());
    EXPECT_EQ(rejected.OnlyBox(), L"Connection refused : 400 too busy\r\n");
    EXPECT_EQ(busy.Transcript(), "");
}

TEST(GroupList, AuthenticationSendAndReceiveFailures)
{
    std::string long_user(4080, 'u');
    NntpScript too_long;
    too_long.Send(kGreeting);
    DialogRun send_failed;
    send_failed.Run(too_long.Start(), long_user.c_str(), "p");
    EXPECT_EQ(send_failed.OnlyBox(), L"Can't send data");

    NntpScript closes;
    closes.Send(kGreeting).Recv().Close();
    DialogRun recv_failed;
    recv_failed.Run(closes.Start(), "taro", "himitsu");
    EXPECT_EQ(recv_failed.OnlyBox(), L"Can't redv data");

    NntpScript closes_after_pass;
    closes_after_pass.Send(kGreeting).Reply("381 more\r\n").Recv(2).Close();
    DialogRun recv_failed2;
    recv_failed2.Run(closes_after_pass.Start(), "taro", "himitsu");
    EXPECT_EQ(recv_failed2.OnlyBox(), L"Can't redv data");
}

TEST(GroupList, ListRefusalsAndReceiveFailures)
{
    NntpScript refused;
    refused.Send(kGreeting).Reply("500 what?\r\n").Reply("503 program fault\r\n");
    DialogRun run;
    run.Run(refused.Start());
    EXPECT_EQ(run.OnlyBox(), L"サーバが予期せぬ応答をしました。:503 program fault\r\n");
    EXPECT_EQ(refused.Transcript(), "LIST active\r\nLIST\r\n");

    NntpScript no_reply;
    no_reply.Send(kGreeting).Recv().Close();
    DialogRun run2;
    run2.Run(no_reply.Start());
    EXPECT_EQ(run2.OnlyBox(), L"受信に失敗");

    NntpScript no_second_reply;
    no_second_reply.Send(kGreeting).Reply("500 what?\r\n").Recv().Close();
    DialogRun run3;
    run3.Run(no_second_reply.Start());
    EXPECT_EQ(run3.OnlyBox(), L"受信に失敗");
}

TEST(GroupList, BrokenTransferKeepsWhatWasWritten)
{
    std::string too_long = "fj.long " + std::string(1020, '9') + "\r\n"; /* 1030 bytes */
    NntpScript long_line;
    long_line.Send(kGreeting).Reply("215 list\r\nfj.test 3 1 y\r\nalt.test 2 1 y\r\n" + too_long + ".\r\n");
    DialogRun run;
    run.Run(long_line.Start());
    EXPECT_EQ(run.OnlyBox(), L"正常に受信できませんでした(234)");
    EXPECT_EQ(FileBytes(run.active()), "fj.test\r\nalt.test\r\n");
    EXPECT_EQ(FileBytes(run.category()), "fj\r\nalt\r\n");

    NntpScript cut;
    cut.Send(kGreeting).Reply("215 list\r\nfj.test 3 1 y\r\nfj.te").Close();
    DialogRun run2;
    run2.Run(cut.Start());
    EXPECT_EQ(run2.OnlyBox(), L"正常に受信できませんでした(38)");
    EXPECT_EQ(FileBytes(run2.active()), "fj.test\r\n");
}

TEST(GroupList, FileOpenFailuresPostTheNoticeTwice)
{
    TempFolder folder;
    for (const wchar_t *locked_name : {L"active.dat", L"category.dat"}) {
        /* Held open without sharing, the file can be neither created nor
         * truncated. */
        std::wstring locked = folder.file(locked_name);
        HANDLE holder = CreateFileW(locked.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        ASSERT_NE(holder, INVALID_HANDLE_VALUE);
        NntpScript script;
        script.Send(kGreeting);
        NoticeCounter notices;
        GroupListJob *job = GroupListJobCreate(folder.file(L"active.dat").c_str(),
                                               folder.file(L"category.dat").c_str(), L"127.0.0.1",
                                               (DWORD)script.Start(), nullptr, nullptr, notices.window);
        ASSERT_NE(job, nullptr);
        GroupListWorker(job);
        PumpPending();
        EXPECT_EQ(NoticeCounter::count, 2);
        ASSERT_NE(job->error_text, nullptr);
        if (locked_name[0] == L'a') {
            EXPECT_STREQ(job->error_text, L"Can't open active file(32)");
        } else {
            EXPECT_STREQ(job->error_text, L"Can't open category file(32)");
            /* active.dat was closed again: it can be opened exclusively. */
            HANDLE again = CreateFileW(folder.file(L"active.dat").c_str(), GENERIC_WRITE, 0, nullptr,
                                       OPEN_EXISTING, 0, nullptr);
            EXPECT_NE(again, INVALID_HANDLE_VALUE);
            CloseHandle(again);
        }
        EXPECT_EQ(job->last_error, 32u);
        EXPECT_EQ(script.Transcript(), "");
        GroupListJobFree(job);
        CloseHandle(holder);
    }

    /* Through the dialog the text is shown once or twice, depending on
     * whether the second notice comes before the dialog has closed. */
    std::wstring locked = folder.file(L"active.dat");
    HANDLE holder = CreateFileW(locked.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
    NntpScript script;
    script.Send(kGreeting);
    ModalWatcher watcher;
    RunGroupListDownload(GetModuleHandleW(nullptr), nullptr, locked.c_str(), folder.file(L"category.dat").c_str(),
                         L"127.0.0.1", (DWORD)script.Start(), nullptr, nullptr);
    ASSERT_GE(watcher.boxes().size(), 1u);
    ASSERT_LE(watcher.boxes().size(), 2u);
    for (const RecordedBox &box : watcher.boxes()) {
        EXPECT_EQ(box.text, L"Can't open active file(32)");
        EXPECT_EQ(box.caption, L"PELNOR");
    }
    CloseHandle(holder);
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
    EXPECT_TRUE(run.watcher.boxes().empty());
    /* The worker gives up on the silent server after the dialog has gone;
     * its notice goes nowhere. */
    script.Transcript();
    EXPECT_TRUE(script.finished());
    PumpPending();
    EXPECT_TRUE(run.watcher.boxes().empty());
}
