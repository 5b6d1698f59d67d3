/*
 * The test side of the scripted NNTP server (tools/nntp_script/server.py),
 * which CTest starts as a fixture: a test writes the dialogue, gets the port
 * the server listens on, runs the client against it, then reads back every
 * byte the client sent.
 */
#ifndef PELNOR_TEST_SCRIPT_CLIENT_H
#define PELNOR_TEST_SCRIPT_CLIENT_H

#include <string.h>

#include <string>

#include "nntp/server.h"

class NntpScript {
public:
    /* The server sends these bytes; reads `lines` lines from the client;
     * reads one line, then sends the reply; closes; stops answering. */
    NntpScript &Send(const std::string &bytes) { return Step("send", &bytes); }
    NntpScript &Recv(int lines = 1);
    NntpScript &Reply(const std::string &bytes) { return Recv().Send(bytes); }
    /* Reads lines through a "." line alone: an article being posted. */
    NntpScript &RecvArticle() { return Step("recvdot"); }
    NntpScript &Close() { return Step("close"); }
    NntpScript &Stall() { return Step("stall"); }
    /* Bytes straight onto the link, past any TLS: a corrupt record. */
    NntpScript &SendRaw(const std::string &bytes) { return Step("sendraw", &bytes); }
    /* The whole dialogue over TLS from the first byte, with a certificate
     * of the test CA for localhost and 127.0.0.1 (tls/good.pem). */
    NntpScript &OverTls()
    {
        tls_ = true;
        return *this;
    }
    bool over_tls() const { return tls_; }

    /* Hands the dialogue to the server: the port it listens on (0 when the
     * server could not be reached; the test fails then). */
    int Start();

    /* Every byte the client sent, once the client has closed the
     * connection (waits at most `seconds`). */
    std::string Transcript(int seconds = 30);
    /* Over TLS: "TLS <version> <cipher>" of the handshake, or "FAILED
     * <reason>" when there was none. */
    std::string TlsInfo();
    bool finished() const { return finished_; }

private:
    NntpScript &Step(const char *kind, const std::string *bytes = nullptr);
    std::string steps_;
    bool tls_ = false;
    int port_ = 0;
    bool finished_ = false;
};

/* `server` set for the scripted server's TLS dialogues: implicit TLS,
 * trusting the test CA. */
void UseScriptTls(NntpServer *server);

/* A loopback port nothing listens on. */
int FreeLoopbackPort();

/* A loopback port whose listener never takes connections: a connect there
 * waits (for a minute at most). */
int BusyLoopbackPort();

/* The server value of a test: 127.0.0.1:`port`, the login given (null for
 * none), the depth and, unless given, the program's time-outs. */
inline NntpServer TestServer(int port, const char *user = nullptr, const char *password = nullptr,
                             DWORD depth = kDefaultPipelineDepth, DWORD receive_timeout_ms = kNntpDefaultReceiveTimeoutMs,
                             DWORD connect_timeout_ms = kNntpDefaultConnectTimeoutMs)
{
    NntpServer server = {};
    strcpy(server.host, "127.0.0.1");
    wcscpy(server.name, L"127.0.0.1");
    server.port = (unsigned short)port;
    server.has_user = user != nullptr;
    server.has_password = password != nullptr;
    if (user)
        strncpy(server.user, user, sizeof(server.user) - 1);
    if (password)
        strncpy(server.password, password, sizeof(server.password) - 1);
    server.connect_timeout_ms = connect_timeout_ms;
    server.receive_timeout_ms = receive_timeout_ms;
    server.pipeline_depth = depth;
    return server;
}

#endif
