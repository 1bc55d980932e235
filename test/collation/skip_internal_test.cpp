#include "collation/lanes.h"

#include <gtest/gtest.h>

#include <string>

using namespace ko;

// What the processor can skip at once, and what every one can, stop before the same bytes.
TEST(StrSkip, StopsBeforeDifferencesZerosAndTheEnd)
{
    for (const auto skip : {SkipEqual, SkipEqualPlain})
        for (std::size_t length = 0; length < 600; length += 23)
            for (std::size_t at = 0; at <= length; at += 5) {
                const std::string text(length, 'x');
                std::string other = text;
                if (at < length)
                    other[at] = 'X';
                const std::size_t equal = skip(text.data(), other.data(), length);
                EXPECT_LE(equal, at);
                EXPECT_GE(equal + 128, at); // it goes on as far as it can
                if (at < length)
                    other[at] = 0;
                EXPECT_LE(skip(other.data(), std::string(other).data(), length), at);
            }
}
