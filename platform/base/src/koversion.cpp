#include "koversion.h"

int CheckKoVersionNumber(unsigned major, unsigned minor, unsigned patch, unsigned build,
                         unsigned /*fifth*/, int flags)
{
    constexpr unsigned kOwn[] = {KO_VERSION_NUMBERS};
    const unsigned asked[] = {major, minor, patch, build};
    for (int component = 0; component < 4; ++component)
        if ((flags >> component & 1) != 0 && asked[component] != kOwn[component])
            return component + 1;
    return 0;
}
