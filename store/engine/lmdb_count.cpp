#include "engine/lmdb_count.h"

#include "engine/lmdb_page.h"

#include <algorithm>

namespace ko::store::inner::lmdb
{

namespace
{

/// The first entry of a page whose key is not below `key`.
std::size_t LowerBound(const Page& page, std::string_view key, std::size_t first)
{
    std::size_t end = page.Nodes();
    while (first < end) {
        const std::size_t middle = first + (end - first) / 2;
        if (page.NodeAt(middle).key < key)
            first = middle + 1;
        else
            end = middle;
    }
    return first;
}

/// The share of a tree's entries that stand before a key, as if all pages of a level held as many.
class Place
{
public:
    Place(const File& file, std::size_t pageSize) : m_file(file), m_pageSize(pageSize) {}

    /// False where a page is not sound.
    bool Find(const Tree& tree, std::string_view key, double& share) const
    {
        double width = 1;
        std::uint64_t number = tree.root;
        share = 0;
        for (unsigned depth = tree.depth; depth > 0; --depth) {
            const bool isLeaf = depth == 1;
            std::vector<char> bytes(m_pageSize);
            if (!m_file.Read(bytes.data(), bytes.size(), number * m_pageSize))
                return false;
            const Page page(number, std::move(bytes));
            if (page.Fault(isLeaf ? Page::Leaf : Page::Branch) != nullptr)
                return false;
            std::size_t at = LowerBound(page, key, isLeaf ? 0 : 1);
            // A branch leads to what begins with its key.
            if (!isLeaf && (at == page.Nodes() || page.NodeAt(at).key != key))
                --at;
            width /= static_cast<double>(page.Nodes());
            share += width * static_cast<double>(at);
            if (!isLeaf)
                number = page.NodeAt(at).child;
        }
        return true;
    }

private:
    const File& m_file;
    std::size_t m_pageSize;
};

} // namespace

std::uint64_t CountByPages(const File& file, std::size_t pageSize, const Tree& tree,
                           const Range& range)
{
    const Place place(file, pageSize);
    double low = 0;
    double high = 1;
    if (tree.root == Tree::kEmpty || tree.depth > Tree::kDeepest)
        return 0;
    if ((!range.low.empty() && !place.Find(tree, range.low, low)) ||
        (range.high && !place.Find(tree, *range.high, high)))
        return tree.entries;
    return static_cast<std::uint64_t>(std::max(high - low, 0.0) *
                                      static_cast<double>(tree.entries));
}

} // namespace ko::store::inner::lmdb
