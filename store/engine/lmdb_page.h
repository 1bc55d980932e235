#ifndef KO_STORE_FILE_STORE_PAGE_H
#define KO_STORE_FILE_STORE_PAGE_H

#include "engine/lmdb_file.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace ko::store::inner::lmdb
{

template <class Number>
Number NumberAt(std::string_view bytes, std::size_t offset)
{
    Number number;
    std::memcpy(&number, bytes.data() + offset, sizeof number);
    return number;
}

/// An entry of a page, which is sound where Page::Fault says so.
struct Node {
    std::string_view key;
    std::string_view value;  ///< of a leaf's entry
    std::uint64_t child = 0; ///< of a branch's
    unsigned flags = 0;
    std::size_t size = 0; ///< of the whole value, where `value` is the number of its first page
};

/// A page of an LMDB file.
///
/// It begins with its number (8 bytes), 2 unused bytes, its kind (2), where its table of offsets
/// ends and where its nodes begin (2 each); on the first of a row of pages that hold one long value
/// their count (4) stands there. A node has the size of its data (4), flags (2), the size of its
/// key (2), the key and the data, and begins at an even place; on a branch the first 6 bytes are a
/// page number.
class Page
{
public:
    enum Kind : unsigned { Branch = 1, Leaf = 2, Long = 4 };
    enum Flag : unsigned { LongValue = 1, SubTree = 2 };

    Page(std::uint64_t number, std::vector<char> bytes)
        : m_number(number), m_bytes(std::move(bytes))
    {
    }

    std::uint64_t Number() const { return m_number; }
    /// How many pages a long value takes.
    std::uint64_t LongCount() const { return At<std::uint32_t>(12); }
    std::size_t Nodes() const { return (At<std::uint16_t>(12) - kPageHeader) / 2; }
    Node NodeAt(std::size_t index) const;

    /// What is wrong with a page of that kind; null where it is sound in itself.
    const char* Fault(Kind kind) const;

private:
    template <class Field>
    Field At(std::size_t offset) const
    {
        return NumberAt<Field>({m_bytes.data(), m_bytes.size()}, offset);
    }
    bool IsBranch() const { return At<std::uint16_t>(10) == Branch; }
    /// The bytes of the node at `at`; 0 where it does not lie within the page.
    std::size_t NodeSize(std::size_t at) const;
    const char* NodesFault(std::size_t tableEnd, std::size_t nodes) const;

    std::uint64_t m_number;
    std::vector<char> m_bytes;
};

} // namespace ko::store::inner::lmdb

#endif
