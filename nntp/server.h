/*
 * Everything a job needs to know to talk to the news server, read from the
 * settings once when the job is made and handed down by value, so a worker
 * never reads the settings or a global while the user edits them.
 */
#ifndef PELNOR_NNTP_SERVER_H
#define PELNOR_NNTP_SERVER_H

#include <windows.h>

#include "settings/settings.h"

enum {
    kNntpHostBytes = 2 * 260,      /* a 259-character name in 8-bit text */
    kNntpCredentialBytes = 2 * 256, /* a 255-character user or password */
    kNntpDefaultConnectTimeoutMs = 60000,
    kNntpDefaultReceiveTimeoutMs = 120000,
};

struct NntpServer {
    char host[kNntpHostBytes]; /* 8-bit: a name or a dotted address */
    wchar_t name[260];         /* the setting as typed, for the user's messages */
    unsigned short port;
    bool has_user;             /* authinfo is sent only when both are there */
    bool has_password;         /* (an empty text counts as there) */
    char user[kNntpCredentialBytes];
    char password[kNntpCredentialBytes];
    DWORD connect_timeout_ms;  /* the defaults suit a slow dial-up line */
    DWORD receive_timeout_ms;
    DWORD pipeline_depth;      /* articles asked for ahead, 1 = one at a time */
    DWORD tls_mode;            /* kTlsNone, kTlsImplicit or kTlsStartTls */
    bool compress;             /* COMPRESS DEFLATE when the server offers it */
    wchar_t ca_file[260];      /* extra trusted roots (PEM), "" for none */
    bool has_pin;              /* a certificate the user trusted for this server */
    unsigned char pin[kFingerprintBytes]; /* ...its SHA-256 fingerprint */
};

/* The server of `settings`, with `typed_password` (8-bit, may be null) in
 * place of a password the settings do not hold, the default time-outs, the
 * pipeline depth and the pinned certificate from the registry. 1, or 0 with error 8 when the
 * server name cannot be converted. */
int NntpServerFromSettings(NntpServer *server, const Settings *settings, const char *typed_password);

/* Clears the password from memory. */
void NntpServerForget(NntpServer *server);

#endif
