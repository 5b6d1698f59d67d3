/*
 * The thread's last-error value for byte-level code that does not include
 * windows.h: on Windows it is SetLastError (callers read GetLastError); the
 * native test build supplies its own thread-local value.
 */
#ifndef PELNOR_BYTE_ERROR_H
#define PELNOR_BYTE_ERROR_H

/* Error numbers the byte-level code reports (the system's own values). */
enum : unsigned long {
    kErrorFileNotFound = 2,
    kErrorNotEnoughMemory = 8,
    kErrorInvalidData = 13,
    kErrorHandleEof = 38,
    kErrorInvalidParameter = 87,
    kErrorMoreData = 234,
};

void SetByteError(unsigned long code);

#endif
