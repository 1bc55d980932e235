#ifndef KO_TEST_BOUNDS_H
#define KO_TEST_BOUNDS_H

#include <kotms.h>

#include <string>

inline constexpr unsigned kEqual = KoQOP_EQUAL;
inline constexpr unsigned kLess = KoQOP_LESS;
inline constexpr unsigned kGreater = KoQOP_GREATER;

/// The word of an operator such as "<=" with what limits its comparison, such as "= plain".
inline unsigned short OperatorOf(const std::string& text)
{
    static constexpr struct {
        const char* name;
        unsigned bits;
    } kParts[] = {{"<", KoQOP_LESS},
                  {"=", KoQOP_EQUAL},
                  {">", KoQOP_GREATER},
                  {"plain", KoCMP_PLAIN},
                  {"no-case", KoCMP_IGNORE_CASE},
                  {"no-accents", KoCMP_IGNORE_ACCENTS},
                  {"no-spaces", KoCMP_SKIP_SPACES},
                  {"no-symbols", KoCMP_SKIP_SYMBOLS},
                  {"no-wildcards", KoCMP_NO_WILDCARDS}};
    unsigned word = 0;
    for (const auto& part : kParts)
        word |= text.find(part.name) != std::string::npos ? part.bits : 0U;
    return static_cast<unsigned short>(word);
}

/// The ends of a range with the buffers that an evaluator put there.
struct Narrowed : KoIdxBounds {
    Narrowed() : KoIdxBounds{} {}
    Narrowed(const Narrowed&) = delete;
    Narrowed& operator=(const Narrowed&) = delete;
    ~Narrowed()
    {
        KoFree(low);
        KoFree(high);
    }
};

#endif
