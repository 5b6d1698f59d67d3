#include <gtest/gtest.h>

#include <string>

#include "nntp/article_download.h"
#include "nntp/connection.h"
#include "support/script_client.h"

namespace {

struct GroupReply {
    int ok = 0;
    DWORD count = 0, first = 0, last = 0;
    RunResult result;
    std::string sent;
};

GroupReply SendGroup(NntpScript &script, const wchar_t *group = L"fj.comp.misc")
{
    GroupReply reply;
    RunResultClear(&reply.result);
    NntpConnection c;
    NntpInit(&c);
    if (!NntpConnect(&c, "127.0.0.1", (unsigned short)script.Start())) {
        ADD_FAILURE() << "connect";
        return reply;
    }
    reply.ok = SelectGroup(&c, group, &reply.count, &reply.first, &reply.last, &reply.result);
    NntpClose(&c);
    reply.sent = script.Transcript();
    return reply;
}

} // namespace

TEST(GroupCommand, ReadsCountFirstAndLast)
{
    NntpScript script;
    script.Reply("211 1234 3000 4233 fj.comp.misc\r\n");
    GroupReply r = SendGroup(script);
    EXPECT_EQ(r.ok, 1);
    EXPECT_EQ(r.sent, "GROUP fj.comp.misc\r\n");
    EXPECT_EQ(r.count, 1234u);
    EXPECT_EQ(r.first, 3000u);
    EXPECT_EQ(r.last, 4233u);
    EXPECT_EQ(r.result.severity, 0u);
}

TEST(GroupCommand, RefusalIsAWarningWithTheReplyWithoutItsLineEnd)
{
    NntpScript script;
    script.Reply("411 No such group fj.comp.misc\r\n");
    GroupReply r = SendGroup(script);
    EXPECT_EQ(r.ok, 0);
    EXPECT_STREQ(r.result.title, L"fj.comp.misc");
    EXPECT_STREQ(r.result.text, L"グループへ移動できませんでした : 411 No such group fj.comp.misc");
    EXPECT_EQ(r.result.severity, 1u);
}

TEST(GroupCommand, UnreadableNumbersAreAWarningCarryingTheReply)
{
    NntpScript script;
    script.Reply("211 12x 1 5 fj.comp.misc\r\n");
    GroupReply r = SendGroup(script);
    EXPECT_EQ(r.ok, 0);
    EXPECT_STREQ(r.result.title, L"fj.comp.misc");
    EXPECT_STREQ(r.result.text, L"予期せぬ文字列が返りました : 211 12x 1 5 fj.comp.misc");
    EXPECT_EQ(r.result.severity, 1u);

    NntpScript bad_last;
    bad_last.Reply("211 3 1 5x\r\n");
    r = SendGroup(bad_last);
    EXPECT_EQ(r.ok, 0);
    EXPECT_STREQ(r.result.text, L"予期せぬ文字列が返りました : 211 3 1 5x");
}

TEST(GroupCommand, SendAndReceiveFailuresEndTheRun)
{
    NntpScript closes;
    closes.Recv().Close();
    GroupReply r = SendGroup(closes);
    EXPECT_EQ(r.ok, 0);
    EXPECT_STREQ(r.result.title, L"Socket ERROR");
    EXPECT_STREQ(r.result.text, L"受信に失敗しました(38).");
    EXPECT_EQ(r.result.severity, 2u);

    std::wstring long_name(4090, L'g');
    NntpScript script;
    r = SendGroup(script, long_name.c_str());
    EXPECT_EQ(r.ok, 0);
    EXPECT_STREQ(r.result.title, L"Socket Error");
    EXPECT_STREQ(r.result.text, L"送信に失敗しました(234).");
    EXPECT_EQ(r.result.severity, 2u);
    EXPECT_EQ(r.sent, "");
}

TEST(GroupCommand, StalledReplyTimesOut)
{
    NntpSetTimeouts(0, 700);
    NntpScript script;
    script.Recv().Stall();
    GroupReply r = SendGroup(script);
    NntpSetTimeouts(0, kNntpDefaultReceiveTimeoutMs);
    EXPECT_STREQ(r.result.title, L"Socket ERROR");
    EXPECT_STREQ(r.result.text, L"受信に失敗しました(10060).");
    EXPECT_EQ(r.result.severity, 2u);
}
