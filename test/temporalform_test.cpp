#include "fixtures.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <vector>

/// Stored dates and times: their order and hash, which are taken from the bytes.

namespace
{

/// What a field takes part in an order with.
enum Part {
    kYear,       ///< never a wildcard
    kOfDate,     ///< a wildcard where it stands in the second operand
    kOfTime,     ///< a wildcard on either side
    kNoWildcard, ///< of a class without wildcards
};

struct Fields {
    std::vector<int> values; ///< in the order that decides
    std::vector<Part> parts;

    void Add(int value, Part part)
    {
        values.push_back(value);
        parts.push_back(part);
    }
};

int Order(const Fields& a, const Fields& b, bool strict)
{
    for (std::size_t i = 0; i < a.values.size(); ++i) {
        const Part part = a.parts[i];
        const bool wild = (part == kOfTime && a.values[i] == -1) ||
                          ((part == kOfTime || part == kOfDate) && b.values[i] == -1);
        if (a.values[i] != b.values[i] && (strict || !wild))
            return a.values[i] < b.values[i] ? -1 : 1;
    }
    return 0;
}

/// Draws fields that are often equal, wild or extreme.
class Draw
{
public:
    int Byte() { return Pick({-128, -2, -1, -1, 0, 1, 5, 5, 127}); }
    int Year() { return Pick({-32768, -256, -1, 0, 255, 2024, 2024, 32767}); }
    int Nanoseconds()
    {
        return Pick(
            {std::numeric_limits<int>::min(), -1, 0, 0, 255, 256, std::numeric_limits<int>::max()});
    }

private:
    int Pick(const std::vector<int>& from) { return from[m_random() % from.size()]; }
    std::mt19937 m_random{4711};
};

constexpr unsigned short kOperators[] = {0, 0x10, 0xFFEF, 0xFFFF};

/// Compares random pairs that `make(fields)` makes.
template <class Make>
void CheckOrders(o_char id, Make make)
{
    SCOPED_TRACE(KoTypeMgr().NameGet(id, nullptr));
    const KoTypeMgr manager;
    for (int i = 0; i < 20000; ++i) {
        Fields fieldsA;
        Fields fieldsB;
        auto a = make(fieldsA);
        auto b = i % 4 == 0 ? a : make(fieldsB);
        if (i % 4 == 0)
            fieldsB = fieldsA;
        int status = 0;
        const unsigned hash = manager.Hash(id, 0, &a, 1, KoFMT_MEMORY, status);
        const bool same = Order(fieldsA, fieldsB, true) == 0;
        ASSERT_TRUE(!same || manager.Hash(id, 0, &b, 1, KoFMT_MEMORY, status) == hash);
        const int inMemory = manager.Cmp(id, &a, &b, 0x10, 1, KoFMT_MEMORY);
        ASSERT_EQ((inMemory > 0) - (inMemory < 0), Order(fieldsA, fieldsB, true));
        for (const unsigned char format : {KoFMT_LITTLE, KoFMT_BIG}) {
            Bytes bytesA = Stored(manager, id, &a, format, 1);
            Bytes bytesB = Stored(manager, id, &b, format, 1);
            ASSERT_EQ(manager.Hash(id, 0, bytesA.data(), 1, format, status), hash);
            for (const unsigned short op : kOperators)
                ASSERT_EQ(manager.Cmp(id, bytesA.data(), bytesB.data(), op, 1, format),
                          Order(fieldsA, fieldsB, (op & 0x10) != 0))
                    << testing::PrintToString(fieldsA.values) << " "
                    << testing::PrintToString(fieldsB.values) << " " << op << " " << int{format};
        }
    }
}

} // namespace

TEST(TemporalForm, OrdersAndHashesOfStoredElements)
{
    Draw draw;
    const auto date = [&](Fields& fields, bool wild = true) {
        const KoDate made(draw.Year(), draw.Byte(), draw.Byte());
        fields.Add(made.Year(), kYear);
        fields.Add(made.Month(), wild ? kOfDate : kNoWildcard);
        fields.Add(made.Day(), wild ? kOfDate : kNoWildcard);
        return made;
    };
    const auto time = [&](Fields& fields) {
        const KoTime made(draw.Byte(), draw.Byte(), draw.Byte());
        for (const int field : {made.Hour(), made.Minute(), made.Second()})
            fields.Add(field, kOfTime);
        return made;
    };
    const auto dateTime = [&](Fields& fields) {
        const KoDate day = date(fields);
        return KoDateTime(day, time(fields));
    };
    const auto odmgTime = [&](Fields& fields) {
        // The clock with the zone decides first.
        int values[6];
        for (int& value : values) {
            value = draw.Byte();
            fields.Add(value, kNoWildcard);
        }
        return d_Time::OfFields(values[0] - values[4], values[1] - values[5], values[2], values[3],
                                values[4], values[5]);
    };
    CheckOrders(KoDATE_T, [&](Fields& fields) { return date(fields); });
    CheckOrders(KoTIME_T, [&](Fields& fields) { return time(fields); });
    CheckOrders(KoDATIME_T, [&](Fields& fields) { return dateTime(fields); });
    CheckOrders(KoDATIME_N_T, [&](Fields& fields) {
        dateTime(fields);
        fields.Add(draw.Nanoseconds(), kOfTime);
        const auto v = [&](std::size_t i) { return static_cast<o_1b>(fields.values[i]); };
        return KoDateTimeN(static_cast<o_2b>(fields.values[0]), v(1), v(2), v(3), v(4), v(5),
                           fields.values[6]);
    });
    CheckOrders(KoTIMESPAN_T, [&](Fields& fields) {
        dateTime(fields);
        fields.Add(draw.Nanoseconds(), kOfTime);
        const std::vector<int>& v = fields.values;
        return KoTimeSpan(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
    });
    CheckOrders(D_DATE_T, [&](Fields& fields) { return d_Date(date(fields, false)); });
    CheckOrders(D_TIME_T, odmgTime);
    CheckOrders(D_TIMESTAMP_T, [&](Fields& fields) {
        const d_Date day = date(fields, false);
        return d_Timestamp(day, odmgTime(fields));
    });
}
