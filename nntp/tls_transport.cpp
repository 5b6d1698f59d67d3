#include "tls_transport.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <winsock.h>
#include <wincrypt.h>

#include "mbedtls/ctr_drbg.h"
#include "mbedtls/entropy.h"
#include "mbedtls/net_sockets.h"
#include "mbedtls/oid.h"
#include "mbedtls/platform.h"
#include "mbedtls/sha256.h"
#include "mbedtls/ssl.h"
#include "mbedtls/x509_crt.h"

#include "base/scoped_win.h"
#include "platform/root_store.h"
#include "text/byte_error.h"

/* The library asks the program for the time and for calendar dates: the
 * device's C library has neither time() nor gmtime. */
extern "C" struct tm *mbedtls_platform_gmtime_r(const mbedtls_time_t *tt, struct tm *tm_buf)
{
    ULONGLONG ticks = (ULONGLONG)*tt * 10000000ULL + 116444736000000000ULL;
    FILETIME file_time = {(DWORD)ticks, (DWORD)(ticks >> 32)};
    SYSTEMTIME st;
    if (!FileTimeToSystemTime(&file_time, &st))
        return nullptr;
    memset(tm_buf, 0, sizeof(*tm_buf));
    tm_buf->tm_year = st.wYear - 1900;
    tm_buf->tm_mon = st.wMonth - 1;
    tm_buf->tm_mday = st.wDay;
    tm_buf->tm_hour = st.wHour;
    tm_buf->tm_min = st.wMinute;
    tm_buf->tm_sec = st.wSecond;
    tm_buf->tm_wday = st.wDayOfWeek;
    return tm_buf;
}

extern "C" long long pelnor_mbedtls_time(long long *out)
{
    SYSTEMTIME st;
    GetSystemTime(&st);
    FILETIME file_time;
    SystemTimeToFileTime(&st, &file_time);
    ULONGLONG ticks = ((ULONGLONG)file_time.dwHighDateTime << 32) | file_time.dwLowDateTime;
    long long seconds = (long long)((ticks - 116444736000000000ULL) / 10000000ULL);
    if (out)
        *out = seconds;
    return seconds;
}

namespace {

/* The system's random numbers, the one strong source of the generator. */
int SystemRandom(void *, unsigned char *output, size_t length, size_t *produced)
{
    HCRYPTPROV provider;
    if (!CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT))
        return MBEDTLS_ERR_ENTROPY_SOURCE_FAILED;
    BOOL ok = CryptGenRandom(provider, (DWORD)length, output);
    CryptReleaseContext(provider, 0);
    if (!ok)
        return MBEDTLS_ERR_ENTROPY_SOURCE_FAILED;
    *produced = length;
    return 0;
}

/* TLS 1.2 suites with forward secrecy and authenticated encryption, in the
 * order preferred; nothing anonymous, nothing without encryption. */
const int kSuites[] = {
    MBEDTLS_TLS_ECDHE_ECDSA_WITH_AES_128_GCM_SHA256,
    MBEDTLS_TLS_ECDHE_RSA_WITH_AES_128_GCM_SHA256,
    MBEDTLS_TLS_ECDHE_ECDSA_WITH_AES_256_GCM_SHA384,
    MBEDTLS_TLS_ECDHE_RSA_WITH_AES_256_GCM_SHA384,
    MBEDTLS_TLS_ECDHE_ECDSA_WITH_CHACHA20_POLY1305_SHA256,
    MBEDTLS_TLS_ECDHE_RSA_WITH_CHACHA20_POLY1305_SHA256,
    MBEDTLS_TLS_DHE_RSA_WITH_AES_128_GCM_SHA256,
    MBEDTLS_TLS_DHE_RSA_WITH_AES_256_GCM_SHA384,
    MBEDTLS_TLS_ECDHE_RSA_WITH_AES_128_CBC_SHA256,
    MBEDTLS_TLS_ECDHE_RSA_WITH_AES_128_CBC_SHA,
    0,
};

/* What one read of the link may take: a whole record of the largest size.
 * The library asks for a record's header, then for its body; served from
 * here, both come from one read of the link instead of two reads, each
 * with its wait. */
