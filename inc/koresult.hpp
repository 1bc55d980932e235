#ifndef KORESULT_HPP
#define KORESULT_HPP

#if __cplusplus < 202002L && (!defined(_MSVC_LANG) || _MSVC_LANG < 202002L)
#error "ko.hpp and what it includes need C++20: compile with -std=c++20 or a later standard."
// What follows would be hundreds of errors more: a header that is not there ends the compilation.
#include "kotms-needs-c++20"
#endif

#include "ko.h"

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

/// What the calls of ko.hpp are asked under, and what they answer: words, settings, errors,
/// results.

namespace ko
{

/// ko_status, with the same numbers.
enum class Status : int {
    ok = KO_OK,
    no_type = KO_NO_TYPE,
    no_room = KO_NO_ROOM,
    no_memory = KO_NO_MEMORY,
    bad_argument = KO_BAD_ARGUMENT,
    not_utf8 = KO_NOT_UTF8,
    unreadable = KO_UNREADABLE,
    no_character = KO_NO_CHARACTER,
    too_long = KO_TOO_LONG,
    bad_format = KO_BAD_FORMAT,
    truncated = KO_TRUNCATED,
    damaged = KO_DAMAGED,
    trailing = KO_TRAILING,
    no_order = KO_NO_ORDER,
    not_supported = KO_NOT_SUPPORTED,
    out_of_range = KO_OUT_OF_RANGE,
};

/// The byte order of stored numbers.
enum class Order : int { little = KO_LITTLE, big = KO_BIG };

/// The operator word: what a comparison looks at; see ko.h. The flags may be joined.
enum class Word : unsigned {
    wildcards = KO_WILDCARDS,
    plain = KO_PLAIN,
    ignore_case = KO_IGNORE_CASE,
    ignore_accents = KO_IGNORE_ACCENTS,
    skip_spaces = KO_SKIP_SPACES,
    no_wildcards = KO_NO_WILDCARDS,
    skip_symbols = KO_SKIP_SYMBOLS,
};
constexpr Word operator|(Word a, Word b) noexcept
{
    return static_cast<Word>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr Word operator&(Word a, Word b) noexcept
{
    return static_cast<Word>(static_cast<unsigned>(a) & static_cast<unsigned>(b));
}
constexpr Word& operator|=(Word& a, Word b) noexcept
{
    return a = a | b;
}

/// Why something failed.
struct Error {
    Status status = Status::ok;
    /// Of a text or of bytes: the offset of the first byte that does not belong; else 0.
    std::size_t position = 0;
    const char* sentence = ""; ///< the library's; lives as long as the process

    /// Of a status, or of a ko_status.
    static Error Of(Status status, std::size_t position = 0) noexcept
    {
        return {status, position, ko_status_text(static_cast<int>(status))};
    }
    static Error Of(ko_status status, std::size_t position = 0) noexcept
    {
        return Of(static_cast<Status>(status), position);
    }
};

/// "the text is no value of the type in this format (at byte 4)"
inline std::ostream& operator<<(std::ostream& out, const Error& error)
{
    out << error.sentence;
    const bool hasPlace = error.position != 0 || error.status == Status::not_utf8 ||
                          error.status == Status::unreadable ||
                          error.status == Status::out_of_range ||
                          error.status == Status::no_character ||
                          error.status == Status::truncated || error.status == Status::damaged;
    return hasPlace ? out << " (at byte " << error.position << ')' : out;
}

/// What Result::value throws.
class Failure : public std::runtime_error
{
public:
    explicit Failure(const Error& error) : std::runtime_error(error.sentence), m_error(error) {}
    const Error& GetError() const noexcept { return m_error; }

private:
    Error m_error;
};

/// A value, or the reason why there is none. As std::expected.
template <class T>
class Result
{
public:
    using value_type = T;
    using error_type = Error;

    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    Result(const Error& error) : m_state(std::in_place_index<1>, error) {}

    bool has_value() const noexcept { return m_state.index() == 0; }
    explicit operator bool() const noexcept { return has_value(); }

    /// Undefined without a value, as of a std::optional.
    T& operator*() & noexcept { return *std::get_if<0>(&m_state); }
    const T& operator*() const& noexcept { return *std::get_if<0>(&m_state); }
    T&& operator*() && noexcept { return std::move(*std::get_if<0>(&m_state)); }
    T* operator->() noexcept { return std::get_if<0>(&m_state); }
    const T* operator->() const noexcept { return std::get_if<0>(&m_state); }

    /// Throws a Failure where there is none; without exceptions ends the process.
    T& value() &
    {
        Demand();
        return **this;
    }
    const T& value() const&
    {
        Demand();
        return **this;
    }
    T&& value() &&
    {
        Demand();
        return *std::move(*this);
    }
    template <class U>
    T value_or(U&& other) const&
    {
        return has_value() ? **this : static_cast<T>(std::forward<U>(other));
    }
    template <class U>
    T value_or(U&& other) &&
    {
        return has_value() ? *std::move(*this) : static_cast<T>(std::forward<U>(other));
    }

    /// Status::ok where there is a value.
    Error error() const noexcept
    {
        const Error* error = std::get_if<1>(&m_state);
        return error != nullptr ? *error : Error::Of(Status::ok);
    }

    /// `function(value)`, which gives a Result as well; the error goes on.
    template <class Function>
    auto and_then(Function&& function) const& -> std::invoke_result_t<Function, const T&>
    {
        if (has_value())
            return std::invoke(std::forward<Function>(function), **this);
        return error();
    }
    template <class Function>
    auto transform(Function&& function)
        const& -> Result<std::remove_cvref_t<std::invoke_result_t<Function, const T&>>>
    {
        if (has_value())
            return std::invoke(std::forward<Function>(function), **this);
        return error();
    }

private:
    void Demand() const
    {
        if (has_value())
            return;
#if defined(__cpp_exceptions)
        throw Failure(error());
#else
        std::abort();
#endif
    }

    std::variant<T, Error> m_state;
};

/// What a caller wants otherwise than the process has it, for the calls that it is handed to and
/// for no other thread or plugin. One that nothing was set in stands for the settings of the
/// process.
class Settings
{
public:
    using MemoryHandler = void (*)(void* context, std::size_t bytes);

    /// The text that stands for null; empty: none does.
    Settings& NullText(std::string utf8)
    {
        m_nullText = std::move(utf8);
        m_hasNullText = true;
        return *this;
    }
    /// KoLanguageId, of texts that are made and collated.
    Settings& Language(int language)
    {
        m_language = language;
        return *this;
    }
    /// KoCodeSetId, of texts that are made.
    Settings& CodeSet(int codeSet)
    {
        m_codeSet = codeSet;
        return *this;
    }
    /// Told how many bytes could not be had. It must return.
    Settings& OutOfMemory(MemoryHandler handler, void* context = nullptr)
    {
        m_handler = handler;
        m_context = context;
        return *this;
    }

    /// As ko.h takes them; valid while this object stays as it is.
    ko_settings Get() const noexcept
    {
        return {sizeof(ko_settings), m_hasNullText ? m_nullText.c_str() : nullptr,
                m_language,          m_codeSet,
                m_handler,           m_context};
    }

private:
    bool m_hasNullText = false; // not an optional text: compilers warn of that where it is inlined
    std::string m_nullText;
    int m_language = -1;
    int m_codeSet = -1;
    MemoryHandler m_handler = nullptr;
    void* m_context = nullptr;
};

} // namespace ko

#endif
