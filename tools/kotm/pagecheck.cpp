#include "pagecheck.h"

#include "failure.h"
#include "storefile.h"

#include <cstring>
#include <vector>

namespace kotm
{

namespace
{

// A page begins with its number (8 bytes), 2 unused bytes, its kind (2), where its table of offsets
// ends and where its nodes begin (2 each); on the first of a row of pages that hold one long value
// their count (4) stands there. A node has the size of its data (4), flags (2), the size of its key
// (2), the key and the data; on a branch the first 6 bytes are a page number.
constexpr std::size_t kNodeHead = 8;
constexpr unsigned kBranch = 1;
constexpr unsigned kLeaf = 2;
constexpr unsigned kLong = 4;
constexpr unsigned kDirty = 0x10; // stays on pages that were written in the map
constexpr unsigned kLongValue = 1;
constexpr unsigned kSubTree = 2;
constexpr unsigned kDeepest = 32; // LMDB's cursors hold as many pages

template <class Number>
Number At(const std::vector<char>& page, std::size_t offset)
{
    Number number;
    std::memcpy(&number, page.data() + offset, sizeof number);
    return number;
}

class PageWalk
{
public:
    PageWalk(const StoreFile& file, const StoreHead& head)
        : m_file(file), m_head(head), m_met(static_cast<std::size_t>(head.lastPage) + 1)
    {
    }

    void Run()
    {
        for (const StoreTree& tree : m_head.trees)
            Walk(tree, &tree == &m_head.trees[1]);
    }

private:
    [[noreturn]] void Fail(std::uint64_t page, const char* what) const
    {
        throw Failure(Exit::Damaged,
                      m_file.Path() + ": is damaged: page " + std::to_string(page) + ' ' + what);
    }

    void Walk(const StoreTree& tree, bool holdsTrees)
    {
        if (tree.root == StoreTree::kEmpty)
            return;
        if (tree.depth == 0 || tree.depth > kDeepest)
            Fail(tree.root, "begins a tree without end");
        Page(tree.root, tree.depth, holdsTrees);
    }

    void Meet(std::uint64_t number, std::uint64_t count)
    {
        for (const std::uint64_t end = number + count; number < end; ++number) {
            if (number < 2 || number >= m_met.size())
                Fail(number, "is none of the file");
            const auto at = static_cast<std::size_t>(number);
            if (m_met[at])
                Fail(number, "stands twice");
            m_met[at] = true;
        }
    }

    std::vector<char> Read(std::uint64_t number)
    {
        Meet(number, 1);
        std::vector<char> page(m_head.trees[0].pageSize);
        if (!m_file.Read(page.data(), page.size(), number * page.size()))
            Fail(number, "cannot be read");
        if (At<std::uint64_t>(page, 0) != number)
            Fail(number, "has another number");
        return page;
    }

    void Page(std::uint64_t number, unsigned depth, bool holdsTrees)
    {
        const std::vector<char> page = Read(number);
        if ((At<std::uint16_t>(page, 10) & ~kDirty) != (depth > 1 ? kBranch : kLeaf))
            Fail(number, "is of another kind");
        const std::size_t tableEnd = At<std::uint16_t>(page, 12);
        const std::size_t nodes = At<std::uint16_t>(page, 14);
        const std::size_t fewest = depth > 1 ? 2 : 1;
        if (tableEnd < kPageHeader + 2 * fewest || tableEnd % 2 != 0 || tableEnd > nodes ||
            nodes > page.size())
            Fail(number, "has an unsound table");
        for (std::size_t at = kPageHeader; at < tableEnd; at += 2) {
            const std::size_t node = At<std::uint16_t>(page, at);
            if (node < nodes || node % 2 != 0 || node + kNodeHead > page.size())
                Fail(number, "has an entry outside of it");
            const std::size_t data = node + kNodeHead + At<std::uint16_t>(page, node + 6);
            if (data > page.size())
                Fail(number, "has a key outside of it");
            if (depth > 1)
                Page(At<std::uint32_t>(page, node) |
                         std::uint64_t{At<std::uint16_t>(page, node + 4)} << 32,
                     depth - 1, holdsTrees);
            else
                Value(number, page, node, data, holdsTrees);
        }
    }

    void Value(std::uint64_t number, const std::vector<char>& page, std::size_t node,
               std::size_t data, bool holdsTrees)
    {
        const std::size_t size = At<std::uint32_t>(page, node);
        const unsigned flags = At<std::uint16_t>(page, node + 4);
        const bool isLong = flags == kLongValue;
        const std::size_t held = isLong ? sizeof(std::uint64_t) : size;
        if (held > page.size() - data)
            Fail(number, "has a value outside of it");
        if (holdsTrees && flags == kSubTree && size == sizeof(StoreTree)) {
            const auto tree = At<StoreTree>(page, data);
            if (tree.flags != 0)
                Fail(number, "describes a tree of another kind");
            Walk(tree, false);
        } else if (isLong) {
            LongValue(At<std::uint64_t>(page, data), size);
        } else if (flags != 0 || holdsTrees) {
            Fail(number, "has a value of another kind");
        }
    }

    void LongValue(std::uint64_t number, std::size_t size)
    {
        const std::vector<char> page = Read(number);
        const std::uint64_t count = At<std::uint32_t>(page, 12);
        if ((At<std::uint16_t>(page, 10) & ~kDirty) != kLong ||
            count * page.size() < kPageHeader + size)
            Fail(number, "is no beginning of a long value");
        Meet(number + 1, count - 1);
    }

    const StoreFile& m_file;
    const StoreHead& m_head;
    std::vector<bool> m_met;
};

} // namespace

void CheckPages(const std::string& path)
{
    const StoreFile file(path);
    for (;;) {
        const StoreHead head = file.Head();
        try {
            PageWalk(file, head).Run();
            return;
        } catch (const Failure&) {
            // Two imports since the walk began may have written over what it looked at.
            if (file.Head().transaction == head.transaction)
                throw;
        }
    }
}

} // namespace kotm
