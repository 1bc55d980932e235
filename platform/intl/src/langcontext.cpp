#include "kointl.h"

namespace
{

constexpr int kRefused = -2002;

// Text without a code set and the two stand-ins have no characters of their own.
bool NamesCodeSet(unsigned char codeSet)
{
    return codeSet != KoCS_NONE && codeSet != KoCS_NULL && codeSet != KoCS_DEFAULT;
}

/// The innermost scope of this thread.
constinit thread_local const KoLanguageScope* t_scope = nullptr;

int SetOfWidth(unsigned char& place, unsigned char codeSet, unsigned width)
{
    if (!NamesCodeSet(codeSet) || KoCodeSetWidth(codeSet) != width)
        return kRefused;
    place = codeSet;
    return 0;
}

} // namespace

constinit KoLanguageContext::Defaults KoLanguageContext::s_defaults;
constinit std::atomic<unsigned> KoLanguageContext::s_scopes = 0;

const KoLanguageContext::Defaults& KoLanguageContext::OfThread() noexcept
{
    return t_scope != nullptr ? t_scope->m_defaults : s_defaults;
}

KoLanguageScope::KoLanguageScope(unsigned char language, unsigned char codeSet) noexcept
    : m_outer(t_scope), m_defaults(KoLanguageContext::Current())
{
    if (language != KoLANG_NULL && language != KoLANG_DEFAULT)
        m_defaults.language = language;
    if (NamesCodeSet(codeSet)) {
        m_defaults.codeSet = codeSet;
        (KoCodeSetWidth(codeSet) == 1 ? m_defaults.codeSet8 : m_defaults.codeSet16) = codeSet;
    }
    t_scope = this;
    KoLanguageContext::s_scopes.fetch_add(1, std::memory_order_relaxed);
}

KoLanguageScope::~KoLanguageScope()
{
    KoLanguageContext::s_scopes.fetch_sub(1, std::memory_order_relaxed);
    t_scope = m_outer;
}

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
