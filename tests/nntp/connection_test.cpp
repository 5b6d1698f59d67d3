#include <gtest/gtest.h>

#include <string>

#include "nntp/connection.h"
#include "nntp/reply_parse.h"
#include "support/script_client.h"

namespace {

/* A connection to a scripted server; closed by the destructor. */
struct Connected {
    NntpConnection c;
    bool ok = false;
    explicit Connected(int port, const char *host = "127.0.0.1")
    {
        NntpInit(&c);
        ok = port != 0 && NntpConnect(&c, host, (unsigned short)port);
    }
    ~Connected() { NntpClose(&c); }
    std::string Line(int strip = 0)
    {
        char line[kNntpLineBufferSize];
        if (!NntpReadLine(&c, line, kNntpLineCapacity, strip))
            return "<fail>";
        return line;
    }
};

} // namespace

TEST(NntpConnection, SendsLinesWithCrLfAndRefusesTooLongOnes)
{
    NntpScript script;
    Connected conn(script.Start());
    ASSERT_TRUE(conn.ok);
    EXPECT_EQ(conn.c.socket, conn.c.reader_socket);
    std::string longest(4094, 'a');
    std::string too_long(4095, 'b');
    EXPECT_EQ(NntpSendLine(&conn.c, "GROUP fj.test"), 1);
    EXPECT_EQ(NntpSendLine(&conn.c, longest.c_str()), 1);
    SetLastError(0);
    EXPECT_EQ(NntpSendLine(&conn.c, too_long.c_str()), 0);
    EXPECT_EQ(GetLastError(), 234u);
    EXPECT_EQ(NntpSendLine(&conn.c, ""), 1);
    NntpClose(&conn.c);
    EXPECT_EQ(conn.c.socket, INVALID_SOCKET);
    EXPECT_EQ(script.Transcript(), "GROUP fj.test\r\n" + longest + "\r\n\r\n");
}

TEST(NntpConnection, NameAndDottedAddressBothConnect)
{
    NntpScript a, b;
    Connected dotted(a.Start(), "127.0.0.1");
    EXPECT_TRUE(dotted.ok);
    Connected named(b.Start(), "localhost");
    EXPECT_TRUE(named.ok);
}

TEST(NntpConnection, ConnectFailuresLeaveWinsockError)
{
    int port = FreeLoopbackPort();
    ASSERT_NE(port, 0);
    Connected refused(port);
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(GetLastError(), (DWORD)WSAECONNREFUSED);
    EXPECT_NE(refused.c.socket, INVALID_SOCKET); /* the caller's close frees it */

    NntpConnection c;
    NntpInit(&c);
    EXPECT_EQ(NntpConnect(&c, "no-such-host.invalid", 119), 0);
    EXPECT_NE(GetLastError(), 0u);
    NntpClose(&c);
}

TEST(NntpConnection, ConnectGivesUpAfterItsTimeOut)
{
    int port = BusyLoopbackPort();
    ASSERT_NE(port, 0);
    NntpSetTimeouts(700, 0);
    NntpConnection c;
    NntpInit(&c);
    NntpSetTimeouts(kNntpDefaultConnectTimeoutMs, 0);
    EXPECT_EQ(c.connect_timeout_ms, 700u);
    EXPECT_EQ(NntpConnect(&c, "127.0.0.1", (unsigned short)port), 0);
    EXPECT_EQ(GetLastError(), (DWORD)WSAETIMEDOUT);
    NntpClose(&c);
}

TEST(NntpConnection, ReadsLinesUpToTheBufferCapacity)
{
    std::string fits(1022, 'x');
    std::string over(1023, 'y');
    NntpScript script;
    script.Send("200 hello\r\n")
        .Send(fits + "\r\n")
        .Send("abc\rdef\n")       /* the CR seen earlier lets the LF end the line */
        .Send("ab\ncd\r\n")        /* a lone LF is an ordinary byte */
        .Send(over + "\r\n");
    Connected conn(script.Start());
    ASSERT_TRUE(conn.ok);
    EXPECT_EQ(conn.Line(), "200 hello\r\n");
    EXPECT_EQ(conn.Line(), fits + "\r\n");
    EXPECT_EQ(conn.Line(), "abc\rdef\n");
    EXPECT_EQ(conn.Line(), "ab\ncd\r\n");
    SetLastError(0);
    EXPECT_EQ(conn.Line(), "<fail>");
    EXPECT_EQ(GetLastError(), 234u);
}

TEST(NntpConnection, StripFlagCutsTheLineEnd)
{
    NntpScript script;
    script.Send("alt.test 0000000010 0000000001 y\r\nabc\rdef\n");
    Connected conn(script.Start());
    ASSERT_TRUE(conn.ok);
    char line[kNntpLineBufferSize];
    ASSERT_EQ(NntpReadLine(&conn.c, line, kNntpLineCapacity, 1), 1);
    EXPECT_STREQ(line, "alt.test 0000000010 0000000001 y");
    EXPECT_EQ(line[33], '\0');
    ASSERT_EQ(NntpReadLine(&conn.c, line, kNntpLineCapacity, 1), 1);
    EXPECT_EQ(std::string(line, 8), std::string("abc\rde\0\0", 8));
}

