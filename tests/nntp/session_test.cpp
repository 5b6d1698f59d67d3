#include <gtest/gtest.h>

#include <string>

#include "nntp/connection.h"
#include "nntp/group_cursor.h"
#include "support/script_client.h"
#include "session_fixture.h"

namespace {

const std::wstring kNoConnect = L"サーバに接続できませんでした";
const std::wstring kNoGreeting = L"サーバからの応答がありません";

} // namespace

TEST(GroupCursor, ReadsRowsUntilTheListHasNoMore)
{
    GroupList list({L"fj.comp.misc", L"japan.test"});
    GroupCursor cursor;
    GroupCursorInit(&cursor, list.window());
    GroupCursorReset(&cursor);
    EXPECT_EQ(cursor.row_count, 2u);
    EXPECT_EQ(cursor.row, 0u);
    ASSERT_TRUE(GroupCursorFetch(&cursor));
    EXPECT_STREQ(cursor.name, L"fj.comp.misc");
    GroupCursorAdvance(&cursor);
    ASSERT_TRUE(GroupCursorFetch(&cursor));
    EXPECT_STREQ(cursor.name, L"japan.test");
    GroupCursorAdvance(&cursor);
    EXPECT_FALSE(GroupCursorFetch(&cursor));
}

TEST(Session, GreetingOf200Or201WithNoGroupsSendsQuitAndSucceeds)
{
    for (const char *greeting : {"200 news ready\r\n", "201 no posting\r\n"}) {
        NntpScript script;
        script.Send(greeting);
        SessionRun run = RunScriptedSession(script.Start(), {});
        EXPECT_EQ(run.ok, 1) << greeting;
        EXPECT_EQ(run.result.severity, 0u);
        EXPECT_EQ(script.Transcript(), "QUIT\r\n");
    }
}

TEST(Session, RefusedGreetingIsShownAsReceived)
{
    NntpScript script;
    script.Send("502 no permission\r\n");
    SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"});
    EXPECT_EQ(run.ok, 0);
    EXPECT_STREQ(run.result.title, L"接続を拒否されました");
    EXPECT_STREQ(run.result.text, L"502 no permission\r\n");
    EXPECT_EQ(run.result.severity, 2u);
    EXPECT_EQ(script.Transcript(), "QUIT\r\n");
}

TEST(Session, NoGreetingAndNoConnection)
{
    NntpScript closing;
    closing.Close();
    SessionRun run = RunScriptedSession(closing.Start(), {L"fj.test"});
    EXPECT_EQ(run.ok, 0);
    EXPECT_EQ(run.error, 38u);
    EXPECT_STREQ(run.result.title, L"127.0.0.1");
    EXPECT_EQ(run.result.text, kNoGreeting);
    EXPECT_EQ(run.result.severity, 2u);
    EXPECT_EQ(closing.Transcript(), "QUIT\r\n");

    run = RunScriptedSession(FreeLoopbackPort(), {L"fj.test"}, nullptr, nullptr, L"", 100, L"localhost");
    EXPECT_EQ(run.ok, 0);
    EXPECT_EQ(run.error, (DWORD)WSAECONNREFUSED);
    EXPECT_STREQ(run.result.title, L"localhost");
    EXPECT_EQ(run.result.text, kNoConnect);
    EXPECT_EQ(run.result.severity, 2u);
}

TEST(Session, StalledGreetingTimesOut)
{
    NntpSetTimeouts(0, 700);
    NntpScript script;
    script.Stall();
    SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"});
    NntpSetTimeouts(0, kNntpDefaultReceiveTimeoutMs);
    EXPECT_EQ(run.ok, 0);
    EXPECT_EQ(run.error, (DWORD)WSAETIMEDOUT);
    EXPECT_EQ(run.result.text, kNoGreeting);
    EXPECT_EQ(script.Transcript(), "QUIT\r\n");
}

TEST(Session, AuthenticatesWithUserThenPassword)
{
    NntpScript script;
    script.Send("200 ready\r\n").Reply("381 more\r\n").Reply("281 ok\r\n");
    SessionRun run = RunScriptedSession(script.Start(), {}, "taro", "himitsu");
    EXPECT_EQ(run.ok, 1);
    EXPECT_EQ(script.Transcript(), "authinfo user taro\r\nauthinfo pass himitsu\r\nQUIT\r\n");
}

