#include "konullops.h"

#include "koint64type.h"

namespace
{

/// The whole comparison. Apart from KoIsNullPrint, which every reading of a value begins with and
/// which nearly always has its answer before.
[[gnu::noinline]] bool IsOrBeginsWith(const KoString& text, const KoString& nullText, bool whole)
{
    if (nullText.IsEmpty())
        return false;
    const unsigned short length = text.Len();
    const unsigned short nullLength = nullText.Len();
    if (whole ? length != nullLength : length < nullLength)
        return false;
    KoString mapped;
    const KoString* start = &text;
    // What has no code set is bytes.
    const bool bytes = text.CodeSet() == KoCS_NONE || nullText.CodeSet() == KoCS_NONE;
    if (text.CodeSet() != nullText.CodeSet() && !(bytes && text.Width() == nullText.Width())) {
        const unsigned char codeSet = nullText.CodeSet() == KoCS_NONE
                                          ? KoLanguageContext::GetNativeCodeSet()
                                          : nullText.CodeSet();
        // A character that the other code set lacks becomes "?", which must not pass for one.
        if (mapped.CopyMapped(text, codeSet, static_cast<short>(nullLength)) != 0)
            return false;
        start = &mapped;
    }
    return std::memcmp(start->StrGet(), nullText.StrGet(),
                       std::size_t{nullLength} * nullText.Width()) == 0;
}

} // namespace

bool KoIsNullText(const KoString& text, bool whole)
{
    return text.IsEmpty() || KoIsNullPrint(text, whole);
}

bool KoIsNullPrint(const KoString& text, bool whole)
{
    if (text.IsNullValue())
        return true;
    const KoString& nullText = KoTypeMgr::GetNullPrintString();
    // Nearly every text that is not null differs in its first character already.
    if (text.CodeSet() == nullText.CodeSet() && *text.StrGet() != *nullText.StrGet())
        return false;
    return IsOrBeginsWith(text, nullText, whole);
}

// clang-format off
#define KO_NULL_TYPE_LIST(X)                                 \
    X(koNullCharDescriptor,     CharType,     KoNULL_1B_T)       \
    X(koNullUCharDescriptor,    ByteType,     KoNULL_U1B_T)      \
    X(koNullShortDescriptor,    ShortType,    KoNULL_2B_T)       \
    X(koNullUShortDescriptor,   WordType,     KoNULL_U2B_T)      \
    X(koNullIntDescriptor,      IntType,      KoNULL_INT_T)      \
    X(koNullUnsignedDescriptor, UnsignedType, KoNULL_UNSIGNED_T) \
    X(koNullLongDescriptor,     LongType,     KoNULL_4B_T)       \
    X(koNullULongDescriptor,    DwordType,    KoNULL_U4B_T)      \
    X(koNullFloatDescriptor,    FloatType,    KoNULL_FLOAT_T)    \
    X(koNullDoubleDescriptor,   DoubleType,   KoNULL_DOUBLE_T)   \
    X(koNullInt64Descriptor,    Int64Type,    KoNULL_KOINT64_T)  \
    X(koNull8bDescriptor,       O_8BType,     KoNULL_8B_T)       \
    X(koNullU8bDescriptor,      O_U8BType,    KoNULL_U8B_T)
// clang-format on

#define KO_NULL_TYPE(descriptor, Base, id)                                                         \
    using descriptor##Ops = NullOps<Base, id>;                                                     \
    KO_DEFINE_TYPE(descriptor, descriptor##Ops, id)
KO_NULL_TYPE_LIST(KO_NULL_TYPE)
