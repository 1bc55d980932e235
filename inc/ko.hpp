#ifndef KO_HPP
#define KO_HPP

#include "koresult.hpp"

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>
#include <version>

#if defined(__cpp_lib_format)
#include <format>
#endif

/// Values of all types for C++20: a header alone, over ko.h, where the rules are that hold for
/// every call. No class of it crosses into the library, so that a program and the library may be
/// made by different compilers. Needs no call before the first one.
///
///     const ko::Type date = ko::Type::Find("KoDate").value();
///     const auto day = ko::Value::Parse(date, "2024-02-29", "%Y-%m-%d");
///     if (!day)
///         std::cout << day.error() << '\n';
///
/// Whatever can fail gives a Result. Nothing throws but `Result::value()` without a value, and what
/// has no way to say that memory ran out: printing and std::hash. Compiles as C++20 and later.

namespace ko
{

using Bytes = std::vector<std::byte>;
using BytesView = std::span<const std::byte>;

/// The type of a value: a number for which there is one.
class Type
{
public:
    /// By type name ("KoDate") or id name ("KoDATE_T"), case-sensitive.
    static std::optional<Type> Find(std::string_view name) noexcept
    {
        std::array<char, 64> text{};
        if (name.size() >= text.size() || name.find('\0') != name.npos)
            return std::nullopt;
        std::copy(name.begin(), name.end(), text.begin());
        return Of(ko_type(text.data()));
    }
    static std::optional<Type> Of(int number) noexcept
    {
        if (ko_type_name(number) == nullptr)
            return std::nullopt;
        return Type(number);
    }
    /// Every type, by number.
    static std::vector<Type> All()
    {
        std::vector<Type> types;
        for (int number = 0; number < ko_type_count(); ++number) {
            if (const auto type = Of(number))
                types.push_back(*type);
        }
        return types;
    }

    int Number() const noexcept { return m_number; }
    std::string_view Name() const noexcept { return ko_type_name(m_number); }
    std::string_view IdName() const noexcept { return ko_type_id_name(m_number); }
    /// The format under which every value reads back: what Parse and Text use without one.
    const char* TextFormat() const noexcept { return ko_text_format(m_number); }
    bool HasNull() const noexcept { return ko_has_null(m_number) != 0; }

    friend bool operator==(Type, Type) noexcept = default;
    friend auto operator<=>(Type, Type) noexcept = default;

private:
    explicit Type(int number) noexcept : m_number(number) {}

