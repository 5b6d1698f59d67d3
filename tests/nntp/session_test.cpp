#include <gtest/gtest.h>

#include <string>

#include "session_fixture.h"
#include "support/group_bytes.h"
#include "support/opening_cases.h"
#include "support/script_client.h"

TEST(Session, OpensTheConversationAsTheTableSays)
{
    for (const OpeningCase &c : OpeningCases()) {
        SCOPED_TRACE(c.name);
        /* An empty group: nothing to fetch once it is selected. */
        NntpScript script = OpeningScript(c, false, "211 0 1 0 fj.test\r\n");
        TempFolder folder;
        WriteFileBytes(folder.file(L"fj.test.idx"), HeaderBytes(HeaderFields()));
        SessionRun run = RunScriptedSession(OpeningServer(c, script.Start()), {L"fj.test"}, folder.path());
        EXPECT_EQ(run.ok, c.download_error == 0);
        EXPECT_EQ(run.error, c.download_error);
        if (c.download_error) {
            EXPECT_STREQ(run.result.title, c.download_title);
            EXPECT_STREQ(run.result.text, c.download_text);
        }
        EXPECT_EQ(run.result.severity, c.download_error ? 2u : 0u);
        EXPECT_EQ(script.Transcript(), OpeningTranscript(c, false, "GROUP fj.test") + "QUIT\r\n");
    }
}

/* A server that stops answering and a connect that never completes. */
TEST(Session, TimeOuts)
{
    NntpScript stalled;
    stalled.Stall();
    SessionRun silent = RunScriptedSession(TestServer(stalled.Start(), nullptr, nullptr, 1, 700), {L"fj.test"});
    SessionRun waiting = RunScriptedSession(TestServer(BusyLoopbackPort(), nullptr, nullptr, 1, 700, 700), {L"fj.test"});
    EXPECT_EQ(silent.error, (DWORD)WSAETIMEDOUT);
    EXPECT_STREQ(silent.result.text, L"サーバからの応答がありません");
    EXPECT_EQ(stalled.Transcript(), "QUIT\r\n");
    EXPECT_EQ(waiting.error, (DWORD)WSAETIMEDOUT);
    EXPECT_STREQ(waiting.result.text, L"サーバに接続できませんでした");
}

/* A server's refusal in Japanese is shown as it reads with DecodeCharsets,
 * and as it came without. */
TEST(Session, ServerTextIsDecodedWithDecodeCharsets)
{
    const std::string jis = "502 \x1b$B@\\B3$G$-$^$;$s\x1b(B\r\n"; /* "接続できません" */
    const struct {
        int decode;
        const wchar_t *text;
    } rows[] = {
        {1, L"502 接続できません\r\n"},
        {0, L"502 \x1b$B@\\B3$G$-$^$;$s\x1b(B\r\n"},
    };
    for (const auto &row : rows) {
        NntpScript script;
        script.Send(jis);
        SessionRun run = RunScriptedSession(TestServer(script.Start()), {L"fj.test"}, L"", 100, kNoStop, nullptr,
                                            row.decode);
        EXPECT_EQ(run.ok, 0);
        EXPECT_STREQ(run.result.title, L"接続を拒否されました");
        EXPECT_STREQ(run.result.text, row.text) << row.decode;
    }
}
