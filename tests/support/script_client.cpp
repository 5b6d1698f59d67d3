#include "script_client.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <winsock.h>

#include <stdio.h>
#include <stdlib.h>

#include "support/temp_folder.h"

namespace {

/* One request to the server's control port, whose number the fixture
 * writes to a file; the whole reply, less its final newlines. */
bool Control(const std::string &request, std::string *reply)
{
    static int port = atoi(FileBytes(WinePathOf(PELNOR_BUILD_DIR "/nntp-script/port")).c_str());
    if (!port)
        return false;
    SOCKET s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons((unsigned short)port);
    address.sin_addr.s_addr = inet_addr("127.0.0.1");
    if (connect(s, (sockaddr *)&address, sizeof(address)) != 0) {
        closesocket(s);
        return false;
    }
    /* A blocking send takes the whole request. */
    std::string line = request + "\n";
    send(s, line.data(), (int)line.size(), 0);
    reply->clear();
    char buffer[65536];
    for (;;) {
        int n = recv(s, buffer, sizeof(buffer), 0);
        if (n <= 0)
            break;
        reply->append(buffer, (size_t)n);
    }
    closesocket(s);
    while (!reply->empty() && reply->back() == '\n')
        reply->pop_back();
    return true;
}

std::string JsonString(const std::string &bytes)
{
    std::string out = "\"";
    for (unsigned char c : bytes) {
        char escape[8];
        snprintf(escape, sizeof escape, c == '"' || c == '\\' ? "\\%c" : c < 0x20 || c >= 0x7F ? "\\u%04x" : "%c", c);
        out += escape;
    }
    return out + "\"";
}

int PortOf(const std::string &reply)
{
    return reply.compare(0, 5, "PORT ") == 0 ? atoi(reply.c_str() + 5) : 0;
}

} // namespace

NntpScript &NntpScript::Step(const char *kind, const std::string *bytes)
{
    steps_ += (steps_.empty() ? "[\"" : ",[\"") + std::string(kind) + "\"";
    steps_ += (bytes ? "," + JsonString(*bytes) : "") + "]";
    return *this;
}

NntpScript &NntpScript::Recv(int lines)
{
    for (int i = 0; i < lines; i++)
        Step("recv");
    return *this;
}

int NntpScript::Start()
{
    std::string reply;
    const char *verb = tls_ ? "TLSSCRIPT tls/good.pem tls/good.key [" : "SCRIPT [";
    if (!Control(verb + steps_ + "]", &reply)) {
        ADD_FAILURE() << "the scripted NNTP server is not running (CTest fixture nntp_script)";
        return 0;
    }
    port_ = PortOf(reply);
    if (!port_)
        ADD_FAILURE() << "scripted server: " << reply;
    return port_;
}

std::string NntpScript::Transcript(int seconds)
{
    std::string reply;
    if (!port_ || !Control("RESULT " + std::to_string(port_) + " " + std::to_string(seconds), &reply))
        return std::string();
    std::string hex;
    if (reply.compare(0, 5, "DONE ") == 0) {
        finished_ = true;
        hex = reply.substr(5);
    } else if (reply.compare(0, 8, "TIMEOUT ") == 0) {
        hex = reply.substr(8);
    }
    std::string bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += (char)strtol(hex.substr(i, 2).c_str(), nullptr, 16);
    return bytes;
}

std::string NntpScript::TlsInfo()
{
    std::string reply;
    return port_ && Control("TLSINFO " + std::to_string(port_), &reply) ? reply : std::string();
}

void UseScriptTls(NntpServer *server)
{
    server->tls_mode = kTlsImplicit;
    wcscpy(server->ca_file, WinePathOf(PELNOR_BUILD_DIR "/nntp-script/tls/ca.pem").c_str());
}

int FreeLoopbackPort()
{
    std::string reply;
    return Control("FREEPORT", &reply) ? PortOf(reply) : 0;
}

int BusyLoopbackPort()
{
    std::string reply;
    return Control("BUSYPORT", &reply) ? PortOf(reply) : 0;
}