const int kLinkBufferSize = 16 * 1024 + 512;

struct TlsTransport {
    NntpTransport base;
    NntpTransport *inner;
    DWORD receive_timeout_ms;
    DWORD link_error; /* the inner transport's last failure, kept across the library */
    bool open;        /* the handshake is done: close with a notice */
    volatile LONG shut_down;
    int link_pos;     /* bytes read from the link, not yet given to the library */
    int link_end;
    unsigned char link_bytes[kLinkBufferSize];
    mbedtls_ssl_context ssl;
    mbedtls_ssl_config config;
    mbedtls_entropy_context entropy;
    mbedtls_ctr_drbg_context random;
    mbedtls_x509_crt roots;
};

int SendToLink(void *context, const unsigned char *bytes, size_t length)
{
    TlsTransport *t = (TlsTransport *)context;
    if (!t->inner->vt->write(t->inner, (const char *)bytes, (int)length)) {
        t->link_error = GetLastError();
        return MBEDTLS_ERR_NET_SEND_FAILED;
    }
    return (int)length;
}

bool IsShutDown(TlsTransport *t)
{
    return InterlockedCompareExchange(&t->shut_down, 0, 0) != 0;
}

int ReceiveFromLink(void *context, unsigned char *buffer, size_t capacity, uint32_t timeout_ms)
{
    TlsTransport *t = (TlsTransport *)context;
    if (t->link_pos == t->link_end) {
        if (!t->inner->vt->wait(t->inner, timeout_ms)) {
            t->link_error = GetLastError();
            return t->link_error == WSAETIMEDOUT ? MBEDTLS_ERR_SSL_TIMEOUT : MBEDTLS_ERR_NET_RECV_FAILED;
        }
        int got = t->inner->vt->read(t->inner, (char *)t->link_bytes, kLinkBufferSize);
        if (got < 0) {
            t->link_error = GetLastError();
            return MBEDTLS_ERR_NET_RECV_FAILED;
        }
        if (got == 0)
            return 0;
        t->link_pos = 0;
        t->link_end = got;
    } else if (IsShutDown(t)) {
        t->link_error = ERROR_CANCELLED;
        return MBEDTLS_ERR_NET_RECV_FAILED;
    }
    int given = t->link_end - t->link_pos;
    if ((size_t)given > capacity)
        given = (int)capacity;
    memcpy(buffer, t->link_bytes + t->link_pos, (size_t)given);
    t->link_pos += given;
    return given;
}

/* The last error for a failure of the library: the link's own when the
 * link failed, else "invalid data" (a broken or hostile peer). */
void SetFailure(TlsTransport *t)
{
    SetLastError(t->link_error != 0 ? t->link_error : (DWORD)kErrorInvalidData);
}

int TlsWait(NntpTransport *base, DWORD timeout_ms)
{
    TlsTransport *t = (TlsTransport *)base;
    if (IsShutDown(t)) {
        SetLastError(ERROR_CANCELLED);
        return 0;
    }
    if (mbedtls_ssl_get_bytes_avail(&t->ssl) > 0 || mbedtls_ssl_check_pending(&t->ssl) || t->link_pos < t->link_end)
        return 1;
    return t->inner->vt->wait(t->inner, timeout_ms);
}

int TlsRead(NntpTransport *base, char *buffer, int capacity)
{
    TlsTransport *t = (TlsTransport *)base;
    for (;;) {
        t->link_error = 0;
        int got = mbedtls_ssl_read(&t->ssl, (unsigned char *)buffer, (size_t)capacity);
        if (got > 0)
            return got;
        if (got == MBEDTLS_ERR_SSL_WANT_READ || got == MBEDTLS_ERR_SSL_WANT_WRITE)
            continue;
        /* A server that closes without the notice ends the stream all the
         * same, as a plain one does. */
        if (got == 0 || got == MBEDTLS_ERR_SSL_PEER_CLOSE_NOTIFY || got == MBEDTLS_ERR_SSL_CONN_EOF)
            return 0;
        SetFailure(t);
        return -1;
    }
}

