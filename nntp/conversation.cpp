#include "conversation.h"

#include <string.h>

namespace {

/* `command` + `argument` + `line_end` and its status line. */
int Ask(NntpConnection *c, const char *command, const char *argument, const char *line_end, char *reply,
        NntpFailure *failed)
{
    if (!NntpSendCommand(c, command, argument, line_end)) {
        *failed = kNntpFailedSend;
        return 0;
    }
    if (!NntpReadLine(c, reply, kNntpLineCapacity, 0)) {
        *failed = kNntpFailedReceive;
        return 0;
    }
    return 1;
}

bool HasLogin(const NntpConnection *c)
{
    return c->server->has_user && c->server->has_password;
}

} // namespace

int NntpLogin(NntpConnection *c, char *reply, NntpOpenFailure *failed)
{
    failed->step = kNntpOpenUser;
    if (!Ask(c, "authinfo user ", c->server->user, c->login_line_end, reply, &failed->failure))
        return 0;
    if (reply[0] != '3') {
        failed->failure = kNntpRefused;
        return 0;
    }
    failed->step = kNntpOpenPassword;
    if (!Ask(c, "authinfo pass ", c->server->password, c->login_line_end, reply, &failed->failure))
        return 0;
    if (reply[0] != '2') {
        failed->failure = kNntpRefused;
        return 0;
    }
    return 1;
}

int NntpOpen(NntpConnection *c, const char *login_line_end, char *reply, NntpOpenFailure *failed)
{
    c->login_line_end = login_line_end;
    failed->step = kNntpOpenConnect;
    failed->failure = kNntpFailedConnect;
    if (!NntpConnect(c))
        return 0;
    failed->step = kNntpOpenGreeting;
    if (!NntpReadLine(c, reply, kNntpLineCapacity, 0)) {
        failed->failure = kNntpFailedReceive;
        return 0;
    }
    if (reply[0] != '2') {
        failed->failure = kNntpRefused;
        return 0;
    }
    /* An encrypted link and compression are agreed on here, before the
     * login, once the server value asks for them. */
    if (HasLogin(c) && !NntpLogin(c, reply, failed))
        return 0;
    return 1;
}

bool NntpWantsModeReader(const NntpConnection *c, const char *reply)
{
    return !c->mode_reader_sent && strncmp(reply, "401", 3) == 0;
}

int NntpSendModeReader(NntpConnection *c, char *reply, NntpFailure *failed)
{
    c->mode_reader_sent = 1;
    return Ask(c, "MODE READER", "", "", reply, failed);
}

int NntpExchange(NntpConnection *c, const char *command, const char *argument, char *reply, NntpFailure *failed)
{
    for (;;) {
        if (!Ask(c, command, argument, "", reply, failed))
            return 0;
        if (NntpWantsModeReader(c, reply)) {
            /* A server that feeds this host (INN's innd) wants to be told
             * it is talking to a reader; the command goes again. */
            if (!NntpSendModeReader(c, reply, failed))
                return 0;
            continue;
        }
        if (strncmp(reply, "480", 3) == 0 && HasLogin(c) && !c->login_repeated) {
            /* A server may forget the login when it changes mode. */
            c->login_repeated = 1;
            NntpOpenFailure login;
            if (!NntpLogin(c, reply, &login)) {
                if (login.failure == kNntpRefused)
                    return 1;
                *failed = login.failure;
                return 0;
            }
            continue;
        }
        return 1;
    }
}
