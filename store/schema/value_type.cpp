#include "schema/value_type.h"

#include "base/format_text.h"
#include "base/utf8.h"
#include <kostore.h>

#include <kostring.h>

#include <memory>
#include <utility>

namespace ko::store::inner
{

namespace
{

/// Formats that are one decimal conversion and nothing else.
ValueType::Number KindOfFormat(std::string_view format)
{
    if (format.size() < 2 || format.front() != '%')
        return ValueType::Number::None;
    const std::string_view between = format.substr(1, format.size() - 2);
    if (between.find_first_not_of("+- #0123456789.hlLjztqI") != std::string_view::npos)
        return ValueType::Number::None;
    if (std::string_view("diuS").find(format.back()) != std::string_view::npos)
        return ValueType::Number::Integer;
    const bool floating = std::string_view("eEfFgG").find(format.back()) != std::string_view::npos;
    return floating ? ValueType::Number::Floating : ValueType::Number::None;
}

} // namespace

ValueType::ValueType(o_char id)
    : m_id(id), m_hasNull(Manager().SupportsNullValue(id) != 0), m_isText(false),
      m_hasPatterns(false), m_number(Number::None), m_fixedSize(0)
{
    const Value empty(*this);
    if (Manager().IsFixed(id) != 0)
        m_fixedSize = Manager().DiskLenGet(id, const_cast<Value&>(empty).Get(), kStoreFormat, 1,
                                           KoFMT_MEMORY);
    if (const char* format = Manager().ExchangeFormat(id, nullptr))
        m_number = KindOfFormat(format);
    m_isText = TakesAnyText();
    m_hasPatterns = m_isText && MatchesPatterns();
}

ValueType ValueType::Named(const std::string& name)
{
    o_char id = 0;
    if (Manager().Name2KoTypeId(name.c_str(), id) != 0)
        throw Error(ErrorCode::Usage, "there is no type \"" + name + "\"");
    return ValueType(id);
}

bool ValueType::TakesAnyText() const
{
    static const char* const kProbes[] = {"", "*?{x}\\", "7 abc"};
    Value value(*this);
    for (const char* probe : kProbes) {
        unsigned errorAt = 0;
        std::string printed;
        if (Manager().ParseFromKoString(m_id, value.Get(), KoString(probe), nullptr, errorAt) != 0)
            return false;
        if (value.IsNull())
            continue;
        value.Print(printed, nullptr);
        if (printed != probe)
            return false;
    }
    return true;
}

bool ValueType::MatchesPatterns() const
{
    Value text(*this);
    Value pattern(*this);
    unsigned errorAt = 0;
    Manager().ParseFromKoString(m_id, text.Get(), KoString("ab"), nullptr, errorAt);
    Manager().ParseFromKoString(m_id, pattern.Get(), KoString("a*"), nullptr, errorAt);
    return Manager().Cmp(m_id, text.Get(), pattern.Get(), 0, 1, KoFMT_MEMORY) == 0;
}

std::size_t ValueType::MeasureAt(std::string_view bytes, unsigned char format) const
{
    MemFile file(bytes.data(), bytes.size());
    const std::size_t size = Manager().DiskLenGetFromMemFile(m_id, &file, format, 1);
    return size <= bytes.size() ? size : 0;
}

Value::Value(const ValueType& type) : m_type(type), m_value(Manager().Create(type.Id(), 1))
{
    if (m_value == nullptr)
        throw Error(ErrorCode::Usage, "the type \"" + type.Name() + "\" has no values");
}

Value::~Value()
{
    if (m_value != nullptr)
        Manager().Delete(m_type.Id(), m_value, 1);
}

Value::Value(Value&& other) noexcept
    : m_type(other.m_type), m_value(std::exchange(other.m_value, nullptr))
{
}

void Value::Store(std::string& bytes, unsigned char format) const
{
    const std::size_t start = bytes.size();
    const std::size_t size = Manager().DiskLenGet(m_type.Id(), m_value, format, 1, KoFMT_MEMORY);
    bytes.resize(start + size);
    // The key-form bit lets a type ask for more room than it fills.
    bytes.resize(start + Manager().Store(m_type.Id(), bytes.data() + start, m_value, format, 1));
}

void Value::Load(std::string_view bytes, unsigned char format)
{
    Manager().Load(m_type.Id(), m_value, bytes.data(), format, 1);
}

void Value::Print(std::string& utf8, const char* format) const
{
    if (format == nullptr) {
        const bool floating = m_type.NumberKind() == ValueType::Number::Floating;
        if (!floating || IsNull() || !AppendConverted(utf8))
            Append(utf8, nullptr);
    } else if (FormatText::IsPlain(format)) {
        Append(utf8, format);
    } else {
        std::string unformatted;
        Append(unformatted, nullptr);
        const FormatText text(format, unformatted);
        std::string printed;
        Append(printed, text.Bytes());
        utf8 += text.WithCharacters(printed);
    }
}

/// Conversion writes floating numbers in the shortest form that reads back as the same value.
bool Value::AppendConverted(std::string& utf8) const
{
    const std::unique_ptr<KoTypeConvertData> texts(Manager().ConvertTo(m_type.Id(), m_value, 1));
    const KoString* text = texts != nullptr ? texts->GetString(0) : nullptr;
    if (text == nullptr)
        return false;
    AppendUtf8(utf8, *text);
    return true;
}

void Value::Append(std::string& utf8, const char* format) const
{
    // A text takes what is appended into its own code set: this one has room for all characters.
    KoString text(KoCS_UNICODE, KoString::GetDefaultLanguage());
    Manager().PrintToKoString(m_type.Id(), text, m_value, format, 1);
    if (text.ByteSize() == KoString::kMaxBytes) {
        // It may have been cut off. A text of 8 bits may be twice as long.
        const unsigned char codeSet = m_type.Id() == KoSTRING_T
                                          ? static_cast<const KoString*>(m_value)->CodeSet()
                                          : KoString::GetDefault8CodeSet();
        KoString narrow(codeSet, KoString::GetDefaultLanguage());
        Manager().PrintToKoString(m_type.Id(), narrow, m_value, format, 1);
        if (narrow.Len() > text.Len())
            text = narrow;
    }
    AppendUtf8(utf8, text);
}

} // namespace ko::store::inner
