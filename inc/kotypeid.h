#ifndef KOTYPEID_H
#define KOTYPEID_H

#include "kobasic.h"

/// The one list of the value types, in the order of their ids: id, id name,
/// descriptor, type name, bytes of one element in memory, fixed length, default
/// print format. Ids, names and lengths are disk format: never renumber a row,
/// never reuse an id; a new type takes a new one.
// clang-format off
#define KO_TYPE_LIST(X) \
    X( 0, Ko1B_T,            koCharDescriptor,         "o_char",          1, 1, "%c") \
    X( 1, Ko2B_T,            koShortDescriptor,        "o_2b",            2, 1, "%hd") \
    X( 2, Ko4B_T,            koLongDescriptor,         "o_4b",            4, 1, "%ld") \
    X( 3, KoDOUBLE_T,        koDoubleDescriptor,       "o_double",        8, 1, "%.17g") \
    X( 4, KoFLOAT_T,         koFloatDescriptor,        "o_float",         4, 1, "%.17g") \
    X( 5, KoU2B_T,           koWordDescriptor,         "o_u2b",           2, 1, "%hu") \
    X( 6, KoU4B_T,           koDwordDescriptor,        "o_u4b",           4, 1, "%lu") \
    X( 7, KoINT_T,           koIntDescriptor,          "int",             4, 1, "%d") \
    X( 8, KoUNSIGNED_T,      koUnsignedDescriptor,     "unsigned",        4, 1, "%u") \
    X( 9, KoENUM_T,          koEnumDescriptor,         "enum",            4, 1, "%d") \
    X(10, KoU1B_T,           koByteDescriptor,         "o_u1b",           1, 1, "%c") \
    X(11, KoSTRING_T,        koStringDescriptor,       "KoString",       16, 0, "%s") \
    X(12, KoDATE_T,          koDateDescriptor,         "KoDate",          4, 1, "%a %e.%b %Y") \
    X(13, KoTIME_T,          koTimeDescriptor,         "KoTime",          3, 1, "%I:%M:%S %p") \
    X(14, KoBLOCKID_T,       koBlockIdDescriptor,      "BlockId",         4, 1, "#%lu") \
    X(15, KoOBJID_T,         koObjIdDescriptor,        "KoObjId",        12, 1, "(%H-%L#%B)") \
    X(16, KoCLID_T,          koClassIdDescriptor,      "KoClassId",       4, 1, "(%Cv%V)") \
    X(17, KoREF_T,           koRefDescriptor,          "KoRef",          16, 1, "(%D:%H-%L#%B, %C)") \
    X(18, KoBLOB_T,          koBlobDescriptor,         "KoBlob",          8, 0, "[BLOB,len=%L]") \
    X(19, KoDATIME_T,        koDateTimeDescriptor,     "KoDateTime",      8, 1, "%a %e.%b %Y %I:%M:%S %p") \
    X(20, KoISTRING_T,       koIStringDescriptor,      "KoIString",      16, 0, "%s") \
    X(21, KoCASEISTRING_T,   koCaseIStringDescriptor,  "KoCaseIString",  16, 0, "%s") \
    X(22, D_DATE_T,          d_DateDescriptor,         "d_Date",          4, 1, "%a %b %e") \
    X(23, D_TIME_T,          d_TimeDescriptor,         "d_Time",          6, 1, "%I:%M:%S %p") \
    X(24, D_TIMESTAMP_T,     d_TimestampDescriptor,    "d_Timestamp",    10, 1, "%a %b %e %I:%M:%S %p") \
    X(25, D_INTERVAL_T,      d_IntervalDescriptor,     "d_Interval",      4, 1, \
      "%e days, %I hours, %M minutes, %S seconds") \
    X(26, KoINT64_T,         koInt64Descriptor,        "KoInt64",         8, 1, "%S") \
    X(27, KoBOOLEAN_T,       koBooleanDescriptor,      "KoBoolean",       1, 1, "noop") \
    X(28, KoNULL_1B_T,       koNullCharDescriptor,     "KoNull_char",     2, 1, "%c") \
    X(29, KoNULL_U1B_T,      koNullUCharDescriptor,    "KoNull_uchar",    2, 1, "%c") \
    X(30, KoNULL_2B_T,       koNullShortDescriptor,    "KoNull_short",    4, 1, "%hd") \
    X(31, KoNULL_U2B_T,      koNullUShortDescriptor,   "KoNull_ushort",   4, 1, "%hu") \
    X(32, KoNULL_INT_T,      koNullIntDescriptor,      "KoNull_int",      8, 1, "%d") \
    X(33, KoNULL_UNSIGNED_T, koNullUnsignedDescriptor, "KoNull_unsigned", 8, 1, "%u") \
    X(34, KoNULL_4B_T,       koNullLongDescriptor,     "KoNull_long",     8, 1, "%ld") \
    X(35, KoNULL_U4B_T,      koNullULongDescriptor,    "KoNull_ulong",    8, 1, "%lu") \
    X(36, KoNULL_FLOAT_T,    koNullFloatDescriptor,    "KoNull_float",    8, 1, "%.17g") \
    X(37, KoNULL_DOUBLE_T,   koNullDoubleDescriptor,   "KoNull_double",  16, 1, "%.17g") \
    X(38, KoNULL_KOINT64_T,  koNullInt64Descriptor,    "KoNull_KoInt64", 12, 1, "%S") \
    X(39, KoSEAL_T,          koSealDescriptor,         "KoSeal",          6, 1, "noop") \
    X(40, KoDATIME_N_T,      koDateTimeNDescriptor,    "KoDateTimeN",    12, 1, "%X") \
    X(41, KoTIMESPAN_T,      koTimeSpanDescriptor,     "KoTimeSpan",     12, 1, "%V") \
    X(42, Ko8B_T,            ko8bDescriptor,           "o_8b",            8, 1, "%I64d") \
    X(43, KoU8B_T,           koU8bDescriptor,          "o_u8b",           8, 1, "%I64u") \
    X(44, KoNULL_8B_T,       koNull8bDescriptor,       "KoNull_8b",      16, 1, "%I64d") \
    X(45, KoNULL_U8B_T,      koNullU8bDescriptor,      "KoNull_u8b",     16, 1, "%I64u") \
    X(46, KoRES_T,           koReservedDescriptor,     "illegal",         0, 1, "illegal")
// clang-format on

/// The type ids: signed 8-bit numbers, stored with every typed field.
enum KoTypeId : o_char {
#define KO_TYPE_ID(id, idName, descriptor, name, memLen, isFixed, printFormat) idName = (id),
    KO_TYPE_LIST(KO_TYPE_ID)
#undef KO_TYPE_ID
};

#define KO_TYPE_ONE(id, idName, descriptor, name, memLen, isFixed, printFormat) +1
inline constexpr int KoTYPE_COUNT = 0 KO_TYPE_LIST(KO_TYPE_ONE); ///< slots of the current table
#undef KO_TYPE_ONE
inline constexpr int KoTYPE_COUNT_COMPAT = 28; ///< slots of the compatibility table

#endif
