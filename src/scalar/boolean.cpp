#include <koboolean.h>

#include "core/bounds.h"
#include "core/bytes.h"
#include "core/element_ops.h"
#include "core/hash_walk.h"
#include "core/sort_key.h"
#include "number/ascii.h"
#include "string/null_text.h"

using namespace ko;

int BooleanCompare(unsigned char, unsigned length1, void* value1, unsigned length2, void* value2,
                   unsigned short, unsigned count, int& status)
{
    return CompareWalk(length1, value1, length2, value2, 1, count, status,
                       [](const unsigned char* a, const unsigned char* b) {
                           const auto x = ReadValue<KoBoolean>(a);
                           const auto y = ReadValue<KoBoolean>(b);
                           return (x > y) - (x < y);
                       });
}

namespace ko
{

namespace
{

constexpr char kTrue[] = "TRUE";
constexpr char kFalse[] = "FALSE";

/// The word at the start of `text`: its length and the truth value that it names.
struct TruthWord {
    std::size_t length;
    bool isTruth;
    KoBoolean value;
};

TruthWord ReadTruth(const char* text, std::size_t length)
{
    constexpr struct {
        const char* word;
        int value;
    } kWords[] = {{kTrue, 1}, {kFalse, 0}, {"1", 1}, {"0", 0}};
    const auto belongs = [](char c) { return IsLetter(c) || IsDigit(c); };
    const char* end = std::find_if_not(text, text + length, belongs);
    const auto wordLength = static_cast<std::size_t>(end - text);
    for (const auto& known : kWords) {
        if (wordLength == std::strlen(known.word) &&
            std::equal(text, end, known.word, [](char a, char b) { return ToUpper(a) == b; }))
            return {wordLength, true, known.value};
    }
    return {wordLength, false, 0};
}

struct BooleanOps : ElementOps<KoBoolean, BooleanOps, KoBOOLEAN_T> {
    static constexpr KoTypeCmpFunc Cmp = BooleanCompare;

    static unsigned Store(void* destination, const void* source, unsigned char format,
                          unsigned count)
    {
        return CharStore(destination, source, format, count);
    }
    static constexpr KoStoreFunc Load = Store;
    static unsigned FormSize(unsigned char) { return 1; }

    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value, unsigned char,
                              unsigned count, KoIdxBounds* newBounds)
    {
        if (count == 0)
            return 0.0F;
        NarrowBounds(newBounds, op & kQueryMask, value, count);
        // One of three values is asked for, whatever the operator.
        return bounds != nullptr ? static_cast<float>(1.0 / 3.0) : 0.0F;
    }
    static unsigned Hash(unsigned char, unsigned length, void* value, unsigned count, int& status)
    {
        return HashWalk(
            length, value, 1, count, status, [](Hasher& hasher, const unsigned char* element) {
                const auto boolean = ReadValue<KoBoolean>(element);
                hasher.Add(boolean.IsNullValue() != 0 ? kHashWordOfNull
                                                      : HashWord(o_4b{boolean.IsTrue()}));
            });
    }

    /// Null, false and true are 0, 1 and 2. A byte that is none of the three counts as true, as it
    /// does in comparisons.
    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char,
                            unsigned count, unsigned short)
    {
        return WriteElementKeys<1>(
            key, room, value, 1, count, [](unsigned char* out, const unsigned char* at) {
                const auto boolean = ReadValue<KoBoolean>(at);
                *out = boolean.IsNullValue() != 0
                           ? 0
                           : static_cast<unsigned char>(1 + (boolean.IsTrue() != 0 ? 1 : 0));
                return 1U;
            });
    }
    static int FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                           unsigned short)
    {
        return ReadElementKeys<KoBoolean>(
            value, key, length, count,
            [](KoBoolean& boolean, const unsigned char* at, unsigned left) {
                if (left == 0 || *at > 2)
                    return 0U;
                boolean = *at == 2 ? 1 : 0;
                if (*at == 0)
                    boolean.SetNullValue();
                return 1U;
            });
    }
    static const char* Word(const KoBoolean& value) { return value.IsTrue() != 0 ? kTrue : kFalse; }

    static KoString ToText(const KoBoolean& value)
    {
        if (value.IsNullValue() == 0)
            return KoString(Word(value));
        KoString text;
        text.SetNullValue();
        return text;
    }
    static void FromText(KoBoolean& value, const KoString* text)
    {
        value.SetNullValue(); // what names no truth value is unknown
        if (text != nullptr)
            ScanOne(value, *text, nullptr);
    }
    // The print format is not looked at.
    static void PrintOne(KoString& text, const KoBoolean& value, const char*)
    {
        if (value.IsNullValue() != 0)
            text += KoTypeMgr::GetNullPrintString();
        else
            text << Word(value);
    }
    static void ScanOne(KoBoolean& value, const KoString& text, const char*)
    {
        if (MeansNullOrIsEmpty(text, false)) {
            value.SetNullValue();
            return;
        }
        const NarrowText narrow(text);
        std::size_t at = 0;
        while (at < narrow.Length() && narrow.Data()[at] == ' ')
            ++at;
        const TruthWord word = ReadTruth(narrow.Data() + at, narrow.Length() - at);
        if (word.isTruth)
            value = word.value;
    }
    static int ParseOne(KoBoolean& value, const KoString& text, const char*, unsigned& errorAt)
    {
        if (MeansNullOrIsEmpty(text, true)) {
            value.SetNullValue();
            return 0;
        }
        const NarrowText narrow(text);
        const TruthWord word = ReadTruth(narrow.Data(), narrow.Length());
        if (!word.isTruth || word.length != narrow.Length()) {
            errorAt = word.isTruth ? static_cast<unsigned>(word.length) : 0;
            return -1;
        }
        value = word.value;
        return 0;
    }
};

} // namespace

KO_DEFINE_TYPE(koBooleanDescriptor, BooleanOps, KoBOOLEAN_T)

} // namespace ko
