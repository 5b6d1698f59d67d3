#include <gtest/gtest.h>

#include <string>

#include "nntp/connection.h"
#include "session_fixture.h"
#include "support/script_client.h"

namespace {

/* A connection to a scripted server; closed by the destructor. */
struct Connected {
    NntpServer server;
    NntpConnection c;
    bool ok = false;
    explicit Connected(int port)
    {
        server = TestServer(port);
        NntpInit(&c, &server, nullptr);
        ok = port != 0 && NntpConnect(&c);
    }
    ~Connected() { NntpClose(&c); }
    std::string Line(int strip = 0)
    {
        char line[kNntpLineBufferSize];
        return NntpReadLine(&c, line, kNntpLineCapacity, strip) ? line : "<fail>";
    }
};

} // namespace

TEST(NntpConnection, SendsLinesWithCrLfAndRefusesTooLongOnes)
{
    NntpScript script;
    Connected conn(script.Start());
    ASSERT_TRUE(conn.ok);
    std::string longest(4094, 'a');
    EXPECT_EQ(NntpSendLine(&conn.c, "GROUP fj.test"), 1);
    EXPECT_EQ(NntpSendLine(&conn.c, longest.c_str()), 1);
    SetLastError(0);
    EXPECT_EQ(NntpSendLine(&conn.c, std::string(4095, 'b').c_str()), 0);
    EXPECT_EQ(GetLastError(), 234u);
    EXPECT_EQ(NntpSendLine(&conn.c, ""), 1);
    NntpClose(&conn.c);
    EXPECT_EQ(script.Transcript(), "GROUP fj.test\r\n" + longest + "\r\n\r\n");
}

TEST(NntpConnection, ReadsLinesUpToTheBufferCapacity)
{
    std::string fits(1022, 'x');
    std::string over(1023, 'y');
    NntpScript script;
    script.Send("200 hello\r\n")
        .Send(fits + "\r\n")
        .Send("abc\rdef\n") /* the CR seen earlier lets the LF end the line */
        .Send("ab\ncd\r\n") /* a lone LF is an ordinary byte */
        .Send("abc\rdef\nghi\r\n")
        .Send(std::string("211 1 1 1 g\0x\r\n", 15))
        .Send(over + "\r\n")
        .Close();
    Connected conn(script.Start());
    ASSERT_TRUE(conn.ok);
    EXPECT_EQ(conn.Line(), "200 hello\r\n");
    EXPECT_EQ(conn.Line(), fits + "\r\n");
    EXPECT_EQ(conn.Line(), "abc\rdef\n");
    EXPECT_EQ(conn.Line(), "ab\ncd\r\n");
    /* Stripped, the line ends at its CR, wherever that stands. */
    EXPECT_EQ(conn.Line(1), "abc");
    EXPECT_EQ(conn.Line(1), "ghi");
    /* A NUL fails the line without an error of its own; the rest stays. */
    SetLastError(4242);
    EXPECT_EQ(conn.Line(), "<fail>");
    EXPECT_EQ(GetLastError(), 4242u);
    EXPECT_EQ(conn.Line(), "x\r\n");
    SetLastError(0);
    EXPECT_EQ(conn.Line(), "<fail>");
    EXPECT_EQ(GetLastError(), 234u);
    /* The refused line's LF, then the end of the stream, for good. */
    EXPECT_EQ(conn.Line(), "<fail>");
    EXPECT_EQ(GetLastError(), 38u);
    SetLastError(0);
    EXPECT_EQ(conn.Line(), "<fail>");
    EXPECT_EQ(GetLastError(), 38u);
}
