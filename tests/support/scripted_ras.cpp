#include "scripted_ras.h"

namespace {

ScriptedRas *g_ras;

DWORD WINAPI EnumConnections(RASCONNW *connections, DWORD *bytes, DWORD *count)
{
    g_ras->calls++;
    *count = g_ras->active_connections > 0 && connections && *bytes >= sizeof(RASCONNW);
    if (*count)
        connections->hrasconn = (HRASCONN)(ULONG_PTR)0x0DD;
    return 0;
}

DWORD WINAPI EnumEntries(const wchar_t *, const wchar_t *, RASENTRYNAMEW *entries, DWORD *bytes, DWORD *count)
{
    g_ras->calls++;
    *count = 0;
    if (g_ras->enum_error)
        return g_ras->enum_error;
    if (g_ras->phone_book.size() * sizeof(RASENTRYNAMEW) > *bytes)
        return 603; /* ERROR_BUFFER_TOO_SMALL of RAS */
    for (const std::wstring &name : g_ras->phone_book) {
        entries[*count].dwSize = sizeof(RASENTRYNAMEW);
        lstrcpynW(entries[*count].szEntryName, name.c_str(), RAS_MaxEntryName + 1);
        ++*count;
    }
    return 0;
}

DWORD WINAPI GetEntryDialParams(const wchar_t *, RASDIALPARAMSW *params, BOOL *password_saved)
{
    g_ras->calls++;
    lstrcpynW(params->szUserName, g_ras->stored_user.c_str(), UNLEN + 1);
    lstrcpynW(params->szPassword, g_ras->stored_password.c_str(), PWLEN + 1);
    *password_saved = TRUE;
    return 0;
}

DWORD WINAPI Dial(RASDIALEXTENSIONS *, const wchar_t *, RASDIALPARAMSW *params, DWORD notifier_type,
                  void *notifier, HRASCONN *connection)
{
    g_ras->calls++;
    g_ras->dials.push_back({params->szEntryName, params->szUserName, params->szPassword, notifier_type,
                            (HWND)notifier, *connection == nullptr});
    *connection = g_ras->handle;
    return 0;
}

DWORD WINAPI HangUp(HRASCONN connection)
{
    g_ras->calls++;
    g_ras->hang_ups.push_back(connection);
    return 0;
}

} // namespace

ScriptedRas::ScriptedRas()
{
    table_ = {EnumConnections, EnumEntries, GetEntryDialParams, Dial, HangUp};
    g_ras = this;
    SetRasTable(&table_);
}

ScriptedRas::~ScriptedRas()
{
    SetRasTable(nullptr);
    g_ras = nullptr;
}

void ScriptedRas::Notify(UINT state) const
{
    PostMessageW(dial_window(), WM_RASDIALEVENT, state, 0);
}
