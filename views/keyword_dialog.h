/*
 * The keyword dialog: edits one group's keyword file. The keywords live in
 * the dialog's sorted combo box, each item's data its priority (2 high, 0
 * normal, 1 low); OK writes the whole list through "<file>~" and a rename,
 * leaving out the normal ones.
 */
#ifndef PELNOR_KEYWORD_DIALOG_H
#define PELNOR_KEYWORD_DIALOG_H

#include <windows.h>

struct KeywordDialogState {
    const wchar_t *filter_path; /* borrowed: the group's ".flt" */
    const wchar_t *proposed;    /* borrowed, or null: the selected article's subject */
    int references;             /* DecodeCharsets: keywords written as subjects of any charset are stored */
    HWND dialog;                /* set when the dialog starts */
};

/* Runs dialog 133 modally. 1 when the file was rewritten, 2 otherwise.
 * Keywords are written in Shift_JIS; with `references` (DecodeCharsets) a
 * character Shift_JIS lacks is written as "&#x" its code point in capital
 * hexadecimal ";", the form subjects are stored in, so that it matches
 * them byte for byte. Without it such a character is what code page 932
 * makes of it. */
INT_PTR RunKeywordDialog(KeywordDialogState *state, HINSTANCE instance, HWND owner, const wchar_t *filter_path,
                         const wchar_t *proposed, int references);

#endif
