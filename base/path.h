/*
 * Joining a folder and a name into a path. The one rule: exactly one
 * backslash stands between them, so a folder with or without its trailing
 * backslash gives the same path; an empty folder gives the name alone.
 */
#ifndef PELNOR_PATH_H
#define PELNOR_PATH_H

#include <windows.h>

/* folder + name + suffix (suffix may be null, e.g. ".idx") in a new buffer;
 * caller must free. Null with error 8 when memory runs out. */
wchar_t *JoinPath(const wchar_t *folder, const wchar_t *name, const wchar_t *suffix = nullptr);

/* The same into `out` of `out_chars` units. 0 with error 206 (the path is
 * too long) when it does not fit; `out` is then empty. */
int JoinPathInto(wchar_t *out, size_t out_chars, const wchar_t *folder, const wchar_t *name,
                 const wchar_t *suffix = nullptr);

#endif
