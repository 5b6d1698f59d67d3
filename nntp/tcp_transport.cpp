#include "transport.h"

#include <stdlib.h>
#include <string.h>
#include <winsock.h> /* Winsock 1.1, as on the device */

namespace {

struct TcpTransport {
    NntpTransport base;
    SOCKET socket;
    volatile LONG shut_down;
};

/* A connect in progress cannot be woken by shutdown(), so waits look at
 * the flag this often. */
const DWORD kWaitSliceMs = 100;

bool IsShutDown(TcpTransport *t)
{
    return InterlockedCompareExchange(&t->shut_down, 0, 0) != 0;
}

/* Waits for the socket to be readable (or writable, with its error set
 * apart) within the time-out, in slices so that a shut-down is seen. 1
 * ready, 0 with the last error. */
int WaitFor(TcpTransport *t, bool writable, DWORD timeout_ms, bool *failed)
{
    DWORD waited = 0;
    for (;;) {
        if (IsShutDown(t)) {
            SetLastError(ERROR_CANCELLED);
            return 0;
        }
        fd_set ready, error;
        FD_ZERO(&ready);
        FD_ZERO(&error);
        FD_SET(t->socket, &ready);
        FD_SET(t->socket, &error);
        DWORD slice = timeout_ms - waited < kWaitSliceMs ? timeout_ms - waited : kWaitSliceMs;
        timeval tv = {(long)(slice / 1000), (long)(slice % 1000) * 1000};
        int count = select(0, writable ? nullptr : &ready, writable ? &ready : nullptr, &error, &tv);
        if (count == SOCKET_ERROR)
            return 0;
        if (count > 0) {
            if (IsShutDown(t)) {
                SetLastError(ERROR_CANCELLED);
                return 0;
            }
            if (failed)
                *failed = FD_ISSET(t->socket, &error) != 0;
            return 1;
        }
        waited += slice;
        if (waited >= timeout_ms) {
            SetLastError(WSAETIMEDOUT);
            return 0;
        }
    }
}

int TcpConnect(NntpTransport *base, const char *host, unsigned short port, DWORD timeout_ms)
{
    TcpTransport *t = (TcpTransport *)base;
    t->socket = socket(AF_INET, SOCK_STREAM, 0);
    if (t->socket == INVALID_SOCKET)
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

    /* Non-blocking while connecting, so the time-out and a stop hold. */
    u_long non_blocking = 1;
    if (ioctlsocket(t->socket, FIONBIO, &non_blocking) == SOCKET_ERROR)
        return 0;
    if (connect(t->socket, (const sockaddr *)&address, sizeof(address)) == SOCKET_ERROR) {
        DWORD error = GetLastError();
        if (error != WSAEWOULDBLOCK && error != WSAEINPROGRESS)
            return 0;
        bool failed = false;
        if (!WaitFor(t, true, timeout_ms, &failed))
            return 0;
        int so_error = 0;
        int length = sizeof(so_error);
        if (getsockopt(t->socket, SOL_SOCKET, SO_ERROR, (char *)&so_error, &length) == SOCKET_ERROR)
            return 0;
        if (so_error != 0 || failed) {
            SetLastError(so_error != 0 ? (DWORD)so_error : (DWORD)WSAECONNREFUSED);
            return 0;
        }
    }
    u_long blocking = 0;
    if (ioctlsocket(t->socket, FIONBIO, &blocking) == SOCKET_ERROR)
        return 0;
    /* Commands go out at once; the server's replies are what we wait for. */
    BOOL no_delay = TRUE;
    setsockopt(t->socket, IPPROTO_TCP, TCP_NODELAY, (const char *)&no_delay, sizeof(no_delay));
    return 1;
}

int TcpWait(NntpTransport *base, DWORD timeout_ms)
{
    return WaitFor((TcpTransport *)base, false, timeout_ms, nullptr);
}

int TcpRead(NntpTransport *base, char *buffer, int capacity)
{
    TcpTransport *t = (TcpTransport *)base;
    int got = recv(t->socket, buffer, capacity, 0);
    if (IsShutDown(t)) {
        SetLastError(ERROR_CANCELLED);
        return -1;
    }
    return got == SOCKET_ERROR ? -1 : got;
}

int TcpWrite(NntpTransport *base, const char *bytes, int length)
{
    TcpTransport *t = (TcpTransport *)base;
    while (length > 0) {
        int sent = send(t->socket, bytes, length, 0);
        if (sent == SOCKET_ERROR || sent == 0)
            return 0;
        bytes += sent;
        length -= sent;
    }
    return 1;
}

void TcpShutDown(NntpTransport *base)
{
    TcpTransport *t = (TcpTransport *)base;
    InterlockedExchange(&t->shut_down, 1);
    /* Wakes a receive blocked on the other thread; sending stays open. */
    if (t->socket != INVALID_SOCKET)
        shutdown(t->socket, 0 /* SD_RECEIVE */);
}

void TcpClose(NntpTransport *base)
{
    TcpTransport *t = (TcpTransport *)base;
    if (t->socket != INVALID_SOCKET)
        closesocket(t->socket);
    free(t);
}

const NntpTransportVtable kTcpTransport = {TcpConnect, TcpWait, TcpRead, TcpWrite, TcpShutDown, TcpClose};

} // namespace

NntpTransport *NewTransport(const NntpServer *)
{
    TcpTransport *t = (TcpTransport *)calloc(1, sizeof(TcpTransport));
    if (!t) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    t->base.vt = &kTcpTransport;
    t->socket = INVALID_SOCKET;
    return &t->base;
}
