#include "dialup.h"

#include <string.h>

#include "connect_dialog.h"
#include "text/widestr.h"

namespace {

/* Any RAS connection up, whoever made it. One record is enough to tell;
 * the results of the enumeration are not examined beyond the count. */
bool ConnectionIsUp()
{
    /* The device's RASCONN is 52 bytes; the desktop wants its own size. */
    RASCONNW connection;
    memset(&connection, 0, sizeof(connection));
    connection.dwSize = sizeof(RASCONNW);
    DWORD bytes = sizeof(RASCONNW);
    DWORD count = 0;
    GetRasTable()->EnumConnections(&connection, &bytes, &count);
    return count > 0;
}

} // namespace

DialupStart DialBeforeRun(HWND frame, HINSTANCE instance, const Settings *settings, HRASCONN *connection)
{
    if (!settings->Dialup || ConnectionIsUp())
        return kDialupRunNow;

    /* The device's RASDIALPARAMS is 1464 bytes; the desktop wants its own. */
    RASDIALPARAMSW params;
    memset(&params, 0, sizeof(params));
    params.dwSize = sizeof(RASDIALPARAMSW);
    CopyWideText(params.szEntryName, settings->EntryName, RAS_MaxEntryName + 1);
    params.szPhoneNumber[0] = L'\0';
    BOOL password_saved = FALSE;
    GetRasTable()->GetEntryDialParams(nullptr, &params, &password_saved);

    EnableWindow(frame, FALSE);
    HWND dialog = CreateConnectDialog(frame, instance, settings->EntryName);
    if (!dialog) {
        DWORD error = GetLastError();
        EnableWindow(frame, TRUE);
        SecureZeroMemory(&params, sizeof(params));
        SetLastError(error);
        return kDialupFailed;
    }

    /* Progress arrives at the dialog as window messages; the result is not
     * examined, a failed dial reports the disconnected state. The handle
     * must start null, or RAS takes it for a paused dial to resume. */
    *connection = nullptr;
    GetRasTable()->Dial(nullptr, nullptr, &params, kRasNotifyWindow, dialog, connection);
    SecureZeroMemory(&params, sizeof(params));
    Sleep(1);
    return kDialupDialling;
}

int HangUpDialup(HRASCONN connection)
{
    DWORD error = GetRasTable()->HangUp(connection);
    if (error != 0) {
        SetLastError(error);
        return 0;
    }
    return 1;
}
