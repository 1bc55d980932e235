#include "failing_heap.h"

#include <kotms.h>
#include <kotypconv.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

/// Writes an element of `width` bytes with these bits as memory holds it.
void Put(void* element, unsigned width, o_u8b bits)
{
    const auto narrow = [&](auto word) { std::memcpy(element, &word, sizeof word); };
    switch (width) {
    case 1:
        return narrow(static_cast<o_u1b>(bits));
    case 2:
        return narrow(static_cast<o_u2b>(bits));
    case 4:
        return narrow(static_cast<o_u4b>(bits));
    default:
        return narrow(bits);
    }
}

Bytes Digits(o_u8b bits, unsigned width, bool big)
{
    Bytes bytes(width);
    for (unsigned i = 0; i < width; ++i)
        bytes[big ? width - 1 - i : i] = static_cast<unsigned char>(bits >> (8 * i));
    return bytes;
}

const struct {
    o_char id;
    unsigned width;
    bool canBeNull;
} types[] = {
    {Ko1B_T, 1, false},      {KoU1B_T, 1, false},          {Ko2B_T, 2, false},
    {KoU2B_T, 2, false},     {Ko4B_T, 4, false},           {KoU4B_T, 4, false},
    {KoINT_T, 4, false},     {KoUNSIGNED_T, 4, false},     {KoENUM_T, 4, false},
    {KoBLOCKID_T, 4, false}, {KoFLOAT_T, 4, false},        {KoDOUBLE_T, 8, false},
    {Ko8B_T, 8, false},      {KoU8B_T, 8, false},          {KoNULL_1B_T, 1, true},
    {KoNULL_U1B_T, 1, true}, {KoNULL_2B_T, 2, true},       {KoNULL_U2B_T, 2, true},
    {KoNULL_INT_T, 4, true}, {KoNULL_UNSIGNED_T, 4, true}, {KoNULL_4B_T, 4, true},
    {KoNULL_U4B_T, 4, true}, {KoNULL_FLOAT_T, 4, true},    {KoNULL_DOUBLE_T, 8, true},
    {KoNULL_8B_T, 8, true},  {KoNULL_U8B_T, 8, true},
};

/// The bytes of every type under every kind of format byte, into and out of odd addresses.
TEST(Scalars, PersistentBytes)
{
    enum Order { little, big, host };
    const struct {
        unsigned char format;
        Order order;
    } formats[] = {{1, little}, {2, big},       {0, little},  {3, little},
                   {7, little}, {0x21, little}, {0x82, big},  {0xE0, little},
                   {8, host},   {9, host},      {0x0A, host}, {0x8F, host}};
    const o_u8b contents[] = {0x0102030405060708, 0, 0xFFFFFFFFFFFFFFFE, 0x41};
    const KoTypeMgr manager;
    for (const auto& type : types) {
        SCOPED_TRACE(manager.NameGet(type.id));
        const unsigned memory = manager.MemLenGet(type.id, 1);
        for (const auto& [format, order] : formats) {
            SCOPED_TRACE(testing::Message() << "format " << int{format});
            const bool isBig =
                order == big || (order == host && std::endian::native == std::endian::big);
            for (const unsigned count : {0U, 1U, 4U}) {
                const std::unique_ptr<char, void (*)(void*)> values(
                    static_cast<char*>(KoAlloc(memory * 4)), KoFree);
                std::memset(values.get(), 0, memory * 4);
                Bytes expected;
                for (unsigned i = 0; i < count; ++i) {
                    const bool isNull = type.canBeNull && contents[i] == 0;
                    Put(values.get() + i * memory, type.width, contents[i]);
                    const Bytes number = Digits(contents[i], type.width, isBig);
                    if (type.canBeNull)
                        values.get()[i * memory + type.width] = isNull;
                    if (type.canBeNull && order != host)
                        expected.push_back(isNull);
                    expected.insert(expected.end(), number.begin(), number.end());
                    if (type.canBeNull && order == host)
                        expected.push_back(isNull);
                }
                const auto size = static_cast<unsigned>(expected.size());
                MemFile file(nullptr, 0);
                EXPECT_EQ(manager.DiskLenGet(type.id, nullptr, format, count, 8), size);
                EXPECT_EQ(manager.DiskLenGetFromMemFile(type.id, &file, format, count), size);
                Bytes stored(size + 2, 0xA5);
                ASSERT_EQ(manager.Store(type.id, stored.data() + 1, values.get(), format, count),
                          size);
                EXPECT_EQ(Bytes(stored.begin() + 1, stored.end() - 1), expected);
                EXPECT_EQ(stored.front(), 0xA5);
                EXPECT_EQ(stored.back(), 0xA5);

                const std::unique_ptr<char, void (*)(void*)> loaded(
                    static_cast<char*>(KoAlloc(memory * 4)), KoFree);
                std::memset(loaded.get(), 0, memory * 4);
                EXPECT_EQ(manager.Load(type.id, loaded.get(), stored.data() + 1, format, count),
                          size);
                EXPECT_EQ(std::memcmp(loaded.get(), values.get(), memory * 4), 0);
            }
        }
    }
}

