/*
 * The password prompt (dialog 125) shown before a download when a user is
 * configured without a stored password. The password is used for one run
 * only and never stored in the settings.
 */
#ifndef PELNOR_PASSWORD_PROMPT_H
#define PELNOR_PASSWORD_PROMPT_H

#include <windows.h>

#include "nntp/server.h"
#include "settings/settings.h"

struct PasswordPrompt {
    HINSTANCE instance;
    const char *user;  /* 8-bit, shown */
    char *password;    /* 8-bit, set on OK; caller must free */
};

/* Shows the prompt modally. 1 (OK, with prompt->password set to the entered
 * text, possibly null when it could not be converted) or 2 (Cancel). */
INT_PTR RunPasswordPrompt(PasswordPrompt *prompt, HWND owner);

enum ServerReady {
    kServerReady,
    kServerCancelled, /* the prompt was left: nothing to tell */
    kServerNoMemory,
};

/* The server of `settings` for one job, the prompt shown over `owner` first
 * when a user is configured without a stored password; the typed password
 * lives in the value only. */
ServerReady ReadyServer(HINSTANCE instance, HWND owner, const Settings *settings, NntpServer *server);

#endif