TEST(Session, AuthenticationOnlyWithBothUserAndPassword)
{
    NntpScript no_user, no_password;
    no_user.Send("200 ready\r\n");
    no_password.Send("200 ready\r\n");
    EXPECT_EQ(RunScriptedSession(no_user.Start(), {}, nullptr, "himitsu").ok, 1);
    EXPECT_EQ(RunScriptedSession(no_password.Start(), {}, "taro", nullptr).ok, 1);
    EXPECT_EQ(no_user.Transcript(), "QUIT\r\n");
    EXPECT_EQ(no_password.Transcript(), "QUIT\r\n");
}

TEST(Session, UserAcceptedWithoutPasswordIsAWrongUserName)
{
    NntpScript script;
    script.Send("200 ready\r\n").Reply("281 Authentication accepted\r\n");
    SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"}, "taro", "himitsu");
    EXPECT_EQ(run.ok, 0);
    EXPECT_STREQ(run.result.title, L"ユーザ名が不正です");
    EXPECT_STREQ(run.result.text, L"281 Authentication accepted\r\n");
    EXPECT_EQ(run.result.severity, 2u);
    EXPECT_EQ(script.Transcript(), "authinfo user taro\r\nQUIT\r\n");
}

TEST(Session, WrongPassword)
{
    NntpScript script;
    script.Send("200 ready\r\n").Reply("381 more\r\n").Reply("481 rejected\r\n");
    SessionRun run = RunScriptedSession(script.Start(), {L"fj.test"}, "taro", "wrong");
    EXPECT_EQ(run.ok, 0);
    EXPECT_STREQ(run.result.title, L"パスワードが不正です");
    EXPECT_STREQ(run.result.text, L"481 rejected\r\n");
    EXPECT_EQ(script.Transcript(), "authinfo user taro\r\nauthinfo pass wrong\r\nQUIT\r\n");
}

TEST(Session, AuthenticationSendAndReceiveFailures)
{
    /* Receive failures: after the user command under "PELNOR", after the
     * password under "Socket Error". */
    NntpScript after_user;
    after_user.Send("200 ready\r\n").Recv().Close();
    SessionRun run = RunScriptedSession(after_user.Start(), {}, "taro", "himitsu");
    EXPECT_STREQ(run.result.title, L"PELNOR");
    EXPECT_STREQ(run.result.text, L"受信に失敗しました(38).");
    EXPECT_EQ(run.result.severity, 2u);
    EXPECT_EQ(after_user.Transcript(), "authinfo user taro\r\nQUIT\r\n");

    NntpScript after_pass;
    after_pass.Send("200 ready\r\n").Reply("381 more\r\n").Recv().Close();
    run = RunScriptedSession(after_pass.Start(), {}, "taro", "himitsu");
    EXPECT_STREQ(run.result.title, L"Socket Error");
    EXPECT_STREQ(run.result.text, L"受信に失敗しました(38).");
    EXPECT_EQ(run.error, 38u);

    /* Send refused: a line of 4095 bytes or more. */
    std::string long_user(4090, 'u');
    NntpScript long_name;
    long_name.Send("200 ready\r\n");
    run = RunScriptedSession(long_name.Start(), {}, long_user.c_str(), "p");
    EXPECT_STREQ(run.result.title, L"PELNOR");
    EXPECT_STREQ(run.result.text, L"送信に失敗しました(234).");
    EXPECT_EQ(long_name.Transcript(), "QUIT\r\n");

    std::string long_password(4090, 'p');
    NntpScript long_pass;
    long_pass.Send("200 ready\r\n").Reply("381 more\r\n");
    run = RunScriptedSession(long_pass.Start(), {}, "taro", long_password.c_str());
    EXPECT_STREQ(run.result.title, L"Socket Error");
    EXPECT_STREQ(run.result.text, L"送信に失敗しました(234).");
    EXPECT_EQ(long_pass.Transcript(), "authinfo user taro\r\nQUIT\r\n");
}
