/*
 * The subscribe dialog (112): categories of category.dat; a double tap on
 * a category lists its groups from active.dat, marked when subscribed; a
 * double tap on a group toggles its mark. OK writes the subscribed names to
 * group.dat in the set's hash order. "ﾀﾞｳﾝﾛｰﾄﾞ" refreshes active.dat and
 * category.dat from the server.
 */
#ifndef PELNOR_SUBSCRIBE_DIALOG_H
#define PELNOR_SUBSCRIBE_DIALOG_H

#include <windows.h>
#include <commctrl.h>

#include "settings/settings.h"
#include "store/string_set.h"

struct SubscribeState {
    HWND dialog;
    const wchar_t *active_path;   /* borrowed */
    const wchar_t *category_path; /* borrowed */
    const wchar_t *group_path;    /* borrowed */
    const Settings *settings;     /* borrowed: the server to list groups from */
    HINSTANCE instance;
    HIMAGELIST images;            /* owned: blank and subscribed marks */
    StringSet subscriptions;      /* owned: subscribed names, 8-bit */
    int list_mode;                /* 1 categories, 0 the groups of one category */
    int left_out_told;            /* 1 once the user heard of unusable names */
};

/* Images of the list items. */
enum { kImageNotSubscribed = 0, kImageSubscribed = 1 };

/* Shows the dialog modally over `parent`. 1 when closed with OK (whether or
 * not group.dat could be written), 2 when cancelled. The state's image list
 * and set are released before it returns. */
int RunSubscribeDialog(SubscribeState *state, HINSTANCE instance, HWND parent);

#endif
