#include "support/keys.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

/// Stored dates and times: their order and hash, which are taken from the bytes.

namespace
{

constexpr unsigned short kOperators[] = {0, 0x10, 0xFFEF, 0xFFFF};

/// The fields of a value in the order that decides, by what they take part in an order with:
/// Y  a year, never a wildcard     d  of a date, a wildcard in the second operand
/// t  of a time, a wildcard on either side     n  nanoseconds, like t
/// b  of a class without wildcards
using Fields = std::vector<int>;

int Order(const Fields& a, const Fields& b, const std::string& parts, bool strict)
{
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const bool ofTime = parts[i] == 't' || parts[i] == 'n';
        const bool wild = (ofTime && a[i] == -1) || ((ofTime || parts[i] == 'd') && b[i] == -1);
        if (a[i] != b[i] && (strict || !wild))
            return a[i] < b[i] ? -1 : 1;
    }
    return 0;
}

/// Fields that are often equal, wild or extreme.
Fields Draw(Random& random, const std::string& parts)
{
    constexpr int kBytes[] = {-128, -2, -1, -1, 0, 1, 5, 5, 127};
    constexpr int kYears[] = {-32768, -256, -1, 0, 255, 2024, 2024, 32767};
    using Limits = std::numeric_limits<int>;
    constexpr int kNanoseconds[] = {Limits::min(), -1, 0, 0, 255, 256, Limits::max()};
    const auto pick = [&random]<unsigned n>(const int(&from)[n]) { return from[random.Below(n)]; };
    Fields fields;
    for (const char part : parts)
        fields.push_back(part == 'Y'   ? pick(kYears)
                         : part == 'n' ? pick(kNanoseconds)
                                       : pick(kBytes));
    return fields;
}

/// The stored form, most significant byte first.
Bytes StoredOf(Fields fields, const std::string& parts, o_char id)
{
    if (id == D_TIME_T || id == D_TIMESTAMP_T) {
        // The zone stands before the clock, which decides first.
        std::rotate(fields.end() - 6, fields.end() - 2, fields.end());
    }
    Bytes bytes;
    for (std::size_t i = 0; i < parts.size(); ++i)
        for (int shift = parts[i] == 'Y' ? 8 : parts[i] == 'n' ? 24 : 0; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<unsigned char>(static_cast<unsigned>(fields[i]) >> shift));
    return bytes;
}

TEST(TemporalForm, OrdersAndHashesOfStoredElements)
{
    const struct {
        o_char id;
        const char* parts;
    } rows[] = {{KoDATE_T, "Ydd"},         {KoTIME_T, "ttt"},           {KoDATIME_T, "Yddttt"},
                {KoDATIME_N_T, "Yddtttn"}, {KoTIMESPAN_T, "Yddtttn"},   {D_DATE_T, "Ybb"},
                {D_TIME_T, "bbbbbb"},      {D_TIMESTAMP_T, "Ybbbbbbbb"}};
    const KoTypeMgr manager;
    Random random(4711);
    for (const auto& [id, parts] : rows) {
        SCOPED_TRACE(manager.NameGet(id));
        const Array values{manager, id, manager.Create(id, 2), 2};
        void* const second = manager.GetArrayElement(id, values.data, 1, 2);
        for (int i = 0; i < 20000; ++i) {
            const Fields a = Draw(random, parts);
            const Fields b = i % 4 == 0 ? a : Draw(random, parts);
            Bytes bytesA[] = {{}, StoredOf(a, parts, id)};
            Bytes bytesB[] = {{}, StoredOf(b, parts, id)};
            manager.Load(id, values.data, bytesA[1].data(), KoFMT_BIG, 1);
            manager.Load(id, second, bytesB[1].data(), KoFMT_BIG, 1);
            bytesA[0] = Stored(manager, id, values.data, KoFMT_LITTLE, 1);
            bytesB[0] = Stored(manager, id, second, KoFMT_LITTLE, 1);
            const int order = Order(a, b, parts, true);
            ASSERT_EQ(Sign(manager.Cmp(id, values.data, second, 0x10, 1, KoFMT_MEMORY)), order);
            int status = 0;
            const unsigned hash = manager.Hash(id, 0, values.data, 1, KoFMT_MEMORY, status);
            ASSERT_TRUE(order != 0 || manager.Hash(id, 0, second, 1, KoFMT_MEMORY, status) == hash);
            for (const unsigned char format : {KoFMT_LITTLE, KoFMT_BIG}) {
                void* const x = bytesA[format - 1].data();
                ASSERT_EQ(manager.Hash(id, 0, x, 1, format, status), hash);
                for (const unsigned short op : kOperators)
                    ASSERT_EQ(manager.Cmp(id, x, bytesB[format - 1].data(), op, 1, format),
                              Order(a, b, parts, (op & 0x10) != 0))
                        << Hex(bytesA[1]) << " and " << Hex(bytesB[1]) << ", " << op;
            }
        }
    }
}

} // namespace
