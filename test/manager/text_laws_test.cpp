#include "support/operand.h"

#include <gtest/gtest.h>
#include <ko.h>
#include <kostd.h>

// Every value goes through its text and back. KO_LAW_TEXTS sets the number of random values for all
// types together.

namespace
{

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
        const std::string utf8 = ko::ToUtf8(text);
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
    const unsigned long long each = Asked("KO_LAW_TEXTS", 120'000) / KoTYPE_COUNT + 1;
    ForEachType([each](const KoTypeMgr& manager, o_char id) {
        TextLaws laws(id, static_cast<unsigned>(id));
        const FixtureArray fixtures(manager, id);
        for (unsigned i = 0; i < fixtures.Count() && !HasFailure(); ++i)
            laws.Check(fixtures[i]);
        for (unsigned long long i = 0; i < each && !HasFailure(); ++i)
            laws.Random();
        EXPECT_EQ(laws.MetNull(), manager.SupportsNullValue(id) != 0);
    });
}

// As test/data/texts/codes.txt has them, through the type manager and through ko.h.
TEST(TextLaws, WhatIsWrongHasACode)
{
    const struct {
        const char* name;
        int read;
        ko_status packed;
    } kResults[] = {{"ok", KoRC_OK, KO_OK},
                    {"unreadable", KoREAD_NOT_A_VALUE, KO_UNREADABLE},
                    {"out of range", KoREAD_OUT_OF_RANGE, KO_OUT_OF_RANGE},
                    {"trailing", KoREAD_TRAILING, KO_TRAILING},
                    {"not UTF-8", KoREAD_NOT_UTF8, KO_NOT_UTF8},
                    {"too long", KoREAD_TOO_LONG, KO_TOO_LONG},
                    {"no character", KoREAD_NO_CHARACTER, KO_NO_CHARACTER},
                    {"bad format", 99, KO_BAD_FORMAT}};
    const KoTypeMgr manager;
    data::ForEachRow("texts/codes.txt", 6, [&](const auto& head, const data::Row& row) {
        const auto& result = *std::find_if(std::begin(kResults), std::end(kResults) - 1,
                                           [&](const auto& one) { return row[3] == one.name; });
        const auto id = static_cast<o_char>(ko_type(row[0].c_str()));
        const std::string ownFormat = data::ParseString('"' + row[1] + '"');
        const char* const format = row[1] == "-" ? nullptr : ownFormat.c_str();
        const std::string utf8 = data::ParseString(row[2]);
        const std::size_t place = std::stoul(row[4]);
        std::size_t at = 99;
        Bytes packed(100);
        if (head[0] != "type manager") {
            std::size_t size = packed.size();
            EXPECT_EQ(
                ko_pack(id, utf8.data(), utf8.size(), format, KO_BIG, packed.data(), &size, &at),
                result.packed);
            EXPECT_EQ(size != 0, result.packed == KO_OK);
            EXPECT_TRUE(at == place || size != 0 || result.packed == KO_BAD_FORMAT) << at;
            packed.resize(size);
        }
        if (head[0] == "ko.h")
            return;
        const Array value{manager, id, manager.Create(id, 1), 1};
        const Bytes before = Stored(manager, id, value.data, KoFMT_BIG, 1);
        EXPECT_EQ(manager.ReadText(id, value.data, utf8.data(), utf8.size(), format, at),
                  result.read);
        EXPECT_EQ(at, place);
        EXPECT_EQ(Stored(manager, id, value.data, KoFMT_BIG, 1),
                  result.read == 0 ? packed : before);
    });
    std::size_t at = 99;
    EXPECT_EQ(manager.ReadText(KoRES_T, nullptr, "1", 1, nullptr, at), KoRC_NOT_SUPPORTED);
    EXPECT_EQ(at, 0U);
    EXPECT_STREQ(manager.TextFormatGet(Ko4B_T), "%ld") << "the print format, where that reads back";
}

} // namespace
