#include "exchange.h"

int NntpCommand(NntpConnection *c, const char *command, const char *argument, const char *line_end, char *reply,
                NntpStep *failed)
{
    if (!NntpSendCommand(c, command, argument, line_end)) {
        *failed = kNntpStepSend;
        return 0;
    }
    if (!NntpReadLine(c, reply, kNntpLineCapacity, 0)) {
        *failed = kNntpStepReceive;
        return 0;
    }
    return 1;
}

int NntpGreet(NntpConnection *c, const char *host, unsigned short port, char *reply, NntpStep *failed)
{
    if (!NntpConnect(c, host, port)) {
        *failed = kNntpStepConnect;
        return 0;
    }
    if (!NntpReadLine(c, reply, kNntpLineCapacity, 0)) {
        *failed = kNntpStepReceive;
        return 0;
    }
    if (reply[0] != '2') {
        *failed = kNntpStepRefused;
        return 0;
    }
    return 1;
}

int NntpLogin(NntpConnection *c, const char *user, const char *password, const char *line_end, char *reply,
              NntpStep *failed, int *password_step)
{
    *password_step = 0;
    if (!NntpCommand(c, "authinfo user ", user, line_end, reply, failed))
        return 0;
    if (reply[0] != '3') {
        *failed = kNntpStepRefused;
        return 0;
    }
    *password_step = 1;
    if (!NntpCommand(c, "authinfo pass ", password, line_end, reply, failed))
        return 0;
    if (reply[0] != '2') {
        *failed = kNntpStepRefused;
        return 0;
    }
    return 1;
}
