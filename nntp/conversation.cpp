#include "conversation.h"

#include <string.h>

#include "nntp/deflate_transport.h"
#include "nntp/tls_transport.h"
#include "text/byte_error.h"

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
        failed->failure = strncmp(reply, "483", 3) == 0 ? kNntpNeedsEncryption : kNntpRefused;
        return 0;
    }
    failed->step = kNntpOpenPassword;
    if (!Ask(c, "authinfo pass ", c->server->password, c->login_line_end, reply, &failed->failure))
        return 0;
    if (reply[0] != '2') {
        failed->failure = strncmp(reply, "483", 3) == 0 ? kNntpNeedsEncryption : kNntpRefused;
        return 0;
    }
    return 1;
}

namespace {

/* The handshake over the connected link. */
int StartTls(NntpConnection *c, NntpOpenFailure *failed)
{
    failed->step = kNntpOpenTls;
    failed->failure = kNntpFailedTls;
    /* Bytes the server sent after agreeing came in the clear: whoever sent
     * them could make them read as if they were encrypted. */
    if (NntpHasBufferedBytes(c)) {
        SetLastError(kErrorInvalidData);
        return 0;
    }
    NntpTlsFailure tls;
    NntpTransport *layered = NntpStartTls(c->transport, c->server, c->trust, &tls);
    if (!layered) {
        /* Nothing more goes out on this link, not even a QUIT: the server
         * expects encrypted bytes from here on. */
        DWORD error = GetLastError();
        NntpClose(c);
        SetLastError(error);
        failed->failure = tls == kTlsCaFileFailed         ? kNntpFailedCaFile
                          : tls == kTlsCertificateRefused ? kNntpCertificateRefused
                                                          : kNntpFailedTls;
        return 0;
    }
    NntpLayerTransport(c, layered);
    return 1;
}

/* Whether a CAPABILITIES line lists COMPRESS with DEFLATE among its
 * arguments (keywords are case-insensitive). */
bool OffersDeflate(const char *line)
{
    if (_strnicmp(line, "COMPRESS", 8) != 0 || (line[8] != ' ' && line[8] != '\t'))
        return false;
    for (const char *p = line + 8; *p;) {
        while (*p == ' ' || *p == '\t')
            p++;
        size_t length = strcspn(p, " \t\r\n");
        if (length == 7 && _strnicmp(p, "DEFLATE", 7) == 0)
            return true;
        if (length == 0)
            break;
        p += length;
    }
    return false;
}

/* CAPABILITIES, and COMPRESS DEFLATE when listed. Only a broken link
 * fails; a server that says no is used as it is. */
int StartCompress(NntpConnection *c, char *reply, NntpOpenFailure *failed)
{
    failed->step = kNntpOpenCompress;
    if (!Ask(c, "CAPABILITIES", "", "", reply, &failed->failure))
        return 0;
    if (strncmp(reply, "101", 3) != 0)
        return 1;
    bool offered = false;
    for (;;) {
        if (!NntpReadLine(c, reply, kNntpLineCapacity, 1)) {
            failed->failure = kNntpFailedReceive;
            return 0;
        }
        if (strcmp(reply, ".") == 0)
            break;
        offered = offered || OffersDeflate(reply);
    }
    if (!offered)
        return 1;
    if (!Ask(c, "COMPRESS DEFLATE", "", "", reply, &failed->failure))
        return 0;
    if (strncmp(reply, "206", 3) != 0)
        return 1;
    failed->failure = kNntpFailedReceive;
    if (NntpHasBufferedBytes(c)) {
        SetLastError(kErrorInvalidData);
        return 0;
    }
    NntpTransport *layered = NntpStartCompress(c->transport, c->server->receive_timeout_ms);
    if (!layered)
        return 0;
    NntpLayerTransport(c, layered);
    return 1;
}

} // namespace

int NntpOpen(NntpConnection *c, const char *login_line_end, char *reply, NntpOpenFailure *failed)
{
    c->login_line_end = login_line_end;
    failed->step = kNntpOpenConnect;
    failed->failure = kNntpFailedConnect;
    if (!NntpConnect(c))
        return 0;
    if (c->server->tls_mode == kTlsImplicit && !StartTls(c, failed))
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
    if (c->server->tls_mode == kTlsStartTls) {
        failed->step = kNntpOpenStartTls;
        if (!Ask(c, "STARTTLS", "", "", reply, &failed->failure))
            return 0;
        /* No way around a refusal: the link is used encrypted or not at all. */
        if (strncmp(reply, "382", 3) != 0) {
            failed->failure = kNntpRefused;
            return 0;
        }
        if (!StartTls(c, failed))
            return 0;
    }
    if (HasLogin(c) && !NntpLogin(c, reply, failed))
        return 0;
    if (c->server->compress && !StartCompress(c, reply, failed))
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
