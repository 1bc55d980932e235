#include <ko.hpp>
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
    const auto number = ko::Value::Parse(ko::Type::Find("o_4b").value(), "1789");
    if (!number || number->Text().value_or("") != "1789" || ko_type("KoString") != KoSTRING_T) {
        std::puts("ko.h and ko.hpp do not answer as they say");
        return 1;
    }
    return 0;
}
