/*
 * RAS behind a table of functions. On the device these are coredll's RasDial
 * and friends; on the desktop the real table calls rasapi32. Tests install a
 * table of their own, since Wine's rasapi32 never dials.
 *
 * The records are the desktop ones (RASCONNW, RASDIALPARAMSW, RASENTRYNAMEW):
 * callers set their dwSize to the desktop sizeof.
 */
#ifndef PELNOR_PLATFORM_RAS_H
#define PELNOR_PLATFORM_RAS_H

#include <windows.h>
#include <ras.h>

/* Notifier type of RasDial: the notifier is a window that receives
 * WM_RASDIALEVENT with the connection state in wParam. */
enum : DWORD { kRasNotifyWindow = 0xFFFFFFFF };

/* Each function returns 0 for success or a RAS error number, as RAS does. */
struct RasTable {
    DWORD (WINAPI *EnumConnections)(RASCONNW *connections, DWORD *bytes, DWORD *count);
    DWORD (WINAPI *EnumEntries)(const wchar_t *reserved, const wchar_t *phonebook, RASENTRYNAMEW *entries,
                                DWORD *bytes, DWORD *count);
    DWORD (WINAPI *GetEntryDialParams)(const wchar_t *phonebook, RASDIALPARAMSW *params, BOOL *password_saved);
    DWORD (WINAPI *Dial)(RASDIALEXTENSIONS *extensions, const wchar_t *phonebook, RASDIALPARAMSW *params,
                         DWORD notifier_type, void *notifier, HRASCONN *connection);
    DWORD (WINAPI *HangUp)(HRASCONN connection);
};

/* The table in use: the real one unless a test installed another. */
const RasTable *GetRasTable(void);

/* Installs `table` (kept by pointer; it must outlive its use); null puts the
 * real one back. */
void SetRasTable(const RasTable *table);

/* Whether `message` is a dial progress notification. The device sends
 * WM_RASDIALEVENT (0xCCCD); desktop RAS sends the message registered as
 * "RasDialEvent" and falls back to WM_RASDIALEVENT. */
bool IsRasDialEvent(UINT message);

#endif
