/*
 * The outcome of a download run or of one group in it. The texts are loaded
 * into the record itself, so a worker never shares a text buffer with the
 * user-interface thread.
 */
#ifndef PELNOR_RUN_RESULT_H
#define PELNOR_RUN_RESULT_H

#include <windows.h>

#include "base/res_text.h"

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

#endif
