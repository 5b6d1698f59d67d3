#include "group_list.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "nntp/conversation.h"
#include "store/string_set.h"
#include "text/byte_error.h"

namespace {

wchar_t *CopyWide(const wchar_t *text)
{
    size_t size = (wcslen(text) + 1) * sizeof(wchar_t);
    wchar_t *copy = (wchar_t *)malloc(size);
    if (copy)
        memcpy(copy, text, size);
    return copy;
}

/* Keeps the run's first failure and its system error. */
void Fail(GroupListJob *job, GroupListFailure failure, DWORD error)
{
    if (job->failure != kListDone)
        return;
    job->failure = failure;
    job->last_error = error;
}

void TellFileFailed(GroupListJob *job)
{
    if (job->events.file_failed)
        job->events.file_failed(job->events.context);
}

/* Creates the file, or truncates it when it exists; exclusive access. */
HANDLE OpenListFile(const wchar_t *path)
{
    HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        DWORD error = GetLastError();
        if (error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS)
            file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, TRUNCATE_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    }
    return file;
}

int WriteRecord(HANDLE file, const char *text, size_t length)
{
    char record[kNntpLineBufferSize + 2];
    memcpy(record, text, length);
    record[length] = '\r';
    record[length + 1] = '\n';
    DWORD written = 0;
    if (!WriteFile(file, record, (DWORD)length + 2, &written, nullptr))
        return 0;
    return written == length + 2;
}

void TransferList(GroupListJob *job, HANDLE active, HANDLE category)
{
    NntpConnection *c = &job->connection;
    StringSet categories;
    StringSetInit(&categories);
    if (!StringSetCreate(&categories)) {
        Fail(job, kListHashInitFailed, GetLastError());
        return;
    }

    NntpFailure failed;
    if (!NntpExchange(c, "LIST active", "", job->line, &failed)) {
        Fail(job, failed == kNntpFailedSend ? kListSendFailed : kListReceiveFailed, GetLastError());
        goto done;
    }
    if (job->line[0] != '2') {
        /* Servers without the LIST extensions know only the plain command. */
        if (!NntpExchange(c, "LIST", "", job->line, &failed)) {
            Fail(job, failed == kNntpFailedSend ? kListFallbackSendFailed : kListReceiveFailed, GetLastError());
            goto done;
        }
        if (job->line[0] != '2') {
            Fail(job, kListUnexpected, kErrorInvalidData);
            goto done;
        }
    }

    for (;;) {
        SetLastError(0);
        if (!NntpReadLine(c, job->line, kNntpLineCapacity, 1)) {
            /* A NUL ends the list without an error of its own: what came
             * before it is the list. */
            if (GetLastError() == 0)
                break;
            Fail(job, kListIncomplete, GetLastError());
            goto done;
        }
        char *name = job->line;
        if (name[0] == '.')
            break;
        char *p = name;
        char *dot = nullptr;
        while (*p != '\0' && *p != ' ') {
            if (*p == '.' && !dot)
                dot = p;
            p++;
        }
        *p = '\0';
        if (!WriteRecord(active, name, (size_t)(p - name))) {
            Fail(job, kListWriteFailed, GetLastError());
            goto done;
        }
        if (dot)
            *dot = '\0';
        if (!StringSetFind(&categories, name)) {
            if (!StringSetAdd(&categories, name)) {
                Fail(job, kListHashWriteFailed, GetLastError());
                goto done;
            }
            if (!WriteRecord(category, name, strlen(name))) {
                Fail(job, kListWriteFailed, GetLastError());
                goto done;
            }
        }
        if (job->events.group_stored)
            job->events.group_stored(job->events.context);
    }
    SetLastError(0);

done:
    StringSetDestroy(&categories);
}

void RunJob(GroupListJob *job)
{
    NntpConnection *c = &job->connection;
    /* Each authinfo line carries a CR LF of its own before the transport's:
     * an empty line follows it on the wire (kept so). */
    NntpOpenFailure failed;
    if (!NntpOpen(c, "\r\n", job->line, &failed)) {
        DWORD error = GetLastError();
        bool login = failed.step == kNntpOpenUser || failed.step == kNntpOpenPassword;
        switch (failed.failure) {
        case kNntpFailedConnect:
            Fail(job, kListConnectFailed, error);
            break;
        case kNntpFailedSend:
            Fail(job, kListLoginSendFailed, error);
            break;
        case kNntpFailedReceive:
            Fail(job, login ? kListLoginReceiveFailed : kListNoGreeting, error);
            break;
        case kNntpFailedTls:
            Fail(job, kListTlsFailed, error);
            break;
        case kNntpFailedCaFile:
            Fail(job, kListCaFileFailed, error);
            break;
        case kNntpCertificateRefused:
            Fail(job, kListCertificateRefused, error);
            break;
        case kNntpNeedsEncryption:
            Fail(job, kListEncryptionRequired, kErrorInvalidData);
            break;
        default:
            Fail(job, login                                ? kListLoginRefused
                      : failed.step == kNntpOpenStartTls ? kListStartTlsRefused
                                                         : kListRefused,
                 kErrorInvalidData);
            break;
        }
        NntpClose(c);
        return;
    }

    HANDLE active = OpenListFile(job->active_path);
    if (active == INVALID_HANDLE_VALUE) {
        Fail(job, kListActiveOpenFailed, GetLastError());
        NntpClose(c);
        TellFileFailed(job);
        return;
    }
    HANDLE category = OpenListFile(job->category_path);
    if (category == INVALID_HANDLE_VALUE) {
        Fail(job, kListCategoryOpenFailed, GetLastError());
        CloseHandle(active);
        NntpClose(c);
        TellFileFailed(job);
        return;
    }

    TransferList(job, active, category);
    NntpClose(c);
    CloseHandle(active);
    CloseHandle(category);
}

} // namespace

GroupListJob *GroupListJobCreate(const wchar_t *active_path, const wchar_t *category_path, const NntpServer *server)
{
    GroupListJob *job = (GroupListJob *)calloc(1, sizeof(GroupListJob));
    if (!job) {
        SetLastError(kErrorNotEnoughMemory);
        return nullptr;
    }
    job->server = *server;
    job->active_path = CopyWide(active_path);
    job->category_path = CopyWide(category_path);
    if (!job->active_path || !job->category_path) {
        GroupListJobFree(job);
        SetLastError(kErrorNotEnoughMemory);
        return nullptr;
    }
    return job;
}

void GroupListJobFree(GroupListJob *job)
{
    if (!job)
        return;
    NntpServerForget(&job->server);
    free(job->active_path);
    free(job->category_path);
    free(job);
}

void GroupListRun(GroupListJob *job, const GroupListEvents *events, JobCancel *cancel)
{
    job->events = *events;
    NntpInit(&job->connection, &job->server, cancel);
    job->connection.trust = events->trust;
    RunJob(job);
}
