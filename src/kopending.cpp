#include "kodescr.h"

// Types whose operations are not written yet: they have their names, lengths and formats, and
// operations that do nothing. A type leaves this list when its own file defines its record. The
// rows stand apart so that removals on different branches merge.

KO_DEFINE_TYPE(koCharDescriptor, NoOps, Ko1B_T)

KO_DEFINE_TYPE(koShortDescriptor, NoOps, Ko2B_T)

KO_DEFINE_TYPE(koLongDescriptor, NoOps, Ko4B_T)

KO_DEFINE_TYPE(koDoubleDescriptor, NoOps, KoDOUBLE_T)

KO_DEFINE_TYPE(koFloatDescriptor, NoOps, KoFLOAT_T)

KO_DEFINE_TYPE(koWordDescriptor, NoOps, KoU2B_T)

KO_DEFINE_TYPE(koDwordDescriptor, NoOps, KoU4B_T)

KO_DEFINE_TYPE(koIntDescriptor, NoOps, KoINT_T)

KO_DEFINE_TYPE(koUnsignedDescriptor, NoOps, KoUNSIGNED_T)

KO_DEFINE_TYPE(koEnumDescriptor, NoOps, KoENUM_T)

KO_DEFINE_TYPE(koByteDescriptor, NoOps, KoU1B_T)

KO_DEFINE_TYPE(koStringDescriptor, NoOps, KoSTRING_T)

constinit KoTypeDescriptor koOldStringDescriptor = Describe<NoOps>(KoSTRING_T);

KO_DEFINE_TYPE(koDateDescriptor, NoOps, KoDATE_T)

KO_DEFINE_TYPE(koTimeDescriptor, NoOps, KoTIME_T)

KO_DEFINE_TYPE(koBlockIdDescriptor, NoOps, KoBLOCKID_T)

KO_DEFINE_TYPE(koObjIdDescriptor, NoOps, KoOBJID_T)

KO_DEFINE_TYPE(koClassIdDescriptor, NoOps, KoCLID_T)

KO_DEFINE_TYPE(koRefDescriptor, NoOps, KoREF_T)

KO_DEFINE_TYPE(koBlobDescriptor, NoOps, KoBLOB_T)

KO_DEFINE_TYPE(koDateTimeDescriptor, NoOps, KoDATIME_T)

KO_DEFINE_TYPE(koIStringDescriptor, NoOps, KoISTRING_T)

KO_DEFINE_TYPE(koCaseIStringDescriptor, NoOps, KoCASEISTRING_T)

KO_DEFINE_TYPE(d_DateDescriptor, NoOps, D_DATE_T)

KO_DEFINE_TYPE(d_TimeDescriptor, NoOps, D_TIME_T)

KO_DEFINE_TYPE(d_TimestampDescriptor, NoOps, D_TIMESTAMP_T)

KO_DEFINE_TYPE(d_IntervalDescriptor, NoOps, D_INTERVAL_T)

KO_DEFINE_TYPE(koInt64Descriptor, NoOps, KoINT64_T)

KO_DEFINE_TYPE(koBooleanDescriptor, NoOps, KoBOOLEAN_T)

KO_DEFINE_TYPE(koNullCharDescriptor, NoOps, KoNULL_1B_T)

KO_DEFINE_TYPE(koNullUCharDescriptor, NoOps, KoNULL_U1B_T)

KO_DEFINE_TYPE(koNullShortDescriptor, NoOps, KoNULL_2B_T)

KO_DEFINE_TYPE(koNullUShortDescriptor, NoOps, KoNULL_U2B_T)

KO_DEFINE_TYPE(koNullIntDescriptor, NoOps, KoNULL_INT_T)

KO_DEFINE_TYPE(koNullUnsignedDescriptor, NoOps, KoNULL_UNSIGNED_T)

KO_DEFINE_TYPE(koNullLongDescriptor, NoOps, KoNULL_4B_T)

KO_DEFINE_TYPE(koNullULongDescriptor, NoOps, KoNULL_U4B_T)

KO_DEFINE_TYPE(koNullFloatDescriptor, NoOps, KoNULL_FLOAT_T)

KO_DEFINE_TYPE(koNullDoubleDescriptor, NoOps, KoNULL_DOUBLE_T)

KO_DEFINE_TYPE(koNullInt64Descriptor, NoOps, KoNULL_KOINT64_T)

KO_DEFINE_TYPE(koSealDescriptor, NoOps, KoSEAL_T)

KO_DEFINE_TYPE(koDateTimeNDescriptor, NoOps, KoDATIME_N_T)

KO_DEFINE_TYPE(koTimeSpanDescriptor, NoOps, KoTIMESPAN_T)

KO_DEFINE_TYPE(ko8bDescriptor, NoOps, Ko8B_T)

KO_DEFINE_TYPE(koU8bDescriptor, NoOps, KoU8B_T)

KO_DEFINE_TYPE(koNull8bDescriptor, NoOps, KoNULL_8B_T)

KO_DEFINE_TYPE(koNullU8bDescriptor, NoOps, KoNULL_U8B_T)

KoString& CharPrintToKoString(KoString& text, void*, const char*, unsigned)
{
    return text;
}