TEST(NntpConnection, NulByteEndsTheLineWithoutAnErrorOfItsOwn)
{
    NntpScript script;
    script.Send(std::string("211 1 1 1 g\0x\r\nnext\r\n", 21));
    Connected conn(script.Start());
    ASSERT_TRUE(conn.ok);
    SetLastError(4242);
    EXPECT_EQ(conn.Line(), "<fail>");
    EXPECT_EQ(GetLastError(), 4242u);
    /* The rest of the line stays buffered. */
    EXPECT_EQ(conn.Line(), "x\r\n");
    EXPECT_EQ(conn.Line(), "next\r\n");
}

TEST(NntpConnection, EndOfStreamIsErrorHandleEofAndSticks)
{
    NntpScript script;
    script.Send("200 a\r\npartial").Close();
    Connected conn(script.Start());
    ASSERT_TRUE(conn.ok);
    EXPECT_EQ(conn.Line(), "200 a\r\n");
    EXPECT_EQ(conn.Line(), "<fail>");
    EXPECT_EQ(GetLastError(), 38u);
    EXPECT_EQ(conn.c.end_of_stream, 1);
    SetLastError(0);
    EXPECT_EQ(conn.Line(), "<fail>");
    EXPECT_EQ(GetLastError(), 38u);
}

/* A failed recv is error 13. Wine reports a reset connection as its end
 * (recv gives 0), Windows as WSAECONNRESET: either way the line fails. */
TEST(NntpConnection, ResetFailsTheRead)
{
    NntpScript script;
    script.Send("200 a\r\n").Recv().Reset();
    Connected conn(script.Start());
    ASSERT_TRUE(conn.ok);
    EXPECT_EQ(conn.Line(), "200 a\r\n");
    NntpSendLine(&conn.c, "QUIT");
    EXPECT_EQ(conn.Line(), "<fail>");
    DWORD error = GetLastError();
    EXPECT_TRUE(error == 13u || error == 38u) << error;
}

TEST(NntpConnection, LinesSpanManyReceives)
{
    std::string text;
    for (int i = 0; i < 400; i++)
        text += "line " + std::to_string(i) + " " + std::string(40, 'z') + "\r\n";
    NntpScript script;
    script.Send(text);
    Connected conn(script.Start());
    ASSERT_TRUE(conn.ok);
    std::string got;
    for (int i = 0; i < 400; i++)
        got += conn.Line();
    EXPECT_EQ(got, text);
}

TEST(NntpConnection, StalledServerTimesOut)
{
    NntpSetTimeouts(0, 700);
    NntpScript script;
    script.Send("200 a\r\n").Stall();
    Connected conn(script.Start());
    NntpSetTimeouts(0, kNntpDefaultReceiveTimeoutMs);
    ASSERT_TRUE(conn.ok);
    EXPECT_EQ(conn.c.receive_timeout_ms, 700u);
    EXPECT_EQ(conn.Line(), "200 a\r\n");
    EXPECT_EQ(conn.Line(), "<fail>");
    EXPECT_EQ(GetLastError(), (DWORD)WSAETIMEDOUT);
    NntpClose(&conn.c);
    script.Transcript();
    EXPECT_TRUE(script.finished());
}

TEST(ReplyNumber, ParsesFieldsOfAGroupReply)
{
    const char *reply = "211 1234 3000  4233 fj.test\r\n";
    const char *cursor = reply;
    EXPECT_EQ(ParseReplyNumber(&cursor), 211u);
    EXPECT_EQ(ParseReplyNumber(&cursor), 1234u);
    EXPECT_EQ(ParseReplyNumber(&cursor), 3000u);
    EXPECT_EQ(ParseReplyNumber(&cursor), 4233u);
    EXPECT_STREQ(cursor, "fj.test\r\n");

    cursor = "211 12x 1 5";
    EXPECT_EQ(ParseReplyNumber(&cursor), 211u);
    EXPECT_EQ(ParseReplyNumber(&cursor), 0xFFFFFFFFul);
    EXPECT_EQ(cursor, nullptr);

    cursor = "7\r\n";
    EXPECT_EQ(ParseReplyNumber(&cursor), 7u);
    EXPECT_STREQ(cursor, "\r\n");
    EXPECT_EQ(ParseReplyNumber(&cursor), 0u); /* an empty field */

    cursor = "4294967296 ";
    EXPECT_EQ(ParseReplyNumber(&cursor), 0u); /* wraps: no overflow check */
    cursor = "";
    EXPECT_EQ(ParseReplyNumber(&cursor), 0u);
}
