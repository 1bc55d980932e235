#include "index/index_builder.h"

#include "base/short_bytes.h"
#include "index/run_file.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace ko::store
{

namespace
{

constexpr std::uint32_t kNone = UINT32_MAX;

} // namespace

struct IndexBuilder::State {
    /// The objects that share a form, as a list through `links` from the last one to the first.
    struct Group {
        std::uint32_t entry; ///< its place in `bytes`
        std::uint16_t size;
        std::uint32_t last;
    };
    struct Link {
        std::uint32_t number; ///< less the run's base
        std::uint32_t before;
    };

    std::size_t attribute;
    o_char type;
    std::size_t memory;
    std::string path;
    std::optional<RunFile> file;     ///< from the first run on that does not stay in memory
    std::vector<std::uint64_t> runs; ///< where each begins

    std::string bytes; ///< an entry of every group, with its first object's id
    std::vector<Group> groups;
    std::vector<Link> links;
    /// Open addressing over the groups, by form; a part of the hash saves most looks at the form.
    struct Slot {
        std::uint32_t group;
        std::uint32_t hash;
    };
    std::vector<Slot> table;
    std::size_t used = 0; ///< bytes of all these
    std::uint64_t base = 0;
    std::uint64_t firstHint = 1; ///< of the run's first group; those before are of earlier runs
    std::string scratch;
    std::vector<std::uint64_t> numbers;

    State(std::size_t attribute_, o_char type_, std::size_t memory_, const std::string& path_)
        : attribute(attribute_), type(type_), memory(memory_), path(path_)
    {
        StartRun();
    }

    void StartRun()
    {
        firstHint += groups.size();
        bytes.clear();
        groups.clear();
        links.clear();
        table.assign(1024, {kNone, 0});
        used = table.size() * sizeof(Slot);
    }

    std::string_view EntryOf(const Group& group) const
    {
        return std::string_view(bytes).substr(group.entry, group.size);
    }

    std::string_view FormOf(const Group& group) const
    {
        return {bytes.data() + group.entry + kEntryHead, group.size - kEntryHead - kObjectIdBytes};
    }

    /// The slot of a form, marked with its hash: that of its group, or a free one.
    Slot& Find(std::string_view form)
    {
        const std::uint64_t hash = HashBytes(form);
        const auto part = static_cast<std::uint32_t>(hash >> 32);
        const std::size_t mask = table.size() - 1;
        std::size_t at = hash & mask;
        while (table[at].group != kNone &&
               (table[at].hash != part || !SameBytes(FormOf(groups[table[at].group]), form)))
            at = (at + 1) & mask;
        table[at].hash = part;
        return table[at];
    }

    void Grow()
    {
        used += table.size() * sizeof(Slot);
        table.assign(table.size() * 2, {kNone, 0});
        for (std::uint32_t i = 0; i < groups.size(); ++i) {
            const std::string_view form = FormOf(groups[i]);
            if (!LooksCut(form))
                Find(form).group = i;
        }
    }

    std::uint32_t AddGroup(std::string_view form, std::uint64_t number, std::uint32_t link)
    {
        MakeEntry(scratch, type, form, number);
        groups.push_back({static_cast<std::uint32_t>(bytes.size()),
                          static_cast<std::uint16_t>(scratch.size()), link});
        bytes += scratch;
        used += scratch.size() + sizeof(Group);
        return static_cast<std::uint32_t>(groups.size() - 1);
    }

    void Add(std::string_view form, std::uint64_t number, std::uint64_t& hint)
    {
        if (links.empty())
            base = number;
        const auto link = static_cast<std::uint32_t>(links.size());
        links.push_back({static_cast<std::uint32_t>(number - base), kNone});
        used += sizeof(Link);
        // Cut forms that look the same may differ in what is gone: each is a group of its own.
        if (LooksCut(form)) {
            AddGroup(form, number, link);
            return;
        }
        if (hint < firstHint) {
            Slot& slot = Find(form);
            if (slot.group == kNone) {
                slot.group = AddGroup(form, number, link);
                hint = firstHint + slot.group;
                if (groups.size() * 2 > table.size())
                    Grow();
                return;
            }
            hint = firstHint + slot.group;
        }
        links.back().before = std::exchange(groups[hint - firstHint].last, link);
    }

    /// Hands the run over in order, value by value: take(entry, numbers, count).
    template <class Take>
    void SortRun(const Take& take)
    {
        std::vector<EntryView> views;
        views.reserve(groups.size());
        for (const Group& group : groups)
            views.emplace_back(EntryOf(group));
        const auto compare = [&](std::uint32_t a, std::uint32_t b) {
            return CompareForms(attribute, views[a], views[b]);
        };
        std::vector<std::uint32_t> order(groups.size());
        for (std::uint32_t i = 0; i < order.size(); ++i)
            order[i] = i;
        // Files come in the order of some attribute: of its date, say.
        const bool ascending =
            std::adjacent_find(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
                return compare(a, b) >= 0;
            }) == order.end();
        if (!ascending)
            std::sort(order.begin(), order.end(),
                      [&](std::uint32_t a, std::uint32_t b) { return compare(a, b) < 0; });
        for (std::size_t i = 0; i < order.size();) {
            std::size_t end = i + 1;
            while (!ascending && end < order.size() && compare(order[i], order[end]) == 0)
                ++end;
            TakeEqual(order.data() + i, end - i, take);
            i = end;
        }
    }

    /// Hands over groups whose values compare equal though their forms differ: the numbers ascend
    /// over all of them, for equal values stand in the order of their objects.
    template <class Take>
    void TakeEqual(const std::uint32_t* equal, std::size_t count, const Take& take)
    {
        if (count == 1) {
            const Group& group = groups[equal[0]];
            numbers.clear();
            for (std::uint32_t at = group.last; at != kNone; at = links[at].before)
                numbers.push_back(base + links[at].number);
            std::reverse(numbers.begin(), numbers.end());
            take(EntryOf(group), numbers.data(), numbers.size());
            return;
        }
        std::vector<std::pair<std::uint64_t, std::uint32_t>> members; // number, group
        for (std::size_t i = 0; i < count; ++i) {
            for (std::uint32_t at = groups[equal[i]].last; at != kNone; at = links[at].before)
                members.emplace_back(base + links[at].number, equal[i]);
        }
        std::sort(members.begin(), members.end());
        for (std::size_t i = 0; i < members.size();) {
            const std::uint32_t group = members[i].second;
            numbers.clear();
            for (; i < members.size() && members[i].second == group; ++i)
                numbers.push_back(members[i].first);
            take(EntryOf(groups[group]), numbers.data(), numbers.size());
        }
    }

    void Spill()
    {
        if (links.empty())
            return;
        if (!file)
            file.emplace(path);
        runs.push_back(file->End());
        SortRun([&](std::string_view entry, const std::uint64_t* objects, std::size_t count) {
            file->Add(entry, objects, count);
        });
        StartRun();
    }

    void Finish(const IndexBuilder::Take& take)
    {
        if (!runs.empty()) {
            Spill();
            Merge(take);
            return;
        }
        SortRun([&](std::string_view entry, const std::uint64_t* objects, std::size_t count) {
            scratch = entry;
            take(scratch, objects, count);
        });
        StartRun();
    }

    void Merge(const IndexBuilder::Take& take)
    {
        file->Flush();
        constexpr std::size_t kBuffers = 4U << 20;
        const std::size_t buffer = std::clamp<std::size_t>(kBuffers / runs.size(), 4096, 1U << 16);
        std::vector<RunReader> readers;
        readers.reserve(runs.size());
        for (std::size_t i = 0; i < runs.size(); ++i)
            readers.emplace_back(*file, runs[i], i + 1 < runs.size() ? runs[i + 1] : file->End(),
                                 buffer);
        // Of equal values an earlier run has the smaller object numbers.
        const auto later = [&](std::size_t a, std::size_t b) {
            const int order = CompareForms(attribute, EntryView(readers[a].Entry()),
                                           EntryView(readers[b].Entry()));
            return order != 0 ? order > 0 : a > b;
        };
        std::vector<std::size_t> heap;
        for (std::size_t i = 0; i < readers.size(); ++i)
            heap.push_back(i);
        std::make_heap(heap.begin(), heap.end(), later);
        while (!heap.empty()) {
            std::pop_heap(heap.begin(), heap.end(), later);
            RunReader& run = readers[heap.back()];
            while (run.TakeNumbers(numbers))
                take(run.Entry(), numbers.data(), numbers.size());
            run.Next();
            if (run.AtEnd())
                heap.pop_back();
            else
                std::push_heap(heap.begin(), heap.end(), later);
        }
        runs.clear();
        file.reset();
    }
};

IndexBuilder::IndexBuilder(std::size_t attribute, o_char type, std::size_t memory,
                           const std::string& path)
    : m_state(std::make_unique<State>(attribute, type, memory, path))
{
}

IndexBuilder::~IndexBuilder() = default;
IndexBuilder::IndexBuilder(IndexBuilder&&) noexcept = default;

void IndexBuilder::Add(std::string_view form, std::uint64_t number, std::uint64_t& hint)
{
    m_state->Add(form, number, hint);
    if (m_state->used >= m_state->memory)
        m_state->Spill();
}

void IndexBuilder::Finish(const Take& take)
{
    m_state->Finish(take);
}

} // namespace ko::store