    int m_number;
};

namespace detail
{

/// A result of unknown length: `call(out, size)` is tried on the stack first.
template <class Container, class Call>
Result<Container> Collect(Call call)
{
    using Element = typename Container::value_type;
    std::array<Element, 256> room;
    std::size_t size = room.size();
    std::size_t position = 0;
    ko_status status = call(room.data(), &size, &position);
#if defined(__cpp_exceptions)
    try {
#endif
        if (status == KO_OK)
            return Container(room.data(), room.data() + size);
        if (status == KO_NO_ROOM) {
            Container result(size, Element{});
            status = call(result.data(), &size, &position);
            if (status == KO_OK)
                return result;
        }
#if defined(__cpp_exceptions)
    } catch (const std::bad_alloc&) {
        return Error::Of(Status::no_memory);
    }
#endif
    return Error::Of(status, position);
}

inline Result<std::weak_ordering> Ordering(ko_status status, int order)
{
    if (status != KO_OK)
        return Error::Of(status);
    return order < 0   ? std::weak_ordering::less
           : order > 0 ? std::weak_ordering::greater
                       : std::weak_ordering::equivalent;
}

} // namespace detail

// ---- stored bytes, wherever they come from; all are validated first

/// The bytes of the value that `bytes` begins with.
inline Result<std::size_t> Validate(Type type, BytesView bytes, Order order = Order::big)
{
    std::size_t at = 0;
    const ko_status status =
        ko_validate(type.Number(), bytes.data(), bytes.size(), static_cast<ko_order>(order), &at);
    if (status != KO_OK)
        return Error::Of(status, at);
    return at;
}

inline Result<std::weak_ordering> Compare(Type type, BytesView a, BytesView b,
                                          Word word = Word::plain, Order order = Order::big)
{
    int result = 0;
    const ko_status status =
        ko_compare(type.Number(), a.data(), a.size(), b.data(), b.size(),
                   static_cast<unsigned>(word), static_cast<ko_order>(order), &result);
    return detail::Ordering(status, result);
}

/// Which kind of texts a value is of, 0 or 1; texts of two kinds have no common order (ko_compare).
/// 1 is a KoString without a code set or of the older layout, and a KoCaseIString in which accents
/// count. All other values are of kind 0. Kinds one after the other, and Compare within each, are a
/// strict weak order of all values of a type, in either order of bytes. What is no value is of some
/// kind, too.
inline int KindOf(Type type, BytesView value) noexcept
{
    constexpr int kString = 11, kCaseIString = 21; // numbers of types never change
    constexpr unsigned kNullLanguage = 254, kAccents = 0x20;
    const auto at = [&](std::size_t i) {
        return i < value.size() ? std::to_integer<unsigned>(value[i]) : 0U;
    };
    if (type.Number() == kString) { // a record: length, code set, language, text, 00 FF
        const bool isOlderLayout = at(value.size() - 1) == 0;
        return isOlderLayout || (at(2) == 0 && at(3) != kNullLanguage) ? 1 : 0;
    }
    return type.Number() == kCaseIString && (at(2) & kAccents) != 0 ? 1 : 0;
}

/// Bytes that memcmp orders as Compare orders the values.
inline Result<Bytes> SortKey(Type type, BytesView bytes, Word word = Word::plain,
                             Order order = Order::big)
{
    return detail::Collect<Bytes>([&](void* out, std::size_t* size, std::size_t*) {
        return ko_key(type.Number(), bytes.data(), bytes.size(), static_cast<unsigned>(word),
                      static_cast<ko_order>(order), out, size);
    });
}

/// Values of one kind (KindOf) that are equal under the word have the same.
inline Result<std::uint64_t> Hash(Type type, BytesView bytes, Word word = Word::plain,
                                  Order order = Order::big)
{
    std::uint64_t hash = 0;
    const ko_status status =
        ko_hash(type.Number(), bytes.data(), bytes.size(), static_cast<unsigned>(word),
                static_cast<ko_order>(order), &hash);
    if (status != KO_OK)
        return Error::Of(status);
    return hash;
}

/// The order of two texts in UTF-8.
inline Result<std::weak_ordering> Collate(std::string_view a, std::string_view b,
                                          Word word = Word::plain, const Settings& settings = {})
{
    int result = 0;
    const ko_settings own = settings.Get();
    const ko_status status = ko_collate_with(&own, a.data(), a.size(), b.data(), b.size(),
                                             static_cast<unsigned>(word), &result);
    return detail::Ordering(status, result);
}

/// One value of any type, whole and valid. Holds its stored bytes, those of up to 24 without the
/// heap. One that was moved from may only be assigned to, or destructed.
class Value
{
public:
    /// Reads a text strictly: the whole of it must be a value under the format (null:
    /// Type::TextFormat). The error tells the byte that does not belong.
    static Result<Value> Parse(ko::Type type, std::string_view utf8, const char* format = nullptr,
                               const Settings& settings = {})
    {
        const ko_settings own = settings.Get();
        return Make(type, [&](void* out, std::size_t* size, std::size_t* position) {
            return ko_pack_with(&own, type.Number(), utf8.data(), utf8.size(), format, KO_BIG, out,
                                size, position);
        });
    }
    /// Takes stored bytes, which must be one value and nothing else.
    static Result<Value> Load(ko::Type type, BytesView bytes, Order order = Order::big)
    {
        if (const auto valid = Validate(type, bytes, order); !valid)
            return valid.error();
        return Make(type, [&](void* out, std::size_t* size, std::size_t*) {
            return ko_convert(type.Number(), bytes.data(), bytes.size(),
                              static_cast<ko_order>(order), KO_BIG, out, size);
        });
    }
    /// The null value of a type that has one.
    static Result<Value> Null(ko::Type type)
    {
        return Make(type, [&](void* out, std::size_t* size, std::size_t*) {
            return ko_pack_null(type.Number(), KO_BIG, out, size);
        });
    }
    /// The value of a key of SortKey.
    static Result<Value> FromKey(ko::Type type, BytesView key, Word word = Word::plain,
                                 const Settings& settings = {})
    {
        const ko_settings own = settings.Get();
        return Make(type, [&](void* out, std::size_t* size, std::size_t*) {
            return ko_from_key_with(&own, type.Number(), key.data(), key.size(),
                                    static_cast<unsigned>(word), KO_BIG, out, size);
        });
    }

    Value(Value&&) noexcept = default;
    Value& operator=(Value&&) noexcept = default;
    Value(const Value&) = default;
    Value& operator=(const Value&) = default;

    ko::Type Type() const noexcept { return m_type; }
    bool IsNull() const noexcept { return m_isNull; }
    /// The stored bytes, most significant byte first; valid until the value is assigned to.
    BytesView Stored() const noexcept
    {
        return m_long.empty() ? BytesView(m_short.data(), m_shortSize) : BytesView(m_long);
    }
    /// A copy of them in either order.
    Result<Bytes> Store(Order order = Order::big) const
    {
        const BytesView bytes = Stored();
        return detail::Collect<Bytes>([&](void* out, std::size_t* size, std::size_t*) {
            return ko_convert(m_type.Number(), bytes.data(), bytes.size(), KO_BIG,
                              static_cast<ko_order>(order), out, size);
        });
    }
    /// Without a format, a text that Parse reads back without one.
    Result<std::string> Text(const char* format = nullptr, const Settings& settings = {}) const
    {
        const BytesView bytes = Stored();
        const ko_settings own = settings.Get();
        return detail::Collect<std::string>([&](char* out, std::size_t* size, std::size_t*) {
            return ko_text_with(&own, m_type.Number(), bytes.data(), bytes.size(), KO_BIG, format,
                                out, size);
        });
    }

