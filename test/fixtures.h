#ifndef FIXTURES_H
#define FIXTURES_H

#include <_konulty.h>
#include <gtest/gtest.h>
#include <kotms.h>

#include <functional>
#include <limits>
#include <type_traits>
#include <vector>

/// One value of a type for the tests that sweep all types: smallest, largest, null, empty, awkward.
/// To give a type its values, add rows to AllFixtures.
struct Fixture {
    KoTypeId id;
    const char* reason;
    std::function<void(void* element)> fill; ///< sets an element that `create` made
};

template <class T>
Fixture Value(KoTypeId id, const char* reason, T value)
{
    return {id, reason, [value](void* element) { *static_cast<T*>(element) = value; }};
}

/// The extremes of a number, passed on as `Wrap`.
template <class T, class Wrap = T>
void AddNumbers(std::vector<Fixture>& all, KoTypeId id)
{
    const auto add = [&](const char* reason, T number) {
        if constexpr (std::is_same_v<T, Wrap>)
            all.push_back(Value(id, reason, number));
        else
            all.push_back(Value(id, reason, Wrap{number, 0}));
    };
    using Limits = std::numeric_limits<T>;
    add("zero", T{0});
    add("one", T{1});
    add("smallest", Limits::lowest());
    add("largest", Limits::max());
    add("a comma or its number", T{','});
    if constexpr (Limits::is_signed)
        add("minus one", T{-1});
    if constexpr (!Limits::is_integer) {
        add("no short decimal form", T{1} / T{3});
        add("smallest above zero", Limits::denorm_min());
        add("negative zero", -T{0});
        add("infinity", Limits::infinity());
        add("negative infinity", -Limits::infinity());
        add("no number", Limits::quiet_NaN());
    } else if constexpr (sizeof(T) > 1) {
        add("bytes in order", static_cast<T>(0x0102030405060708));
    }
}

template <class T>
void AddNullable(std::vector<Fixture>& all, KoTypeId id)
{
    AddNumbers<T, KoNull<T>>(all, id);
    all.push_back(Value(id, "null", KoNull<T>{T{0}, 1}));
}

template <class T>
T NullOf()
{
    T value;
    value.SetNullValue();
    return value;
}

inline KoString NullText()
{
    return NullOf<KoString>();
}

inline void AddTemporals(std::vector<Fixture>& all)
{
    const auto date = [&](const char* reason, KoDate value) {
        all.push_back(Value(KoDATE_T, reason, value));
        all.push_back(Value(D_DATE_T, "as a date of the standard", d_Date(value)));
    };
    date("day 0", KoDate::DefaultValue());
    date("all fields 0", KoDate::ClearValue());
    date("a leap day", {2024, 2, 29});
    date("smallest", {-32768, 1, 1});
    date("largest", {32767, 12, 31});
    date("wildcards", {-1, 7, -1});
    date("fields at their limits", {-32767, -128, 127});
    all.push_back(Value(KoDATE_T, "null", KoDate::NullValue()));

    const auto time = [&](const char* reason, KoTime value) {
        all.push_back(Value(KoTIME_T, reason, value));
        all.push_back(Value(D_TIME_T, "as a time of the standard", d_Time(value)));
    };
    time("midnight", {0, 0, 0});
    time("the last second", {23, 59, 59});
    time("24 o'clock", {24, 0, 0});
    time("wildcards", {-1, 30, -1});
    time("fields at their limits", {127, -128, 127});
    all.push_back(Value(KoTIME_T, "null", KoTime::NullValue()));
    for (const int zone : {1, -5, 127, -128})
        all.push_back(Value(D_TIME_T, "a zone", d_Time::OfFields(23, 59, 5, 7, zone, -zone / 4)));

    const auto stamp = [&](const char* reason, KoDateTimeN value, int zone) {
        all.push_back(Value(KoDATIME_N_T, reason, value));
        all.push_back(Value(KoDATIME_T, reason, value.DateTime()));
        all.push_back(Value(
            D_TIMESTAMP_T, "as a time stamp of the standard",
            d_Timestamp(value.Date(), d_Time::OfFields(value.Time().Hour(), 30, 59, 99, zone, 0))));
    };
    stamp("day 0", KoDateTimeN::DefaultValue(), 0);
    stamp("all fields 0", KoDateTimeN::ClearValue(), 12);
    stamp("nanoseconds", {2024, 2, 29, 23, 59, 59, 123456789}, -12);
    stamp("smallest", {-32768, 1, 1, 0, 0, 0, 0}, 0);
    stamp("largest", {32767, 12, 31, 23, 59, 59, 999999999}, 14);
    stamp("wildcards", {2024, -1, 5, 12, -1, 30, 0}, 0);
    all.push_back(Value(KoDATIME_N_T, "null", KoDateTimeN::NullValue()));
    all.push_back(Value(KoDATIME_T, "null", KoDateTime::NullValue()));

    for (const KoTimeSpan& span :
         {KoTimeSpan::ZeroValue(), KoTimeSpan(1, 1, 10, 2, 3, 4, 500),
          KoTimeSpan(0, 0, -5, 23, 0, 0, 0), KoTimeSpan(32767, 11, 29, 23, 59, 59, 999999999),
          KoTimeSpan(-32768, 0, 0, 0, 0, 0, 1)})
        all.push_back(Value(KoTIMESPAN_T, "a span", span));
    all.push_back(Value(KoTIMESPAN_T, "null", KoTimeSpan()));
    for (const float seconds :
         {0.0F, -0.0F, 0.25F, -93784.5F, 1e-20F, 3e38F, -std::numeric_limits<float>::infinity(),
          std::numeric_limits<float>::quiet_NaN()})
        all.push_back(Value(D_INTERVAL_T, "seconds", d_Interval::OfSeconds(seconds)));
}

