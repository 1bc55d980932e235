#include <kotypemgr.h>

#include <cstdio>

/// Stores a value through the installed library and reads it back.
int main()
{
    const KoTypeMgr types;
    const o_4b value = 0x01020304;
    unsigned char stored[4] = {};
    o_4b loaded = 0;
    if (types.Store(Ko4B_T, stored, &value, KoFMT_BIG, 1) != 4 || stored[0] != 1 ||
        types.Load(Ko4B_T, &loaded, stored, KoFMT_BIG, 1) != 4 || loaded != value) {
        std::puts("an o_4b does not come back as it was stored");
        return 1;
    }
    return 0;
}
