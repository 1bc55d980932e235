#ifndef KOMEMFILE_H
#define KOMEMFILE_H

#include "koscalar.h"

#if !defined(KO_NO_GLOBAL_NAMES)
/// A read-only file that stands in memory. It refers to the bytes and does not
/// own them. Positions are 64-bit byte offsets from the start.
class KOBASE_API MemFile
{
public:
    /// `size` bytes at `data`; the caller keeps them alive. Null counts as no bytes.
    MemFile(const void* data, o_u8b size) noexcept;

    /// The `length` bytes at the current position, without moving on; null when
    /// fewer are left. `length` 0 gives the current position (null for no data).
    const void* Peek(o_u8b length) const noexcept;

    /// The `length` bytes at `position`; the position becomes `position + length`.
    /// Null, with the position unchanged, when they are not all inside the file.
    const void* Seek(o_u8b position, o_u8b length) noexcept;

    o_u8b Position() const noexcept { return m_position; }
    o_u8b Size() const noexcept { return m_size; }
    o_u8b Left() const noexcept { return m_size - m_position; }

private:
    const unsigned char* m_data;
    o_u8b m_size;
    o_u8b m_position = 0;
};
#endif

#endif
