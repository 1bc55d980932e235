#ifndef KO_FUZZ_REQUIRE_H
#define KO_FUZZ_REQUIRE_H

#include <cstdio>
#include <cstdlib>

/// Ends the process where what a target asserts does not hold.
inline void Require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "broken: %s\n", what);
        std::abort();
    }
}

#endif
