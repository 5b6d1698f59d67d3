/*
 * The byte stream a connection talks through, behind a small table of
 * functions: plain TCP here; an encrypted stream is another implementation
 * of the same table, and nothing above it changes.
 *
 * Every call but shut_down is made by the one thread that owns the
 * transport. shut_down may come from any other thread while the owner is
 * blocked in wait or connect: it ends that wait at once, and every later
 * read fails with ERROR_CANCELLED. Writes still go out, so a QUIT can follow
 * a stop.
 */
#ifndef PELNOR_NNTP_TRANSPORT_H
#define PELNOR_NNTP_TRANSPORT_H

#include <windows.h>

#include "nntp/server.h"

struct NntpTransport;

struct NntpTransportVtable {
    /* 1, or 0 with the last error (Winsock's, WSAETIMEDOUT when the time-out
     * ran out, ERROR_CANCELLED after a shut-down). */
    int (*connect)(NntpTransport *t, const char *host, unsigned short port, DWORD timeout_ms);
    /* Data pending: 1 when a read would return without waiting, or does so
     * within the time-out; else 0 with WSAETIMEDOUT, ERROR_CANCELLED or the
     * error that ended the wait. */
    int (*wait)(NntpTransport *t, DWORD timeout_ms);
    /* Bytes read (at most capacity), 0 at the end of the stream, -1 with the
     * last error. */
    int (*read)(NntpTransport *t, char *buffer, int capacity);
    /* All `length` bytes sent: 1, or 0 with the last error. */
    int (*write)(NntpTransport *t, const char *bytes, int length);
    void (*shut_down)(NntpTransport *t);
    /* Closes the stream and frees the transport. */
    void (*close)(NntpTransport *t);
};

struct NntpTransport {
    const NntpTransportVtable *vt;
};

/* The transport the server value asks for, not yet connected: plain TCP
 * (the only kind yet). Null with error 8. */
NntpTransport *NewTransport(const NntpServer *server);

#endif
