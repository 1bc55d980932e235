#include "core/record.h"

#include <kotms.h>

// The sort keys that classes give for themselves: those of their types, of one value in memory.

#define KO_CLASS_KEYS(Class, id)                                                                   \
    unsigned Class::SortKey(void* key, unsigned room, unsigned short cmpOp) const                  \
    {                                                                                              \
        return ko::kTypeExtensions[id]->sortKey(key, room, this, KoFMT_MEMORY, 1, cmpOp);          \
    }                                                                                              \
    int Class::FromSortKey(const void* key, unsigned length, unsigned short cmpOp)                 \
    {                                                                                              \
        return ko::kTypeExtensions[id]->fromSortKey(this, key, length, 1, cmpOp);                  \
    }

KO_CLASS_KEYS(KoString, KoSTRING_T)
KO_CLASS_KEYS(KoDate, KoDATE_T)
KO_CLASS_KEYS(KoTime, KoTIME_T)
KO_CLASS_KEYS(KoObjId, KoOBJID_T)
KO_CLASS_KEYS(KoClassId, KoCLID_T)
KO_CLASS_KEYS(KoRef, KoREF_T)
KO_CLASS_KEYS(KoBlob, KoBLOB_T)
KO_CLASS_KEYS(KoDateTime, KoDATIME_T)
KO_CLASS_KEYS(KoIString, KoISTRING_T)
KO_CLASS_KEYS(KoCaseIString, KoCASEISTRING_T)
KO_CLASS_KEYS(d_Date, D_DATE_T)
KO_CLASS_KEYS(d_Time, D_TIME_T)
KO_CLASS_KEYS(d_Timestamp, D_TIMESTAMP_T)
KO_CLASS_KEYS(d_Interval, D_INTERVAL_T)
KO_CLASS_KEYS(KoInt64, KoINT64_T)
KO_CLASS_KEYS(KoBoolean, KoBOOLEAN_T)
KO_CLASS_KEYS(KoSeal, KoSEAL_T)
KO_CLASS_KEYS(KoDateTimeN, KoDATIME_N_T)
KO_CLASS_KEYS(KoTimeSpan, KoTIMESPAN_T)
