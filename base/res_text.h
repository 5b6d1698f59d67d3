/*
 * String-table texts. The caller-buffer functions are safe on any thread;
 * LoadResString returns a pointer into a process-wide
 * buffer that the next call overwrites: copy a text away before loading a
 * second one.
 */
#ifndef PELNOR_RES_TEXT_H
#define PELNOR_RES_TEXT_H

#include <windows.h>

/* The module whose string table every loader reads. */
void SetResourceInstance(HINSTANCE instance);
HINSTANCE ResourceInstance(void);

/* String `id` into `out` (at most out_chars units with the terminator).
 * 1, or 0 with the empty text when the entry does not exist. */
int LoadResText(UINT id, wchar_t *out, int out_chars);

/* `format` with its one %d filled with `number`, cut to fit; a null format
 * gives the empty text. */
void FormatNumberText(const wchar_t *format, DWORD number, wchar_t *out, int out_chars);

/* String `id` with its one %d filled with `number`. */
void FormatResError(UINT id, DWORD number, wchar_t *out, int out_chars);

/* String `id` with its one %d filled with the failure's `error`. A failure
 * that left no reason (error 0) is shown as ERROR_INVALID_DATA: a box that
 * reads "(0)" tells the user nothing. */
void FormatResFailure(UINT id, DWORD error, wchar_t *out, int out_chars);

/* String `id` with its one %s filled with `argument` (null: ""). */
void FormatResText(UINT id, const wchar_t *argument, wchar_t *out, int out_chars);

/* String-table entry `id` in the shared string buffer (1024 units), or null
 * when the entry does not exist. */
const wchar_t *LoadResString(UINT id);

#endif
