#include "kofastcompare.h"
#include "kopaddedcompare.h"

// What the tables of keys are looked up by, and comparing texts of different kinds by them.

std::atomic<const o_u4b*> KoKnown::s_keys[256];
std::atomic<unsigned char> KoKnown::s_languages[256];

const o_u4b* KoKnown::AskKeys(unsigned char codeSet)
{
    // Identifiers from 225 on all have 16-bit Unicode characters here, even that of the default
    // one.
    const auto asked = std::min<unsigned char>(codeSet, KoCS_UNICODE);
    const o_u4b* const keys = KoLanguageContext::QueryCodeSet(asked)->FastKeys();
    if (codeSet != KoCS_NONE && codeSet != KoCS_NULL) // the one is the native one at the time
        s_keys[codeSet].store(keys, std::memory_order_relaxed);
    return keys;
}

bool KoKnown::AskLanguage(unsigned char language)
{
    const bool plain = language != KoLANG_NULL &&
                       KoLanguageContext::QueryCodeSet(KoCS_UNICODE)->GetVariant(language) == 0;
    if (language != KoLANG_DEFAULT)
        s_languages[language].store(plain ? kPlain : kOther, std::memory_order_relaxed);
    return plain;
}

bool KoKnown::Learn(unsigned char codeSet, unsigned char language)
{
    const bool knewKeys = KeysOrNull(codeSet) != nullptr;
    const bool knewLanguage = IsKnownPlain(language);
    return (!knewKeys && Keys(codeSet) == KeysOrNull(codeSet)) ||
           (!knewLanguage && IsPlain(language) && IsKnownPlain(language));
}

o_u4b KoWideFastKey(unsigned character)
{
    static const KoCodeSet& s_unicode = *KoLanguageContext::QueryCodeSet(KoCS_UNICODE);
    const o_u4b* page = s_unicode.FastKeys(static_cast<unsigned char>(character >> 8U));
    return page == nullptr ? KoFastKey(static_cast<o_u2b>(character)) : page[character & 0xFFU];
}

int KoCompareFast(const KoText& left, const KoText& right, const KoCompareMode& mode,
                  unsigned& from)
{
    if (!KoHasFastKeys(left) || !KoHasFastKeys(right) ||
        (mode.wildcards && !KoWildcards::AreDefault()))
        return kUndecided;
    const auto compare = [&](auto a, auto b) {
        return KoCompareByKeys(a, b, mode.mask, mode.wildcards, left.cut || right.cut, from);
    };
    return KoWithFastTexts(left, right, compare);
}

int KoCompareFrom(const KoString& left, const KoString& right, o_u2b cmpOp, unsigned limit,
                  unsigned from)
{
    return KoCompareText(KoStringAccess::Get(left), KoStringAccess::Get(right), cmpOp, limit, from)
        .order;
}
