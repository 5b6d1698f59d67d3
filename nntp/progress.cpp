#include "progress.h"

void ProgressInit(DownloadProgress *p, const DownloadEvents *events)
{
    p->events = events ? *events : DownloadEvents{};
    p->range_count = 0;
    p->step_count = 0;
    p->stop_requested = 0;
}

void ProgressRequestStop(DownloadProgress *p)
{
    InterlockedExchange(&p->stop_requested, 1);
}

bool ProgressStopRequested(DownloadProgress *p)
{
    return InterlockedCompareExchange(&p->stop_requested, 0, 0) != 0;
}

void ProgressStartGroup(DownloadProgress *p, const wchar_t *group, DWORD count, DWORD limit)
{
    p->range_count = count;
    p->step_count = 0;
    if (p->events.group_started)
        p->events.group_started(p->events.context, group, count, limit);
}

void ProgressStep(DownloadProgress *p)
{
    p->step_count++;
    if (p->events.article_stored)
        p->events.article_stored(p->events.context);
}

void ProgressFinished(DownloadProgress *p)
{
    if (p->events.finished)
        p->events.finished(p->events.context);
}
