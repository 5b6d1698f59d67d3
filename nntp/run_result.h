/*
 * The outcome of a download run or of one group in it as the user is told
 * it: a caption, a text and its severity. The texts are loaded into the
 * record itself, so a worker never shares a text buffer with the
 * user-interface thread.
 */
#ifndef PELNOR_RUN_RESULT_H
#define PELNOR_RUN_RESULT_H

#include <windows.h>

#include "nntp/outcome.h"

enum { kRunResultChars = 1024 };

struct RunResult {
    wchar_t title[kRunResultChars]; /* caption, or the group or server concerned */
    wchar_t text[kRunResultChars];
    DWORD severity;
};

void RunResultClear(RunResult *r);

/* Copies title and text (null gives the empty text), cut to fit. */
void RunResultSet(RunResult *r, const wchar_t *title, const wchar_t *text, DWORD severity);

#endif
