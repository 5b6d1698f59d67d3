#include <gtest/gtest.h>

#include <string>

#include "nntp/connection.h"
#include "session_fixture.h"
#include "support/script_client.h"

namespace {

const std::wstring kNoGreeting = L"サーバからの応答がありません";
const std::string kReady = "200 ready\r\n";

} // namespace

TEST(Session, GreetingAndAuthenticationOutcomes)
{
    struct Case {
        NntpScript script;
        const char *user, *password;
        DWORD error; /* 0: the run succeeds */
        std::wstring title, text;
        std::string sent;
    };
    std::string long_text(4090, 'u');
    Case cases[] = {
        {NntpScript().Send("201 no posting\r\n"), nullptr, nullptr, 0, L"", L"", "QUIT\r\n"},
        {NntpScript().Send(kReady), nullptr, "himitsu", 0, L"", L"", "QUIT\r\n"},
        {NntpScript().Send(kReady), "taro", nullptr, 0, L"", L"", "QUIT\r\n"},
        {NntpScript().Send(kReady).Reply("381 more\r\n").Reply("281 ok\r\n"), "taro", "himitsu", 0, L"", L"",
         "authinfo user taro\r\nauthinfo pass himitsu\r\nQUIT\r\n"},
        {NntpScript().Send("502 no permission\r\n"), nullptr, nullptr, 13, L"接続を拒否されました",
         L"502 no permission\r\n", "QUIT\r\n"},
        {NntpScript().Close(), nullptr, nullptr, 38, L"127.0.0.1", kNoGreeting, "QUIT\r\n"},
        {NntpScript().Send(kReady).Reply("281 Authentication accepted\r\n"), "taro", "himitsu", 13,
         L"ユーザ名が不正です", L"281 Authentication accepted\r\n", "authinfo user taro\r\nQUIT\r\n"},
        {NntpScript().Send(kReady).Reply("381 more\r\n").Reply("481 rejected\r\n"), "taro", "wrong", 13,
         L"パスワードが不正です", L"481 rejected\r\n", "authinfo user taro\r\nauthinfo pass wrong\r\nQUIT\r\n"},
        /* Receive and send failures: the user's under "PELNOR", the password's under "Socket Error". */
        {NntpScript().Send(kReady).Recv().Close(), "taro", "himitsu", 38, L"PELNOR", L"受信に失敗しました(38).",
         "authinfo user taro\r\nQUIT\r\n"},
        {NntpScript().Send(kReady).Reply("381 more\r\n").Recv().Close(), "taro", "himitsu", 38, L"Socket Error",
         L"受信に失敗しました(38).", "authinfo user taro\r\nauthinfo pass himitsu\r\nQUIT\r\n"},
        {NntpScript().Send(kReady), long_text.c_str(), "p", 234, L"PELNOR", L"送信に失敗しました(234).", "QUIT\r\n"},
        {NntpScript().Send(kReady).Reply("381 more\r\n"), "taro", long_text.c_str(), 234, L"Socket Error",
         L"送信に失敗しました(234).", "authinfo user taro\r\nQUIT\r\n"},
    };
    for (Case &c : cases) {
        /* A failing run must stop before its group. */
        std::vector<std::wstring> groups(c.error ? 1 : 0, L"fj.test");
        SessionRun run = RunScriptedSession(c.script.Start(), groups, c.user, c.password);
        EXPECT_EQ(run.ok, c.error == 0) << c.sent;
        EXPECT_EQ(run.error, c.error);
        EXPECT_EQ(run.result.title, c.title);
        EXPECT_EQ(run.result.text, c.text);
        EXPECT_EQ(run.result.severity, c.error ? 2u : 0u);
        EXPECT_EQ(c.script.Transcript(), c.sent);
    }
}

/* A server that stops answering and a connect that never completes. */
TEST(Session, TimeOuts)
{
    NntpSetTimeouts(700, 700);
    NntpScript stalled;
    stalled.Stall();
    SessionRun silent = RunScriptedSession(stalled.Start(), {L"fj.test"});
    SessionRun waiting = RunScriptedSession(BusyLoopbackPort(), {L"fj.test"});
    NntpSetTimeouts(kNntpDefaultConnectTimeoutMs, kNntpDefaultReceiveTimeoutMs);
    EXPECT_EQ(silent.error, (DWORD)WSAETIMEDOUT);
    EXPECT_EQ(silent.result.text, kNoGreeting);
    EXPECT_EQ(stalled.Transcript(), "QUIT\r\n");
    EXPECT_EQ(waiting.error, (DWORD)WSAETIMEDOUT);
    EXPECT_EQ(waiting.result.text, std::wstring(L"サーバに接続できませんでした"));
}
