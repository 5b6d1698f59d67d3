/*
 * The progress record of a download run: the dialog window that shows the
 * current group and its bar, the range count and the step count. The worker
 * calls these; with no window set they only count.
 */
#ifndef PELNOR_PROGRESS_H
#define PELNOR_PROGRESS_H

#include <windows.h>

struct ProgressDialog {
    HWND dialog;       /* null until the dialog is up */
    DWORD range_count; /* articles of the current group's range, less one */
    DWORD step_count;
    volatile LONG stop_requested; /* set by the user; the worker stops at the next article */
};

/* Asks the run to stop after the article in progress (any thread). */
void ProgressRequestStop(ProgressDialog *p);
/* Whether the user asked the run to stop. */
bool ProgressStopRequested(ProgressDialog *p);

void ProgressInit(ProgressDialog *p);

/* Group name into field 1003, counters reset, bar range 0..min(count,
 * limit): the bound goes in the high 16 bits of the range message, so a
 * larger value is cut to 16 bits. */
void ProgressStartGroup(ProgressDialog *p, const wchar_t *group, DWORD count, DWORD limit);

/* One more article: the bar moves by 1. */
void ProgressStep(ProgressDialog *p);

#endif
