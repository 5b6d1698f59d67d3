/*
 * The password prompt (dialog 125) shown before a download when a user is
 * configured without a stored password. The password is used for one run
 * only and never stored in the settings.
 */
#ifndef PELNOR_PASSWORD_PROMPT_H
#define PELNOR_PASSWORD_PROMPT_H

#include <windows.h>

struct PasswordPrompt {
    HINSTANCE instance;
    const char *user;  /* 8-bit, shown */
    char *password;    /* 8-bit, set on OK; caller must free */
};

/* Shows the prompt modally. 1 (OK, with prompt->password set to the entered
 * text, possibly null when it could not be converted) or 2 (Cancel). */
INT_PTR RunPasswordPrompt(PasswordPrompt *prompt, HWND owner);

#endif
