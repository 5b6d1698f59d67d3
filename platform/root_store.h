/*
 * The certificates the system trusts as roots, for checking a server's
 * chain. The desktop has a store of them (Wine fills it from the Linux
 * roots); the device has none, and its user names a file of roots instead.
 */
#ifndef PELNOR_PLATFORM_ROOT_STORE_H
#define PELNOR_PLATFORM_ROOT_STORE_H

#include <windows.h>

/* Calls `each` with the DER bytes of every certificate of the system's
 * root store. 1, or 0 with the last error when there is no store to read. */
int ForEachSystemRoot(void (*each)(void *context, const unsigned char *der, DWORD length), void *context);

#endif