TEST(Scalars, Translate)
{
    const struct {
        const char* reason;
        o_char id;
        unsigned char toFormat;
        unsigned toLength;
        unsigned char fromFormat;
        unsigned fromLength;
        unsigned count;
        unsigned result;
        Bytes bytes; ///< the destination, 0xEE where nothing was written
    } rows[] = {
        {"shorter source, the rest zero", Ko2B_T, 1, 6, 1, 3, 3, 3, {1, 2, 3, 0, 0, 0, 0xEE}},
        {"shorter destination", Ko2B_T, 1, 4, 1, 6, 3, 4, {1, 2, 3, 4, 0xEE, 0xEE}},
        {"orders are not converted", Ko4B_T, 1, 4, 2, 4, 1, 4, {1, 2, 3, 4, 0xEE}},
        {"nothing at the source", Ko4B_T, 1, 4, 2, 0, 1, 0, {0, 0, 0, 0, 0xEE}},
        {"null-capable bytes are copied too", KoNULL_2B_T, 1, 4, 2, 3, 1, 3, {1, 2, 3, 0, 0xEE}},
        {"memory to memory takes no lengths", Ko2B_T, 8, 0, 8, 0, 2, 4, {1, 2, 3, 4, 0xEE}},
        {"no elements", Ko2B_T, 8, 4, 8, 4, 0, 0, {0xEE}},
        {"bytes to memory", KoU1B_T, 8, 0, 2, 0, 3, 3, {1, 2, 3, 0xEE}},
    };
    const KoTypeMgr manager;
    for (const auto& row : rows) {
        alignas(8) unsigned char from[8] = {1, 2, 3, 4, 5, 6, 7, 8};
        alignas(8) unsigned char to[8];
        std::memset(to, 0xEE, sizeof to);
        EXPECT_EQ(manager.Translate(row.id, to, row.toFormat, row.toLength, from, row.fromFormat,
                                    row.fromLength, row.count),
                  row.result)
            << row.reason;
        EXPECT_EQ(Bytes(to, to + row.bytes.size()), row.bytes) << row.reason;
    }

    o_4b number = 0x01020304;
    unsigned char stored[4];
    EXPECT_EQ(manager.Translate(Ko4B_T, stored, 0xF2, 4, &number, 8, 4, 1), 4U);
    EXPECT_EQ(stored[0], 1) << "only the order of the destination format counts";
    number = 0;
    EXPECT_EQ(manager.Translate(Ko4B_T, &number, 8, 4, stored, 2, 4, 1), 4U);
    EXPECT_EQ(number, 0x01020304);
}

/// Smallest and largest value, and every kind of step, of a type that is a sequence.
template <class T>
void CheckSequence(KoTypeMgr& manager, o_char id)
{
    SCOPED_TRACE(manager.NameGet(id));
    using Limits = std::numeric_limits<T>;
    const KoGetValueFunc getValue = koCurrentTypeTable.entry[id]->getValue;
    const struct {
        const char* reason;
        T before;
        unsigned char format, kind;
        int result;
        T after;
    } rows[] = {
        {"next", 41, 8, 'N', 0, 42},
        {"the same by its other name", 41, 8, 'M', 0, 42},
        {"up to the largest", Limits::max() - 1, 8, 'N', 0, Limits::max()},
        {"not beyond", Limits::max(), 8, 'N', KoRC_OVERFLOW, Limits::max()},
        {"as it is", 41, 8, 'O', 0, 41},
        {"the smallest", 41, 8, 2, 0, Limits::min()},
        {"unknown kind", 41, 8, 'P', KoRC_NOT_SUPPORTED, 41},
        {"persistent form", 41, 1, 'N', KoRC_NOT_SUPPORTED, 41},
        {"more than the memory bit", 41, 9, 'N', KoRC_NOT_SUPPORTED, 41},
    };
    for (const auto& row : rows) {
        T value = row.before;
        EXPECT_EQ(getValue(&value, 0, row.format, row.kind), row.result) << row.reason;
        EXPECT_EQ(value, row.after) << row.reason;
    }
    unsigned char stored[sizeof(T)];
    T value = 41;
    manager.Store(id, stored, &value, KoFMT_LITTLE, 1);
    EXPECT_EQ(manager.GetValue(id, stored, 0, KoFMT_LITTLE, 'N'), 0);
    manager.Load(id, &value, stored, KoFMT_LITTLE, 1);
    EXPECT_EQ(value, 42);
}