template <class T>
void AddCaseless(std::vector<Fixture>& all, KoTypeId id)
{
    all.push_back(Value(id, "empty", T()));
    all.push_back(Value(id, "one byte", T("A")));
    all.push_back(Value(id, "accents and both cases", T("\xC9t\xE9")));
    all.push_back(Value(id, "expands", T("\xDF\x8C\x9C")));
    all.push_back(Value(id, "no characters of the code set", T("\x81\x8D\x9D\xFF")));
    all.push_back(Value(id, "like a null", T("{NULL}")));
    all.push_back(Value(id, "longest", T().Fill(65531, 'x')));
}

inline std::vector<Fixture> AllFixtures()
{
    std::vector<Fixture> all;
    AddNumbers<o_char>(all, Ko1B_T);
    AddNumbers<o_2b>(all, Ko2B_T);
    AddNumbers<o_4b>(all, Ko4B_T);
    AddNumbers<o_double>(all, KoDOUBLE_T);
    AddNumbers<o_float>(all, KoFLOAT_T);
    AddNumbers<o_u2b>(all, KoU2B_T);
    AddNumbers<o_u4b>(all, KoU4B_T);
    AddNumbers<int>(all, KoINT_T);
    AddNumbers<unsigned>(all, KoUNSIGNED_T);
    AddNumbers<int>(all, KoENUM_T);
    AddNumbers<o_u1b>(all, KoU1B_T);
    AddNumbers<o_u4b>(all, KoBLOCKID_T);
    AddNumbers<o_8b>(all, Ko8B_T);
    AddNumbers<o_u8b>(all, KoU8B_T);

    AddNullable<o_char>(all, KoNULL_1B_T);
    AddNullable<o_u1b>(all, KoNULL_U1B_T);
    AddNullable<o_2b>(all, KoNULL_2B_T);
    AddNullable<o_u2b>(all, KoNULL_U2B_T);
    AddNullable<int>(all, KoNULL_INT_T);
    AddNullable<unsigned>(all, KoNULL_UNSIGNED_T);
    AddNullable<o_4b>(all, KoNULL_4B_T);
    AddNullable<o_u4b>(all, KoNULL_U4B_T);
    AddNullable<o_float>(all, KoNULL_FLOAT_T);
    AddNullable<o_double>(all, KoNULL_DOUBLE_T);
    AddNullable<o_8b>(all, KoNULL_8B_T);
    AddNullable<o_u8b>(all, KoNULL_U8B_T);

    for (const o_8b number : {o_8b{0}, o_8b{-1}, std::numeric_limits<o_8b>::min(),
                              std::numeric_limits<o_8b>::max(), o_8b{0x0102030405060708}}) {
        all.push_back(Value(KoINT64_T, "a number", KoInt64(number)));
        all.push_back(Value(KoNULL_KOINT64_T, "a number", KoNull_KoInt64{KoInt64(number), 0}));
    }
    all.push_back(Value(KoNULL_KOINT64_T, "null", KoNull_KoInt64{KoInt64(), 1}));

    AddTemporals(all);

    const auto add = [&all](KoTypeId id, const char* reason, auto value) {
        all.push_back(Value(id, reason, value));
    };
    const unsigned short wide[] = {'1', 0x20AC, 0xFFFD, 0};
    add(KoSTRING_T, "empty", KoString());
    add(KoSTRING_T, "empty of another code set", KoString(253, 7));
    add(KoSTRING_T, "one character", KoString("a"));
    add(KoSTRING_T, "wildcards", KoString("*?\\*"));
    add(KoSTRING_T, "upper half", KoString("\x80\xE4\xFF"));
    add(KoSTRING_T, "16-bit", KoString(wide));
    add(KoSTRING_T, "longest", KoString().Fill(65531, 'x'));
    add(KoSTRING_T, "longest 16-bit", KoString(253, 0).Fill(32765, wide[1]));
    add(KoSTRING_T, "null", NullText());

    AddCaseless<KoIString>(all, KoISTRING_T);
    AddCaseless<KoCaseIString>(all, KoCASEISTRING_T);

    add(KoBLOB_T, "empty", KoBlob());
    add(KoBLOB_T, "one byte", KoBlob("", 1));
    add(KoBLOB_T, "as long as its length", KoBlob("\0\0\0\x04", 4));
    add(KoBLOB_T, "long", KoBlob(KoString().Fill(300, 'b').StrGet(), 300));
    add(KoBLOB_T, "null", NullOf<KoBlob>());

    add(KoBOOLEAN_T, "false", KoBoolean(0));
    add(KoBOOLEAN_T, "true", KoBoolean(1));
    add(KoBOOLEAN_T, "null", NullOf<KoBoolean>());
    add(KoSEAL_T, "zero", KoSeal());
    add(KoSEAL_T, "words in order", KoSeal(1, 2, 3));
    add(KoSEAL_T, "largest", KoSeal(0xFFFF, 0xFFFF, 0xFFFF));

    add(KoOBJID_T, "null", KoObjId{});
    add(KoOBJID_T, "smallest", KoObjId{0, 1, 0});
    add(KoOBJID_T, "high alone", KoObjId{0, 0, 1});
    add(KoOBJID_T, "bytes in order", KoObjId{0x01020304, 0x05060708, 0x090A});
    add(KoOBJID_T, "largest", KoObjId{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFF});
    add(KoCLID_T, "null", KoClassId{});
    add(KoCLID_T, "version alone", KoClassId{0, 1});
    add(KoCLID_T, "bytes in order", KoClassId{0x0102, 0x0304});
    add(KoCLID_T, "largest", KoClassId{0xFFFF, 0xFFFF});
    add(KoREF_T, "null", KoRef{});
    add(KoREF_T, "number alone", KoRef{0, 1, 0, 0, 0, 0});
    add(KoREF_T, "bytes in order", KoRef{0x01020304, 0x05060708, 0x090A, 0x0B0C, 0x0D0E, 0});
    add(KoREF_T, "a version, which is not stored", KoRef{1, 2, 3, 4, 5, 6});
    add(KoREF_T, "largest", KoRef{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF});
    return all;
}

