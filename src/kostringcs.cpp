#include "kostringpiece.h"
#include "kostringtext.h"

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
    return MapFrom(*this, codeSet, kToEnd);
}

int KoString::CopyMapped(const KoString& source, unsigned char codeSet, short n)
{
    return this == &source ? KoRC_REFUSED
                           : MapFrom(source, codeSet, static_cast<unsigned short>(n));
}

int KoString::MapFrom(const KoString& source, unsigned char codeSet, unsigned limit)
{
    if (codeSet == KoCS_NONE || codeSet >= KoCS_NULL)
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

namespace
{

/// Position of `pattern`, which is of the code set of `text` and not empty, from `start` on; the
/// length of `text` where there is none.
unsigned FindPlain(const KoString& text, const KoString& pattern, unsigned start)
{
    const std::size_t width = text.Width();
    const unsigned length = text.Len();
    const unsigned wanted = pattern.Len();
    for (unsigned i = start; i + wanted <= length; ++i)
        if (std::memcmp(text.StrGet() + i * width, pattern.StrGet(), wanted * width) == 0)
            return i;
    return length;
}

bool IsBlank(const KoText& text, unsigned index)
{
    return text.At(index) <= ' ';
}

} // namespace

int KoSplitList(KoString& list, KoString& item, const KoString& separator, unsigned short& pos)
{
    const unsigned length = list.Len();
    if (pos >= length)
        return KoRC_END_OF_LIST;
    KoString mark(list.CodeSet(), list.Language());
    mark += separator;
    const unsigned step = mark.Len();
    unsigned begin = pos;
    unsigned end = step == 0 ? length : FindPlain(list, mark, begin);
    if (end == 0) {
        begin = step;
        end = FindPlain(list, mark, begin);
    }
    pos = static_cast<unsigned short>(std::min(end + step, length));
    if (begin >= length)
        return KoRC_END_OF_LIST;
    const KoText text = KoStringAccess::Get(list);
    while (begin < end && IsBlank(text, begin))
        ++begin;
    unsigned last = end;
    while (last > begin && IsBlank(text, last - 1))
        --last;
    item = list.Copy(static_cast<unsigned short>(begin), static_cast<short>(last - begin));
    return KoRC_OK;
}
