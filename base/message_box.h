/*
 * The program's message boxes. Every box goes through ShowBox; the others
 * load their texts from the string table first. Failure texts take the last
 * error current at the call for their "(%d)".
 */
#ifndef PELNOR_MESSAGE_BOX_H
#define PELNOR_MESSAGE_BOX_H

#include <windows.h>

/* A box with this text and caption (null: ""). Returns the box's result. */
int ShowBox(HWND owner, const wchar_t *text, const wchar_t *caption, UINT type);

/* String `text_id` as text and string `caption_id` as caption. */
int ShowResBox(HWND owner, UINT text_id, UINT caption_id, UINT type);

/* No owner; string `text_id` formatted with the last error, under
 * `caption`. */
int ShowLastErrorBox(UINT text_id, const wchar_t *caption, UINT type);

/* The same with string `caption_id` as the caption. */
int ShowLastErrorBoxRes(UINT text_id, UINT caption_id, UINT type);

/* String `text_id` with its one %s filled with `argument`, then on a line
 * of its own the system's wording of `error` and its number, under string
 * `caption_id`: for failures whose cause the user can act on (a program
 * not found, a folder not writable). */
int ShowReasonBox(HWND owner, UINT text_id, const wchar_t *argument, DWORD error, UINT caption_id, UINT type);

/* No owner; `text` under string `caption_id`. */
int ShowTextBox(const wchar_t *text, UINT caption_id, UINT type);

#endif
