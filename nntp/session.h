/*
 * One download run's NNTP session on the worker thread: open the
 * conversation (connect, greeting, login), download every group of the
 * run in the group view's order, and end with QUIT.
 */
#ifndef PELNOR_SESSION_H
#define PELNOR_SESSION_H

#include <windows.h>

#include "nntp/download_events.h"
#include "nntp/run_result.h"

/* Runs the session; every failure leaves its title, text and severity in
 * `result`, worded by the events. 1 when every group was processed or the
 * run was stopped (severity 0 then), else 0 with the last error set to the
 * error recorded at the failure. QUIT is sent whenever a connection was
 * opened. */
int RunSession(const SessionParams *params, RunResult *result);

#endif
