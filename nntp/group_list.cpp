#include "group_list.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "nntp/exchange.h"
#include "nntp/run_result.h"
#include "resources/resource.h"
#include "store/string_set.h"
#include "text/byte_error.h"
#include "text/widestr.h"

namespace {

wchar_t *CopyWide(const wchar_t *text)
{
    size_t size = (wcslen(text) + 1) * sizeof(wchar_t);
    wchar_t *copy = (wchar_t *)malloc(size);
    if (copy)
        memcpy(copy, text, size);
    return copy;
}

char *CopyNarrow(const char *text)
{
    size_t size = strlen(text) + 1;
    char *copy = (char *)malloc(size);
    if (copy)
        memcpy(copy, text, size);
    return copy;
}

/* Keeps the run's first failure text and its system error. */
void SetJobText(GroupListJob *job, const wchar_t *text, DWORD error)
{
    if (job->error_text || job->out_of_memory)
        return;
    job->error_text = CopyWide(text);
    if (!job->error_text)
        job->out_of_memory = 1;
    job->last_error = error;
}

void SetJobRes(GroupListJob *job, UINT id, DWORD error)
{
    wchar_t text[kRunResultChars];
    LoadResText(id, text, kRunResultChars);
    SetJobText(job, text, error);
}

void SetJobResError(GroupListJob *job, UINT id, DWORD error)
{
    wchar_t text[kRunResultChars];
    FormatResFailure(id, error, text, kRunResultChars);
    SetJobText(job, text, error);
}

/* String `id` with the reply line (as received, line end included) for its
 * %s; `nomem_id` when the line cannot be converted. */
void SetJobReply(GroupListJob *job, UINT id, UINT nomem_id, const char *reply)
{
    wchar_t *wide = ToWide(reply);
    if (!wide) {
        if (nomem_id)
            SetJobRes(job, nomem_id, kErrorNotEnoughMemory);
        else
            job->out_of_memory = 1;
        return;
    }
    wchar_t text[kRunResultChars];
    if (id)
        FormatResText(id, wide, text, kRunResultChars);
    else
        CopyWideText(text, wide, kRunResultChars);
    free(wide);
    SetJobText(job, text, kErrorInvalidData);
}

void Notify(GroupListJob *job)
{
    if (job->events.finished)
        job->events.finished(job->events.context);
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
        SetJobRes(job, IDS_GL_HASH_INIT, GetLastError());
        return;
    }

    if (!NntpSendLine(c, "LIST active")) {
        SetJobRes(job, IDS_GL_SEND_FAILED, GetLastError());
        goto done;
    }
    if (!NntpReadLine(c, job->line, kNntpLineCapacity, 0)) {
        SetJobRes(job, IDS_GL_RECV_FAILED, GetLastError());
        goto done;
    }
    if (job->line[0] != '2') {
        /* Servers without the LIST extensions know only the plain command. */
        if (!NntpSendLine(c, "LIST")) {
            SetJobRes(job, IDS_GL_LIST_FAILED, GetLastError());
            goto done;
        }
        if (!NntpReadLine(c, job->line, kNntpLineCapacity, 0)) {
            SetJobRes(job, IDS_GL_RECV_FAILED, GetLastError());
            goto done;
        }
        if (job->line[0] != '2') {
            SetJobReply(job, IDS_GL_UNEXPECTED, IDS_GL_UNEXPECTED_NOMEM, job->line);
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
            SetJobResError(job, IDS_GL_INCOMPLETE, GetLastError());
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
            SetJobResError(job, IDS_GL_WRITE_FAILED, GetLastError());
            goto done;
        }
        if (dot)
            *dot = '\0';
        if (!StringSetFind(&categories, name)) {
            if (!StringSetAdd(&categories, name)) {
                SetJobResError(job, IDS_GL_HASH_WRITE, GetLastError());
                goto done;
            }
            if (!WriteRecord(category, name, strlen(name))) {
                SetJobResError(job, IDS_GL_WRITE_FAILED, GetLastError());
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
    NntpConnection *c = &job->connection; /* initialised with the job */
    NntpStep failed;
    if (!NntpGreet(c, job->server, (unsigned short)job->port, job->line, &failed)) {
        if (failed == kNntpStepConnect)
            SetJobRes(job, IDS_GL_CONNECT, GetLastError());
        else if (failed == kNntpStepReceive)
            SetJobRes(job, IDS_GL_RECV_CONNECT, GetLastError());
        else
            SetJobReply(job, IDS_GL_REFUSED, 0, job->line);
        NntpClose(c);
        return;
    }

    /* Each authinfo line carries a CR LF of its own before the transport's:
     * an empty line follows it on the wire (kept so). */
    int password_step;
    if (job->user && job->password &&
        !NntpLogin(c, job->user, job->password, "\r\n", job->line, &failed, &password_step)) {
        if (failed == kNntpStepRefused)
            SetJobReply(job, 0, 0, job->line);
        else
            SetJobRes(job, failed == kNntpStepSend ? IDS_GL_SEND : IDS_GL_RECV, GetLastError());
        NntpClose(c);
        return;
    }

    HANDLE active = OpenListFile(job->active_path);
    if (active == INVALID_HANDLE_VALUE) {
        SetJobResError(job, IDS_GL_OPEN_ACTIVE, GetLastError());
        NntpClose(c);
        Notify(job); /* and once more when the worker ends */
        return;
    }
    HANDLE category = OpenListFile(job->category_path);
    if (category == INVALID_HANDLE_VALUE) {
        SetJobResError(job, IDS_GL_OPEN_CATEGORY, GetLastError());
        CloseHandle(active);
        NntpClose(c);
        Notify(job);
        return;
    }

    TransferList(job, active, category);
    NntpClose(c);
    CloseHandle(active);
    CloseHandle(category);
}

} // namespace

GroupListJob *GroupListJobCreate(const wchar_t *active_path, const wchar_t *category_path, const wchar_t *server,
                                 DWORD port, const char *user, const char *password, const GroupListEvents *events)
{
    GroupListJob *job = (GroupListJob *)calloc(1, sizeof(GroupListJob));
    if (!job) {
        SetLastError(kErrorNotEnoughMemory);
        return nullptr;
    }
    job->port = port;
    job->events = *events;
    NntpInit(&job->connection);
    job->active_path = CopyWide(active_path);
    job->category_path = CopyWide(category_path);
    job->server = ToNarrow(server);
    job->user = user ? CopyNarrow(user) : nullptr;
    job->password = password ? CopyNarrow(password) : nullptr;
    if (!job->active_path || !job->category_path || !job->server || (user && !job->user) ||
        (password && !job->password)) {
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
    free(job->active_path);
    free(job->category_path);
    free(job->server);
    free(job->user);
    free(job->password);
    free(job->error_text);
    free(job);
}

void GroupListRun(GroupListJob *job)
{
    RunJob(job);
    Notify(job);
}
