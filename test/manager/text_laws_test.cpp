#include "support/operand.h"

#include <gtest/gtest.h>
#include <kombs.h>

#include <cmath>
#include <cstdlib>
#include <set>

// Every value goes through its text and back. KO_LAW_TEXTS sets the number of random values for all
// types together.

namespace
{

unsigned long long Values()
{
    const char* asked = std::getenv("KO_LAW_TEXTS");
    return asked != nullptr ? std::strtoull(asked, nullptr, 10) : 120'000;
}

std::string Utf8(const KoString& text)
{
    std::string utf8(static_cast<std::size_t>(KoString2KoMBS(text, nullptr, 0)), '\0');
    KoString2KoMBS(text, utf8.data(), static_cast<int>(utf8.size()));
    utf8.pop_back();
    return utf8;
}

/// Values of these types hold more than texts do: code set and language of a string, payload of a
/// NaN, the value in a null, the byte that stands for true.
bool IsMoreThanText(const KoTypeMgr& manager, o_char id)
{
    const std::string name = manager.NameGet(id);
    return id == KoSTRING_T || id == KoFLOAT_T || id == KoDOUBLE_T || id == KoBOOLEAN_T ||
           name.rfind("KoNull_", 0) == 0;
}

class TextLaws
{
public:
    TextLaws(o_char id, unsigned seed)
        : m_id(id), m_format(m_manager.TextFormatGet(id)), m_random(seed),
          m_value(m_manager, id), m_back{m_manager, id, m_manager.Create(id, 1), 1}
    {
    }

    void Random()
    {
        m_value.Fill(m_random, 1, nullptr);
        Check(m_value.At(0));
    }

    void Check(void* value)
    {
        KoString text(KoCS_UNICODE, 0);
        m_manager.PrintToKoString(m_id, text, value, m_format, 1);
        KoString narrow(KoCS_LATIN1, 0);
        if (text.ByteSize() == KoString::kMaxBytes) // perhaps cut off; 8 bits hold twice as many
            m_manager.PrintToKoString(m_id, narrow, value, m_format, 1);
        if (narrow.Len() > text.Len())
            text = narrow;
        const std::string utf8 = Utf8(text);
        SCOPED_TRACE(utf8.substr(0, 200) + " of " + Hex(Stored(value)).substr(0, 200));
        unsigned errorAt = 0;
        ASSERT_EQ(m_manager.ParseFromKoString(m_id, m_back.data, text, m_format, errorAt), 0)
            << errorAt;
        ExpectBack(value);
        std::size_t at = 0;
        ASSERT_EQ(m_manager.ReadText(m_id, m_back.data, utf8.data(), utf8.size(), nullptr, at), 0)
            << at;
        ASSERT_EQ(at, utf8.size());
        ExpectBack(value);
        if (m_manager.SupportsNullValue(m_id) != 0 && m_manager.IsNullValue(m_id, value) != 0)
            m_null = true;
        if (IsText())
            return;
        const Bytes before = Stored(m_back.data);
        const std::string longer = utf8 + "~";
        ASSERT_LT(m_manager.ReadText(m_id, m_back.data, longer.data(), longer.size(), nullptr, at),
                  0);
        ASSERT_LT(at, longer.size());
        ASSERT_EQ(Stored(m_back.data), before);
    }
    bool MetNull() const { return m_null; }

private:
    bool IsText() const
    {
        return m_id == KoSTRING_T || m_id == KoISTRING_T || m_id == KoCASEISTRING_T ||
               m_id == Ko1B_T || m_id == KoU1B_T;
    }
    Bytes Stored(const void* value) const { return ::Stored(m_manager, m_id, value, KoFMT_BIG, 1); }
    void ExpectBack(void* value)
    {
        if (!IsMoreThanText(m_manager, m_id)) {
            ASSERT_EQ(Hex(Stored(m_back.data)), Hex(Stored(value)));
            return;
        }
        ASSERT_EQ(m_manager.IsNullValue(m_id, value), m_manager.IsNullValue(m_id, m_back.data));
        if (m_id == KoSTRING_T && m_manager.IsNullValue(m_id, value) == 0)
            static_cast<KoString*>(m_back.data)
                ->SetLanguage(static_cast<KoString*>(value)->Language());
        ASSERT_EQ(m_manager.Cmp(m_id, value, m_back.data, KoCMP_PLAIN, 1, KoFMT_MEMORY), 0);
        if (m_id != KoSTRING_T)
            return;
        KoString wide[2] = {*static_cast<KoString*>(value), *static_cast<KoString*>(m_back.data)};
        for (KoString& text : wide)
            text.MapToCodeSet(KoCS_UNICODE);
        ASSERT_TRUE(UnitsOf(wide[0]) == UnitsOf(wide[1]));
    }

