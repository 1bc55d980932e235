#ifndef KOSTRINGPIECE_H
#define KOSTRINGPIECE_H

#include <kostring.h>

/// Text on its way into a string.
struct KoString::Piece {
    const void* text = nullptr;
    unsigned count = 0; ///< characters
    unsigned char codeSet = KoCS_NONE;
    unsigned char format = KoFMT_MEMORY; ///< byte order of 16-bit characters
    unsigned repeat = 1;

    /// Text up to its terminator, at most `limit` characters; null is no text.
    static Piece Of(const char* s, unsigned limit = kToEnd);
    static Piece Of(const unsigned short* s, unsigned limit = kToEnd);
    static Piece Of(const char16_t* s, unsigned limit);
    /// One character `repeat` times, by address; zero is no text.
    static Piece Of(const char& c, unsigned repeat, unsigned char codeSet)
    {
        return {&c, c == 0 ? 0U : 1U, codeSet, KoFMT_MEMORY, repeat};
    }
    static Piece Of(const unsigned short& c, unsigned repeat, unsigned char codeSet)
    {
        return {&c, c == 0 ? 0U : 1U, codeSet, KoFMT_MEMORY, repeat};
    }
};

#endif
