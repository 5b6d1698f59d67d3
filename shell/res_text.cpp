#include "res_text.h"

#include <wchar.h>

#include "resources/resource.h"
#include "text/widestr.h"

namespace {

/* The string buffer is followed by the instance it loads from. */
struct StringBuffer {
    wchar_t text[1024];
    HINSTANCE instance;
};
StringBuffer g_strings;
wchar_t g_error_text[2048];

} // namespace

void SetResourceInstance(HINSTANCE instance)
{
    g_strings.instance = instance;
}

HINSTANCE ResourceInstance(void)
{
    return g_strings.instance;
}

const wchar_t *LoadResString(UINT id)
{
    if (LoadStringW(g_strings.instance, id, g_strings.text, 1024) < 1)
        return nullptr;
    return g_strings.text;
}

const wchar_t *FormatLastError(const wchar_t *format)
{
    DWORD error = GetLastError();
    if (!format) {
        g_error_text[0] = L'\0';
        return g_error_text;
    }
    _snwprintf(g_error_text, 2047, format, (int)error);
    g_error_text[2047] = L'\0';
    return g_error_text;
}

int ShowLastErrorBox(UINT text_id, const wchar_t *caption, UINT type)
{
    DWORD error = GetLastError();
    wchar_t caption_copy[1024];
    CopyWideText(caption_copy, caption ? caption : L"", 1024);
    const wchar_t *format = LoadResString(text_id);
    SetLastError(error);
    return MessageBoxW(nullptr, FormatLastError(format), caption_copy, type);
}

int ShowLastErrorBoxRes(UINT text_id, UINT caption_id, UINT type)
{
    DWORD error = GetLastError();
    wchar_t caption[1024] = L"";
    const wchar_t *loaded = LoadResString(caption_id);
    if (loaded)
        CopyWideText(caption, loaded, 1024);
    SetLastError(error);
    return ShowLastErrorBox(text_id, caption, type);
}

int ShowResBox(HWND owner, UINT text_id, UINT caption_id, UINT type)
{
    wchar_t caption[1024] = L"";
    const wchar_t *loaded = LoadResString(caption_id);
    if (loaded)
        CopyWideText(caption, loaded, 1024);
    const wchar_t *text = LoadResString(text_id);
    return MessageBoxW(owner, text ? text : L"", caption, type);
}
