#include "connection.h"

#include <string.h>

#include "text/byte_error.h"

namespace {

DWORD g_connect_timeout_ms = kNntpDefaultConnectTimeoutMs;
DWORD g_receive_timeout_ms = kNntpDefaultReceiveTimeoutMs;

timeval ToTimeval(DWORD ms)
{
    timeval tv;
    tv.tv_sec = (long)(ms / 1000);
    tv.tv_usec = (long)(ms % 1000) * 1000;
    return tv;
}

/* Connects the blocking socket `s` within the time-out: non-blocking
 * connect, then wait for it to be writable (done) or in error. */
int ConnectWithin(SOCKET s, const sockaddr_in *address, DWORD timeout_ms)
{
    u_long non_blocking = 1;
    if (ioctlsocket(s, FIONBIO, &non_blocking) == SOCKET_ERROR)
        return 0;
    if (connect(s, (const sockaddr *)address, sizeof(*address)) == SOCKET_ERROR) {
        DWORD error = GetLastError();
        if (error != WSAEWOULDBLOCK && error != WSAEINPROGRESS)
            return 0;
        fd_set writable, failed;
        FD_ZERO(&writable);
        FD_ZERO(&failed);
        FD_SET(s, &writable);
        FD_SET(s, &failed);
        timeval tv = ToTimeval(timeout_ms);
        int ready = select(0, nullptr, &writable, &failed, &tv);
        if (ready == SOCKET_ERROR)
            return 0;
        if (ready == 0) {
            SetLastError(WSAETIMEDOUT);
            return 0;
        }
        int so_error = 0;
        int length = sizeof(so_error);
        if (getsockopt(s, SOL_SOCKET, SO_ERROR, (char *)&so_error, &length) == SOCKET_ERROR)
            return 0;
        if (so_error != 0 || FD_ISSET(s, &failed)) {
            SetLastError(so_error != 0 ? (DWORD)so_error : (DWORD)WSAECONNREFUSED);
            return 0;
        }
    }
    u_long blocking = 0;
    if (ioctlsocket(s, FIONBIO, &blocking) == SOCKET_ERROR)
        return 0;
    return 1;
}

/* One byte of the reply, widened from a signed 8-bit value. */
int ReadByte(NntpConnection *c, int *byte)
{
    if (c->end_of_stream) {
        SetLastError(kErrorHandleEof);
        return 0;
    }
    if (c->read_pos >= c->end_pos) {
        /* A successful receive leaves the caller's last error alone, so that
         * a NUL byte ends a line with whatever error was there before. */
        DWORD caller_error = GetLastError();
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(c->reader_socket, &readable);
        timeval tv = ToTimeval(c->receive_timeout_ms);
        int ready = select(0, &readable, nullptr, nullptr, &tv);
        if (ready == 0) {
            SetLastError(WSAETIMEDOUT);
            return 0;
        }
        if (ready == SOCKET_ERROR) {
            SetLastError(kErrorInvalidData);
            return 0;
        }
        int got = recv(c->reader_socket, c->buffer, kNntpBufferSize, 0);
        if (got == 0) {
            c->end_of_stream = 1;
            SetLastError(kErrorHandleEof);
            return 0;
        }
        if (got == SOCKET_ERROR) {
            SetLastError(kErrorInvalidData);
            return 0;
        }
        c->read_pos = c->buffer;
        c->end_pos = c->buffer + got;
        SetLastError(caller_error);
    }
    *byte = (signed char)*c->read_pos++;
    return 1;
}

} // namespace

void NntpSetTimeouts(DWORD connect_ms, DWORD receive_ms)
{
    if (connect_ms)
        g_connect_timeout_ms = connect_ms;
    if (receive_ms)
        g_receive_timeout_ms = receive_ms;
}

void NntpInit(NntpConnection *c)
{
    c->socket = INVALID_SOCKET;
    c->reader_socket = INVALID_SOCKET;
    c->read_pos = c->buffer;
    c->end_pos = c->buffer;
    c->end_of_stream = 0;
    c->mode_reader_sent = 0;
    c->connect_timeout_ms = g_connect_timeout_ms;
    c->receive_timeout_ms = g_receive_timeout_ms;
}

int NntpConnect(NntpConnection *c, const char *host, unsigned short port)
{
    c->socket = socket(AF_INET, SOCK_STREAM, 0);
    if (c->socket == INVALID_SOCKET)
        return 0;

    sockaddr_in address;
    memset(&address, 0, sizeof(address));
    unsigned long ip = inet_addr(host);
    if (ip == INADDR_NONE) {
        hostent *entry = gethostbyname(host);
        if (!entry || !entry->h_addr_list || !entry->h_addr_list[0])
            return 0;
        memcpy(&ip, entry->h_addr_list[0], 4);
    }
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    memcpy(&address.sin_addr, &ip, 4);
    if (!ConnectWithin(c->socket, &address, c->connect_timeout_ms))
        return 0;

    /* Commands go out at once; the server's replies are what we wait for. */
    BOOL no_delay = TRUE;
    setsockopt(c->socket, IPPROTO_TCP, TCP_NODELAY, (const char *)&no_delay, sizeof(no_delay));

    c->reader_socket = c->socket;
    c->read_pos = c->buffer;
    c->end_pos = c->buffer;
    c->end_of_stream = 0;
    return 1;
}

void NntpClose(NntpConnection *c)
{
    if (c->socket != INVALID_SOCKET) {
        closesocket(c->socket);
        c->socket = INVALID_SOCKET;
    }
}

int NntpSendCommand(NntpConnection *c, const char *command, const char *argument, const char *line_end)
{
    size_t parts[3] = {strlen(command), strlen(argument), strlen(line_end)};
    size_t length = parts[0] + parts[1] + parts[2];
    if (length >= kNntpMaxSendLine) {
        SetLastError(kErrorMoreData);
        return 0;
    }
    char text[kNntpMaxSendLine + 2];
    memcpy(text, command, parts[0]);
    memcpy(text + parts[0], argument, parts[1]);
    memcpy(text + parts[0] + parts[1], line_end, parts[2]);
    text[length] = '\r';
    text[length + 1] = '\n';
    send(c->socket, text, (int)length + 2, 0);
    return 1;
}

int NntpSendBytes(NntpConnection *c, const char *bytes, int length)
{
    while (length > 0) {
        int sent = send(c->socket, bytes, length, 0);
        if (sent == SOCKET_ERROR || sent == 0)
            break;
        bytes += sent;
        length -= sent;
    }
    return 1;
}

int NntpSendLine(NntpConnection *c, const char *line)
{
    return NntpSendCommand(c, line, "", "");
}

int NntpReadLine(NntpConnection *c, char *line, int capacity, int strip)
{
    int stored = 0;
    int cr_at = -1; /* where the CR that lets an LF end the line was stored */
    for (;;) {
        if (stored >= capacity) {
            SetLastError(kErrorMoreData);
            return 0;
        }
        int byte;
        if (!ReadByte(c, &byte))
            return 0;
        if (byte == 0)
            return 0;
        if (byte == '\r') {
            if (cr_at < 0)
                cr_at = stored;
        } else if (byte == '\n' && cr_at >= 0) {
            if (strip) {
                line[cr_at] = '\0';
                line[stored] = '\0';
            } else {
                line[stored++] = (char)byte;
                line[stored] = '\0';
            }
            return 1;
        }
        line[stored++] = (char)byte;
    }
}
