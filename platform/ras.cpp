#include "ras.h"

namespace {

const RasTable kRealRas = {
    RasEnumConnectionsW,
    RasEnumEntriesW,
    RasGetEntryDialParamsW,
    RasDialW,
    RasHangUpW,
};

const RasTable *g_table = &kRealRas;

} // namespace

const RasTable *GetRasTable(void)
{
    return g_table;
}

void SetRasTable(const RasTable *table)
{
    g_table = table ? table : &kRealRas;
}

bool IsRasDialEvent(UINT message)
{
    if (message == WM_RASDIALEVENT)
        return true;
    static const UINT registered = RegisterWindowMessageW(L"" RASDIALEVENT);
    return registered != 0 && message == registered;
}
