#include "engine/lmdb_check.h"

#include "engine/engine.h"
#include "engine/lmdb_page.h"
#include <kostore.h>

#include <algorithm>
#include <optional>

namespace ko::store::inner::lmdb
{

namespace
{

class PageWalk
{
public:
    PageWalk(const File& file, const Head& head, bool allLeaves)
        : m_file(file), m_head(head), m_allLeaves(allLeaves),
          m_use(static_cast<std::size_t>(head.lastPage) + 1, Use::None)
    {
    }

    void Run()
    {
        Walk(m_head.trees[0], Content::FreePages);
        Walk(m_head.trees[1], Content::Trees);
        const auto lost = std::find(m_use.begin() + 2, m_use.end(), Use::None);
        if (lost != m_use.end())
            Fail(static_cast<std::uint64_t>(lost - m_use.begin()),
                 "is neither in use nor listed as free");
    }

private:
    enum class Use : char { None, Tree, Free };
    /// What a tree's leaves hold: the keys of the first are numbers, those of the others bytes.
    enum class Content { FreePages, Trees, Rows };

    [[noreturn]] void Fail(std::uint64_t page, const std::string& what) const
    {
        throw Error(ErrorCode::Damaged,
                    m_file.Path() + ": is damaged: page " + std::to_string(page) + ' ' + what);
    }

    void Meet(std::uint64_t number, std::uint64_t count, Use use)
    {
        for (const std::uint64_t end = number + count; number < end; ++number) {
            if (number < 2 || number >= m_use.size())
                Fail(number, "is none of the file");
            Use& met = m_use[static_cast<std::size_t>(number)];
            if (met != Use::None)
                Fail(number, met != use         ? "is in use and listed as free"
                             : use == Use::Free ? "is listed as free twice"
                                                : "stands twice");
            met = use;
        }
    }

    Page Read(std::uint64_t number, Page::Kind kind)
    {
        Meet(number, 1, Use::Tree);
        std::vector<char> bytes(m_head.trees[0].pageSize);
        if (!m_file.Read(bytes.data(), bytes.size(), number * bytes.size()))
            Fail(number, "cannot be read");
        Page page(number, std::move(bytes));
        if (const char* fault = page.Fault(kind))
            Fail(number, fault);
        return page;
    }

    /// One tree, and what is met of it.
    struct Walked {
        Content content;
        bool readsLeaves;
        Tree met{};
        std::string last; ///< the key met last

        bool IsKey(std::string_view key) const
        {
            return content == Content::FreePages ? key.size() == sizeof(std::uint64_t)
                                                 : !key.empty() && key.size() <= kMaxKey;
        }
        bool InOrder(std::string_view before, std::string_view key) const
        {
            if (content == Content::FreePages)
                return NumberAt<std::uint64_t>(before, 0) < NumberAt<std::uint64_t>(key, 0);
            return before < key;
        }
    };

    void Walk(const Tree& described, Content content)
    {
        Walked tree{content,
                    m_allLeaves || content != Content::Rows || described.longPages != 0,
                    Tree{},
                    {}};
        if (described.root != Tree::kEmpty) {
            if (described.depth == 0 || described.depth > Tree::kDeepest)
                Fail(described.root, "begins a tree without end");
            PageAt(described.root, described.depth, tree);
        }
        const Tree& met = tree.met;
        if (met.branchPages != described.branchPages || met.leafPages != described.leafPages ||
            met.longPages != described.longPages ||
            (tree.readsLeaves && met.entries != described.entries))
            throw Error(ErrorCode::Damaged, m_file.Path() +
                                                ": is damaged: a tree whose root is page " +
                                                std::to_string(described.root) +
                                                " has other pages or entries than it says");
    }

    /// Returns the lowest key below the page.
    std::string PageAt(std::uint64_t number, unsigned depth, Walked& tree)
    {
        if (depth > 1)
            return BranchPage(Read(number, Page::Branch), depth, tree);
        ++tree.met.leafPages;
        if (tree.readsLeaves)
            return LeafPage(Read(number, Page::Leaf), tree);
        Meet(number, 1, Use::Tree);
        return {};
    }

    std::string BranchPage(const Page& page, unsigned depth, Walked& tree)
    {
        ++tree.met.branchPages;
        // LMDB never looks at the first key of a branch, which may be missing.
        std::string lowest = PageAt(page.NodeAt(0).child, depth - 1, tree);
        for (std::size_t i = 1; i < page.Nodes(); ++i) {
            const Node node = page.NodeAt(i);
            // A branch may keep a key that is gone, which divides as well.
            if (tree.readsLeaves && (!tree.IsKey(node.key) || !tree.InOrder(tree.last, node.key)))
                Fail(page.Number(), "has a wrong key");
            const std::string below = PageAt(node.child, depth - 1, tree);
            if (tree.readsLeaves && tree.InOrder(below, node.key))
                Fail(page.Number(), "has a wrong key");
        }
        return lowest;
    }

