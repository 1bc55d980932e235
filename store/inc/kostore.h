#ifndef KOSTORE_H
#define KOSTORE_H

#include <stdexcept>
#include <string>
#include <utility>

/// Stores of objects.
namespace ko::store
{

/// What kind of fault an Error tells of.
enum class ErrorCode : int {
    Usage = 2,   ///< arguments, schema, predicate or input that cannot be worked with
    Damaged = 3, ///< a store that is damaged, foreign or of another version
    Io = 4,      ///< a file or server that cannot be read or written, or no memory
};

/// What every function here throws, beside std::bad_alloc: a code and one sentence for the user.
/// The sentence may hold texts of any file: whoever shows it makes hidden characters visible first.
class Error : public std::runtime_error
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

} // namespace ko::store

#endif
