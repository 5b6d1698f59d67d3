#include "res_text.h"

#include <wchar.h>

namespace {

/* The string buffer is followed by the instance it loads from. */
struct StringBuffer {
    wchar_t text[1024];
    HINSTANCE instance;
};
StringBuffer g_strings;

DWORD ShownError(DWORD error)
{
    return error ? error : ERROR_INVALID_DATA;
}

} // namespace

void SetResourceInstance(HINSTANCE instance)
{
    g_strings.instance = instance;
}

HINSTANCE ResourceInstance(void)
{
    return g_strings.instance;
}

int LoadResText(UINT id, wchar_t *out, int out_chars)
{
    if (LoadStringW(g_strings.instance, id, out, out_chars) < 1) {
        out[0] = L'\0';
        return 0;
    }
    return 1;
}

void FormatNumberText(const wchar_t *format, DWORD number, wchar_t *out, int out_chars)
{
    if (!format) {
        out[0] = L'\0';
        return;
    }
    _snwprintf(out, out_chars - 1, format, (int)number);
    out[out_chars - 1] = L'\0';
}

void FormatResError(UINT id, DWORD number, wchar_t *out, int out_chars)
{
    wchar_t format[1024];
    LoadResText(id, format, 1024);
    FormatNumberText(format, number, out, out_chars);
}

void FormatResFailure(UINT id, DWORD error, wchar_t *out, int out_chars)
{
    FormatResError(id, ShownError(error), out, out_chars);
}

void FormatResText(UINT id, const wchar_t *argument, wchar_t *out, int out_chars)
{
    wchar_t format[1024];
    LoadResText(id, format, 1024);
    _snwprintf(out, out_chars - 1, format, argument ? argument : L"");
    out[out_chars - 1] = L'\0';
}

const wchar_t *LoadResString(UINT id)
{
    return LoadResText(id, g_strings.text, 1024) ? g_strings.text : nullptr;
}
