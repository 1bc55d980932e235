#ifndef KOTEXT_H
#define KOTEXT_H

#include "texts.h"

/// A text of the given code set and language, from its characters as they are.
inline KoString Text(const std::u16string& units, unsigned char codeSet, unsigned char language = 0)
{
    KoString text(codeSet, language);
    if (text.Width() == 1) {
        const std::string bytes(units.begin(), units.end());
        text = bytes.c_str();
    } else {
        text = reinterpret_cast<const unsigned short*>(units.c_str());
    }
    text.SetCodeSetCode(codeSet);
    text.SetLanguage(language);
    return text;
}

/// The identifiers whose code set has a table of its own, and one of either width without.
inline constexpr unsigned char kCodeSets[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10,  11, 13, 14,
                                              15, 16, 20, 21, 22, 30, 31, 32, 33, 34,  35, 36, 37,
                                              38, 40, 41, 42, 43, 44, 45, 46, 77, 230, 253};

#endif
