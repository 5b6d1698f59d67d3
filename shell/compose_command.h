/*
 * Writing articles: compose and follow-up, and opening a draft in the
 * editor the settings choose (the built-in one, or the program EditorPath
 * names, started on the draft's file).
 */
#ifndef PELNOR_COMPOSE_COMMAND_H
#define PELNOR_COMPOSE_COMMAND_H

#include "shell/app_frame.h"
#include "store/draft_file.h"

/* Compose (40021): the poster's name and address must be set (a box says
 * which is missing). Without Posting only a notice follows; with it, a new
 * draft in the editor, for the open group when the subjects or an article
 * show. */
void ComposeCommand(AppFrame *frame);

/* Follow-up (40100), with Posting only: a new draft answering the article
 * under the subject view's cursor (the one the article view shows). */
void FollowUpCommand(AppFrame *frame);

/* The draft folder, newly allocated (null with 8): DraftPath names it with
 * a doubled backslash, which the paths given to another program should not
 * carry. */
wchar_t *DraftFolder(const AppFrame *frame);

/* Opens `draft`, kept at `path`, in the editor; both are taken and freed.
 * `is_new`: the file is not written yet. The drafts pane is refilled with
 * the draft selected once it was written. */
void EditDraft(AppFrame *frame, Draft *draft, wchar_t *path, bool is_new);

#endif
