#include "kostringtext.h"

#include <koservices.h>

unsigned KoUnitsBeforeZero(const char* text, unsigned width, unsigned limit)
{
    if (width == 1) {
        const void* zero = limit == 0 ? nullptr : std::memchr(text, 0, limit);
        return zero == nullptr ? limit
                               : static_cast<unsigned>(static_cast<const char*>(zero) - text);
    }
    unsigned i = 0;
    for (; i + 4 <= limit; i += 4) {
        const auto four = ko::ReadValue<o_u8b>(text + std::size_t{i} * 2);
        // Set in the top bit of some unit exactly when one of the four is zero.
        if (((four - 0x0001000100010001U) & ~four & 0x8000800080008000U) != 0)
            break;
    }
    while (i < limit && ko::ReadValue<o_u2b>(text + std::size_t{i} * 2) != 0)
        ++i;
    return i;
}

void KoReportOverflow()
{
    if (DefaultConfig::GetBool("debug", "stringOverflow")) {
        // Fixed text that programs look for; file and line are no place in these sources.
        KORA_assert("String overflow", "src\\kostring", 1110);
    }
}
