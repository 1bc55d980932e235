#ifndef KO_STORE_FILE_READ_AHEAD_H
#define KO_STORE_FILE_READ_AHEAD_H

#include <cstdint>

namespace ko::store
{

/// Has the processor fetch the next object of a sparse walk while the present one is still worked
/// on: otherwise nearly all time of such a walk goes into waiting for memory, line after line.
///
/// Where an object lies is guessed from where others were found, for objects that were added one
/// after another lie one after another, about as many bytes apart. A wrong guess costs a few
/// fetches and changes nothing else.
class ReadAhead
{
public:
    /// The record of object `number` begins at `record`.
    void Found(std::uint64_t number, const char* record);
    /// Fetches what a search for object `number` looks at.
    void Fetch(std::uint64_t number) const;

private:
    struct Place {
        std::int64_t number = 0;
        std::int64_t position = 0; ///< 0: none was found yet
    };

    Place m_first;
    Place m_last;
};

} // namespace ko::store

#endif
