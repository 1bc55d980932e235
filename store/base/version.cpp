#include "base/version.h"

#include <kotmsdll.h>

namespace ko::store::inner
{

std::string LibraryVersion()
{
    o_u4b number[5];
    o_u4b compilerVersion;
    const char* text[5];
    KoDescribeDll(&number[0], &number[1], &number[2], &number[3], &number[4], &text[0], &text[1],
                  &text[2], &compilerVersion, &text[3], &text[4]);
    std::string version;
    for (int i = 0; i < 4; ++i)
        version += (i == 0 ? "" : ".") + std::to_string(number[i]);
    return version;
}

} // namespace ko::store::inner
