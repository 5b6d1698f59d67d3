/*
 * The window side of a certificate that failed its checks: the dialog that
 * shows it and lets the user trust it for this server (pinning it), and the
 * trust record a worker asks through, which carries the question to the
 * window that shows the job's progress, on that window's thread.
 */
#ifndef PELNOR_CERTIFICATE_DIALOG_H
#define PELNOR_CERTIFICATE_DIALOG_H

#include <windows.h>

#include "base/background_job.h"
#include "nntp/certificate.h"

/* Sent by a worker to its progress window; lParam: the NntpCertificate.
 * The answer is 1 (trusted) or 0. */
enum : UINT { WM_PELNOR_ASK_CERTIFICATE = 0x8003 };

/* Shows the dialog over `owner`; on "trust" pins the fingerprint for the
 * certificate's server and port. 1 trusted, 0 not. */
int AskTrustCertificate(HINSTANCE instance, HWND owner, const NntpCertificate *certificate);

/* The trust record of a worker of `job`: the question goes to the job's
 * owner window; none refuses. */
NntpTrust JobTrust(BackgroundJob *job);

/* For the progress window's procedure: answers WM_PELNOR_ASK_CERTIFICATE
 * (true) or leaves the message alone (false). */
bool AnswerCertificateQuestion(HINSTANCE instance, HWND dialog, UINT message, LPARAM lp);

#endif
