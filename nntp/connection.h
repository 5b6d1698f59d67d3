/*
 * A blocking TCP client for NNTP: connect, send one command line, read the
 * reply one line at a time through a 4096-byte buffer. Lines are the
 * server's 8-bit bytes unchanged. Used on worker threads only; a connection
 * belongs to the thread that made it.
 *
 * Connect and receive wait at most the time-outs below, so that a server
 * that stops answering ends the run instead of hanging it: a receive
 * time-out is a receive failure with last error WSAETIMEDOUT (10060).
 */
#ifndef PELNOR_NNTP_CONNECTION_H
#define PELNOR_NNTP_CONNECTION_H

#include <windows.h>
#include <winsock.h> /* Winsock 1.1, as on the device */

enum {
    kNntpBufferSize = 4096,
    kNntpMaxSendLine = 4095,                 /* lines this long or longer are refused */
    kNntpLineCapacity = 1024,                /* every reply-line buffer holds this much... */
    kNntpLineBufferSize = 1024 + 1,          /* ...plus the terminator after a full line */
    kNntpDefaultConnectTimeoutMs = 60000,
    kNntpDefaultReceiveTimeoutMs = 120000,
};

struct NntpConnection {
    SOCKET socket;          /* INVALID_SOCKET when not connected */
    SOCKET reader_socket;   /* the copy the receive side uses */
    char buffer[kNntpBufferSize];
    char *read_pos;         /* next byte to hand out */
    char *end_pos;          /* one past the last received byte */
    int end_of_stream;      /* 1 once recv returned 0 */
    DWORD connect_timeout_ms;
    DWORD receive_timeout_ms;
    int mode_reader_sent;   /* 1 once "MODE READER" went out on this link */
};

/* The time-outs every connection initialised from now on uses (0 keeps the
 * current value). The defaults suit a slow dial-up line. */
void NntpSetTimeouts(DWORD connect_ms, DWORD receive_ms);

/* Socket := INVALID_SOCKET; takes the current time-outs. */
void NntpInit(NntpConnection *c);

/* Connects to `host` (a dotted address is used as is, anything else goes
 * through the resolver) at `port`. 1, or 0 with the last error Winsock left
 * (WSAETIMEDOUT when the connect time-out ran out). On failure the socket
 * may stay open: NntpClose closes it. */
int NntpConnect(NntpConnection *c, const char *host, unsigned short port);

/* Closes the socket when it is valid and sets it to INVALID_SOCKET. */
void NntpClose(NntpConnection *c);

/* Sends `line` followed by CR LF with one send call. 0 with last error 234
 * when the line is 4095 bytes or longer (nothing is sent); otherwise 1: a
 * broken connection shows up at the next read. */
int NntpSendLine(NntpConnection *c, const char *line);

/* The same for the line `command` + `argument` + `line_end`. */
int NntpSendCommand(NntpConnection *c, const char *command, const char *argument, const char *line_end);

/* Sends `length` bytes of ready-made command lines, looping until all are
 * out. 1, as for NntpSendLine: a broken connection shows up at the next
 * read. */
int NntpSendBytes(NntpConnection *c, const char *bytes, int length);

/* Reads one line ending in CR LF into `line` (which must hold capacity + 1
 * bytes). An LF ends the line only after a CR somewhere earlier in it. With
 * strip 0 the line keeps its line end and a NUL follows; with strip set the
 * CR LF become NULs. 0 on failure: 234 when the line fills the capacity,
 * 38 when the peer closed, 13 when recv failed, 10060 on a time-out; a NUL
 * byte ends the line as a failure without setting an error. */
int NntpReadLine(NntpConnection *c, char *line, int capacity, int strip);

#endif