/// An array that a type made, with its release.
struct Array {
    const KoTypeMgr& manager;
    o_char id;
    void* data;
    unsigned count;
    ~Array() { manager.Delete(id, data, count); }
};

/// Exact comparison: no wildcards in texts, none in the fields of dates and times.
inline constexpr unsigned short kExact = 0x0110;

using Bytes = std::vector<unsigned char>;

/// The stored form of values; nothing is written beyond it.
inline Bytes Stored(const KoTypeMgr& manager, o_char id, const void* values, unsigned char format,
                    unsigned count)
{
    constexpr unsigned char kGuard = 0xA5;
    const unsigned size = manager.DiskLenGet(id, values, format, count, KoFMT_MEMORY);
    Bytes bytes(size + 16, kGuard);
    EXPECT_EQ(manager.Store(id, bytes.data(), values, format, count), size);
    for (std::size_t at = size; at < bytes.size(); ++at)
        EXPECT_EQ(bytes[at], kGuard) << "written beyond the end, format " << int{format};
    bytes.resize(size);
    return bytes;
}

/// The fixtures of one type as an array that the type made.
class FixtureArray
{
public:
    FixtureArray(const KoTypeMgr& manager, o_char id) : m_manager(manager), m_id(id)
    {
        for (Fixture& fixture : AllFixtures()) {
            if (fixture.id == id)
                m_fixtures.push_back(std::move(fixture));
        }
        m_data = manager.Create(id, Count());
        for (unsigned i = 0; m_data != nullptr && i < Count(); ++i)
            m_fixtures[i].fill((*this)[i]);
    }
    FixtureArray(const FixtureArray&) = delete;
    FixtureArray& operator=(const FixtureArray&) = delete;
    ~FixtureArray() { m_manager.Delete(m_id, m_data, Count()); }

    unsigned Count() const { return static_cast<unsigned>(m_fixtures.size()); }
    void* Data() const { return m_data; }
    void* operator[](unsigned i) const { return m_manager.GetArrayElement(m_id, m_data, i, 0); }
    const char* Reason(unsigned i) const { return m_fixtures[i].reason; }

private:
    const KoTypeMgr& m_manager;
    o_char m_id;
    std::vector<Fixture> m_fixtures;
    void* m_data = nullptr;
};

#endif
