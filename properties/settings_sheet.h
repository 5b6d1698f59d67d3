/*
 * The properties sheet: the one place where the user edits Settings. Each
 * page is an object of the SettingsPage family; it shows part of the record,
 * checks its fields when the user leaves the page or presses OK, and writes
 * them back. A failed check shows no box: the field gets the focus with its
 * text selected and the page stays.
 */
#ifndef PELNOR_SETTINGS_SHEET_H
#define PELNOR_SETTINGS_SHEET_H

#include <windows.h>
#include <prsht.h>

#include "settings/settings.h"

class SettingsPage {
public:
    SettingsPage(WORD dialog_id, UINT title_id, Settings *settings, HINSTANCE instance);

    /* Fills the controls from the record. */
    virtual void Init(HWND dialog);
    /* Reacts to a control; 0 when not handled. */
    virtual INT_PTR Command(HWND dialog, WORD id, WORD code, HWND control);
    /* Checks the controls and copies them into the record; 0 on the first
     * field that fails (the fields before it are already copied). */
    virtual int Apply(HWND dialog);
    virtual ~SettingsPage();

    WORD dialogId;
    DLGPROC dialogProcedure;
    wchar_t title[1024];
    Settings *settings;
    HINSTANCE instance;

protected:
    /* Focus `control` with all its text selected; returns 0 for Apply. */
    static int FailOn(HWND dialog, int control);
};

class MainPage : public SettingsPage {
public:
    MainPage(Settings *settings, HINSTANCE instance);
    void Init(HWND dialog) override;
    INT_PTR Command(HWND dialog, WORD id, WORD code, HWND control) override;
    int Apply(HWND dialog) override;

    /* The pages shown only while posting is on (user, posting), and
     * whether the sheet holds them now: the posting box adds and removes
     * them as it is ticked. */
    SettingsPage *postingPages[2] = {};
    bool postingPagesShown = false;

private:
    /* Adds or removes the posting pages at the end of the open sheet. */
    void ShowPostingPages(HWND sheet, bool show);

    DWORD shown_tls_mode = kTlsNone; /* the mode whose port the port field may hold */
};

class AuthPage : public SettingsPage {
public:
    AuthPage(Settings *settings, HINSTANCE instance);
    void Init(HWND dialog) override;
    INT_PTR Command(HWND dialog, WORD id, WORD code, HWND control) override;
    int Apply(HWND dialog) override;
    /* Fills and enables the three edits as the check box says. */
    int SetPassMode(HWND dialog);
};

class KeysPage : public SettingsPage {
public:
    KeysPage(Settings *settings, HINSTANCE instance);
    void Init(HWND dialog) override;
    int Apply(HWND dialog) override;
};

class ConnectionPage : public SettingsPage {
public:
    ConnectionPage(Settings *settings, HINSTANCE instance);
    void Init(HWND dialog) override;
    INT_PTR Command(HWND dialog, WORD id, WORD code, HWND control) override;
    int Apply(HWND dialog) override;
    /* Enables the entry list as the check box says. */
    int SetDialupMode(HWND dialog);
};

class CharactersPage : public SettingsPage {
public:
    CharactersPage(Settings *settings, HINSTANCE instance);
    void Init(HWND dialog) override;
    INT_PTR Command(HWND dialog, WORD id, WORD code, HWND control) override;
    int Apply(HWND dialog) override;
};

class ColourPage : public SettingsPage {
public:
    ColourPage(Settings *settings, HINSTANCE instance);
    void Init(HWND dialog) override;
    INT_PTR Command(HWND dialog, WORD id, WORD code, HWND control) override;
    int Apply(HWND dialog) override;
    /* A scroll of one of the three bars. */
    void Scroll(HWND dialog, HWND bar, int code, int tracked);
};

class UserPage : public SettingsPage {
public:
    UserPage(Settings *settings, HINSTANCE instance);
    void Init(HWND dialog) override;
    int Apply(HWND dialog) override;
};

class PostingPage : public SettingsPage {
public:
    PostingPage(Settings *settings, HINSTANCE instance);
    void Init(HWND dialog) override;
    INT_PTR Command(HWND dialog, WORD id, WORD code, HWND control) override;
    int Apply(HWND dialog) override;
};

/* The page's description for the sheet: its template, tab title and
 * procedure, with the page object as its parameter. */
PROPSHEETPAGEW DescribeSettingsPage(SettingsPage *page);

/* The eight pages of one run, in the order the sheet shows them; the last
 * two only while Posting is on. */
struct SettingsSheet {
    SettingsSheet(Settings *settings, HINSTANCE instance);
    MainPage main;
    AuthPage auth;
    KeysPage keys;
    ConnectionPage connection;
    CharactersPage characters;
    ColourPage colour;
    UserPage user;
    PostingPage posting;
    enum { kPageCount = 8, kPostingOffPageCount = 6 };
    SettingsPage *pages[kPageCount];
};

/* Loads the record from the registry, lets the user edit it and, on OK,
 * saves it (a failed save is not reported). 1 after OK, 2 otherwise. */
int RunSettingsSheet(Settings *settings, HINSTANCE instance, HWND owner);

/* The class of the colour page's sample: it shows its text in the colour
 * sent with kSampleColourMessage (wParam). Registered by RunSettingsSheet. */
#define PELNOR_COLOUR_SAMPLE_CLASS L"PelnorColourSample"
enum : UINT { kSampleColourMessage = WM_APP + 1 };
int RegisterColourSampleClass(HINSTANCE instance);

#endif
