#include "komemfile.h"

MemFile::MemFile(const void* data, o_u8b size) noexcept
    : m_data(static_cast<const unsigned char*>(data)), m_size(data ? size : 0)
{
}

const void* MemFile::Peek(o_u8b length) const noexcept
{
    return length <= Left() && m_data ? m_data + m_position : nullptr;
}

const void* MemFile::Seek(o_u8b position, o_u8b length) noexcept
{
    // Compared by subtraction: position + length may exceed 64 bits.
    if (!m_data || position > m_size || length > m_size - position)
        return nullptr;
    m_position = position + length;
    return m_data + position;
}
