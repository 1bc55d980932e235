#include "bounds.h"
#include "failing_heap.h"
#include "fixtures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>

namespace
{

const KoTypeMgr manager;

/// The bytes of an element in the form that evaluators and comparisons take.
Bytes InForm(o_char id, const void* elements, unsigned char format)
{
    // Identities take the memory form under the one format that is nothing else.
    const bool identity = id == KoOBJID_T || id == KoREF_T;
    if (identity ? format == KoFMT_MEMORY : (format & KoFMT_MEMORY) != 0) {
        const auto* bytes = static_cast<const unsigned char*>(elements);
        return Bytes(bytes, bytes + manager.MemLenGet(id, 1));
    }
    return Stored(manager, id, elements, format, 1);
}

/// The big-endian form of the fields of a date or time: a year, then bytes, then nanoseconds.
Bytes Fields(o_char id, const char* text)
{
    Bytes bytes;
    std::istringstream in(text);
    for (int field, at = 0; in >> field; ++at) {
        for (int size = at == 0 && id != KoTIME_T ? 2 : at == 6 ? 4 : 1; size > 0; --size)
            bytes.push_back(
                static_cast<unsigned char>(static_cast<unsigned>(field) >> 8 * (size - 1)));
    }
    return bytes;
}

/// A value of a type made from its text or fields, at an odd address. "null" is null, no text none.
class Operand
{
public:
    Operand(o_char id, const char* text, unsigned char format)
    {
        if (text == nullptr)
            return;
        void* element = manager.Create(id, 1);
        unsigned errorAt = 0;
        if (std::strcmp(text, "null") == 0)
            KoTypeMgr().SetNullValue(id, element);
        else if (const Bytes fields = Fields(id, text);
                 manager.SupportsCapability(id, KoCAP_TIMESTAMP) || id == KoDATIME_N_T ||
                 id == KoTIMESPAN_T)
            EXPECT_EQ(manager.Load(id, element, fields.data(), KoFMT_BIG, 1), fields.size());
        else
            EXPECT_EQ(manager.ParseFromKoString(id, element, KoString(text), nullptr, errorAt), 0)
                << text;
        const Bytes form = InForm(id, element, format);
        m_size = form.size();
        m_bytes = std::make_unique<unsigned char[]>(m_size + 1);
        std::memcpy(Get(), form.data(), m_size);
        manager.Delete(id, element, 1);
    }

