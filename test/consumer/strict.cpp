// What the headers' documents say compiles without a warning: every header, words joined of bits,
// const and other pointers.
#include <kobase.h>
#include <kointl.h>
#include <kotms.h>

#include <kostd.h>

#include <cstdio>

int OwnNames(); // own_names.cpp

namespace
{

int failures = 0;

void Expect(bool holds, const char* what)
{
    if (!holds) {
        std::puts(what);
        ++failures;
    }
}

void JoinsWords()
{
    KoLanguageContext::SetDefaultCmpOp(KoCMP_PLAIN | KoCMP_IGNORE_CASE);
    unsigned char format = KoFMT_BIG | KoFMT_KEY;
    unsigned short word = KoLanguageContext::GetDefaultCmpOp();
    KoLanguageContext::Reset();
    Expect(format == 0x82 && word == 0x30, "words of two bits");
    format &= ~KoFMT_KEY;
    word = word & ~KoCMP_IGNORE_CASE;
    word |= KoCMP_SKIP_SPACES;
    KoCmpOp joined = KoCMP_PLAIN;
    joined |= KoCMP_SKIP_SPACES;
    joined &= KoCMP_SKIP_SPACES | KoCMP_PLAIN | KoCMP_NO_WILDCARDS;
    Expect(format == KoFMT_BIG && word == joined && (joined ^ KoCMP_PLAIN) == KoCMP_SKIP_SPACES,
           "words that change");
    unsigned short op = KoQOP_LESS | KoQOP_EQUAL;
    const o_4b value = 5;
    Expect(KoTypeMgr().EvalAndBound(Ko4B_T, nullptr, op, &value, KoFMT_MEMORY, 1, nullptr,
                                    nullptr) <= 0,
           "an estimate without bounds");
    Expect(KoTypeMgr().SupportsCapability(Ko4B_T, KoCAP_INTEGRAL) == 1, "a capability");
}

/// Calls with every mix of operands; a null pointer stands for no elements.
void TakesEveryPointer()
{
    const KoTypeMgr types;
    o_4b one = 1;
    const o_4b two = 2;
    void* any = &one;
    const void* fixed = &two;
    constexpr o_char id = Ko4B_T;
    const auto cmp = [&](auto* a, auto* b) {
        int status;
        return types.Cmp(id, a, b, KoCMP_PLAIN, 1, KoFMT_MEMORY) +
               types.Cmp(id, 0, a, 0, b, KoCMP_PLAIN, 1, KoFMT_MEMORY, status);
    };
    Expect(cmp(any, fixed) == -2 && cmp(fixed, any) == 2 && cmp(any, any) == 0 &&
               cmp(fixed, fixed) == 0 && cmp(&one, &two) == -2 && cmp(&one, &one) == 0 &&
               cmp(&one, fixed) == -2,
           "comparisons");
    int status;
    Expect(types.Cmp(id, nullptr, nullptr, 0, 0, KoFMT_BIG) == 0 &&
               types.Cmp(id, fixed, nullptr, 0, 0, KoFMT_BIG) == 0 &&
               types.Cmp(id, 0, nullptr, 0, any, 0, 0, KoFMT_BIG, status) == 0 &&
               types.Hash(id, 0, nullptr, 0, KoFMT_BIG, status) == 0,
           "null pointers");
    Expect(types.Hash(id, 0, fixed, 1, KoFMT_MEMORY, status) ==
                   types.Hash(id, 0, &two, 1, KoFMT_MEMORY, status) &&
               types.Hash(id, 0, any, 1, KoFMT_MEMORY, status) != 0,
           "hashes");
    const KoString text("7");
    KoString printed;
    types.ScanFromKoString(id, any, text, nullptr, 1);
    types.PrintToKoString(id, printed, fixed, nullptr, 1);
    types.PrintToKoString(id, printed, any, nullptr, 1);
    const std::unique_ptr<KoTypeConvertData> converted(types.ConvertTo(id, fixed, 1));
    Expect(printed.EqualsIgnoreLanguage("27") && converted->GetString(0)->EqualsIgnoreLanguage("2"),
           "texts");
    Expect(types.IsNullValue(KoSTRING_T, &text) == 0 && types.IsNullValue(id, any) == 0, "nulls");
    // The first ones are still the ones of which an address is asked for.
    int (KoTypeMgr::*isNull)(o_char, void*) const = &KoTypeMgr::IsNullValue;
    Expect((types.*isNull)(id, any) == 0, "a member's address");
}

} // namespace

int main()
{
    JoinsWords();
    TakesEveryPointer();
    KoTypeId id = KoSTRING_T;
    Expect(KoTypeMgr().Name2KoTypeId("KoDate", id) == 0 && id == KoDATE_T, "a type's id");
    Expect(KoDate(2024, 1, 15).GetDayOfTheDate() == Monday &&
               overlaps(d_Date(), d_Date(), d_Date(), d_Date()),
           "global names");
    const int own = OwnNames();
    Expect(own == 0, "names of the program's own");
    return failures != 0 || own != 0;
}
