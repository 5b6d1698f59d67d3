#include "message_box.h"

#include <wchar.h>

#include "base/res_text.h"
#include "resources/resource.h"

enum { kCaptionChars = 1024, kTextChars = 2048 };

int ShowBox(HWND owner, const wchar_t *text, const wchar_t *caption, UINT type)
{
    return MessageBoxW(owner, text ? text : L"", caption ? caption : L"", type);
}

int ShowResBox(HWND owner, UINT text_id, UINT caption_id, UINT type)
{
    wchar_t caption[kCaptionChars], text[kTextChars];
    LoadResText(caption_id, caption, kCaptionChars);
    LoadResText(text_id, text, kTextChars);
    return ShowBox(owner, text, caption, type);
}

int ShowLastErrorBox(UINT text_id, const wchar_t *caption, UINT type)
{
    DWORD error = GetLastError();
    wchar_t text[kTextChars];
    FormatResFailure(text_id, error, text, kTextChars);
    return ShowBox(nullptr, text, caption, type);
}

int ShowLastErrorBoxRes(UINT text_id, UINT caption_id, UINT type)
{
    DWORD error = GetLastError();
    wchar_t caption[kCaptionChars];
    LoadResText(caption_id, caption, kCaptionChars);
    SetLastError(error);
    return ShowLastErrorBox(text_id, caption, type);
}

int ShowReasonBox(HWND owner, UINT text_id, const wchar_t *argument, DWORD error, UINT caption_id, UINT type)
{
    wchar_t caption[kCaptionChars], text[kTextChars];
    LoadResText(caption_id, caption, kCaptionChars);
    FormatResText(text_id, argument, text, kTextChars);
    size_t used = wcslen(text);
    if (used + 2 < kTextChars) {
        wcscpy(text + used, L"\r\n");
        used += 2;
    }
    /* Without a message table (some devices have none) only the number is
     * shown. */
    DWORD wording = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                                   text + used, (DWORD)(kTextChars - used), nullptr);
    used += wording;
    while (used > 0 && (text[used - 1] == L'\r' || text[used - 1] == L'\n' || text[used - 1] == L' '))
        used--;
    text[used] = L'\0';
    FormatResError(IDS_ERROR_NUMBER, error, text + used, (int)(kTextChars - used));
    return ShowBox(owner, text, caption, type);
}

int ShowTextBox(const wchar_t *text, UINT caption_id, UINT type)
{
    wchar_t caption[kCaptionChars];
    LoadResText(caption_id, caption, kCaptionChars);
    return ShowBox(nullptr, text, caption, type);
}
