#include "collation/compare_stored.h"
#include "collation/compare_memory.h"

// What the tables of keys are looked up by, and comparing texts of different kinds by them.

namespace ko
{

std::atomic<const o_u4b*> KnownCodeSets::s_keys[256];
std::atomic<unsigned char> KnownCodeSets::s_languages[256];

const o_u4b* KnownCodeSets::AskKeys(unsigned char codeSet)
{
    // Identifiers from 225 on all have 16-bit Unicode characters here, even that of the default
    // one.
    const auto asked = std::min<unsigned char>(codeSet, KoCS_UNICODE);
    const o_u4b* const keys = KoLanguageContext::QueryCodeSet(asked)->FastKeys();
    if (codeSet != KoCS_NONE && codeSet != KoCS_NULL) // the one is the native one at the time
        s_keys[codeSet].store(keys, std::memory_order_relaxed);
    return keys;
}

bool KnownCodeSets::AskLanguage(unsigned char language)
{
    const bool plain = language != KoLANG_NULL &&
                       KoLanguageContext::QueryCodeSet(KoCS_UNICODE)->GetVariant(language) == 0;
    if (language != KoLANG_DEFAULT)
        s_languages[language].store(plain ? kPlain : kOther, std::memory_order_relaxed);
    return plain;
}

bool KnownCodeSets::Learn(unsigned char codeSet, unsigned char language)
{
    const bool knewKeys = KeysOrNull(codeSet) != nullptr;
    const bool knewLanguage = IsKnownPlain(language);
    return (!knewKeys && Keys(codeSet) == KeysOrNull(codeSet)) ||
           (!knewLanguage && IsPlain(language) && IsKnownPlain(language));
}

o_u4b WideFastKey(unsigned character)
{
    static const KoCodeSet& s_unicode = *KoLanguageContext::QueryCodeSet(KoCS_UNICODE);
    const o_u4b* page = s_unicode.FastKeys(static_cast<unsigned char>(character >> 8U));
    return page == nullptr ? KoFastKey(static_cast<o_u2b>(character)) : page[character & 0xFFU];
}

int CompareFast(const KoText& left, const KoText& right, const CompareMode& mode, unsigned& from)
{
    if (!HasFastKeys(left) || !HasFastKeys(right) || (mode.wildcards && !WildcardSet::AreDefault()))
        return kUndecided;
    const auto compare = [&](auto a, auto b) {
        return CompareByOrderKeys(a, b, mode.mask, mode.wildcards, left.cut || right.cut, from);
    };
    return WithFastTexts(left, right, compare);
}

int CompareFrom(const KoString& left, const KoString& right, o_u2b cmpOp, unsigned limit,
                unsigned from)
{
    return CompareText(StringAccess::Get(left), StringAccess::Get(right), cmpOp, limit, from).order;
}

} // namespace ko
