#include "core/null_text.h"

#include <kochar.h>
#include <kostring.h>
#include <kotypemgr.h>

#include <cstring>

namespace ko
{

namespace
{

/// The whole comparison. Apart from MeansNull, which every reading of a value begins with
/// and which nearly always has its answer before.
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

bool MeansNullOrIsEmpty(const KoString& text, bool whole)
{
    return text.IsEmpty() || MeansNull(text, whole);
}

bool MeansNull(const KoString& text, bool whole)
{
    if (text.IsNullValue())
        return true;
    const KoString& nullText = KoTypeMgr::GetNullPrintString();
    // Nearly every text that is not null differs in its first character already.
    if (text.CodeSet() == nullText.CodeSet() && *text.StrGet() != *nullText.StrGet())
        return false;
    return IsOrBeginsWith(text, nullText, whole);
}

} // namespace ko
