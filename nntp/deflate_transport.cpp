#include "deflate_transport.h"

#include <stdlib.h>
#include <zlib.h>

#include "text/byte_error.h"

namespace {

const int kChunk = 8192;
const int kRawDeflate = -15; /* window bits for a stream without zlib's header */

struct DeflateTransport {
    NntpTransport base;
    NntpTransport *inner;
    DWORD receive_timeout_ms;
    z_stream in;
    z_stream out;
    bool out_open;
    bool ended;     /* the link's stream has ended */
    bool has_more;  /* inflate may hold output for a buffer it filled */
    unsigned char in_bytes[kChunk];
    unsigned char out_bytes[kChunk];
};

int DeflateWait(NntpTransport *base, DWORD timeout_ms)
{
    DeflateTransport *t = (DeflateTransport *)base;
    if (t->has_more || t->in.avail_in > 0 || t->ended)
        return 1;
    return t->inner->vt->wait(t->inner, timeout_ms);
}

int DeflateRead(NntpTransport *base, char *buffer, int capacity)
{
    DeflateTransport *t = (DeflateTransport *)base;
    for (;;) {
        if (t->in.avail_in == 0 && !t->has_more) {
            if (t->ended)
                return 0;
            /* The bytes read last may have held only a flush marker: the
             * next ones are waited for within the time-out, as on a plain
             * link. */
            if (!t->inner->vt->wait(t->inner, t->receive_timeout_ms))
                return -1;
            int got = t->inner->vt->read(t->inner, (char *)t->in_bytes, kChunk);
            if (got < 0)
                return -1;
            if (got == 0) {
                t->ended = true;
                return 0;
            }
            t->in.next_in = t->in_bytes;
            t->in.avail_in = (uInt)got;
        }
        t->in.next_out = (Bytef *)buffer;
        t->in.avail_out = (uInt)capacity;
        int status = inflate(&t->in, Z_SYNC_FLUSH);
        int produced = capacity - (int)t->in.avail_out;
        t->has_more = t->in.avail_out == 0;
        if (status == Z_STREAM_END)
            t->ended = true;
        else if (status != Z_OK && status != Z_BUF_ERROR) {
            SetLastError(kErrorInvalidData);
            return -1;
        }
        if (produced > 0)
            return produced;
        if (t->ended)
            return 0;
    }
}

int DeflateWrite(NntpTransport *base, const char *bytes, int length)
{
    DeflateTransport *t = (DeflateTransport *)base;
    t->out.next_in = (Bytef *)bytes;
    t->out.avail_in = (uInt)length;
    do {
        t->out.next_out = t->out_bytes;
        t->out.avail_out = kChunk;
        if (deflate(&t->out, Z_SYNC_FLUSH) == Z_STREAM_ERROR) {
            SetLastError(kErrorInvalidData);
            return 0;
        }
        int produced = kChunk - (int)t->out.avail_out;
        if (produced > 0 && !t->inner->vt->write(t->inner, (const char *)t->out_bytes, produced))
            return 0;
    } while (t->out.avail_out == 0);
    return 1;
}

void DeflateShutDown(NntpTransport *base)
{
    DeflateTransport *t = (DeflateTransport *)base;
    t->inner->vt->shut_down(t->inner);
}

void FreeStreams(DeflateTransport *t)
{
    inflateEnd(&t->in);
    if (t->out_open)
        deflateEnd(&t->out);
    free(t);
}

void DeflateClose(NntpTransport *base)
{
    DeflateTransport *t = (DeflateTransport *)base;
    t->inner->vt->close(t->inner);
    FreeStreams(t);
}

/* No connect: the layer is made over a link already connected. */
const NntpTransportVtable kDeflateTransport = {nullptr, DeflateWait, DeflateRead, DeflateWrite, DeflateShutDown,
                                               DeflateClose};

} // namespace

NntpTransport *NntpStartCompress(NntpTransport *inner, DWORD receive_timeout_ms)
{
    DeflateTransport *t = (DeflateTransport *)calloc(1, sizeof(DeflateTransport));
    if (!t) {
        SetLastError(kErrorNotEnoughMemory);
        return nullptr;
    }
    t->base.vt = &kDeflateTransport;
    t->inner = inner;
    t->receive_timeout_ms = receive_timeout_ms;
    if (inflateInit2(&t->in, kRawDeflate) != Z_OK) {
        free(t);
        SetLastError(kErrorNotEnoughMemory);
        return nullptr;
    }
    if (deflateInit2(&t->out, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kRawDeflate, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        FreeStreams(t);
        SetLastError(kErrorNotEnoughMemory);
        return nullptr;
    }
    t->out_open = true;
    return &t->base;
}