    std::string LeafPage(const Page& page, Walked& tree)
    {
        for (std::size_t i = 0; i < page.Nodes(); ++i) {
            const Node node = page.NodeAt(i);
            if (tree.content == Content::FreePages &&
                (node.key.size() != sizeof(std::uint64_t) ||
                 NumberAt<std::uint64_t>(node.key, 0) - 1 >= m_head.transaction))
                Fail(page.Number(), "lists free pages of no transaction");
            if (!tree.IsKey(node.key) || (!tree.last.empty() && !tree.InOrder(tree.last, node.key)))
                Fail(page.Number(), "has keys out of order");
            tree.last = node.key;
            Value(page, node, tree);
            ++tree.met.entries;
        }
        return std::string(page.NodeAt(0).key);
    }

    void Value(const Page& page, const Node& node, Walked& tree)
    {
        if (tree.content == Content::Trees) {
            if (node.flags != Page::SubTree || node.size != sizeof(Tree))
                Fail(page.Number(), "has a value of another kind");
            CheckSpaceName(node.key, m_file.Path());
            Tree described;
            std::memcpy(&described, node.value.data(), sizeof described);
            if (described.flags != 0)
                Fail(page.Number(), "describes a tree of another kind");
            Walk(described, Content::Rows);
            return;
        }
        const bool isList = tree.content == Content::FreePages;
        if (node.flags == Page::LongValue) {
            const std::string value = LongValue(NumberAt<std::uint64_t>(node.value, 0), node.size,
                                                tree, isList ? node.size : 0);
            if (isList)
                FreeList(page, value);
        } else if (node.flags != 0) {
            Fail(page.Number(), "has a value of another kind");
        } else if (isList) {
            FreeList(page, node.value);
        }
    }

    /// Returns the first `wanted` bytes of the value.
    std::string LongValue(std::uint64_t number, std::size_t size, Walked& tree, std::size_t wanted)
    {
        const std::uint64_t pageSize = m_head.trees[0].pageSize;
        const std::uint64_t count = Read(number, Page::Long).LongCount();
        if (count * pageSize < kPageHeader + size)
            Fail(number, "is no beginning of a long value");
        Meet(number + 1, count - 1, Use::Tree);
        tree.met.longPages += count;
        std::string value(wanted, '\0');
        if (!m_file.Read(value.data(), wanted, number * pageSize + kPageHeader))
            Fail(number, "cannot be read");
        return value;
    }

    /// Page numbers after their count, from the largest to the smallest; after them there may be
    /// room.
    void FreeList(const Page& page, std::string_view list)
    {
        constexpr std::size_t kEach = sizeof(std::uint64_t);
        if (list.size() % kEach != 0 || list.empty() ||
            NumberAt<std::uint64_t>(list, 0) >= list.size() / kEach)
            Fail(page.Number(), "has an unsound list of free pages");
        std::uint64_t before = UINT64_MAX;
        for (std::uint64_t i = NumberAt<std::uint64_t>(list, 0), at = kEach; i > 0;
             --i, at += kEach) {
            const auto number = NumberAt<std::uint64_t>(list, at);
            if (number >= before)
                Fail(page.Number(), "lists free pages out of order");
            Meet(number, 1, Use::Free);
            before = number;
        }
    }

    const File& m_file;
    const Head& m_head;
    bool m_allLeaves;
    std::vector<Use> m_use; ///< by page
};

void Check(const std::string& path, bool allLeaves)
{
    const File file(path);
    for (;;) {
        const Head head = file.ReadHead();
        try {
            PageWalk(file, head, allLeaves).Run();
            return;
        } catch (const Error&) {
            // Two imports since the walk began may have written over what it looked at.
            if (file.ReadHead().transaction == head.transaction)
                throw;
        }
    }
}

} // namespace

void CheckPages(const std::string& path)
{
    Check(path, true);
}

void CheckFreePages(const std::string& path)
{
    Check(path, false);
}

void CheckSpaceName(std::string_view name, const std::string& path)
{
    for (std::size_t i = 0; i < kSpaces; ++i) {
        if (name == SpaceName(static_cast<Space>(i)))
            return;
    }
    if (name == "objects" || name.starts_with("index "))
        throw Error(ErrorCode::Damaged,
                    path + ": has store format 2, this program reads 3: let the release that "
                           "wrote it print its objects (\"kotm query\"), and import these");
    throw Error(ErrorCode::Damaged,
                path + ": is no store of this program (it has a \"" + std::string(name) + "\")");
}

} // namespace ko::store::inner::lmdb
