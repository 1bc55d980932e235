#include "collation/text.h"
#include "string/piece.h"

#include <algorithm>

// Code sets of a string, and splitting.

void KoString::SetCodeSet(unsigned char codeSet)
{
    if (m_buffer != nullptr && KoCodeSetWidth(codeSet) != Width())
        Become(Whole(), codeSet, m_language);
    else
        m_codeSet = codeSet;
}

int KoString::SetCodeSetCode(unsigned char codeSet)
{
    if (KoCodeSetWidth(codeSet) != Width())
        return KoRC_REFUSED;
    m_codeSet = codeSet;
    return KoRC_OK;
}

int KoString::MapToCodeSet(unsigned char codeSet)
{
    return codeSet == KoCS_NONE ? KoRC_REFUSED : MapFrom(*this, codeSet, kToEnd);
}

int KoString::CopyMapped(const KoString& source, unsigned char codeSet, short n)
{
    return this == &source ? KoRC_REFUSED
                           : MapFrom(source, codeSet, static_cast<unsigned short>(n));
}

int KoString::MapFrom(const KoString& source, unsigned char codeSet, unsigned limit)
{
    if (codeSet >= KoCS_NULL)
        return KoRC_REFUSED;
    if (source.IsNullValue()) {
        Destroy();
        m_codeSet = source.m_codeSet;
        m_language = source.m_language;
        return KoRC_OK;
    }
    Piece piece = source.Part(0, std::min<unsigned>(source.Len(), limit));
    // Mapping goes by what the characters mean, and text without a code set is native text.
    if (piece.codeSet == KoCS_NONE)
        piece.codeSet = KoLanguageContext::GetNativeCodeSet();
    return Become(piece, codeSet, source.m_language) == Outcome::kDone ? KoRC_OK : -1;
}

int KoSplitList(KoString& list, KoString& item, const KoString& separator, unsigned short& pos)
{
    int end = list.Find(separator, pos);
    if (end == 0)
        end = list.Find(separator, ++pos);
    const unsigned short length = list.Len();
    if (end < 0 && pos >= length)
        return KoRC_END_OF_LIST;
    const unsigned stop = end < 0 ? length : static_cast<unsigned>(end);
    KoString piece = list.Copy(pos, static_cast<short>(stop - pos));
    pos = static_cast<unsigned short>(end < 0 ? length : stop + separator.Len());
    item.Destruct(piece.Trim());
    return KoRC_OK;
}
