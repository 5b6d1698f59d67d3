/*
 * One way to run work on a thread of its own while a window shows it: the
 * download, the group list and, later, posting. The job is shared by the
 * window that started it and its worker and is freed by whichever lets go
 * last, so neither has to outlive the other.
 *
 * The worker never touches a window but the finish message it posts: it
 * reports how far it got into the job's progress record, and the window
 * reads that on a timer. A cancel sets a flag the work asks for and runs the
 * hook the work set (shutting its connection down), so a worker blocked in
 * a receive ends at once instead of at its time-out.
 *
 *   BackgroundJob *job = BackgroundJobCreate(Work, context, FreeContext);
 *   ... in the dialog's WM_INITDIALOG:
 *   BackgroundJobRun(job, dialog, WM_COMMAND, IDOK);
 *   ... Escape: BackgroundJobCancel(job);
 *   ... when done with it: BackgroundJobRelease(job);
 */
#ifndef PELNOR_BACKGROUND_JOB_H
#define PELNOR_BACKGROUND_JOB_H

#include <windows.h>

enum { kJobLabelChars = 256 };

/* A request to stop, for work that may also run without a job (tests, a
 * benchmark): the flag the work asks for and the hook that reaches what it
 * is blocked in. */
struct JobCancel {
    volatile LONG requested;
    CRITICAL_SECTION lock;
    void (*hook)(void *hook_context);
    void *hook_context;
};

void JobCancelInit(JobCancel *cancel);
void JobCancelFree(JobCancel *cancel);
/* Any thread: sets the flag and runs the hook if one is set. */
void JobCancelRequest(JobCancel *cancel);
/* Null is never cancelled. */
bool JobCancelRequested(JobCancel *cancel);
/* The work: `hook` runs (on the cancelling thread) when a cancel comes
 * while it is set, at once when one has come already. Cleared with a null
 * hook before what it touches is freed. Nothing is done for a null cancel. */
void JobCancelSetHook(JobCancel *cancel, void (*hook)(void *hook_context), void *hook_context);

struct BackgroundJob;
typedef void (*BackgroundWork)(BackgroundJob *job, void *context);

/* How far the work has got, as the worker last said. */
struct JobProgress {
    wchar_t label[kJobLabelChars]; /* what is being worked on (a group name) */
    DWORD range;                   /* steps the current stage is expected to take */
    DWORD position;                /* steps done in the current stage */
    DWORD stage;                   /* counts the stages begun, so a reader sees a new one */
};

struct BackgroundJob {
    LONG references;
    CRITICAL_SECTION lock; /* the owner window and the progress */
    HANDLE thread;         /* until the job is freed */
    BackgroundWork work;
    void *context;
    void (*free_context)(void *context);
    HWND owner; /* gets the finish message; null once it let go */
    UINT finish_message;
    WPARAM finish_wparam;
    JobCancel cancel;
    JobProgress progress;
};

/* Makes the job and its worker thread, which waits for BackgroundJobRun.
 * `free_context` (may be null) runs when the job is freed. Null with the
 * last error when the thread cannot be made; the context is then left to
 * the caller. The caller holds one reference. */
BackgroundJob *BackgroundJobCreate(BackgroundWork work, void *context, void (*free_context)(void *context));

/* Lets the worker go; every job made is run once, even when its window
 * could not be made (owner null). When the work returns, `message` with `wparam` and a
 * null lParam is posted to `owner` (none when `owner` is null or has let
 * go). */
void BackgroundJobRun(BackgroundJob *job, HWND owner, UINT message, WPARAM wparam);

/* Before BackgroundJobRun: the worker yields to the window's thread, for
 * work nobody waits for at that moment. */
void BackgroundJobLowerPriority(BackgroundJob *job);

/* The worker: posts the finish message now as well, when the owner is
 * still there (for work that tells its owner of something early). */
void BackgroundJobNotify(BackgroundJob *job);

/* Any thread: asks the work to stop (JobCancelRequest on job->cancel). */
void BackgroundJobCancel(BackgroundJob *job);

/* The owner window goes away: no finish message will be posted to it. */
void BackgroundJobLetGo(BackgroundJob *job);

/* Worker: sends `message` with `lp` to the owner window and waits for its
 * answer, for a question only the user can answer. 0 when the owner let go. */
LRESULT BackgroundJobAsk(BackgroundJob *job, UINT message, LPARAM lp);

/* Waits until the work has returned. For an owner that has no window to
 * wait in; the worker must not be waiting for this thread. */
void BackgroundJobWait(BackgroundJob *job);

/* The worker reports: a new stage, and one more step of it. */
void BackgroundJobBeginStage(BackgroundJob *job, const wchar_t *label, DWORD range);
void BackgroundJobStep(BackgroundJob *job);
/* The worker: how far the current stage is, for work that counts its own
 * steps (a new range too, when it learns one). */
void BackgroundJobSetPosition(BackgroundJob *job, DWORD position, DWORD range);

/* A copy of the progress as the worker last reported it. */
void BackgroundJobProgress(BackgroundJob *job, JobProgress *progress);

/* Takes one more reference, for someone else who uses the context until
 * a BackgroundJobRelease of its own. */
void BackgroundJobHold(BackgroundJob *job);

/* Drops one reference; the last frees the job and its context. */
void BackgroundJobRelease(BackgroundJob *job);

#endif
