/*
 * The groups' part of the data-folder start-up, spread out so that a folder
 * of thousands of groups lists them and answers keys at once: the group
 * view gets one row per subscribed group straight away, the first rows'
 * files are checked before the frame goes on (each index brought to the
 * current version, made when missing, repaired when it does not fit its
 * log; then its header shown in the row), and the rest are checked by a
 * background job that fills their rows as it goes. The boxes about groups
 * that could not be brought up or shown come once every group is checked,
 * as they would after checking them all at once.
 *
 * Whatever touches a group's files waits for that group first: the
 * commands of the user-interface thread through GroupChecksWait, a download
 * run's worker through GroupChecksGate. A group the job has not reached yet
 * is then checked by the waiting thread itself, so nobody waits for the
 * whole folder.
 */
#ifndef PELNOR_GROUP_CHECKS_H
#define PELNOR_GROUP_CHECKS_H

#include "nntp/download_events.h"
#include "shell/app_frame.h"

struct GroupChecks;

/* The check of the groups `names` lists (each ended by a NUL, the list by
 * an empty name; taken over in every case), `count` of them, in the folder
 * `data_path`. Null with the last error when memory runs out. */
GroupChecks *GroupChecksMake(const wchar_t *data_path, wchar_t *names, DWORD count);

/* Stops any check still running, lists the groups of `checks` (taken over)
 * in the group view and checks their files: the first rows at once, the
 * others in the background. Returns 1 when every group is checked and
 * shown, or when the others are left to the job (whose end comes as
 * WM_PELNOR_GROUPS_CHECKED); 0 after the boxes when a group could not be
 * shown. */
int GroupChecksStart(AppFrame *frame, GroupChecks *checks);

/* WM_PELNOR_GROUPS_CHECKED: shows the rows checked since the last time;
 * once every group is checked, ends the check and shows its boxes. */
void GroupChecksShow(AppFrame *frame);

/* Stops a check still running (the group being checked is finished first)
 * and lets it go; the rows not reached keep their names alone. Before a
 * reload of the rows and when the frame goes. */
void GroupChecksStop(AppFrame *frame);

/* User-interface thread: returns once the files of the group in `row`
 * (named `group`; looked up by name when the row holds another) are
 * checked, and its row shows them. */
void GroupChecksWait(AppFrame *frame, DWORD row, const wchar_t *group);

/* For a download run: a gate that waits on the run's worker as
 * GroupChecksWait does, and keeps the check's record for it until
 * GroupChecksDropGate (at the run's end, or when it did not start). A gate
 * whose wait is null when nothing is being checked. */
GroupGate GroupChecksHoldGate(AppFrame *frame);
void GroupChecksDropGate(AppFrame *frame);

/* Whether groups are still being checked in the background. */
bool GroupChecksRunning(const AppFrame *frame);

#endif
