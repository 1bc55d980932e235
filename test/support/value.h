#ifndef KO_TEST_SUPPORT_VALUE_H
#define KO_TEST_SUPPORT_VALUE_H

#include "support/fixtures.h"

#include <memory>
#include <string>

/// Values as the data files have them.

/// What a field stands for: itself, or a text in quotes.
inline KoString TextOf(const std::string& field)
{
    return field.find('"') == 0 ? data::ParseText(field) : KoString(field.c_str());
}

/// The field of a text: quoted where it would not be seen whole.
inline std::string Field(const KoString& text)
{
    if (text.IsNullValue())
        return "null";
    const std::string plain = text.StrGet();
    const bool whole = !plain.empty() && plain.front() != ' ' && plain.back() != ' ' &&
                       plain.find('"') == std::string::npos &&
                       data::FormatText(plain.c_str()) == "\"" + plain + "\"";
    return whole ? plain : data::FormatText(plain.c_str());
}

/// A value, printed and read under a format of which "-" is the type's own.
class Value
{
public:
    explicit Value(const std::string& type)
        : m_id(static_cast<o_char>(FindType(type))), m_data(m_manager.Create(m_id, 1))
    {
        EXPECT_NE(m_data, nullptr) << "no type " << type;
    }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    ~Value() { m_manager.Delete(m_id, m_data, 1); }

    void Set(const std::string& text, const std::string& format)
    {
        if (text == "null")
            m_manager.SetNullValue(m_id, m_data);
        else if (!Parse(TextOf(text), format).empty()) // no value, but fields that can be had
            Scan(TextOf(text), format);
    }
    std::string Printed(const std::string& format) const
    {
        if (m_manager.IsNullValue(m_id, m_data) != 0)
            return "null";
        KoString text("=");
        m_manager.PrintToKoString(m_id, text, m_data, OrNull(format).get(), 1);
        EXPECT_EQ(text.StrGet()[0], '=');
        return Field(text.Copy(1, KoString::kRest));
    }
    void Scan(KoString text, const std::string& format)
    {
        EXPECT_EQ(m_manager.ScanFromKoString(m_id, m_data, text, OrNull(format).get(), 1), m_data);
    }
    /// "!" and the place where the strict reader refuses the text.
    std::string Parse(const KoString& text, const std::string& format)
    {
        unsigned errorAt = 99;
        if (m_manager.ParseFromKoString(m_id, m_data, text, OrNull(format).get(), errorAt) != 0)
            return "!" + std::to_string(errorAt);
        return "";
    }
    o_char Id() const { return m_id; }
    void* Data() const { return m_data; }
    void ConvertFrom(const KoString& text)
    {
        const std::unique_ptr<KoTypeConvertData> record(
            KoTypeConvertData::Make(KoSTRING_T, 1, m_manager.Create(KoSTRING_T, 1), nullptr));
        *record->GetString(0) = text;
        m_manager.Delete(m_id, m_data, 1);
        m_data = m_manager.ConvertFrom(m_id, record.get(), 1);
    }
    std::string Converted()
    {
        const std::unique_ptr<KoTypeConvertData> texts(m_manager.ConvertTo(m_id, m_data, 1));
        return Field(*texts->GetString(0));
    }

private:
    static std::unique_ptr<char[]> OrNull(const std::string& format)
    {
        if (format == "-")
            return nullptr;
        const std::string plain = TextOf(format).StrGet();
        auto copy = std::make_unique<char[]>(plain.size() + 1);
        plain.copy(copy.get(), plain.size());
        return copy;
    }

    KoTypeMgr m_manager;
    o_char m_id;
    void* m_data;
};

#endif
