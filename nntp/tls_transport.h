/*
 * TLS over a connected transport, as another transport: implicit TLS wraps
 * the TCP stream at once, STARTTLS after the server's 382. TLS 1.2 or newer
 * only. The server's certificate must chain to a trusted root (the system's
 * store and the roots of the server value's file) and carry the host's name
 * or address; one that does not, or that differs from the one the user
 * pinned, is put to the user through the trust callback, and refused unless
 * the user trusts it.
 */
#ifndef PELNOR_NNTP_TLS_TRANSPORT_H
#define PELNOR_NNTP_TLS_TRANSPORT_H

#include "nntp/certificate.h"
#include "nntp/server.h"
#include "nntp/transport.h"

enum NntpTlsFailure {
    kTlsHandshakeFailed = 1, /* last error: the link's, or ERROR_INVALID_DATA */
    kTlsCaFileFailed,        /* the roots file cannot be read or holds no certificate */
    kTlsCertificateRefused,  /* the user did not trust it (or nobody could ask) */
};

/* Wraps `inner` (connected) and shakes hands. The new transport owns
 * `inner`; on failure null with *failed and the last error, and `inner`
 * stays the caller's. The handshake waits at most the server's receive
 * time-out for each reply; shutting `inner` down ends it. */
NntpTransport *NntpStartTls(NntpTransport *inner, const NntpServer *server, const NntpTrust *trust,
                            NntpTlsFailure *failed);

#endif
