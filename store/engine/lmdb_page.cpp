#include "engine/lmdb_page.h"

#include <algorithm>

namespace ko::store::inner::lmdb
{

namespace
{

constexpr std::size_t kNodeHead = 8;

} // namespace

const char* Page::Fault(Kind kind) const
{
    if (At<std::uint64_t>(0) != m_number)
        return "has another number";
    if (At<std::uint16_t>(10) != kind)
        return "is of another kind";
    if (kind == Long)
        return nullptr;
    const std::size_t tableEnd = At<std::uint16_t>(12);
    const std::size_t nodes = At<std::uint16_t>(14);
    const std::size_t fewest = kind == Branch ? 2 : 1;
    if (tableEnd < kPageHeader + 2 * fewest || tableEnd % 2 != 0 || tableEnd > nodes ||
        nodes > m_bytes.size())
        return "has an unsound table";
    return NodesFault(tableEnd, nodes);
}

/// LMDB moves all that lies before a node as one piece: between the nodes nothing may be left.
const char* Page::NodesFault(std::size_t tableEnd, std::size_t nodes) const
{
    std::vector<std::pair<std::size_t, std::size_t>> places; // begin, end
    places.reserve((tableEnd - kPageHeader) / 2);
    for (std::size_t at = kPageHeader; at < tableEnd; at += 2) {
        const std::size_t node = At<std::uint16_t>(at);
        if (node < nodes || node % 2 != 0 || node + kNodeHead > m_bytes.size())
            return "has an entry outside of it";
        const std::size_t size = NodeSize(node);
        if (size == 0)
            return "has a key or a value outside of it";
        places.emplace_back(node, node + size);
    }
    std::sort(places.begin(), places.end());
    std::size_t end = nodes;
    for (const auto& place : places) {
        if (place.first != end)
            return "has entries that do not lie one behind the other";
        end = place.second;
    }
    return end == m_bytes.size() ? nullptr : "has room behind its entries";
}

std::size_t Page::NodeSize(std::size_t at) const
{
    std::size_t size = kNodeHead + At<std::uint16_t>(at + 6);
    if (!IsBranch())
        size += At<std::uint16_t>(at + 4) == LongValue ? sizeof(std::uint64_t)
                                                       : std::size_t{At<std::uint32_t>(at)};
    size += size % 2;
    return size <= m_bytes.size() - at ? size : 0;
}

Node Page::NodeAt(std::size_t index) const
{
    const std::size_t at = At<std::uint16_t>(kPageHeader + 2 * index);
    Node node;
    node.key = {m_bytes.data() + at + kNodeHead, At<std::uint16_t>(at + 6)};
    node.flags = At<std::uint16_t>(at + 4);
    node.size = At<std::uint32_t>(at);
    if (IsBranch())
        node.child = node.size | std::uint64_t{node.flags} << 32;
    else
        node.value = {node.key.data() + node.key.size(),
                      node.flags == LongValue ? sizeof(std::uint64_t) : node.size};
    return node;
}

} // namespace ko::store::inner::lmdb
