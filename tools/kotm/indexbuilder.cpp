#include "indexbuilder.h"

#include "failure.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace kotm
{

namespace
{

constexpr std::uint32_t kNone = UINT32_MAX;

/// The temporary file: written at its end, read anywhere. It has no name, so that nothing is left
/// of it whatever becomes of the process.
class SpillFile
{
public:
    explicit SpillFile(const std::string& path) : m_name(path + ".run-XXXXXX")
    {
        m_file = mkostemp(m_name.data(), O_CLOEXEC);
        if (m_file < 0)
            Fail();
        unlink(m_name.c_str());
    }
    ~SpillFile() { close(m_file); }
    SpillFile(const SpillFile&) = delete;
    SpillFile& operator=(const SpillFile&) = delete;

    void Write(std::string_view bytes)
    {
        m_buffer.append(bytes);
        if (m_buffer.size() >= 1U << 16)
            Flush();
    }

    void Flush()
    {
        std::string_view left = m_buffer;
        while (!left.empty()) {
            const ssize_t put = pwrite(m_file, left.data(), left.size(), static_cast<off_t>(m_end));
            if (put < 0 && errno != EINTR)
                Fail();
            if (put > 0) {
                m_end += static_cast<std::uint64_t>(put);
                left.remove_prefix(static_cast<std::size_t>(put));
            }
        }
        m_buffer.clear();
    }

    std::size_t Read(char* to, std::size_t most, std::uint64_t offset) const
    {
        ssize_t got;
        do {
            got = pread(m_file, to, most, static_cast<off_t>(offset));
        } while (got < 0 && errno == EINTR);
        if (got <= 0)
            Fail();
        return static_cast<std::size_t>(got);
    }

    /// Where the next byte goes.
    std::uint64_t End() const { return m_end + m_buffer.size(); }

private:
    [[noreturn]] void Fail() const
    {
        throw Failure(Exit::Io, m_name + ": " + std::strerror(errno));
    }

    std::string m_name;
    int m_file;
    std::uint64_t m_end = 0;
    std::string m_buffer;
};

template <class Number>
std::string_view BytesOf(const Number& number)
{
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

/// Reads one run: groups of an entry and the numbers of the objects that share its value.
class RunReader
{
public:
    RunReader(const SpillFile& file, std::uint64_t start, std::uint64_t end, std::size_t buffer)
        : m_file(&file), m_at(start), m_end(end), m_buffer(buffer)
    {
        Next();
    }

    bool AtEnd() const { return m_atEnd; }
    std::string& Entry() { return m_entry; }
    const std::string& Entry() const { return m_entry; }
    std::uint32_t Count() const { return m_count; }

    std::uint64_t TakeNumber() { return Take<std::uint64_t>(); }

    /// Moves on to the next group; the numbers of this one have been taken.
    void Next()
    {
        m_atEnd = m_at == m_end && m_used == m_filled;
        if (m_atEnd)
            return;
        m_entry.resize(Take<std::uint16_t>());
        TakeBytes(m_entry.data(), m_entry.size());
        m_count = Take<std::uint32_t>();
    }

private:
    template <class Number>
    Number Take()
    {
        Number number;
        TakeBytes(reinterpret_cast<char*>(&number), sizeof number);
        return number;
    }

    void TakeBytes(char* to, std::size_t size)
    {
        while (size > 0) {
            if (m_used == m_filled) {
                const auto most = static_cast<std::size_t>(
                    std::min<std::uint64_t>(m_buffer.size(), m_end - m_at));
                m_filled = m_file->Read(m_buffer.data(), most, m_at);
                m_at += m_filled;
                m_used = 0;
            }
            const std::size_t step = std::min(size, m_filled - m_used);
            std::memcpy(to, m_buffer.data() + m_used, step);
            m_used += step;
            to += step;
            size -= step;
        }
    }

    const SpillFile* m_file;
    std::uint64_t m_at;
    std::uint64_t m_end;
    std::vector<char> m_buffer;
    std::size_t m_used = 0;
    std::size_t m_filled = 0;
    std::string m_entry;
    std::uint32_t m_count = 0;
    bool m_atEnd = false;
};

} // namespace

struct IndexBuilder::State {
    /// The objects that share a form, as a list through `links`.
    struct Group {
        std::uint32_t entry; ///< its place in `bytes`
        std::uint16_t size;
        std::uint32_t first;
        std::uint32_t last;
    };
    struct Link {
        std::uint32_t number; ///< less the run's base
        std::uint32_t next;
    };

    std::size_t attribute;
    o_char type;
    std::size_t memory;
    SpillFile file;
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
    std::uint64_t base = 0;
    std::string scratch;
    std::vector<std::uint64_t> numbers;

    State(std::size_t attribute_, o_char type_, std::size_t memory_, const std::string& path)
        : attribute(attribute_), type(type_), memory(memory_), file(path)
    {
        StartRun();
    }

    void StartRun()
    {
        bytes.clear();
        groups.clear();
        links.clear();
        table.assign(1024, {kNone, 0});
    }

    std::size_t Used() const
    {
        return bytes.size() + groups.size() * sizeof(Group) + links.size() * sizeof(Link) +
               table.size() * sizeof(Slot);
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
        const std::size_t hash = std::hash<std::string_view>()(form);
        const auto part = static_cast<std::uint32_t>(hash >> 32);
        const std::size_t mask = table.size() - 1;
        std::size_t at = hash & mask;
        while (table[at].group != kNone &&
               (table[at].hash != part || FormOf(groups[table[at].group]) != form))
            at = (at + 1) & mask;
        table[at].hash = part;
        return table[at];
    }

    void Grow()
    {
        table.assign(table.size() * 2, {kNone, 0});
        for (std::uint32_t i = 0; i < groups.size(); ++i) {
            const std::string_view form = FormOf(groups[i]);
            if (form.size() != kCutForm)
                Find(form).group = i;
        }
    }

    std::uint32_t AddGroup(std::string_view form, std::uint64_t number, std::uint32_t link)
    {
        MakeEntry(scratch, type, form, number);
        groups.push_back({static_cast<std::uint32_t>(bytes.size()),
                          static_cast<std::uint16_t>(scratch.size()), link, link});
        bytes += scratch;
        return static_cast<std::uint32_t>(groups.size() - 1);
    }

    void Add(std::string_view form, std::uint64_t number)
    {
        if (links.empty())
            base = number;
        const auto link = static_cast<std::uint32_t>(links.size());
        links.push_back({static_cast<std::uint32_t>(number - base), kNone});
        // Cut forms that look the same may differ in what is gone: each is a group of its own.
        if (IsCut(form) || form.size() == kCutForm) {
            AddGroup(form, number, link);
            return;
        }
        Slot& slot = Find(form);
        if (slot.group != kNone) {
            Group& group = groups[slot.group];
            links[group.last].next = link;
            group.last = link;
            return;
        }
        slot.group = AddGroup(form, number, link);
        if (groups.size() * 2 > table.size())
            Grow();
    }

    void WriteGroup(std::string_view entry, const std::uint64_t* numbers, std::size_t count)
    {
        file.Write(BytesOf(static_cast<std::uint16_t>(entry.size())));
        file.Write(entry);
        file.Write(BytesOf(static_cast<std::uint32_t>(count)));
        file.Write({reinterpret_cast<const char*>(numbers), count * sizeof *numbers});
    }

    void Spill()
    {
        if (links.empty())
            return;
        const auto compare = [&](std::uint32_t a, std::uint32_t b) {
            return CompareForms(attribute, EntryView(EntryOf(groups[a])),
                                EntryView(EntryOf(groups[b])));
        };
        std::vector<std::uint32_t> order(groups.size());
        for (std::uint32_t i = 0; i < order.size(); ++i)
            order[i] = i;
        std::sort(order.begin(), order.end(),
                  [&](std::uint32_t a, std::uint32_t b) { return compare(a, b) < 0; });
        runs.push_back(file.End());
        for (std::size_t i = 0; i < order.size();) {
            std::size_t end = i + 1;
            while (end < order.size() && compare(order[i], order[end]) == 0)
                ++end;
            WriteEqual(order.data() + i, end - i);
            i = end;
        }
        StartRun();
    }

    /// Writes groups whose values compare equal though their forms differ: the numbers ascend over
    /// all of them, for equal values stand in the order of their objects.
    void WriteEqual(const std::uint32_t* equal, std::size_t count)
    {
        if (count == 1) {
            const Group& group = groups[equal[0]];
            numbers.clear();
            for (std::uint32_t at = group.first; at != kNone; at = links[at].next)
                numbers.push_back(base + links[at].number);
            WriteGroup(EntryOf(group), numbers.data(), numbers.size());
            return;
        }
        std::vector<std::pair<std::uint64_t, std::uint32_t>> members; // number, group
        for (std::size_t i = 0; i < count; ++i) {
            for (std::uint32_t at = groups[equal[i]].first; at != kNone; at = links[at].next)
                members.emplace_back(base + links[at].number, equal[i]);
        }
        std::sort(members.begin(), members.end());
        for (std::size_t i = 0; i < members.size();) {
            const std::uint32_t group = members[i].second;
            numbers.clear();
            for (; i < members.size() && members[i].second == group; ++i)
                numbers.push_back(members[i].first);
            WriteGroup(EntryOf(groups[group]), numbers.data(), numbers.size());
        }
    }

    void Merge(const std::function<void(std::string_view)>& take)
    {
        Spill();
        file.Flush();
        constexpr std::size_t kBuffers = 4U << 20;
        const std::size_t buffer = std::clamp<std::size_t>(
            kBuffers / std::max<std::size_t>(runs.size(), 1), 4096, 1U << 16);
        std::vector<RunReader> readers;
        readers.reserve(runs.size());
        for (std::size_t i = 0; i < runs.size(); ++i)
            readers.emplace_back(file, runs[i], i + 1 < runs.size() ? runs[i + 1] : file.End(),
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
            std::string& entry = run.Entry();
            for (std::uint32_t left = run.Count(); left > 0; --left) {
                PutObjectId(entry.data() + entry.size() - kObjectIdBytes, run.TakeNumber());
                take(entry);
            }
            run.Next();
            if (run.AtEnd())
                heap.pop_back();
            else
                std::push_heap(heap.begin(), heap.end(), later);
        }
        runs.clear();
    }
};

IndexBuilder::IndexBuilder(std::size_t attribute, o_char type, std::size_t memory,
                           const std::string& path)
    : m_state(std::make_unique<State>(attribute, type, memory, path))
{
}

IndexBuilder::~IndexBuilder() = default;
IndexBuilder::IndexBuilder(IndexBuilder&&) noexcept = default;

void IndexBuilder::Add(std::string_view form, std::uint64_t number)
{
    m_state->Add(form, number);
    if (m_state->Used() >= m_state->memory)
        m_state->Spill();
}

void IndexBuilder::Finish(const std::function<void(std::string_view entry)>& take)
{
    m_state->Merge(take);
}

} // namespace kotm
