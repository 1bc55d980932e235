#ifndef KO_TEST_LAWS_LAW_H
#define KO_TEST_LAWS_LAW_H

#include "support/keys.h"

#include <kotms.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>

/// What is thrown where a law does not hold. Its text begins with the name of the law, which
/// test/laws/faults.py reads.
struct Broken : std::runtime_error {
    Broken(const char* law, const std::string& what) : runtime_error(law + (": " + what)) {}
};

/// How many times a law was looked at, by this thread.
inline thread_local unsigned long long lawsChecked = 0;

/// `what()` makes the text about the values, which costs more than the law.
template <class What>
void Law(bool holds, const char* law, What what)
{
    ++lawsChecked;
    if (!holds)
        throw Broken(law, what());
}

/// How much a test of drawn values does: a number, or what an environment variable asks for.
inline unsigned long long Asked(const char* variable, unsigned long long number)
{
    const char* const asked = std::getenv(variable);
    return asked != nullptr ? std::strtoull(asked, nullptr, 10) : number;
}

/// The forms of values: in memory, least or most significant byte first, and the key form, which
/// is another one for case-insensitive texts.
inline constexpr unsigned char kForms[] = {KoFMT_MEMORY, KoFMT_LITTLE, KoFMT_BIG,
                                           KoFMT_LITTLE | KoFMT_KEY};
inline constexpr unsigned kMemory = 0;
inline constexpr unsigned kLittle = 1;
inline constexpr unsigned kBig = 2;

/// Bytes that are another text when loaded than the one that they are compared as (doc/formats.md):
/// code set 254 with bit 7 in the language, the older layout, and more weights than a text in
/// memory has room for.
inline bool IsReadAsAnother(o_char id, const Bytes& stored)
{
    if (id == KoISTRING_T || id == KoCASEISTRING_T)
        return stored.size() > KoIStringText::kMaxLength + 4U;
    if (id != KoSTRING_T || stored.empty())
        return false;
    const auto marks = std::adjacent_find(stored.begin(), stored.end(),
                                          [](unsigned char codeSet, unsigned char language) {
                                              return codeSet == 254 && language >= 128;
                                          });
    return marks != stored.end() || stored.back() == 0;
}

#endif
