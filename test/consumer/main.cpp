#include <kobase.h>
#include <kointl.h>
#include <kostring.h>
#include <kotypemgr.h>

#include <cstdio>
#include <cstring>

/// Calls each of the three installed libraries once.
int main()
{
    const KoTypeMgr types;
    const KoString text("abc");
    if (CheckKoVersionNumber(12, 0, 2, 248, 0, 15) != 0 ||
        KoLanguageContext::QueryCodeSet(KoCS_UNICODE)->Width() != 2 || text.Len() != 3 ||
        std::strcmp(types.NameGet(KoSTRING_T), "KoString") != 0) {
        std::puts("a library does not answer as its headers say");
        return 1;
    }
    return 0;
}