    void* Get() const { return m_bytes ? m_bytes.get() + 1 : nullptr; }
    std::size_t Size() const { return m_size; }

private:
    std::unique_ptr<unsigned char[]> m_bytes;
    std::size_t m_size = 0;
};

struct Types : std::vector<KoTypeId> {
    Types(KoTypeId id) : vector{id} {}
    Types(std::initializer_list<KoTypeId> ids) : vector(ids) {}
};

struct EstimateRow {
    const char* reason;
    Types ids;
    const char *low, *high;
    unsigned op;
    const char* value;
    double expected;
};

/// The estimate of a row under a format, and what narrowing has to give.
void CheckEstimate(const EstimateRow& row, KoTypeId id, unsigned char format)
{
    SCOPED_TRACE(testing::Message()
                 << row.reason << ", " << manager.NameGet(id) << ", format " << int{format});
    const Operand low(id, row.low, format);
    const Operand high(id, row.high, format);
    const Operand value(id, row.value, format);
    KoIdxBounds bounds{low.Get(), high.Get(), 0, 0};
    Narrowed narrowed;
    // Bits beyond the mask are not looked at.
    auto op = static_cast<unsigned short>(row.op | 0x7FF0);
    const float estimate =
        manager.EvalAndBound(id, &bounds, op, value.Get(), format, 1, &narrowed, nullptr);
    if (std::isnan(row.expected))
        EXPECT_TRUE(std::isnan(estimate));
    else
        EXPECT_FLOAT_EQ(estimate, static_cast<float>(row.expected));
    const auto check = [&](const void* end, unsigned length, bool closed) {
        ASSERT_EQ(end != nullptr, closed);
        EXPECT_EQ(length, closed ? value.Size() : 0U);
        EXPECT_TRUE(!closed || std::memcmp(end, value.Get(), value.Size()) == 0);
    };
    check(narrowed.low, narrowed.lowLen, (row.op & kLess) == 0);
    check(narrowed.high, narrowed.highLen, (row.op & kGreater) == 0);
    EXPECT_EQ(bounds.low, low.Get());
    EXPECT_EQ(manager.EvalAndBound(id, nullptr, op, value.Get(), format, 1, nullptr, nullptr), 0.0F)
        << "nothing known of the index";
}

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kEpsilon = 1.1920928955078125e-07;

const Types kBytes = {Ko1B_T, KoNULL_1B_T};
const Types kUnsigned8 = {KoU1B_T, KoNULL_U1B_T};
const Types kSigned = {Ko2B_T, KoINT_T, Ko4B_T, KoENUM_T, KoNULL_2B_T, KoNULL_INT_T, KoNULL_4B_T};
const Types kUnsigned = {KoU2B_T, KoNULL_U2B_T};
const Types kUnsigned32 = {KoUNSIGNED_T, KoU4B_T, KoNULL_UNSIGNED_T, KoNULL_U4B_T};
const Types kSigned64 = {Ko8B_T, KoINT64_T, KoNULL_8B_T, KoNULL_KOINT64_T};
const Types kUnsigned64 = {KoU8B_T, KoNULL_U8B_T};
const Types kRaised = {Ko8B_T, KoINT64_T};
const Types kNullFloats = {KoNULL_FLOAT_T, KoNULL_DOUBLE_T};

const EstimateRow kEstimates[] = {
    {"one key of ten", kBytes, "\x0A", "\x13", kEqual, "\x0F", 0.1},
    {"unsigned bytes", kUnsigned8, "\x01", "\xC8", kLess | kEqual, "\x64", 0.5},
    {"signed", kSigned, "-5", "4", kLess, "0", 0.5},
    {"unsigned", kUnsigned, "0", "65535", kGreater | kEqual, "32768", 0.5},
    {"unsigned 32 bits", kUnsigned32, "0", "4294967295", kLess, "3221225472", 0.75},
    {"block", KoBLOCKID_T, "#0", "#4294967295", kGreater | kEqual, "#1073741824", 0.75},
    {"64 bits", kSigned64, "-4294967296", "4294967295", kLess, "0", 0.5},
    {"unsigned 64 bits", kUnsigned64, "0", "18446744073709551615", kGreater | kEqual,
     "9223372036854775808", 0.5},
    {"no key there", kRaised, "10", "19", kGreater | kEqual, "20", 0.0},
    {"raised where only the high end rules out", kRaised, "10", "19", kLess, "10", 0.1},
    {"no smallest share", kNullFloats, "0", "1048575", kEqual, "1", 1.0 / 1048576},
    {"below", Ko1B_T, "\x0A", "\x13", kLess, "\x0F", 0.5},
    {"above all", Ko1B_T, "\x0A", "\x13", kGreater, "\x19", 0.0},
    {"every key", Ko1B_T, "\x0A", "\x13", kGreater | kEqual | kLess, "\x0F", 1.0},
    {"every key, value outside", Ko1B_T, "\x0A", "\x13", kGreater | kEqual | kLess, "\x19", 1.0},
    {"unequal", Ko1B_T, "\x0A", "\x13", kGreater | kLess, "\x0F", 0.9},
    {"no condition", Ko1B_T, "\x0A", "\x13", 0, "\x0F", 0.0},
    {"range of one key", KoINT_T, "7", "7", kEqual, "7", 1.0},
    {"open low end", Ko2B_T, nullptr, "32767", kLess, "0", 0.5},
    {"open high end", KoU4B_T, "0", nullptr, kLess, "1073741824", 0.25},
    {"both open", Ko1B_T, nullptr, nullptr, kEqual, "A", 1.0 / 256},
    {"empty range: a divisor of -4", Ko4B_T, "10", "5", kEqual, "7", 0.0},
    {"empty range, and no care for it", Ko4B_T, "10", "5", kLess, "20", 0.0},
    {"next key, the same as a double", Ko8B_T, "9007199254740992", "9007199254740993", kGreater,
     "9007199254740992", 1.0},
    {"no key below, by less than a double tells", Ko8B_T, "9007199254740993", "9007199254740994",
     kLess, "9007199254740992", 0.0},
    {"float", KoFLOAT_T, "0", "9", kLess, "2.5", 0.25},
    {"float below the smallest share", KoFLOAT_T, "0", "1e30", kEqual, "5", kEpsilon},
    {"float: nothing stays nothing", KoFLOAT_T, "0", "9", kGreater, "9", 0.0},
    {"float up to infinity", KoFLOAT_T, "0", "inf", kGreater, "1", 0.0},
    {"float, both sides infinite", KoFLOAT_T, "-inf", "inf", kGreater | kLess, "1", kNoNumber},
    {"double", KoDOUBLE_T, "-1", "8", kGreater | kEqual, "7", 0.2},
    {"double across all numbers", KoDOUBLE_T, "0", "1e308", kLess, "1e308", 1.0},
    {"double, small share", KoDOUBLE_T, "0", "1e308", kEqual, "1e307", kEpsilon},
    {"double, half of infinity", KoDOUBLE_T, "-inf", "inf", kLess, "0", 1.0},
    {"double, both sides infinite", KoDOUBLE_T, "-inf", "inf", kGreater | kLess, "0", 1.0},
    {"no number above", KoDOUBLE_T, "0", "9", kGreater, "nan", 1.7976931348623157e307},
    {"equal to no number", KoDOUBLE_T, "0", "9", kEqual, "nan", 1.0},
    {"double, open ends", KoDOUBLE_T, nullptr, nullptr, kGreater, "0", 1.0},
    {"null equals null", KoNULL_INT_T, "null", "9", kEqual, "null", 0.001 / 10},
    {"null equals null, none there", KoNULL_INT_T, "0", "9", kEqual, "null", 0.0},
    {"above null", KoNULL_INT_T, "0", "9", kGreater, "null", 0.5 / 10},
    {"above, null low end", KoNULL_INT_T, "null", "9", kGreater, "5", 0.5 / 10},
    {"below, null low end", KoNULL_INT_T, "null", "9", kLess, "5", 0.5 / 10},
    {"below null", KoNULL_INT_T, "null", "9", kLess, "null", 0.0},
    {"a value, null low end", KoNULL_INT_T, "null", "9", kEqual, "5", 0.1 / 10},
    {"a value among nulls", KoNULL_INT_T, "null", "null", kEqual | kLess | kGreater, "5", 0.0},
    {"null among nulls", KoNULL_INT_T, "null", "null", kEqual | kLess | kGreater, "null", 0.001},
    {"null high end only", KoNULL_INT_T, "0", "null", kEqual | kLess | kGreater, "5", 0.0},
    {"no null about", KoNULL_INT_T, "0", "9", kLess | kEqual, "4", 0.5},
    {"outside", KoNULL_INT_T, "0", "9", kEqual, "12", 0.0},
    {"above, outside", KoNULL_INT_T, "0", "9", kGreater, "-3", 1.0},
    {"open low end: null is the smallest", KoNULL_INT_T, nullptr, "9", kLess, "5", 0.5 / 10},
    {"open high end", KoNULL_U2B_T, "0", nullptr, kLess, "32768", 0.5},
    {"object numbers", KoOBJID_T, "(0-0#7)", "(0-99#0)", kLess, "(0-25#9)", 0.25},
    {"their high part", KoOBJID_T, "(0-1#0)", "(3-4294967295#0)", kGreater, "(2-0#0)", 0.5},
    {"references", KoREF_T, "(1:0-10#0, 2)", "(9:0-19#0, 2)", kEqual, "(5:0-15#0, 7)", 0.1},
    {"seals", KoSEAL_T, "000000000000", "0000000000ff", kLess, "000000000040", 0.25},
    {"days", KoDATE_T, "2024 3 1", "2024 3 10", kLess, "2024 3 4", 0.3},
    {"a month has 31 days", KoDATE_T, "2024 2 1", "2024 3 31", kLess, "2024 3 1", 0.5},
    {"before the year 0", KoDATE_T, "-2 1 1", "1 12 31", kLess, "0 1 1", 0.5},
    {"any day of a year", KoDATE_T, "2021 1 1", "2024 12 31", kEqual, "2022 -1 -1", 0.25},
    {"beyond any day", KoDATE_T, "2021 1 1", "2024 12 31", kGreater, "2022 -1 -1", 0.5},
    {"the year -1 is a year", KoDATE_T, "-2 1 1", "-1 12 31", kEqual, "-1 -1 -1", 0.5},
    {"open ends", KoDATE_T, nullptr, nullptr, kLess, "0 1 1", 0.5},
    {"seconds", KoTIME_T, "10 0 0", "10 0 59", kLess, "10 0 15", 0.25},
    {"any minute and second", KoTIME_T, "0 0 0", "23 59 59", kEqual, "7 -1 -1", 1.0 / 24},
    {"open day", KoTIME_T, nullptr, nullptr, kGreater | kEqual, "12 0 0", 0.5},
    {"a day of seconds", KoDATIME_T, "2024 2 1 0 0 0", "2024 2 4 23 59 59", kEqual,
     "2024 2 3 -1 -1 -1", 0.25},
    {"whole seconds, and parts of them", KoDATIME_N_T, "2024 2 1 0 0 0 0", "2024 2 1 0 0 9 0",
     kLess, "2024 2 1 0 0 2 500000000", 0.25},
    {"any month of a span", KoTIMESPAN_T, "0 0 0 0 0 0 0", "3 11 30 23 59 59 0", kEqual,
     "1 -1 -1 -1 -1 -1 0", 0.25},
    {"null 64 bits: not raised", KoNULL_8B_T, "10", "19", kLess, "10", 0.0},
};

TEST(Bounds, EstimatesUnderEveryFormat)
{
    for (const EstimateRow& row : kEstimates) {
        for (const KoTypeId id : row.ids) {
            for (unsigned format = 0; format < 256; ++format)
                CheckEstimate(row, id, static_cast<unsigned char>(format));
        }
    }
}

TEST(Bounds, TypesWithAFixedShare)
{
    KoBoolean truth(1);
    KoIdxBounds bounds{};
    for (unsigned short op = 0; op < 8; ++op) {
        Narrowed narrowed;
        EXPECT_FLOAT_EQ(manager.EvalAndBound(KoBOOLEAN_T, &bounds, op, &truth, KoFMT_LITTLE, 1,
                                             &narrowed, nullptr),
                        1.0F / 3.0F);
        EXPECT_EQ(narrowed.lowLen, (op & kLess) == 0 ? 1 : 0);
        EXPECT_EQ(narrowed.highLen, (op & kGreater) == 0 ? 1 : 0);
        EXPECT_EQ(manager.EvalAndBound(KoBOOLEAN_T, nullptr, op, &truth, 1, 1, nullptr, nullptr),
                  0.0F);
        for (const KoTypeId id : {KoCLID_T, KoBLOB_T, KoRES_T}) {
            Narrowed none;
            EXPECT_EQ(manager.EvalAndBound(id, nullptr, op, nullptr, 1, 1, &none, nullptr),
                      id == KoRES_T ? 0.0F : 1.0F);
            EXPECT_EQ(none.low, nullptr);
            EXPECT_EQ(none.high, nullptr);
        }
    }
}

TEST(Bounds, NarrowingLeavesSetEndsAlone)
{
    o_4b value[] = {7, 8, 9};
    unsigned short op = kEqual;
    o_4b mine = 5;
    Narrowed narrowed;
    narrowed.low = &mine;
    narrowed.lowLen = 99;
    manager.EvalAndBound(Ko4B_T, nullptr, op, value, KoFMT_MEMORY, 3, &narrowed, nullptr);
    EXPECT_EQ(narrowed.low, &mine);
    EXPECT_EQ(narrowed.lowLen, 99);
    narrowed.low = nullptr;
    ASSERT_NE(narrowed.high, nullptr);
    EXPECT_EQ(std::memcmp(narrowed.high, value, sizeof value), 0) << "all elements";
    EXPECT_EQ(narrowed.highLen, sizeof value);
    EXPECT_EQ(op, kEqual);

    Narrowed wide;
    const std::vector<o_4b> many(100, 1);
    manager.EvalAndBound(Ko4B_T, nullptr, op, const_cast<o_4b*>(many.data()), KoFMT_MEMORY, 100,
                         &wide, nullptr);
    EXPECT_EQ(wide.lowLen, 400 % 256) << "a length of 8 bits";
    Narrowed none;
    EXPECT_EQ(manager.EvalAndBound(Ko4B_T, nullptr, op, nullptr, KoFMT_MEMORY, 0, &none, nullptr),
              0.0F);
    EXPECT_EQ(none.low, nullptr) << "no element is read";
}

TEST(Bounds, AnEndStaysOpenWithoutMemory)
{
    o_4b value = 7;
    unsigned short op = kEqual;
    for (const int allocations : {0, 1}) {
        Narrowed narrowed;
        {
            FailingHeap heap(allocations);
            manager.EvalAndBound(Ko4B_T, nullptr, op, &value, KoFMT_MEMORY, 1, &narrowed, nullptr);
            EXPECT_EQ(heap.HandlerCalls(), 2 - allocations);
        }
        EXPECT_EQ(narrowed.low != nullptr, allocations == 1);
        EXPECT_EQ(narrowed.lowLen, allocations == 1 ? 4 : 0);
        EXPECT_EQ(narrowed.high, nullptr);
        EXPECT_EQ(narrowed.highLen, 0);
    }
}

/// True where a key lies in a range under the plain comparison.
bool Inside(o_char id, const KoIdxBounds& range, void* key, unsigned char format)
{
    return (range.low == nullptr || manager.Cmp(id, range.low, key, 0x10, 1, format) <= 0) &&
           (range.high == nullptr || manager.Cmp(id, key, range.high, 0x10, 1, format) <= 0);
}

// Identities in memory know no order, and stored forms of texts have a test of their own.
void CheckNarrowing(o_char id)
{
    SCOPED_TRACE(manager.NameGet(id));
    const FixtureArray fixtures(manager, id);
    std::mt19937_64 random(20240229);
    const unsigned char formats[] = {KoFMT_LITTLE, KoFMT_BIG};
    for (const unsigned char format : formats) {
        std::vector<Bytes> keys;
        for (unsigned i = 0; i < fixtures.Count(); ++i)
            keys.push_back(InForm(id, fixtures[i], format));
        const std::size_t size = manager.DiskLenGet(id, nullptr, format, 1, KoFMT_MEMORY);
        for (int i = 0; i < 60 && size > 0; ++i) {
            Bytes key(size);
            // Few values of a byte, so that many keys share a field.
            for (unsigned char& byte : key)
                byte = static_cast<unsigned char>(random() % 4 == 0 ? random() : random() % 3);
            keys.push_back(key);
        }
        for (Bytes& value : keys) {
            for (unsigned bits = 1; bits < 8; ++bits) {
                auto op = static_cast<unsigned short>(bits);
                Narrowed narrowed;
                manager.EvalAndBound(id, nullptr, op, value.data(), format, 1, &narrowed, nullptr);
                for (Bytes& key : keys) {
                    const int order = manager.Cmp(id, key.data(), value.data(), 0x10, 1, format);
                    const unsigned met = order < 0 ? kLess : order > 0 ? kGreater : kEqual;
                    ASSERT_TRUE((bits & met) == 0 || Inside(id, narrowed, key.data(), format));
                }
            }
        }
    }
}

TEST(Bounds, ANarrowedRangeLosesNoMatch)
{
    for (o_char id = 0; id < KoRES_T; ++id) {
        if (manager.IsFixed(id) != 0)
            CheckNarrowing(id);
    }
}

} // namespace
