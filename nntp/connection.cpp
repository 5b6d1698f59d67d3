#include "connection.h"

#include <string.h>

#include "text/byte_error.h"

namespace {

/* The transport's hook for a cancel from another thread. */
void ShutDownTransport(void *transport)
{
    NntpTransport *t = (NntpTransport *)transport;
    t->vt->shut_down(t);
}

/* One byte of the reply, widened from a signed 8-bit value. */
int ReadByte(NntpConnection *c, int *byte)
{
    if (c->end_of_stream) {
        SetLastError(kErrorHandleEof);
        return 0;
    }
    if (c->read_pos >= c->end_pos) {
        if (!c->transport) {
            SetLastError(kErrorInvalidData);
            return 0;
        }
        /* A successful receive leaves the caller's last error alone, so that
         * a NUL byte ends a line with whatever error was there before. */
        DWORD caller_error = GetLastError();
        NntpTransport *t = c->transport;
        if (!t->vt->wait(t, c->server->receive_timeout_ms)) {
            DWORD error = GetLastError();
            SetLastError(error == WSAETIMEDOUT || error == ERROR_CANCELLED ? error : (DWORD)kErrorInvalidData);
            return 0;
        }
        int got = t->vt->read(t, c->buffer, kNntpBufferSize);
        if (got == 0) {
            c->end_of_stream = 1;
            SetLastError(kErrorHandleEof);
            return 0;
        }
        if (got < 0) {
            DWORD error = GetLastError();
            SetLastError(error == WSAETIMEDOUT || error == ERROR_CANCELLED ? error : (DWORD)kErrorInvalidData);
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

void NntpInit(NntpConnection *c, const NntpServer *server, JobCancel *cancel)
{
    c->transport = nullptr;
    c->cancel = cancel;
    c->server = server;
    c->read_pos = c->buffer;
    c->end_pos = c->buffer;
    c->end_of_stream = 0;
    c->line_open = 0;
    c->cr_seen = 0;
    c->mode_reader_sent = 0;
    c->login_repeated = 0;
    c->login_line_end = "";
    c->trust = nullptr;
}

int NntpConnect(NntpConnection *c)
{
    c->transport = NewTransport(c->server);
    if (!c->transport)
        return 0;
    JobCancelSetHook(c->cancel, ShutDownTransport, c->transport);
    c->read_pos = c->buffer;
    c->end_pos = c->buffer;
    c->end_of_stream = 0;
    return c->transport->vt->connect(c->transport, c->server->host, c->server->port,
                                     c->server->connect_timeout_ms);
}

bool NntpConnected(const NntpConnection *c)
{
    return c->transport != nullptr;
}

bool NntpHasBufferedBytes(const NntpConnection *c)
{
    return c->read_pos < c->end_pos;
}

void NntpLayerTransport(NntpConnection *c, NntpTransport *layered)
{
    c->transport = layered;
    JobCancelSetHook(c->cancel, ShutDownTransport, layered);
}

void NntpClose(NntpConnection *c)
{
    if (!c->transport)
        return;
    JobCancelSetHook(c->cancel, nullptr, nullptr);
    c->transport->vt->close(c->transport);
    c->transport = nullptr;
}

int NntpSendBytes(NntpConnection *c, const char *bytes, int length)
{
    if (c->transport)
        c->transport->vt->write(c->transport, bytes, length);
    return 1;
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
    return NntpSendBytes(c, text, (int)length + 2);
}

int NntpSendLine(NntpConnection *c, const char *line)
{
    return NntpSendCommand(c, line, "", "");
}

int NntpReadLinePart(NntpConnection *c, char *line, int capacity, int *complete)
{
    if (!c->line_open)
        c->cr_seen = 0;
    c->line_open = 1;
    int stored = 0;
    for (;;) {
        if (stored >= capacity) {
            line[stored] = '\0';
            *complete = 0;
            return 1;
        }
        int byte;
        if (!ReadByte(c, &byte) || byte == 0) {
            c->line_open = 0;
            return 0;
        }
        line[stored++] = (char)byte;
        if (byte == '\r') {
            c->cr_seen = 1;
        } else if (byte == '\n' && c->cr_seen) {
            line[stored] = '\0';
            c->line_open = 0;
            *complete = 1;
            return 1;
        }
    }
}

int NntpReadLine(NntpConnection *c, char *line, int capacity, int strip)
{
    c->line_open = 0;
    int complete;
    if (!NntpReadLinePart(c, line, capacity, &complete))
        return 0;
    if (!complete) {
        c->line_open = 0;
        SetLastError(kErrorMoreData);
        return 0;
    }
    if (strip)
        line[strcspn(line, "\r")] = '\0';
    return 1;
}

int NntpSkipReplyText(NntpConnection *c)
{
    char part[kNntpLineBufferSize];
    int line_start = 1;
    for (;;) {
        SetLastError(0);
        int complete;
        if (!NntpReadLinePart(c, part, kNntpLineCapacity, &complete)) {
            if (GetLastError() == 0) {
                line_start = 1; /* a NUL byte: the line goes on as another */
                continue;
            }
            return 0;
        }
        if (line_start && complete && strcmp(part, ".\r\n") == 0)
            return 1;
        line_start = complete;
    }
}
