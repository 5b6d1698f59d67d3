#include "run_result.h"

#include <wchar.h>

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
