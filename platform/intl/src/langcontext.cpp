#include "kointl.h"

namespace
{

constexpr int kRefused = -2002;

// Text without a code set and the two stand-ins have no characters of their own.
bool NamesCodeSet(unsigned char codeSet)
{
    return codeSet != KoCS_NONE && codeSet != KoCS_NULL && codeSet != KoCS_DEFAULT;
}

int SetOfWidth(unsigned char& place, unsigned char codeSet, unsigned width)
{
    if (!NamesCodeSet(codeSet) || KoCodeSetWidth(codeSet) != width)
        return kRefused;
    place = codeSet;
    return 0;
}

} // namespace

constinit KoLanguageContext::Defaults KoLanguageContext::s_defaults;

int KoLanguageContext::SetDefaultCodeSet(unsigned char codeSet) noexcept
{
    return SetOfWidth(s_defaults.codeSet, codeSet, KoCodeSetWidth(codeSet));
}

int KoLanguageContext::SetDefault8CodeSet(unsigned char codeSet) noexcept
{
    return SetOfWidth(s_defaults.codeSet8, codeSet, 1);
}

int KoLanguageContext::SetDefault16CodeSet(unsigned char codeSet) noexcept
{
    return SetOfWidth(s_defaults.codeSet16, codeSet, 2);
}

int KoLanguageContext::SetNativeCodeSet(unsigned char codeSet) noexcept
{
    return SetOfWidth(s_defaults.native, codeSet, 1);
}

int KoLanguageContext::SetDefaultLanguage(unsigned char language) noexcept
{
    if (language == KoLANG_NULL || language == KoLANG_DEFAULT)
        return kRefused;
    s_defaults.language = language;
    return 0;
}

int KoLanguageContext::SetDefaultCmpOp(o_u2b cmpOp) noexcept
{
    if (cmpOp == 0xFFFF)
        return kRefused;
    s_defaults.cmpOp = cmpOp;
    return 0;
}

void KoLanguageContext::Reset() noexcept
{
    s_defaults = {};
}

void ___KoI18NContext(int)
{
    KoLanguageContext::Reset();
}