    /// Of two values of one type; Status::bad_argument for those of two. Unlike < it is that of
    /// ko_compare, which is no order of texts of two kinds (KindOf).
    Result<std::weak_ordering> Compare(const Value& other, Word word = Word::plain) const
    {
        if (m_type != other.m_type)
            return Error::Of(Status::bad_argument);
        return ko::Compare(m_type, Stored(), other.Stored(), word);
    }
    Result<Bytes> SortKey(Word word = Word::plain) const
    {
        return ko::SortKey(m_type, Stored(), word);
    }
    Result<std::uint64_t> Hash(Word word = Word::plain) const
    {
        return ko::Hash(m_type, Stored(), word);
    }

    /// The order of all values, for containers: by type, then by kind (KindOf), then under
    /// Word::plain. Needs no memory.
    friend std::weak_ordering operator<=>(const Value& a, const Value& b) noexcept
    {
        if (a.m_type != b.m_type)
            return a.m_type <=> b.m_type;
        const BytesView left = a.Stored();
        const BytesView right = b.Stored();
        if (const int kinds = KindOf(a.m_type, left) - KindOf(b.m_type, right); kinds != 0)
            return kinds <=> 0;
        int order = 0;
        ko_compare(a.m_type.Number(), left.data(), left.size(), right.data(), right.size(),
                   KO_PLAIN, KO_BIG, &order);
        return order <=> 0;
    }
    friend bool operator==(const Value& a, const Value& b) noexcept { return (a <=> b) == 0; }

    /// The text without a format, or the sentence that says why there is none.
    friend std::ostream& operator<<(std::ostream& out, const Value& value)
    {
        const auto text = value.Text();
        return text ? out << *text : out << text.error();
    }

private:
    static constexpr std::size_t kShort = 24;

    explicit Value(ko::Type type) noexcept : m_type(type) {}

    template <class Call>
    static Result<Value> Make(ko::Type type, Call call)
    {
        Value value(type);
        std::size_t size = kShort;
        std::size_t position = 0;
        ko_status status = call(value.m_short.data(), &size, &position);
        value.m_shortSize = static_cast<unsigned char>(status == KO_OK ? size : 0);
        if (status == KO_NO_ROOM) {
#if defined(__cpp_exceptions)
            try {
                value.m_long.resize(size);
            } catch (const std::bad_alloc&) {
                return Error::Of(Status::no_memory);
            }
#else
            value.m_long.resize(size);
#endif
            status = call(value.m_long.data(), &size, &position);
        }
        if (status == KO_OK && type.HasNull()) {
            const BytesView bytes = value.Stored();
            int isNull = 0;
            status = ko_is_null(type.Number(), bytes.data(), bytes.size(), KO_BIG, &isNull);
            value.m_isNull = isNull != 0;
        }
        if (status != KO_OK)
            return Error::Of(status, position);
        return value;
    }

    ko::Type m_type;
    bool m_isNull = false;
    unsigned char m_shortSize = 0;
    std::array<std::byte, kShort> m_short{};
    Bytes m_long; ///< empty where the bytes are short
};

/// Orders values under a word of one's own, in which wildcards are always off, for std::sort and
/// std::map: by type, then by kind (KindOf), then under the word.
struct ValueLess {
    Word word = Word::plain;

    bool operator()(const Value& a, const Value& b) const
    {
        if (a.Type() != b.Type())
            return a.Type() < b.Type();
        const int kinds = KindOf(a.Type(), a.Stored()) - KindOf(b.Type(), b.Stored());
        if (kinds != 0)
            return kinds < 0;
        const auto order = a.Compare(b, word | Word::plain);
        return order && *order < 0;
    }
};

} // namespace ko

template <>
struct std::hash<ko::Value> {
    /// Values that == says are equal have the same hash. Throws std::bad_alloc where memory for it
    /// runs out.
    std::size_t operator()(const ko::Value& value) const
    {
        const auto found = value.Hash();
#if defined(__cpp_exceptions)
        if (!found)
            throw std::bad_alloc();
#endif
        return static_cast<std::size_t>(found.value_or(0));
    }
};

#if defined(__cpp_lib_format)
/// "{}" is the text of the value; what stands after the colon is the format of it: "{:%Y-%m-%d}".
template <>
struct std::formatter<ko::Value> {
    constexpr auto parse(std::format_parse_context& context)
    {
        auto at = context.begin();
        for (; at != context.end() && *at != '}'; ++at) {
            if (m_length + 1 == sizeof m_format)
                throw std::format_error("the format of a value is longer than 255 bytes");
            m_format[m_length++] = *at;
        }
        return at;
    }
    template <class Context>
    auto format(const ko::Value& value, Context& context) const
    {
        const auto text = value.Text(m_length != 0 ? m_format : nullptr);
        const std::string_view shown = text ? std::string_view(*text) : text.error().sentence;
        return std::copy(shown.begin(), shown.end(), context.out());
    }

private:
    char m_format[256] = {};
    std::size_t m_length = 0;
};
#endif

#endif
