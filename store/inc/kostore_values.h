#ifndef KOSTORE_VALUES_H
#define KOSTORE_VALUES_H

#include <ko.hpp>

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#define KOSTORE_API __attribute__((visibility("default")))

/// What kostore.h, where the rules are, speaks of: errors, schemas and values.
namespace ko::store
{

/// What kind of fault an Error tells of.
enum class ErrorCode : int {
    Usage = 2,    ///< arguments, schema, predicate, value or input that cannot be worked with
    Damaged = 3,  ///< a store that is damaged, foreign or of another version
    Io = 4,       ///< a file or server that cannot be read or written, or no memory
    Missing = 5,  ///< Open: there is nothing at the address
    Exists = 6,   ///< Create: there is something at the address
    Conflict = 7, ///< other changes came between ten times; all can be tried again
};

/// A code and one sentence for the user. The sentence may hold texts of any file: whoever shows it
/// uses Visible.
class KOSTORE_API Error : public std::runtime_error
{
public:
    /// `lines` come below the sentence, as they are.
    Error(ErrorCode code, const std::string& message, std::string lines = {})
        : std::runtime_error(message), m_code(code), m_lines(std::move(lines))
    {
    }
    ErrorCode Code() const noexcept { return m_code; }
    const std::string& Lines() const noexcept { return m_lines; }

private:
    ErrorCode m_code;
    std::string m_lines;
};

/// UTF-8 for people: hidden characters stand as their codes, \n, \x1B or \u009B, and bytes that are
/// no UTF-8 as \xFF, so that no text of a file speaks to the terminal. Behind `most` characters it
/// ends with three dots.
KOSTORE_API std::string Visible(std::string_view utf8, std::size_t most = std::string_view::npos);

// ---- schemas and values

/// Stands for the object's number where an attribute is named; its values are of type KoObjId.
inline constexpr const char* kObjectId = "@id";

/// True for a type that takes any text as its value and prints it unchanged: in predicates, as
/// elsewhere, such values stand in quotes.
KOSTORE_API bool IsText(ko::Type type);

struct Attribute {
    std::string name;   ///< as predicates have it: letters, digits and _, no digit first
    std::string column; ///< of a CSV file
    ko::Type type;
    std::optional<std::string> format{}; ///< how texts are read and printed; absent: the type's own
    bool index = false;
    int codeSet = 0; ///< of texts that are read, 1 to 253; 0: chosen for each text
};

/// A class of objects.
struct Schema {
    std::string name;
    std::vector<Attribute> attributes; ///< 1 to 256

    /// Reads the JSON form. Throws Error (Usage), which begins with `source` and the place in it.
    static KOSTORE_API Schema FromJson(const std::string& json, const std::string& source);
    /// Throws Error (Usage) for what FromJson would refuse.
    KOSTORE_API std::string ToJson() const;
    /// The place of an attribute. Throws Error (Usage), which says what there is, for no attribute.
    KOSTORE_API std::size_t Place(std::string_view attribute) const;
};

/// The stored form of a value.
inline std::string FormOf(const ko::Value& value)
{
    if (value.IsNull())
        return {};
    const auto bytes = value.Store(Order::little);
    if (!bytes)
        throw std::bad_alloc();
    return {reinterpret_cast<const char*>(bytes->data()), bytes->size()};
}

/// The value of a stored form. Throws Error (Usage) for bytes that are no value of the type.
inline ko::Value ValueOf(ko::Type type, std::string_view form)
{
    auto value = form.empty()
                     ? ko::Value::Null(type)
                     : ko::Value::Load(type, std::as_bytes(std::span(form)), Order::little);
    if (!value)
        throw Error(ErrorCode::Usage, std::string(type.Name()) + ": " + value.error().sentence);
    return *std::move(value);
}

/// Reads and prints the values of an attribute as texts in UTF-8, as an import reads them.
class KOSTORE_API Codec
{
public:
    explicit Codec(const Attribute& attribute);
    ~Codec();
    Codec(Codec&&) noexcept;
    Codec& operator=(Codec&&) noexcept;

    /// The form of a text. No text is null, where the type has a null value. Throws Error (Usage).
    std::string Form(std::string_view utf8);
    /// Appends the text of a form; of null, the text that stands for it in this process. A floating
    /// number without a format has as few digits as give it back. Throws Error (Usage) for bytes
    /// that are no value of the type.
    void Print(std::string_view form, std::string& utf8);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// A value for an attribute of an object.
struct Field {
    /// Throws as FormOf.
    Field(std::string_view name, const ko::Value& value)
        : attribute(name), bytes(FormOf(value)), type(value.Type())
    {
    }
    /// A text, which Codec::Form reads.
    Field(std::string_view name, std::string_view utf8) : attribute(name), bytes(utf8) {}

    std::string attribute;
    std::string bytes;            ///< a form, or a text
    std::optional<ko::Type> type; ///< of the form; absent: it is a text
};

} // namespace ko::store

#endif
