#include "background_job.h"

#include <stdlib.h>
#include <wchar.h>

void JobCancelInit(JobCancel *cancel)
{
    cancel->requested = 0;
    cancel->hook = nullptr;
    cancel->hook_context = nullptr;
    InitializeCriticalSection(&cancel->lock);
}

void JobCancelFree(JobCancel *cancel)
{
    DeleteCriticalSection(&cancel->lock);
}

void JobCancelRequest(JobCancel *cancel)
{
    EnterCriticalSection(&cancel->lock);
    InterlockedExchange(&cancel->requested, 1);
    if (cancel->hook)
        cancel->hook(cancel->hook_context);
    LeaveCriticalSection(&cancel->lock);
}

bool JobCancelRequested(JobCancel *cancel)
{
    return cancel && InterlockedCompareExchange(&cancel->requested, 0, 0) != 0;
}

void JobCancelSetHook(JobCancel *cancel, void (*hook)(void *), void *hook_context)
{
    if (!cancel)
        return;
    /* Under the lock, so that a hook being cleared is not running on the
     * cancelling thread while its target is freed. */
    EnterCriticalSection(&cancel->lock);
    cancel->hook = hook;
    cancel->hook_context = hook_context;
    if (hook && cancel->requested)
        hook(hook_context);
    LeaveCriticalSection(&cancel->lock);
}

namespace {

DWORD WINAPI Worker(LPVOID parameter)
{
    BackgroundJob *job = (BackgroundJob *)parameter;
    job->work(job, job->context);
    BackgroundJobNotify(job);
    BackgroundJobRelease(job);
    return 0;
}

} // namespace

void BackgroundJobNotify(BackgroundJob *job)
{
    /* Under the lock: the owner cannot let go between the test and the post. */
    EnterCriticalSection(&job->lock);
    if (job->owner)
        PostMessageW(job->owner, job->finish_message, job->finish_wparam, 0);
    LeaveCriticalSection(&job->lock);
}

BackgroundJob *BackgroundJobCreate(BackgroundWork work, void *context, void (*free_context)(void *))
{
    BackgroundJob *job = (BackgroundJob *)calloc(1, sizeof(BackgroundJob));
    if (!job) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    job->references = 2; /* the caller's and the worker's */
    job->work = work;
    job->context = context;
    job->free_context = free_context;
    InitializeCriticalSection(&job->lock);
    JobCancelInit(&job->cancel);
    DWORD id;
    job->thread = CreateThread(nullptr, 0, Worker, job, CREATE_SUSPENDED, &id);
    if (!job->thread) {
        DWORD error = GetLastError();
        JobCancelFree(&job->cancel);
        DeleteCriticalSection(&job->lock);
        free(job);
        SetLastError(error);
        return nullptr;
    }
    return job;
}

void BackgroundJobRun(BackgroundJob *job, HWND owner, UINT message, WPARAM wparam)
{
    job->owner = owner;
    job->finish_message = message;
    job->finish_wparam = wparam;
    ResumeThread(job->thread);
}

void BackgroundJobLowerPriority(BackgroundJob *job)
{
    SetThreadPriority(job->thread, THREAD_PRIORITY_BELOW_NORMAL);
}

void BackgroundJobCancel(BackgroundJob *job)
{
    JobCancelRequest(&job->cancel);
}

void BackgroundJobLetGo(BackgroundJob *job)
{
    EnterCriticalSection(&job->lock);
    job->owner = nullptr;
    LeaveCriticalSection(&job->lock);
}

LRESULT BackgroundJobAsk(BackgroundJob *job, UINT message, LPARAM lp)
{
    /* Not under the lock: the owner's thread takes it while it answers. */
    EnterCriticalSection(&job->lock);
    HWND owner = job->owner;
    LeaveCriticalSection(&job->lock);
    return owner ? SendMessageW(owner, message, 0, lp) : 0;
}

void BackgroundJobWait(BackgroundJob *job)
{
    WaitForSingleObject(job->thread, INFINITE);
}

void BackgroundJobBeginStage(BackgroundJob *job, const wchar_t *label, DWORD range)
{
    EnterCriticalSection(&job->lock);
    wcsncpy(job->progress.label, label, kJobLabelChars - 1);
    job->progress.label[kJobLabelChars - 1] = L'\0';
    job->progress.range = range;
    job->progress.position = 0;
    job->progress.stage++;
    LeaveCriticalSection(&job->lock);
}

void BackgroundJobStep(BackgroundJob *job)
{
    EnterCriticalSection(&job->lock);
    job->progress.position++;
    LeaveCriticalSection(&job->lock);
}

void BackgroundJobSetPosition(BackgroundJob *job, DWORD position, DWORD range)
{
    EnterCriticalSection(&job->lock);
    job->progress.position = position;
    job->progress.range = range;
    LeaveCriticalSection(&job->lock);
}

void BackgroundJobProgress(BackgroundJob *job, JobProgress *progress)
{
    EnterCriticalSection(&job->lock);
    *progress = job->progress;
    LeaveCriticalSection(&job->lock);
}

void BackgroundJobHold(BackgroundJob *job)
{
    InterlockedIncrement(&job->references);
}

void BackgroundJobRelease(BackgroundJob *job)
{
    if (!job || InterlockedDecrement(&job->references) != 0)
        return;
    if (job->free_context)
        job->free_context(job->context);
    CloseHandle(job->thread);
    JobCancelFree(&job->cancel);
    DeleteCriticalSection(&job->lock);
    free(job);
}