TEST(Scalars, Sequences)
{
    KoTypeMgr manager;
    CheckSequence<o_char>(manager, Ko1B_T);
    CheckSequence<o_u1b>(manager, KoU1B_T);
    CheckSequence<o_2b>(manager, Ko2B_T);
    CheckSequence<o_u2b>(manager, KoU2B_T);
    CheckSequence<o_4b>(manager, Ko4B_T);
    CheckSequence<o_u4b>(manager, KoU4B_T);
    CheckSequence<int>(manager, KoINT_T);
    CheckSequence<unsigned>(manager, KoUNSIGNED_T);
    CheckSequence<o_8b>(manager, Ko8B_T);
    CheckSequence<o_u8b>(manager, KoU8B_T);
    for (const o_char id : {KoENUM_T, KoBLOCKID_T, KoFLOAT_T, KoDOUBLE_T, KoNULL_4B_T}) {
        alignas(8) unsigned char value[16] = {};
        EXPECT_EQ(manager.GetValue(id, value, 0, 8, 'N'), KoRC_NOT_SUPPORTED) << int{id};
    }
}

std::string Plain(const KoString& text)
{
    return std::string(text.StrGet(), text.Len());
}

/// Value to text (convertTo) and back; more texts that convert to the same value.
TEST(Scalars, TextOfValues)
{
    const o_u8b one = std::bit_cast<o_u8b>(1.1);
    const struct {
        o_char id;
        o_u8b bits;
        const char* text;
        std::vector<const char*> alsoFrom;
    } rows[] = {
        {Ko1B_T, 'A', "A", {"ABC"}},
        {Ko1B_T, 0xE4, "\xE4", {}},
        {Ko1B_T, 0, "", {}},
        {KoU1B_T, 0xFF, "\xFF", {}},
        {Ko2B_T, 0x8000, "-32768", {"-0x8000"}},
        {KoU2B_T, 0xFFFF, "65535", {"0xFFFF", "-1"}},
        {Ko4B_T, 0x80000000, "-2147483648", {"-9999999999"}},
        {KoINT_T, 7, "7", {" 7 apples"}},
        {KoENUM_T, 0xFFFFFFFF, "-1", {}},
        {KoU4B_T, 0xFFFFFFFF, "-1", {"4294967295"}},
        {KoUNSIGNED_T, 0x80000000, "-2147483648", {"2147483648"}},
        {KoBLOCKID_T, 0xFFFFFFFF, "#4294967295", {"4294967295"}},
        {Ko8B_T, 1ULL << 63, "-9223372036854775808", {}},
        {KoU8B_T, ~0ULL, "18446744073709551615", {"0xFFFFFFFFFFFFFFFF"}},
        {KoU8B_T, 0, "0", {"", "apples"}},
        {KoFLOAT_T, 0x3DCCCCCD, "0.10000000149011612", {"0.1"}},
        {KoFLOAT_T, 0x80000000, "-0", {}},
        {KoDOUBLE_T, one, "1.1000000000000001", {"1.1"}},
        {KoDOUBLE_T, 0xFFF0000000000000, "-inf", {}},
    };
    KoTypeMgr manager;
    for (const auto& row : rows) {
        const unsigned width = manager.MemLenGet(row.id, 1);
        alignas(8) unsigned char value[8];
        Put(value, width, row.bits);
        const std::unique_ptr<KoTypeConvertData> record(manager.ConvertTo(row.id, value, 1));
        ASSERT_NE(record, nullptr);
        KoString& text = *record->GetString(0);
        EXPECT_EQ(Plain(text), row.text);
        std::vector<const char*> texts = row.alsoFrom;
        texts.push_back(row.text);
        for (const char* from : texts) {
            text = from;
            void* back = manager.ConvertFrom(row.id, record.get(), 1);
            EXPECT_EQ(std::memcmp(back, value, width), 0) << manager.NameGet(row.id) << " " << from;
            manager.Delete(row.id, back, 1);
        }
    }
}

