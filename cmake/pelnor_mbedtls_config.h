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

#endif
