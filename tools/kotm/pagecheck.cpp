#include "pagecheck.h"

#include "failure.h"
#include "storepage.h"

#include <algorithm>
#include <optional>

namespace kotm
{

namespace
{

class PageWalk
{
public:
    PageWalk(const StoreFile& file, const StoreHead& head, bool allLeaves)
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
    /// What a tree's leaves hold, which decides what order its keys are in: numbers, bytes, and
    /// what only a type knows.
    enum class Content { FreePages, Trees, Description, Entries };

    [[noreturn]] void Fail(std::uint64_t page, const std::string& what) const
    {
        throw Failure(Exit::Damaged,
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

    StorePage Read(std::uint64_t number, StorePage::Kind kind)
    {
        Meet(number, 1, Use::Tree);
        std::vector<char> bytes(m_head.trees[0].pageSize);
        if (!m_file.Read(bytes.data(), bytes.size(), number * bytes.size()))
            Fail(number, "cannot be read");
        StorePage page(number, std::move(bytes));
        if (const char* fault = page.Fault(kind))
            Fail(number, fault);
        return page;
    }

    /// One tree, and what is met of it.
    struct Tree {
        Content content;
        bool readsLeaves;
        StoreTree met{};
        std::string last; ///< the key met last

        bool ReadsKeys() const { return content != Content::Entries; }
        bool InOrder(std::string_view before, std::string_view key) const
        {
            if (content == Content::FreePages)
                return NumberAt<std::uint64_t>(before, 0) < NumberAt<std::uint64_t>(key, 0);
            return before < key;
        }
    };

    void Walk(const StoreTree& described, Content content)
    {
        Tree tree{content,
                  m_allLeaves || content != Content::Entries || described.longPages != 0,
                  StoreTree{},
                  {}};
        if (described.root != StoreTree::kEmpty) {
            if (described.depth == 0 || described.depth > StoreTree::kDeepest)
                Fail(described.root, "begins a tree without end");
            Page(described.root, described.depth, tree);
        }
        const StoreTree& met = tree.met;
        if (met.branchPages != described.branchPages || met.leafPages != described.leafPages ||
            met.longPages != described.longPages ||
            (tree.readsLeaves && met.entries != described.entries))
            throw Failure(Exit::Damaged, m_file.Path() +
                                             ": is damaged: a tree whose root is page " +
                                             std::to_string(described.root) +
                                             " has other pages or entries than it says");
    }

    /// Returns the lowest key below the page.
    std::string Page(std::uint64_t number, unsigned depth, Tree& tree)
    {
        if (depth > 1)
            return BranchPage(Read(number, StorePage::Branch), depth, tree);
        ++tree.met.leafPages;
        if (tree.readsLeaves)
            return LeafPage(Read(number, StorePage::Leaf), tree);
        Meet(number, 1, Use::Tree);
        return {};
    }

    std::string BranchPage(const StorePage& page, unsigned depth, Tree& tree)
    {
        ++tree.met.branchPages;
        // LMDB never looks at the first key of a branch, which may be missing.
        std::string lowest = Page(page.Node(0).child, depth - 1, tree);
        for (std::size_t i = 1; i < page.Nodes(); ++i) {
            const StoreNode node = page.Node(i);
            // Entries go from the list of free pages: there a branch may keep a key that is gone.
            const bool keysGo = tree.content == Content::FreePages;
            if (keysGo &&
                (node.key.size() != sizeof(std::uint64_t) || !tree.InOrder(tree.last, node.key)))
                Fail(page.Number(), "has a wrong key");
            const std::string below = Page(node.child, depth - 1, tree);
            if (keysGo ? tree.InOrder(below, node.key) : tree.readsLeaves && below != node.key)
                Fail(page.Number(), "has a wrong key");
        }
        return lowest;
    }

    std::string LeafPage(const StorePage& page, Tree& tree)
    {
        for (std::size_t i = 0; i < page.Nodes(); ++i) {
            const StoreNode node = page.Node(i);
            if (tree.content == Content::FreePages &&
                (node.key.size() != sizeof(std::uint64_t) ||
                 NumberAt<std::uint64_t>(node.key, 0) - 1 >= m_head.transaction))
                Fail(page.Number(), "lists free pages of no transaction");
            if (tree.ReadsKeys()) {
                if (!tree.last.empty() && !tree.InOrder(tree.last, node.key))
                    Fail(page.Number(), "has keys out of order");
                tree.last = node.key;
            }
            Value(page, node, tree);
            ++tree.met.entries;
        }
        return std::string(page.Node(0).key);
    }

    void Value(const StorePage& page, const StoreNode& node, Tree& tree)
    {
        if (tree.content == Content::Trees) {
            if (node.flags != StorePage::SubTree || node.size != sizeof(StoreTree))
                Fail(page.Number(), "has a value of another kind");
            StoreTree described;
            std::memcpy(&described, node.value.data(), sizeof described);
            if (described.flags != 0)
                Fail(page.Number(), "describes a tree of another kind");
            Walk(described, node.key == "description" ? Content::Description : Content::Entries);
            return;
        }
        const bool isList = tree.content == Content::FreePages;
        if (node.flags == StorePage::LongValue) {
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
    std::string LongValue(std::uint64_t number, std::size_t size, Tree& tree, std::size_t wanted)
    {
        const std::uint64_t pageSize = m_head.trees[0].pageSize;
        const std::uint64_t count = Read(number, StorePage::Long).LongCount();
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
    void FreeList(const StorePage& page, std::string_view list)
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

    const StoreFile& m_file;
    const StoreHead& m_head;
    bool m_allLeaves;
    std::vector<Use> m_use; ///< by page
};

void Check(const std::string& path, bool allLeaves)
{
    const StoreFile file(path);
    for (;;) {
        const StoreHead head = file.Head();
        try {
            PageWalk(file, head, allLeaves).Run();
            return;
        } catch (const Failure&) {
            // Two imports since the walk began may have written over what it looked at.
            if (file.Head().transaction == head.transaction)
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

} // namespace kotm