/// A text that is stored as 16-bit characters or in another 8-bit code set is the same character.
TEST(Scalars, CharactersOfOtherCodeSets)
{
    KoTypeMgr manager;
    const unsigned short umlaut[] = {0xE4, 0};
    KoString unicode(umlaut);
    KoString ibm(40, 0); // IBM 437: a umlaut is 0x84
    ASSERT_EQ(ibm.CopyMapped(unicode, 40, -1), 0);
    for (KoString* text : {&unicode, &ibm}) {
        o_u1b byte = 0;
        unsigned errorAt = 9;
        EXPECT_EQ(manager.ParseFromKoString(KoU1B_T, &byte, *text, nullptr, errorAt), 0);
        EXPECT_EQ(byte, 0xE4);
        byte = 0;
        manager.ScanFromKoString(KoU1B_T, &byte, *text, nullptr, 1);
        EXPECT_EQ(byte, 0xE4);
    }
    const unsigned short euro[] = {0x20AC, 0};
    o_u1b byte = 7;
    unsigned errorAt = 9;
    EXPECT_EQ(manager.ParseFromKoString(KoU1B_T, &byte, KoString(euro), nullptr, errorAt), -1)
        << "a character that the code set lacks is not taken for a question mark";
    EXPECT_EQ(byte, 7);
    EXPECT_EQ(errorAt, 0U);
}

TEST(Scalars, PrintAndScanArrays)
{
    const o_4b numbers[] = {1, -2, 3};
    o_char word[] = {'a', 'b', 0, 0};
    const struct {
        const char* reason;
        o_char id;
        const void* values;
        unsigned count;
        const char* format;
        const char* text;
    } rows[] = {
        {"numbers", Ko4B_T, numbers, 3, nullptr, "1,-2,3"},
        {"a format around each", Ko4B_T, numbers, 3, "<%3ld>", "<  1>,< -2>,<  3>"},
        {"no element", Ko4B_T, numbers, 0, nullptr, ""},
        {"characters are one text", Ko1B_T, word, 4, nullptr, "ab"},
        {"padded and framed as one text", Ko1B_T, word, 4, "[%4c]", "[  ab]"},
        {"characters as numbers", Ko1B_T, word, 4, "%d", "97,98,0,0"},
    };
    KoTypeMgr manager;
    for (const auto& row : rows) {
        KoString text("x");
        manager.PrintToKoString(row.id, text, const_cast<void*>(row.values), row.format, row.count);
        EXPECT_EQ(Plain(text), std::string("x") + row.text) << row.reason;
        alignas(8) unsigned char back[16];
        std::memset(back, 0xEE, sizeof back);
        KoString from(row.text);
        EXPECT_EQ(manager.ScanFromKoString(row.id, back, from, row.format, row.count), back);
        if (row.format == nullptr || row.format[1] == 'd') {
            EXPECT_EQ(std::memcmp(back, row.values, manager.MemLenGet(row.id, row.count)), 0)
                << row.reason;
        }
    }
    EXPECT_EQ(manager.ExchangePrintToKoStringFunc(Ko1B_T, nullptr), &CharPrintToKoString);

    KoString full("abcdefgh");
    manager.ScanFromKoString(Ko1B_T, word, full, nullptr, 3);
    EXPECT_EQ(std::memcmp(word, "abc\0", 4), 0) << "no more than the array holds";
    o_4b kept[] = {5, 6, 7};
    KoString partial("1,x");
    manager.ScanFromKoString(Ko4B_T, kept, partial, nullptr, 3);
    EXPECT_EQ(kept[0] * 100 + kept[1] * 10 + kept[2], 167) << "without a number nothing changes";
}

/// Without memory every maker of values answers null, and the memory handler is told.
TEST(Scalars, NoMemory)
{
    KoTypeMgr manager;
    o_4b numbers[] = {1, 2, 3};
    const std::unique_ptr<KoTypeConvertData> record(manager.ConvertTo(Ko4B_T, numbers, 3));
    for (const o_char id : {Ko4B_T, KoNULL_4B_T}) {
        FailingHeap heap(0);
        EXPECT_EQ(manager.Create(id, 3), nullptr);
        EXPECT_EQ(heap.HandlerCalls(), 1);
        EXPECT_EQ(manager.ConvertFrom(id, record.get(), 3), nullptr);
        EXPECT_EQ(manager.DefaultValue(id, 3, 0), nullptr);
        EXPECT_GE(heap.HandlerCalls(), 3);
    }
}

} // namespace
