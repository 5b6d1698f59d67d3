#include "message_box.h"

#include "base/res_text.h"

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

int ShowTextBox(const wchar_t *text, UINT caption_id, UINT type)
{
    wchar_t caption[kCaptionChars];
    LoadResText(caption_id, caption, kCaptionChars);
    return ShowBox(nullptr, text, caption, type);
}
