#ifndef KO_STORE_SCHEMA_VALUE_TYPE_H
#define KO_STORE_SCHEMA_VALUE_TYPE_H

#include <kotypemgr.h>

#include <string>
#include <string_view>

namespace ko::store::inner
{

/// The byte order of everything in a store.
inline constexpr unsigned char kStoreFormat = KoFMT_LITTLE;

/// The comparison operator word of indexes and of comparisons without wildcards: texts are plain
/// values, every distinction counts, null comes first.
inline constexpr unsigned short kPlainOperator = 0x0010;
inline constexpr unsigned short kIgnoreCase = 0x0020;
inline constexpr unsigned short kIgnoreAccents = 0x0040;

/// The manager that everything in the program goes through.
inline KoTypeMgr& Manager()
{
    static KoTypeMgr manager;
    return manager;
}

/// Order of two persistent forms of a type, each bounded by its bytes; neither may be empty.
inline int ComparePersistent(o_char id, std::string_view a, std::string_view b,
                             unsigned short cmpOp, int& status)
{
    // Compare functions take their operands unqualified and do not write to them.
    return Manager().Cmp(id, static_cast<unsigned>(a.size()), const_cast<char*>(a.data()),
                         static_cast<unsigned>(b.size()), const_cast<char*>(b.data()), cmpOp, 1,
                         kStoreFormat, status);
}

/// What the program asks of a type more than once. It knows types by their id alone.
class ValueType
{
public:
    /// Throws Error (ErrorCode::Usage) for a type that has no values.
    explicit ValueType(o_char id);
    /// The type of a type name; throws Error (ErrorCode::Usage) where there is none.
    static ValueType Named(const std::string& name);

    o_char Id() const { return m_id; }
    std::string Name() const { return Manager().NameGet(m_id); }
    bool HasNull() const { return m_hasNull; }
    /// True for a type that takes any text as its value and prints it unchanged.
    bool IsText() const { return m_isText; }
    /// True for a type of text that is matched with patterns, and compared without case or accents.
    bool HasPatterns() const { return m_hasPatterns; }
    /// What the type's own format makes of a value: a decimal number, or anything else.
    enum class Number { None, Integer, Floating };
    Number NumberKind() const { return m_number; }

    /// Bytes of the persistent form in the store's format that `bytes` begins with; 0 where the
    /// form does not end within them.
    std::size_t SizeAt(std::string_view bytes, unsigned char format = kStoreFormat) const
    {
        if (m_fixedSize != 0)
            return m_fixedSize <= bytes.size() ? m_fixedSize : 0;
        return MeasureAt(bytes, format);
    }
    /// The same for a fixed-length type without looking at a value; 0 for a variable one.
    std::size_t FixedSize() const { return m_fixedSize; }
    /// True for the persistent form of one value, as the type writes it, and nothing else.
    bool IsForm(std::string_view bytes) const
    {
        std::size_t at = 0;
        return Manager().Validate(m_id, bytes.data(), bytes.size(), kStoreFormat, 1, at) == 0 &&
               at == bytes.size();
    }

private:
    std::size_t MeasureAt(std::string_view bytes, unsigned char format) const;
    bool TakesAnyText() const;
    bool MatchesPatterns() const;

    o_char m_id;
    bool m_hasNull;
    bool m_isText;
    bool m_hasPatterns;
    Number m_number;
    std::size_t m_fixedSize;
};

/// One value in memory form.
class Value
{
public:
    explicit Value(const ValueType& type);
    ~Value();
    Value(Value&& other) noexcept;
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;

    void* Get() { return m_value; }
    const ValueType& Type() const { return m_type; }

    /// Appends the persistent form.
    void Store(std::string& bytes, unsigned char format = kStoreFormat) const;
    /// Reads a persistent form. Bytes of unknown origin are asked for with ValueType::IsForm first.
    void Load(std::string_view bytes, unsigned char format = kStoreFormat);
    bool IsNull() const { return Manager().IsNullValue(m_type.Id(), m_value) != 0; }
    void SetNull() { Manager().SetNullValue(m_type.Id(), m_value); }
    /// Appends the text as UTF-8. A null format, where none was asked for, is the type's own; but
    /// a floating number is printed in as few digits as give it back.
    void Print(std::string& utf8, const char* format) const;

private:
    void Append(std::string& utf8, const char* format) const;
    bool AppendConverted(std::string& utf8) const;

    ValueType m_type;
    void* m_value;
};

} // namespace ko::store::inner

#endif
