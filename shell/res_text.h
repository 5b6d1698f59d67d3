/*
 * String-table texts and "(%d)" error messages. Both return pointers into
 * process-wide buffers that the next call overwrites: copy a text away
 * before loading a second one.
 */
#ifndef PELNOR_RES_TEXT_H
#define PELNOR_RES_TEXT_H

#include <windows.h>

/* The module whose string table LoadResString reads. */
void SetResourceInstance(HINSTANCE instance);
HINSTANCE ResourceInstance(void);

/* String-table entry `id` in the shared string buffer (1024 units), or null
 * when the entry does not exist. */
const wchar_t *LoadResString(UINT id);

/* `format` with one %d argument, the current GetLastError() value, in the
 * shared error buffer. A null format gives the empty text. */
const wchar_t *FormatLastError(const wchar_t *format);

/* A message box without owner whose text is string `text_id` formatted with
 * the last error (as FormatLastError) and whose caption is `caption`; the
 * last error is the one current at the call. Returns the box's result. */
int ShowLastErrorBox(UINT text_id, const wchar_t *caption, UINT type);

/* The same with string `caption_id` as the caption. */
int ShowLastErrorBoxRes(UINT text_id, UINT caption_id, UINT type);

/* A message box with string `text_id` as text and string `caption_id` as
 * caption. */
int ShowResBox(HWND owner, UINT text_id, UINT caption_id, UINT type);

#endif
