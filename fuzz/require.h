#ifndef KO_FUZZ_REQUIRE_H
#define KO_FUZZ_REQUIRE_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// Ends the process where what a target asserts does not hold.
inline void Require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "broken: %s\n", what);
        std::abort();
    }
}

/// The text of an input from `at` up to a zero or the end, with `at` moved behind that.
inline std::string Next(const std::uint8_t*& at, const std::uint8_t* end)
{
    const std::uint8_t* const zero = std::find(at, end, std::uint8_t{0});
    const std::string text(at, zero);
    at = zero == end ? end : zero + 1;
    return text;
}

#endif