int TlsWrite(NntpTransport *base, const char *bytes, int length)
{
    TlsTransport *t = (TlsTransport *)base;
    while (length > 0) {
        t->link_error = 0;
        int sent = mbedtls_ssl_write(&t->ssl, (const unsigned char *)bytes, (size_t)length);
        if (sent == MBEDTLS_ERR_SSL_WANT_READ || sent == MBEDTLS_ERR_SSL_WANT_WRITE)
            continue;
        if (sent <= 0) {
            SetFailure(t);
            return 0;
        }
        bytes += sent;
        length -= sent;
    }
    return 1;
}

void TlsShutDown(NntpTransport *base)
{
    TlsTransport *t = (TlsTransport *)base;
    InterlockedExchange(&t->shut_down, 1);
    t->inner->vt->shut_down(t->inner);
}

void FreeTls(TlsTransport *t)
{
    mbedtls_ssl_free(&t->ssl);
    mbedtls_ssl_config_free(&t->config);
    mbedtls_ctr_drbg_free(&t->random);
    mbedtls_entropy_free(&t->entropy);
    mbedtls_x509_crt_free(&t->roots);
    free(t);
}

void TlsClose(NntpTransport *base)
{
    TlsTransport *t = (TlsTransport *)base;
    if (t->open)
        mbedtls_ssl_close_notify(&t->ssl);
    t->inner->vt->close(t->inner);
    FreeTls(t);
}

/* No connect: the layer is made over a link already connected. */
const NntpTransportVtable kTlsTransport = {nullptr, TlsWait, TlsRead, TlsWrite, TlsShutDown, TlsClose};

void AddRoot(void *context, const unsigned char *der, DWORD length)
{
    /* A root the library cannot read is one root fewer, not a failure. */
    mbedtls_x509_crt_parse_der((mbedtls_x509_crt *)context, der, length);
}

/* The roots of the user's file: 1, or 0 when it cannot be read or holds
 * no certificate the library can use. */
