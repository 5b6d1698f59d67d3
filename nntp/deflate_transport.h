/*
 * COMPRESS DEFLATE (RFC 8054) as a transport over the link: both directions
 * raw deflate, every write flushed so that a command reaches the server
 * whole.
 */
#ifndef PELNOR_NNTP_DEFLATE_TRANSPORT_H
#define PELNOR_NNTP_DEFLATE_TRANSPORT_H

#include "nntp/transport.h"

/* Wraps `inner` (connected, after the server's 206), owning it from then
 * on; reads wait at most `receive_timeout_ms` for more compressed bytes.
 * Null with the last error when memory runs out; `inner` stays the
 * caller's. */
NntpTransport *NntpStartCompress(NntpTransport *inner, DWORD receive_timeout_ms);

#endif
