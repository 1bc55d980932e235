#ifndef BOUNDS_H
#define BOUNDS_H

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

/// True unless a key meets a condition and lies outside a range that was narrowed for it. An index
/// is in the order of the plain comparison.
inline bool IsFound(const KoTypeMgr& manager, o_char id, unsigned short op, void* value,
                    const KoIdxBounds& range, void* key, unsigned char format)
{
    const auto cmpOp = static_cast<unsigned short>(op & ~7U);
    const int order = manager.Cmp(id, key, value, cmpOp, 1, format);
    const unsigned met = order < 0 ? kLess : order > 0 ? kGreater : kEqual;
    const auto before = [&](void* a, void* b) {
        return a != nullptr && b != nullptr && manager.Cmp(id, a, b, KoCMP_PLAIN, 1, format) < 0;
    };
    return (op & met) == 0 || !(before(key, range.low) || before(range.high, key));
}

#endif
