#include "kotemporaltext.h"

#include <kostring.h>
#include <kotypemgr.h>

// The texts of dates and times are not written yet.

void PrintTemporal(KoString& out, const TemporalFields& fields, const char*)
{
    if (fields.isNull)
        out += KoTypeMgr::GetNullPrintString();
}

bool ScanTemporal(TemporalFields&, const KoString&, const char*)
{
    return false;
}

int ParseTemporal(TemporalFields&, const KoString&, const char*, unsigned& errorAt)
{
    errorAt = 0;
    return -1;
}
