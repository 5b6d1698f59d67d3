/*
 * How a download run reports while it works: the worker calls these, and
 * whoever shows the run (the progress dialog) fills in the events. A run
 * without events only counts. The user's request to stop is kept here too.
 */
#ifndef PELNOR_PROGRESS_H
#define PELNOR_PROGRESS_H

#include <windows.h>

struct DownloadEvents {
    void *context;
    /* A group's range begins: `count` is one less than its articles,
     * `limit` the per-run limit. */
    void (*group_started)(void *context, const wchar_t *group, DWORD count, DWORD limit);
    /* One more article stored. */
    void (*article_stored)(void *context);
    /* The session has ended (success or not); the last call of the run.
     * The run's records may be freed from here on. */
    void (*finished)(void *context);
};

struct DownloadProgress {
    DownloadEvents events;
    DWORD range_count; /* articles of the current group's range, less one */
    DWORD step_count;
    volatile LONG stop_requested; /* set by the user; the worker stops at the next article */
};

/* Counters cleared; `events` may be null for none. */
void ProgressInit(DownloadProgress *p, const DownloadEvents *events);

/* Asks the run to stop after the article in progress (any thread). */
void ProgressRequestStop(DownloadProgress *p);
/* Whether the user asked the run to stop. */
bool ProgressStopRequested(DownloadProgress *p);

/* A group's range begins: counters reset, the events told. */
void ProgressStartGroup(DownloadProgress *p, const wchar_t *group, DWORD count, DWORD limit);

/* One more article stored. */
void ProgressStep(DownloadProgress *p);

/* The session has ended. */
void ProgressFinished(DownloadProgress *p);

#endif
