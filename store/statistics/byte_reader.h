#ifndef KO_STORE_STATISTICS_BYTE_READER_H
#define KO_STORE_STATISTICS_BYTE_READER_H

#include "base/bytes.h"

#include <cstddef>
#include <string_view>

namespace ko::store::inner
{

/// Takes bytes that may be anything apart, from the first to the last. What is not there reads as
/// zeros and nothing, and IsWhole says so afterwards.
class ByteReader
{
public:
    explicit ByteReader(std::string_view bytes) : m_left(bytes) {}

    template <class Number>
    Number Next()
    {
        const std::string_view bytes = Bytes(sizeof(Number));
        return bytes.empty() ? Number{0} : GetLittle<Number>(bytes.data());
    }
    std::string_view Bytes(std::size_t count)
    {
        if (m_left.size() < count) {
            m_short = true;
            return {};
        }
        const std::string_view bytes = m_left.substr(0, count);
        m_left.remove_prefix(count);
        return bytes;
    }
    std::size_t Left() const { return m_left.size(); }
    bool IsWhole() const { return !m_short && m_left.empty(); }

private:
    std::string_view m_left;
    bool m_short = false;
};

} // namespace ko::store::inner

#endif