    KoTypeMgr m_manager;
    o_char m_id;
    const char* m_format;
    ::Random m_random;
    Operand m_value;
    Array m_back;
    bool m_null = false;
};

TEST(TextLaws, EveryValueOfEveryTypeComesBack)
{
    const KoTypeMgr manager;
    const unsigned long long each = Values() / KoTYPE_COUNT + 1;
    for (int id = 0; id < KoTYPE_COUNT; ++id) {
        if (id == KoRES_T)
            continue;
        SCOPED_TRACE(koCurrentTypeTable.entry[id]->name);
        TextLaws laws(static_cast<o_char>(id), static_cast<unsigned>(id));
        const FixtureArray fixtures(manager, static_cast<o_char>(id));
        for (unsigned i = 0; i < fixtures.Count() && !testing::Test::HasFailure(); ++i)
            laws.Check(fixtures[i]);
        for (unsigned long long i = 0; i < each && !testing::Test::HasFailure(); ++i)
            laws.Random();
        EXPECT_EQ(laws.MetNull(), manager.SupportsNullValue(static_cast<o_char>(id)) != 0);
    }
}

TEST(TextLaws, WhatIsWrongHasACode)
{
    const struct {
        o_char id;
        std::string utf8;
        int result;
        std::size_t at;
        const char* reason;
    } kRows[] = {
        {KoDATE_T, "2024-02-29", 0, 10, "a date"},
        {KoDATE_T, "2024-02-30", KoREAD_OUT_OF_RANGE, 8, "no such day"},
        {KoDATE_T, "2024-13-01", KoREAD_OUT_OF_RANGE, 5, "no such month"},
        {KoDATE_T, "2024-02-2x", KoREAD_TRAILING, 9, "a date, and more"},
        {KoDATE_T, "2024/02/29", KoREAD_NOT_A_VALUE, 4, "another separator"},
        {KoDATE_T, "2024-02", KoREAD_NOT_A_VALUE, 7, "it ends early"},
        {KoTIME_T, "25:00:00", KoREAD_OUT_OF_RANGE, 0, "no such hour"},
        {D_TIME_T, "10:00:00+25:00", KoREAD_OUT_OF_RANGE, 8, "no such zone"},
        {Ko4B_T, "abc", KoREAD_NOT_A_VALUE, 0, "no number"},
        {Ko4B_T, "12 ", KoREAD_TRAILING, 2, "a number, and more"},
        {Ko4B_T, "3000000000", KoREAD_OUT_OF_RANGE, 0, "beyond 32 bits"},
        {KoDOUBLE_T, "1e999", KoREAD_OUT_OF_RANGE, 0, "beyond a double"},
        {KoOBJID_T, "(70000-1#0)", KoREAD_OUT_OF_RANGE, 1, "beyond 16 bits"},
        {KoBLOB_T, "00F", KoREAD_NOT_A_VALUE, 3, "half a byte"},
        {KoSTRING_T, "gr\xC3\xBC\xC3", KoREAD_NOT_UTF8, 4, "half a character"},
        {KoSTRING_T, std::string("a\0b", 3), KoREAD_NOT_UTF8, 1, "a zero byte"},
        {KoSTRING_T, std::string(65'532, 'a'), KoREAD_TOO_LONG, 0, "longer than strings are"},
        {KoISTRING_T, "\xE4\xB8\xAD", KoREAD_NO_CHARACTER, 0, "a character it lacks"},
        {KoCASEISTRING_T, "\xC3\xBC\xC3\xBC\xF0\x9F\x98\x80", KoREAD_NO_CHARACTER, 4,
         "bytes are counted, and what stands before is no value of its own"},
        {KoRES_T, "1", KoRC_NOT_SUPPORTED, 0, "no type"},
    };
    const KoTypeMgr manager;
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.reason);
        const Array value{manager, row.id, manager.Create(row.id, 1), 1};
        const Array as{manager, row.id, manager.Create(row.id, 1), 1};
        std::size_t at = 99;
        EXPECT_EQ(
            manager.ReadText(row.id, value.data, row.utf8.data(), row.utf8.size(), nullptr, at),
            row.result);
        EXPECT_EQ(at, row.at);
        if (row.result != 0 && value.data != nullptr) {
            EXPECT_EQ(Stored(manager, row.id, value.data, KoFMT_BIG, 1),
                      Stored(manager, row.id, as.data, KoFMT_BIG, 1));
        }
    }
    EXPECT_STREQ(manager.TextFormatGet(Ko4B_T), "%ld") << "the print format, where that reads back";
}

} // namespace
