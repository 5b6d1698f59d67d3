/*
 * The outcome of a download run or of one group in it, and the string-table
 * helpers the worker threads fill it with. The helpers load into the
 * caller's buffers, so a worker never shares a text buffer with the
 * user-interface thread.
 */
#ifndef PELNOR_RUN_RESULT_H
#define PELNOR_RUN_RESULT_H

#include <windows.h>

enum {
    kRunResultChars = 1024,
    kSeverityInformation = 0,
    kSeverityWarning = 1, /* the run goes on with the next group */
    kSeverityError = 2,   /* the run stops and the text is shown */
};

struct RunResult {
    wchar_t title[kRunResultChars]; /* caption, or the group or server concerned */
    wchar_t text[kRunResultChars];
    DWORD severity;
};

void RunResultClear(RunResult *r);

/* Copies title and text (null gives the empty text), cut to fit. */
void RunResultSet(RunResult *r, const wchar_t *title, const wchar_t *text, DWORD severity);

/* Title, string `text_id` and severity. */
void RunResultSetRes(RunResult *r, const wchar_t *title, UINT text_id, DWORD severity);

/* Title, string `text_id` with its %d filled with `error`, and severity. */
void RunResultSetError(RunResult *r, const wchar_t *title, UINT text_id, DWORD error, DWORD severity);

/* String `id` into `out` (the empty text when missing). */
void LoadResText(UINT id, wchar_t *out, int out_chars);

/* String `id` with its one %d filled with `error`. */
void FormatResError(UINT id, DWORD error, wchar_t *out, int out_chars);

/* String `id` with its one %s filled with `argument`. */
void FormatResText(UINT id, const wchar_t *argument, wchar_t *out, int out_chars);

#endif
