/*
 * The exchanges every NNTP conversation of the program opens with, shared
 * by the download session and the group-list download: a command and its
 * status line, the greeting, and the authinfo login. They say which step
 * failed; each caller words the failure in its own texts.
 */
#ifndef PELNOR_NNTP_EXCHANGE_H
#define PELNOR_NNTP_EXCHANGE_H

#include "nntp/connection.h"

enum NntpStep {
    kNntpStepConnect = 1,
    kNntpStepSend,
    kNntpStepReceive,
    kNntpStepRefused, /* the status line in the reply buffer says no */
};

/* Sends `command` + `argument` + `line_end` and reads the status line (line
 * end kept) into `reply`, which holds kNntpLineBufferSize bytes. 1, or 0
 * with the last error and *failed set to the send or receive step. */
int NntpCommand(NntpConnection *c, const char *command, const char *argument, const char *line_end, char *reply,
                NntpStep *failed);

/* Connects and reads the greeting into `reply`; any greeting beginning with
 * '2' will do (posting permission does not matter here). 1, or 0 with
 * *failed: connect (last error from Winsock), receive, or refused. */
int NntpGreet(NntpConnection *c, const char *host, unsigned short port, char *reply, NntpStep *failed);

/* "authinfo user" and, when the server asks for it with a 3xx reply,
 * "authinfo pass", each followed by `line_end` before the transport's own
 * line end. Only a 3xx reply lets the exchange go on: a server that
 * accepts the user alone is refused too. 1 once the password was accepted
 * with a 2xx reply; otherwise 0 with *failed, *password_step (0 for the user
 * command, 1 for the password) and, when refused, the reply in `reply`. */
int NntpLogin(NntpConnection *c, const char *user, const char *password, const char *line_end, char *reply,
              NntpStep *failed, int *password_step);

#endif
