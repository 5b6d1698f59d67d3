/*
 * The draft editor: one draft's newsgroups, subject and body in a dialog
 * the size of the screen. "送信待ちに入れる" writes the draft and files it
 * to wait for sending (it needs newsgroups and a subject), "草稿に保存"
 * writes it and files it with the drafts; either way the draft keeps its
 * file and every header the editor does not show (a Message-ID given by an
 * earlier attempt to send it, say).
 */
#ifndef PELNOR_DRAFT_EDITOR_H
#define PELNOR_DRAFT_EDITOR_H

#include <windows.h>

#include "store/draft_file.h"

/* How the editor closed, besides kDialogCancel. */
enum : INT_PTR { kEditorQueued = 3, kEditorSaved = 4 };

struct DraftEditor {
    Draft draft;   /* the caller's: what the editor starts from; it holds what was written after a save */
    wchar_t *path; /* the caller's, newly allocated: the draft's file (it need not exist yet); after a
                    * save or a queue, where the file is now (the old text is freed) */
};

/* Runs the editor. kEditorQueued, kEditorSaved or kDialogCancel (-1 when it
 * could not be made). Failures to write or file the draft are shown and the
 * editor stays open. */
INT_PTR RunDraftEditor(DraftEditor *editor, HINSTANCE instance, HWND owner);

#endif
