/*
 * Reading: the frame's side of the subject and article views. Opening a
 * group from the group view, opening articles one after another, going
 * back (which writes the read marks and shows the group's new unread
 * count), and the reading commands of the subject and article menus.
 */
#ifndef PELNOR_READING_H
#define PELNOR_READING_H

#include "shell/panes.h"

/* Pane-table hooks of the group, subject and article rows. */
int EnterGroupPane(AppFrame *frame, const PaneSwitch *how);
LRESULT GroupPaneNotify(AppFrame *frame, const NMHDR *header);
HWND SubjectPaneWindow(const AppFrame *frame);
void ShowSubjectPane(AppFrame *frame, int show);
int EnterSubjectPane(AppFrame *frame, const PaneSwitch *how);
void SubjectPaneCommand(AppFrame *frame, UINT code);
HWND ArticlePaneWindow(const AppFrame *frame);
void ShowArticlePane(AppFrame *frame, int show);
int EnterArticlePane(AppFrame *frame, const PaneSwitch *how);
void ArticlePaneCommand(AppFrame *frame, UINT code);

/* Marks the subject view's current article read, reads it from the log and
 * shows it; a failure is shown and the view stays. */
void OpenCurrentArticle(AppFrame *frame);

/* Commands 40006, 40012-40018 and 40082; false for any other id. */
bool ReadingCommand(AppFrame *frame, UINT id);

#endif
