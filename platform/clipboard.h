/*
 * The clipboard's memory block for text. The desktop wants a movable global
 * block for CF_UNICODETEXT; a Pocket PC takes a plain local allocation.
 */
#ifndef PELNOR_CLIPBOARD_H
#define PELNOR_CLIPBOARD_H

#include <windows.h>

/* A zero-filled movable block holding `units` 16-bit units of `text` and a
 * terminator, ready for SetClipboardData(CF_UNICODETEXT); null with error 8.
 * The clipboard owns it once set; FreeClipboardBlock frees one that was not. */
HANDLE NewClipboardText(const wchar_t *text, size_t units);
void FreeClipboardBlock(HANDLE block);

#endif
