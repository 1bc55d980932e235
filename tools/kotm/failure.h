#ifndef KOTM_FAILURE_H
#define KOTM_FAILURE_H

#include <stdexcept>
#include <string>

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

/// Ends the command with a status and one sentence for the user.
class Failure : public std::runtime_error
{
public:
    Failure(Exit status, const std::string& message) : std::runtime_error(message), m_status(status)
    {
    }
    Exit Status() const noexcept { return m_status; }

private:
    Exit m_status;
};

} // namespace kotm

#endif
