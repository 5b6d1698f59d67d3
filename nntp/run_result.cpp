#include "run_result.h"

#include <wchar.h>

#include "shell/res_text.h"
#include "text/widestr.h"

void RunResultClear(RunResult *r)
{
    r->title[0] = L'\0';
    r->text[0] = L'\0';
    r->severity = kSeverityInformation;
}

void RunResultSet(RunResult *r, const wchar_t *title, const wchar_t *text, DWORD severity)
{
    CopyWideText(r->title, title ? title : L"", kRunResultChars);
    CopyWideText(r->text, text ? text : L"", kRunResultChars);
    r->severity = severity;
}

void RunResultSetRes(RunResult *r, const wchar_t *title, UINT text_id, DWORD severity)
{
    wchar_t text[kRunResultChars];
    LoadResText(text_id, text, kRunResultChars);
    RunResultSet(r, title, text, severity);
}

void RunResultSetError(RunResult *r, const wchar_t *title, UINT text_id, DWORD error, DWORD severity)
{
    wchar_t text[kRunResultChars];
    FormatResError(text_id, error, text, kRunResultChars);
    RunResultSet(r, title, text, severity);
}

void LoadResText(UINT id, wchar_t *out, int out_chars)
{
    if (LoadStringW(ResourceInstance(), id, out, out_chars) < 1)
        out[0] = L'\0';
}

void FormatResError(UINT id, DWORD error, wchar_t *out, int out_chars)
{
    wchar_t format[kRunResultChars];
    LoadResText(id, format, kRunResultChars);
    _snwprintf(out, out_chars - 1, format, (int)error);
    out[out_chars - 1] = L'\0';
}

void FormatResText(UINT id, const wchar_t *argument, wchar_t *out, int out_chars)
{
    wchar_t format[kRunResultChars];
    LoadResText(id, format, kRunResultChars);
    _snwprintf(out, out_chars - 1, format, argument ? argument : L"");
    out[out_chars - 1] = L'\0';
}
