#include <kotms.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

// The text of every temporal type as the type manager gives it.

namespace
{

TEST(TemporalConversion, PrintsAndParsesEveryType)
{
    // The print format of the two dates of the standard has no year: they are read under another.
    struct {
        o_char id;
        const char* text; ///< under the format, null for the type's print format
        const char* format;
        const char* refused; ///< a text that is no value
        unsigned errorAt;
    } const rows[] = {
        {KoDATE_T, "Tue 05.Mar 2024", nullptr, "Tue 05.Mar 2024x", 15},
        {KoDATE_T, "2024-02-29", "%D", "2023-02-29", 8},
        {KoTIME_T, "01:05:09 pm", nullptr, "01:05:09", 8},
        {KoDATIME_T, "Wed 01.Feb 2025 12:00:01 am", nullptr, "Sat 30.Feb 2025 12:00:01 am", 11},
        {D_DATE_T, "1500-02-29", "%D", "1582-10-10", 8},
        {D_TIME_T, "11:59:59 am", nullptr, "11:60:59 am", 3},
        {D_TIMESTAMP_T, "2024-03-05T13:05:09.250", "%X", "2024-03-05T13:05:09.251", 22},
        {D_INTERVAL_T, "40 days, 05 hours, 00 minutes, 07 seconds", nullptr, "400 days, 24 hours",
         10},
        {KoDATIME_N_T, "2024-03-05T13:05:09.000000001", nullptr, "2024-03-05", 10},
        {KoTIMESPAN_T, "-40.02:03:04.500", nullptr, "-40.02:03:04.", 13},
    };
    KoTypeMgr manager;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        void* value = manager.Create(row.id, 2);
        auto* second = static_cast<unsigned char*>(value) + manager.MemLenGet(row.id, 1);
        const auto print = [&](void* of) {
            KoString text;
            manager.PrintToKoString(row.id, text, of, row.format, 1);
            return std::string(text.StrGet());
        };
        unsigned errorAt = 777;
        ASSERT_EQ(manager.ParseFromKoString(row.id, value, KoString(row.text), row.format, errorAt),
                  0);
        EXPECT_EQ(print(value), row.text);
        EXPECT_EQ(
            manager.ParseFromKoString(row.id, value, KoString(row.refused), row.format, errorAt),
            -1);
        EXPECT_EQ(errorAt, row.errorAt);
        EXPECT_EQ(print(value), row.text) << "untouched";
        std::unique_ptr<KoTypeConvertData> texts(manager.ConvertTo(row.id, value, 1));
        void* back = manager.ConvertFrom(row.id, texts.get(), 1);
        int status = 0;
        EXPECT_EQ(manager.Cmp(row.id, 0, value, 0, back, kKoCmpStrictBit, 1, KoFMT_MEMORY, status),
                  0)
            << "text and back";
        manager.Delete(row.id, back, 1);
        // Lenient reading gives a span back in time its length, with other fields.
        KoString text(row.text);
        manager.ScanFromKoString(row.id, second, text, row.format, 1);
        EXPECT_EQ(print(second), row.text);
        manager.Delete(row.id, value, 2);
    }
}

TEST(TemporalConversion, ReadsArraysAndNull)
{
    KoTypeMgr manager;
    KoDate dates[3] = {KoDate(2024, 3, 5), KoDate::NullValue(), KoDate(1, 2, 3)};
    KoString text;
    manager.PrintToKoString(KoDATE_T, text, dates, "%D", 3);
    EXPECT_STREQ(text.StrGet(), "2024-03-05,{NULL},0001-02-03");
    const KoString nothing[] = {KoString("{NULL}"), [] {
                                    KoString null;
                                    null.SetNullValue();
                                    return null;
                                }()};
    for (const KoString& null : nothing) {
        unsigned errorAt;
        EXPECT_EQ(manager.ParseFromKoString(KoDATE_T, &dates[0], null, "%D", errorAt), 0);
        EXPECT_TRUE(dates[0].IsNullValue());
        dates[0] = dates[2];
    }
    const std::unique_ptr<KoTypeConvertData> texts(manager.ConvertTo(KoDATE_T, dates, 3));
    EXPECT_TRUE(texts->GetString(1)->IsNullValue());
    void* back = manager.ConvertFrom(KoDATE_T, texts.get(), 3);
    EXPECT_EQ(std::memcmp(back, dates, sizeof dates), 0);
    manager.Delete(KoDATE_T, back, 3);
}

} // namespace