int AddRootsFromFile(mbedtls_x509_crt *roots, const wchar_t *path)
{
    ScopedFile file(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    if (!file.valid())
        return 0;
    DWORD size = GetFileSize(file.get(), nullptr);
    if (size == INVALID_FILE_SIZE || size > 16 * 1024 * 1024) {
        SetLastError(kErrorInvalidData);
        return 0;
    }
    unsigned char *text = (unsigned char *)malloc(size + 1);
    if (!text) {
        SetLastError(kErrorNotEnoughMemory);
        return 0;
    }
    DWORD got = 0;
    int ok = ReadFile(file.get(), text, size, &got, nullptr) && got == size;
    text[size] = '\0';
    /* Parsing PEM wants the terminator counted; a positive result counts
     * the certificates it skipped, which is fine as long as one was read. */
    if (ok) {
        int parsed = mbedtls_x509_crt_parse(roots, text, size + 1);
        ok = parsed >= 0 && roots->raw.len > 0;
        if (!ok)
            SetLastError(kErrorInvalidData);
    }
    free(text);
    return ok;
}

/* A dotted IPv4 address in the host field: its four bytes. */
bool ParseAddress(const char *host, unsigned char address[4])
{
    unsigned long ip = inet_addr(host);
    if (ip == INADDR_NONE)
        return false;
    memcpy(address, &ip, 4);
    return true;
}

/* Whether the certificate names `address` among its iPAddress entries. */
bool NamesAddress(const mbedtls_x509_crt *peer, const unsigned char address[4])
{
    if (!(peer->ext_types & MBEDTLS_X509_EXT_SUBJECT_ALT_NAME))
        return false;
    for (const mbedtls_x509_sequence *name = &peer->subject_alt_names; name; name = name->next)
        if ((name->buf.tag & MBEDTLS_ASN1_TAG_VALUE_MASK) == 7 && name->buf.len == 4 &&
            memcmp(name->buf.p, address, 4) == 0)
            return true;
    return false;
}

void FormatTime(char *text, const mbedtls_x509_time *time)
{
    _snprintf(text, 20, "%04d-%02d-%02d %02d:%02d:%02d", time->year, time->mon, time->day, time->hour,
              time->min, time->sec);
    text[19] = '\0';
}

/* The user's view of a certificate and what is wrong with it. */
void Describe(const mbedtls_x509_crt *peer, uint32_t flags, const NntpServer *server, NntpCertificate *shown)
{
    memset(shown, 0, sizeof(*shown));
    if (flags & (MBEDTLS_X509_BADCERT_NOT_TRUSTED | MBEDTLS_X509_BADCERT_MISSING))
        shown->problems |= kCertificateUntrusted;
    if (flags & MBEDTLS_X509_BADCERT_CN_MISMATCH)
        shown->problems |= kCertificateWrongHost;
    if (flags & MBEDTLS_X509_BADCERT_EXPIRED)
        shown->problems |= kCertificateExpired;
    if (flags & MBEDTLS_X509_BADCERT_FUTURE)
        shown->problems |= kCertificateNotYetValid;
    if (flags & ~(uint32_t)(MBEDTLS_X509_BADCERT_NOT_TRUSTED | MBEDTLS_X509_BADCERT_MISSING |
                            MBEDTLS_X509_BADCERT_CN_MISMATCH | MBEDTLS_X509_BADCERT_EXPIRED |
                            MBEDTLS_X509_BADCERT_FUTURE))
        shown->problems |= kCertificateOtherFault;
    if (mbedtls_x509_dn_gets(shown->subject, sizeof(shown->subject), &peer->subject) < 0)
        shown->subject[0] = '\0';
    if (mbedtls_x509_dn_gets(shown->issuer, sizeof(shown->issuer), &peer->issuer) < 0)
        shown->issuer[0] = '\0';
    FormatTime(shown->valid_from, &peer->valid_from);
    FormatTime(shown->valid_to, &peer->valid_to);
    shown->server = server->name;
    shown->port = server->port;
}

/* The library's checks, the address check it lacks, then the pin: 1 when
 * the link may be used. */
int CheckPeer(TlsTransport *t, const NntpServer *server, const NntpTrust *trust, bool by_address,
              const unsigned char address[4], NntpTlsFailure *failed)
{
    const mbedtls_x509_crt *peer = mbedtls_ssl_get_peer_cert(&t->ssl);
    if (!peer) {
        *failed = kTlsHandshakeFailed;
        SetLastError(kErrorInvalidData);
        return 0;
    }
    uint32_t flags = mbedtls_ssl_get_verify_result(&t->ssl);
    if (flags & MBEDTLS_X509_BADCERT_NOT_TRUSTED) {
        /* The system's roots are read only when the user's own do not
         * vouch for the server: opening the store costs more than the
         * whole handshake. The chain is checked again against both; what
         * the handshake found wrong with the certificate's use stays. */
        ForEachSystemRoot(AddRoot, &t->roots);
        const uint32_t kUseFaults = MBEDTLS_X509_BADCERT_KEY_USAGE | MBEDTLS_X509_BADCERT_EXT_KEY_USAGE |
                                    MBEDTLS_X509_BADCERT_NS_CERT_TYPE | MBEDTLS_X509_BADCERT_BAD_KEY;
        uint32_t chain_flags = 0;
        mbedtls_x509_crt_verify_with_profile((mbedtls_x509_crt *)peer, &t->roots, nullptr,
                                             &mbedtls_x509_crt_profile_default, by_address ? nullptr : server->host,
                                             &chain_flags, nullptr, nullptr);
        flags = chain_flags | (flags & kUseFaults);
    }
    if (by_address && !NamesAddress(peer, address))
        flags |= MBEDTLS_X509_BADCERT_CN_MISMATCH;
    unsigned char fingerprint[kFingerprintBytes];
    mbedtls_sha256_ret(peer->raw.p, peer->raw.len, fingerprint, 0);

    bool pinned = server->has_pin && memcmp(fingerprint, server->pin, kFingerprintBytes) == 0;
    if (pinned || (flags == 0 && !server->has_pin))
        return 1;
    NntpCertificate shown;
    Describe(peer, flags, server, &shown);
    memcpy(shown.fingerprint, fingerprint, kFingerprintBytes);
    if (server->has_pin)
        shown.problems |= kCertificatePinChanged;
    if (trust && trust->ask && trust->ask(trust->context, &shown))
        return 1;
    *failed = kTlsCertificateRefused;
    SetLastError(ERROR_CANCELLED);
    return 0;
}

/* Everything but the handshake: 1, or 0 with *failed. */
int Configure(TlsTransport *t, const NntpServer *server, bool by_address, NntpTlsFailure *failed)
{
    *failed = kTlsHandshakeFailed;
    mbedtls_ssl_init(&t->ssl);
    mbedtls_ssl_config_init(&t->config);
    mbedtls_ctr_drbg_init(&t->random);
    mbedtls_entropy_init(&t->entropy);
    mbedtls_x509_crt_init(&t->roots);

    if (server->ca_file[0] && !AddRootsFromFile(&t->roots, server->ca_file)) {
        *failed = kTlsCaFileFailed;
        return 0;
    }
    static const char kPersonal[] = "Pelnor NNTP";
    if (mbedtls_entropy_add_source(&t->entropy, SystemRandom, nullptr, 32, MBEDTLS_ENTROPY_SOURCE_STRONG) != 0 ||
        mbedtls_ctr_drbg_seed(&t->random, mbedtls_entropy_func, &t->entropy, (const unsigned char *)kPersonal,
                              sizeof(kPersonal) - 1) != 0 ||
        mbedtls_ssl_config_defaults(&t->config, MBEDTLS_SSL_IS_CLIENT, MBEDTLS_SSL_TRANSPORT_STREAM,
                                    MBEDTLS_SSL_PRESET_DEFAULT) != 0) {
        SetLastError(kErrorNotEnoughMemory);
        return 0;
    }
    mbedtls_ssl_conf_min_version(&t->config, MBEDTLS_SSL_MAJOR_VERSION_3, MBEDTLS_SSL_MINOR_VERSION_3);
    mbedtls_ssl_conf_ciphersuites(&t->config, kSuites);
    /* The verdict is taken after the handshake, so that the user can be
     * shown the certificate that failed. */
    mbedtls_ssl_conf_authmode(&t->config, MBEDTLS_SSL_VERIFY_OPTIONAL);
    mbedtls_ssl_conf_ca_chain(&t->config, &t->roots, nullptr);
    mbedtls_ssl_conf_rng(&t->config, mbedtls_ctr_drbg_random, &t->random);
    mbedtls_ssl_conf_read_timeout(&t->config, t->receive_timeout_ms);
    if (mbedtls_ssl_setup(&t->ssl, &t->config) != 0 ||
        (!by_address && mbedtls_ssl_set_hostname(&t->ssl, server->host) != 0)) {
        SetLastError(kErrorNotEnoughMemory);
        return 0;
    }
    mbedtls_ssl_set_bio(&t->ssl, t, SendToLink, nullptr, ReceiveFromLink);
    return 1;
}

} // namespace

