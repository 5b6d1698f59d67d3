/*
 * A line-oriented NNTP connection over a transport: send one command line,
 * read the reply one line at a time through a 4096-byte buffer. Lines are
 * the server's 8-bit bytes unchanged. Used on worker threads only; a
 * connection belongs to the thread that made it.
 *
 * Connect and receive wait at most the server's time-outs, so that a server
 * that stops answering ends the run instead of hanging it: a receive
 * time-out is a receive failure with last error WSAETIMEDOUT (10060). A
 * cancel of the job reaches the transport at once: the wait ends and reads
 * fail with ERROR_CANCELLED (1223).
 */
#ifndef PELNOR_NNTP_CONNECTION_H
#define PELNOR_NNTP_CONNECTION_H

#include <windows.h>

#include "base/background_job.h"
#include "nntp/certificate.h"
#include "nntp/server.h"
#include "nntp/transport.h"

enum {
    kNntpBufferSize = 4096,
    kNntpMaxSendLine = 4095,        /* lines this long or longer are refused */
    kNntpLineCapacity = 1024,       /* every reply-line buffer holds this much... */
    kNntpLineBufferSize = 1024 + 1, /* ...plus the terminator after a full line */
};

struct NntpConnection {
    NntpTransport *transport; /* owned; null when not connected */
    JobCancel *cancel;        /* borrowed, or null: reaches the transport */
    const NntpServer *server; /* borrowed: time-outs, and the login a 480 asks for */
    char buffer[kNntpBufferSize];
    char *read_pos;           /* next byte to hand out */
    char *end_pos;            /* one past the last received byte */
    int end_of_stream;        /* 1 once the stream ended */
    int line_open;            /* the last part read did not end its line */
    int cr_seen;              /* ...and a CR came in it */
    int mode_reader_sent;     /* 1 once "MODE READER" went out on this link */
    int login_repeated;       /* 1 once a 480 had the login sent again */
    const char *login_line_end; /* what follows each authinfo line (see NntpOpen) */
    const NntpTrust *trust;   /* borrowed, or null: asked about a certificate that fails */
};

/* Not connected; `cancel` (may be null) stops it from another thread. */
void NntpInit(NntpConnection *c, const NntpServer *server, JobCancel *cancel);

/* Connects to the server's host (a dotted address is used as is, anything
 * else goes through the resolver) and port. 1, or 0 with the last error:
 * Winsock's, WSAETIMEDOUT, ERROR_CANCELLED or 8. */
int NntpConnect(NntpConnection *c);

bool NntpConnected(const NntpConnection *c);

/* Puts `layered` (made over the connection's transport, which it now owns)
 * in its place: an encrypted or compressed stream from the next byte on. */
void NntpLayerTransport(NntpConnection *c, NntpTransport *layered);

/* Whether received bytes wait in the buffer. Before a layer is put on,
 * there must be none: they did not come through it. */
bool NntpHasBufferedBytes(const NntpConnection *c);

/* Closes the transport when there is one. */
void NntpClose(NntpConnection *c);

/* Sends `line` followed by CR LF with one write. 0 with last error 234
 * when the line is 4095 bytes or longer (nothing is sent); otherwise 1: a
 * broken connection shows up at the next read. */
int NntpSendLine(NntpConnection *c, const char *line);

/* The same for the line `command` + `argument` + `line_end`. */
int NntpSendCommand(NntpConnection *c, const char *command, const char *argument, const char *line_end);

/* Sends `length` bytes of ready-made command lines; 1, as for NntpSendLine. */
int NntpSendBytes(NntpConnection *c, const char *bytes, int length);

/* Reads one line ending in CR LF into `line` (which must hold capacity + 1
 * bytes). An LF ends the line only after a CR somewhere earlier in it. With
 * strip 0 the line keeps its line end and a NUL follows; with strip set the
 * CR LF become NULs. 0 on failure: 234 when the line fills the capacity,
 * 38 when the peer closed, 13 when the receive failed, 10060 on a
 * time-out, 1223 after a cancel; a NUL byte ends the line as a failure
 * without setting an error. */
int NntpReadLine(NntpConnection *c, char *line, int capacity, int strip);

/* Reads a line of any length in parts of at most `capacity` bytes: 1 with
 * a part (NUL-terminated, line end kept) and *complete set when the part
 * ends the line; a part that fills the capacity leaves the rest of the line
 * for the next call. Fails as NntpReadLine, never with 234. */
int NntpReadLinePart(NntpConnection *c, char *line, int capacity, int *complete);

/* Reads and drops the rest of a reply's text, up to and including its "."
 * line; lines of any length, and a NUL byte, are dropped with the rest. 1,
 * or 0 with the last error. */
int NntpSkipReplyText(NntpConnection *c);

#endif
