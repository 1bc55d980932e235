#include "kochartext.h"
#include "kostringpiece.h"

// Characters of a string: indexing, trimming, case.

KoChar KoString::operator[](int i)
{
    if (i < 0 || i > Len())
        return KoChar::Invalid();
    return {*this, i * static_cast<int>(Width())};
}

const KoChar KoString::operator[](int i) const
{
    if (i < 0 || i > Len())
        return KoChar::Invalid();
    return {*this, i * static_cast<int>(Width())};
}

/// Keeps what is left when blanks are removed at the beginning, the end, or both.
KoString& KoString::KeepWithoutBlanks(bool atBegin, bool atEnd)
{
    const KoText text = KoStringAccess::Get(*this);
    const KoCodeSet& codeSet = KoCodeSetOf(m_codeSet);
    const auto isBlank = [&text, &codeSet](unsigned i) {
        return codeSet.GetOrder(static_cast<o_u2b>(text.At(i))) < KoORDER_SYMBOL;
    };
    const unsigned length = Len();
    unsigned begin = 0;
    unsigned end = length;
    while (atBegin && begin < end && isBlank(begin))
        ++begin;
    while (atEnd && end > begin && isBlank(end - 1))
        --end;
    if (end - begin < length)
        Become(Part(begin, end - begin), m_codeSet, m_language);
    return *this;
}

KoString& KoString::LeftTrim()
{
    return KeepWithoutBlanks(true, false);
}

KoString& KoString::RightTrim()
{
    return KeepWithoutBlanks(false, true);
}

KoString& KoString::Trim()
{
    return KeepWithoutBlanks(true, true);
}

KoString& KoString::Transform(KoCharOperation& operation)
{
    KoStringIterator source(*this);
    KoStringIterator target(*this);
    source.Transform(target, operation);
    return *this;
}

KoString& KoString::ToUpper()
{
    KoCharToUpper operation;
    return Transform(operation);
}

KoString& KoString::ToLower()
{
    KoCharToLower operation;
    return Transform(operation);
}
