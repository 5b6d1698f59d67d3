/*
 * How every conversation with the server opens and how a command is asked,
 * for the download, the group list and whatever comes after them: connect,
 * TLS as the server value asks (at once, or STARTTLS after the greeting),
 * login, then compression when offered and allowed; a command and its
 * status line, with the server's
 * requests for MODE READER (401) and for the login (480) met once each.
 * They say which step failed and how; each caller words that for the user.
 */
#ifndef PELNOR_NNTP_CONVERSATION_H
#define PELNOR_NNTP_CONVERSATION_H

#include "nntp/connection.h"

/* How an exchange failed. */
enum NntpFailure {
    kNntpFailedConnect = 1, /* last error from the transport */
    kNntpFailedSend,
    kNntpFailedReceive,
    kNntpRefused, /* the status line in the reply buffer says no */
    kNntpFailedTls,         /* the handshake: last error */
    kNntpFailedCaFile,      /* the file of extra roots: last error */
    kNntpCertificateRefused, /* the certificate failed its checks and was not trusted */
    kNntpNeedsEncryption,   /* a 483 to the login on a plain link: the line in the reply buffer */
};

/* The steps of opening a conversation, in order. */
enum NntpOpenStep {
    kNntpOpenConnect,
    kNntpOpenGreeting,
    kNntpOpenUser,
    kNntpOpenPassword,
    kNntpOpenTls,      /* the handshake, at once or after STARTTLS */
    kNntpOpenStartTls, /* the STARTTLS exchange */
    kNntpOpenCompress, /* CAPABILITIES and COMPRESS */
};

struct NntpOpenFailure {
    NntpOpenStep step;
    NntpFailure failure;
};

/* Connects, reads the greeting (any greeting beginning with '2' will do:
 * posting permission does not matter here) and, when the server value has
 * both a user and a password, logs in; the password goes out only once TLS
 * is up when the server value asks for TLS. Compression is asked for last,
 * when allowed and listed in the server's CAPABILITIES; a server that does
 * not know CAPABILITIES or refuses COMPRESS is used without it. `login_line_end` follows each
 * authinfo line before the transport's own line end ("" for none). 1, or 0
 * with the last error, *failed and, when refused, the status line in
 * `reply` (kNntpLineBufferSize bytes). */
int NntpOpen(NntpConnection *c, const char *login_line_end, char *reply, NntpOpenFailure *failed);

/* "authinfo user" and, when the server asks for it with a 3xx reply,
 * "authinfo pass". Only a 3xx reply lets the exchange go on: a server that
 * accepts the user alone is refused too. 1 once the password was accepted
 * with a 2xx reply; otherwise 0 with the step (user or password) and how. */
int NntpLogin(NntpConnection *c, char *reply, NntpOpenFailure *failed);

/* Sends `command` + `argument` and reads the status line (line end kept)
 * into `reply`. A 401 while MODE READER has not gone out on the link sends
 * it and the command again; a 480 while the login has not been repeated
 * logs in again (when there is a login) and sends the command again. 1 with
 * whatever status came last (a refused login's own), or 0 with the last
 * error and *failed set to the send or receive step. */
int NntpExchange(NntpConnection *c, const char *command, const char *argument, char *reply, NntpFailure *failed);

/* Whether `reply` asks for MODE READER and the link has not sent it. */
bool NntpWantsModeReader(const NntpConnection *c, const char *reply);

/* Sends MODE READER (once on the link) and reads its status into `reply`.
 * 1, or 0 with the last error and *failed. */
int NntpSendModeReader(NntpConnection *c, char *reply, NntpFailure *failed);

#endif