NntpTransport *NntpStartTls(NntpTransport *inner, const NntpServer *server, const NntpTrust *trust,
                            NntpTlsFailure *failed)
{
    TlsTransport *t = (TlsTransport *)calloc(1, sizeof(TlsTransport));
    if (!t) {
        *failed = kTlsHandshakeFailed;
        SetLastError(kErrorNotEnoughMemory);
        return nullptr;
    }
    t->base.vt = &kTlsTransport;
    t->inner = inner;
    t->receive_timeout_ms = server->receive_timeout_ms;
    unsigned char address[4];
    bool by_address = ParseAddress(server->host, address);
    if (!Configure(t, server, by_address, failed)) {
        DWORD error = GetLastError();
        FreeTls(t);
        SetLastError(error);
        return nullptr;
    }
    int shaken;
    do {
        t->link_error = 0;
        shaken = mbedtls_ssl_handshake(&t->ssl);
    } while (shaken == MBEDTLS_ERR_SSL_WANT_READ || shaken == MBEDTLS_ERR_SSL_WANT_WRITE);
    if (shaken != 0) {
        *failed = kTlsHandshakeFailed;
        SetFailure(t);
    } else if (CheckPeer(t, server, trust, by_address, address, failed)) {
        t->open = true;
        return &t->base;
    }
    DWORD error = GetLastError();
    FreeTls(t);
    SetLastError(error);
    return nullptr;
}
