#ifndef KOTM_FAILURE_H
#define KOTM_FAILURE_H

#include <stdexcept>
#include <string>
#include <utility>

namespace kotm
{

/// What a run ends with. The numbers are the program's exit status.
enum class Exit : int {
    Done = 0,
    Rejected = 1, ///< some rows were rejected, the others are stored
    Usage = 2,    ///< arguments, schema, predicate or input that cannot be worked with
    Damaged = 3,  ///< a store that is damaged, foreign or of another version
    Io = 4,       ///< a file that cannot be read or written, or no memory
};

/// Ends the command with a status and one sentence for the user. The sentence may hold texts of any
/// file: whoever shows it makes it visible first.
class Failure : public std::runtime_error
{
public:
    /// `lines` come below the sentence, as they are.
    Failure(Exit status, const std::string& message, std::string lines = {})
        : std::runtime_error(message), m_status(status), m_lines(std::move(lines))
    {
    }
    Exit Status() const noexcept { return m_status; }
    const std::string& Lines() const noexcept { return m_lines; }

private:
    Exit m_status;
    std::string m_lines;
};

} // namespace kotm

#endif
