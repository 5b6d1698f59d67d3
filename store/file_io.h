/*
 * Whole reads and writes at file positions, for the store's own files.
 * A short write is a failure (error 112, disk full); a short read is not:
 * the caller is told how much it got.
 */
#ifndef PELNOR_FILE_IO_H
#define PELNOR_FILE_IO_H

#include <windows.h>

/* Moves the file position to `offset` from the start. */
int SeekFile(HANDLE file, DWORD offset);
/* The current position into *position. */
int FilePosition(HANDLE file, DWORD *position);
/* Reads up to `size` bytes, looping until the end of the file. */
int ReadBytes(HANDLE file, void *buffer, DWORD size, DWORD *got);
int WriteBytes(HANDLE file, const void *data, DWORD size);
/* Reads `size` bytes at `offset`, or fewer at the end of the file. */
int ReadBytesAt(HANDLE file, DWORD offset, void *buffer, DWORD size, DWORD *got);

/* An existing file for reading with read sharing (readers of the log and
 * index that do not write). */
HANDLE OpenForReading(const wchar_t *path);

#endif
