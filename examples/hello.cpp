/// Takes one value through the type manager, knowing nothing of its type but the id: text to value,
/// value to stored bytes and back, comparison, and text again.

#include <kotms.h>

#include <cstdio>
#include <vector>

int main()
{
    KoTypeMgr types;
    const o_char id = Ko4B_T;

    void* value = types.Create(id, 1);
    void* copy = types.Create(id, 1);
    KoString text("1789");
    types.ScanFromKoString(id, value, text, nullptr, 1);

    // The stored form has the same bytes on every machine.
    std::vector<unsigned char> stored(types.DiskLenGet(id, value, KoFMT_BIG, 1, KoFMT_MEMORY));
    types.Store(id, stored.data(), value, KoFMT_BIG, 1);
    types.Load(id, copy, stored.data(), KoFMT_BIG, 1);

    KoString printed;
    types.PrintToKoString(id, printed, copy, nullptr, 1);
    std::printf("%s %s in %zu bytes:", types.NameGet(id), printed.StrGet(), stored.size());
    for (const unsigned char byte : stored)
        std::printf(" %02x", byte);
    std::puts("");

    const bool same = types.Cmp(id, value, copy, 0xFFFF, 1, KoFMT_MEMORY) == 0;
    types.Delete(id, value, 1);
    types.Delete(id, copy, 1);
    return same && stored.size() == 4 ? 0 : 1;
}
