/* Pelnor's changes to Mbed TLS's default configuration (include/mbedtls/
 * config.h of the 2.28 line). tools/setup.sh builds the libraries with it as
 * MBEDTLS_USER_CONFIG_FILE and copies it into the cache beside the headers;
 * cmake/PelnorDeps.cmake gives the program the same file, so both sides see
 * one configuration. */
#ifndef PELNOR_MBEDTLS_CONFIG_H
#define PELNOR_MBEDTLS_CONFIG_H

/* TLS 1.2 only (2.28 has no SSL 3.0). Record splitting exists only for
 * TLS 1.0 and the library refuses it without. */
#undef MBEDTLS_SSL_PROTO_TLS1
#undef MBEDTLS_SSL_PROTO_TLS1_1
#undef MBEDTLS_SSL_CBC_RECORD_SPLITTING

/* The program adds its own entropy source (CryptGenRandom): the device has
 * no BCrypt. */
#define MBEDTLS_NO_PLATFORM_ENTROPY

/* The program has its own sockets and clock. */
#undef MBEDTLS_NET_C
#undef MBEDTLS_TIMING_C

/* The device's C library has no time() or gmtime(): the program gives the
 * library both (pelnor_mbedtls_time, mbedtls_platform_gmtime_r). A 64-bit
 * time on both targets, so certificate dates go past 2038 on the 32-bit
 * one too. */
#define MBEDTLS_PLATFORM_TIME_TYPE_MACRO long long
#define MBEDTLS_PLATFORM_TIME_MACRO pelnor_mbedtls_time
#define MBEDTLS_PLATFORM_GMTIME_R_ALT
#ifdef __cplusplus
extern "C" {
#endif
long long pelnor_mbedtls_time(long long *now);
#ifdef __cplusplus
}
#endif

/* The C library's own formatting: the library's Windows wrappers call
 * vsnprintf_s, which the device lacks; what they add (a terminator after
 * a cut) the library checks for itself. */
#define MBEDTLS_PLATFORM_SNPRINTF_MACRO _snprintf
#define MBEDTLS_PLATFORM_VSNPRINTF_MACRO _vsnprintf

/* Nothing from files: roots come from the system store or from a file the
 * program reads itself. No self-tests (they pull in printf), no key
 * storage. */
#undef MBEDTLS_FS_IO
#undef MBEDTLS_SELF_TEST
#undef MBEDTLS_PSA_ITS_FILE_C
#undef MBEDTLS_PSA_CRYPTO_STORAGE_C

#endif
