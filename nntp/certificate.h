/*
 * A server certificate that did not pass the checks, as the user is shown
 * it, and the callback through which the protocol asks whether to trust it
 * anyway. The protocol never shows a window: the window side answers.
 */
#ifndef PELNOR_NNTP_CERTIFICATE_H
#define PELNOR_NNTP_CERTIFICATE_H

#include <windows.h>

#include "settings/settings.h"

/* What is wrong with it; any number of these. */
enum {
    kCertificateUntrusted = 0x01,  /* no chain to a trusted root */
    kCertificateWrongHost = 0x02,  /* issued for another name */
    kCertificateExpired = 0x04,
    kCertificateNotYetValid = 0x08,
    kCertificatePinChanged = 0x10, /* not the one the user trusted before */
    kCertificateOtherFault = 0x20, /* revoked, bad key usage, weak signature... */
};

struct NntpCertificate {
    DWORD problems;
    char subject[256];    /* distinguished names, as the certificate spells them */
    char issuer[256];
    char valid_from[20];  /* "YYYY-MM-DD hh:mm:ss", UTC */
    char valid_to[20];
    unsigned char fingerprint[kFingerprintBytes]; /* SHA-256 of the whole certificate */
    const wchar_t *server; /* the server's name as typed */
    DWORD port;
};

struct NntpTrust {
    void *context;
    /* 1: trust it for this server (the caller pins it), 0: refuse. Called
     * on the worker's thread; may be null, which refuses. */
    int (*ask)(void *context, const NntpCertificate *certificate);
};

#endif
