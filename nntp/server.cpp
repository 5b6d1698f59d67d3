#include "server.h"

#include <stdlib.h>
#include <string.h>

#include "text/byte_error.h"
#include "text/widestr.h"

namespace {

/* Copies `text` (null: absent) into a credential field; 1 when present. */
bool CopyCredential(char *field, const char *text)
{
    field[0] = '\0';
    if (!text)
        return false;
    strncpy(field, text, kNntpCredentialBytes - 1);
    field[kNntpCredentialBytes - 1] = '\0';
    return true;
}

} // namespace

int NntpServerFromSettings(NntpServer *server, const Settings *settings, const char *typed_password)
{
    memset(server, 0, sizeof(*server));
    CopyWideText(server->name, settings->Server, ARRAYSIZE(server->name));
    char *host = ToNarrow(settings->Server);
    if (!host) {
        SetLastError(kErrorNotEnoughMemory);
        return 0;
    }
    strncpy(server->host, host, kNntpHostBytes - 1);
    free(host);
    server->port = (unsigned short)settings->Port;
    server->has_user = CopyCredential(server->user, settings->UserID);
    server->has_password =
        CopyCredential(server->password, settings->Password ? settings->Password : typed_password);
    server->connect_timeout_ms = kNntpDefaultConnectTimeoutMs;
    server->receive_timeout_ms = kNntpDefaultReceiveTimeoutMs;
    ReadPipelineDepth(&server->pipeline_depth);
    server->tls_mode = settings->TlsMode;
    server->compress = settings->Compress != 0;
    CopyWideText(server->ca_file, settings->CaFile, ARRAYSIZE(server->ca_file));
    server->has_pin = server->tls_mode != kTlsNone &&
                      ReadCertificatePin(settings->Server, settings->Port, server->pin);
    return 1;
}

void NntpServerForget(NntpServer *server)
{
    SecureZeroMemory(server->password, sizeof(server->password));
}
