/*
 * The test side of the scripted NNTP server (tools/nntp_script/server.py),
 * which CTest starts as a fixture: a test writes the dialogue, gets the port
 * the server listens on, runs the client against it, then reads back every
 * byte the client sent.
 */
#ifndef PELNOR_TEST_SCRIPT_CLIENT_H
#define PELNOR_TEST_SCRIPT_CLIENT_H

#include <string>

class NntpScript {
public:
    /* Server sends these bytes. */
    NntpScript &Send(const std::string &bytes);
    /* Server reads one line from the client. */
    NntpScript &Recv(int lines = 1);
    /* Reads one line, then sends the reply. */
    NntpScript &Reply(const std::string &bytes) { return Recv().Send(bytes); }
    NntpScript &Close();
    NntpScript &Reset();
    NntpScript &Stall();

    /* Hands the dialogue to the server: the port it listens on (0 when the
     * server could not be reached; the test fails then). */
    int Start();

    /* Every byte the client sent, once the client has closed the
     * connection (waits at most `seconds`). */
    std::string Transcript(int seconds = 30);
    bool finished() const { return finished_; }

private:
    std::string steps_;
    int port_ = 0;
    bool finished_ = false;
};

/* A loopback port nothing listens on. */
int FreeLoopbackPort();

/* A loopback port whose listener never takes connections: a connect there
 * waits (for a minute at most). */
int BusyLoopbackPort();

/* A greeting-to-QUIT dialogue's pieces. */
std::string Crlf(const std::string &line);

#endif
