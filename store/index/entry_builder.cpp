#include "index/entry_builder.h"

#include "base/short_bytes.h"
#include "index/entry_key.h"
#include "index/key_sort.h"
#include "index/run_file.h"

#include <algorithm>
#include <optional>

namespace ko::store::inner
{

namespace
{

constexpr std::uint32_t kNone = UINT32_MAX;
/// Places in a run are numbers of 32 bits.
constexpr std::size_t kMostMemory = std::size_t{1} << 31;

} // namespace

struct EntryBuilder::State {
    struct Entry {
        std::uint32_t number; ///< less the run's base
        std::uint32_t value;
    };
    /// Open addressing over the values, by key; a part of the hash saves most looks at the key.
    struct Slot {
        std::uint32_t value;
        std::uint32_t hash;
    };

    ValueKeys keys;
    std::size_t memory;
    std::string path;
    std::optional<RunFile> file;     ///< from the first run on that does not stay in memory
    std::vector<std::uint64_t> runs; ///< where each begins

    std::string bytes; ///< the keys of the run's values
    std::vector<KeySort::Key> values;
    std::vector<Entry> entries;
    std::vector<Slot> table;
    std::size_t used = 0; ///< bytes of all these, and of what sorting them takes
    std::uint64_t base = 0;
    std::uint64_t firstHint = 1; ///< of the run's first value; those before are of earlier runs

    State(std::size_t attribute, const ValueType& type, std::size_t memory_,
          const std::string& path_)
        : keys(attribute, type), memory(std::min(memory_, kMostMemory)), path(path_)
    {
        StartRun();
    }

    void StartRun()
    {
        firstHint += values.size();
        bytes.clear();
        values.clear();
        entries.clear();
        table.assign(1024, {kNone, 0});
        used = table.size() * sizeof(Slot);
    }

    std::string_view KeyOf(std::uint32_t value) const
    {
        return std::string_view(bytes).substr(values[value].begin, values[value].size);
    }

    /// The slot of a key, marked with its hash: that of its value, or a free one.
    Slot& Find(std::string_view key)
    {
        const std::uint64_t hash = HashBytes(key);
        const auto part = static_cast<std::uint32_t>(hash >> 32);
        const std::size_t mask = table.size() - 1;
        std::size_t at = hash & mask;
        while (table[at].value != kNone &&
               (table[at].hash != part || !SameBytes(KeyOf(table[at].value), key)))
            at = (at + 1) & mask;
        table[at].hash = part;
        return table[at];
    }

    std::uint32_t ValueOf(std::string_view key)
    {
        Slot& slot = Find(key);
        if (slot.value != kNone)
            return slot.value;
        const auto value = static_cast<std::uint32_t>(values.size());
        slot.value = value;
        values.push_back(
            {static_cast<std::uint32_t>(bytes.size()), static_cast<std::uint32_t>(key.size())});
        bytes += key;
        used += key.size() + sizeof(KeySort::Key) + KeySort::kMemory;
        if (values.size() * 2 > table.size()) {
            used += table.size() * sizeof(Slot);
            table.assign(table.size() * 2, {kNone, 0});
            for (std::uint32_t i = 0; i < values.size(); ++i)
                Find(KeyOf(i)).value = i;
        }
        return value;
    }

    void Add(std::string_view form, std::uint64_t number, std::uint64_t& hint)
    {
        if (!entries.empty() && number - base > UINT32_MAX)
            Spill();
        if (entries.empty())
            base = number;
        if (hint < firstHint)
            hint = firstHint + ValueOf(keys.Of(form));
        entries.push_back({static_cast<std::uint32_t>(number - base),
                           static_cast<std::uint32_t>(hint - firstHint)});
        used += sizeof(Entry) + sizeof(std::uint32_t);
        if (used >= memory)
            Spill();
    }

    /// Hands the run over in order: take(key, numbers, count), some numbers at a time.
    template <class Take>
    void SortRun(const Take& take)
    {
        bytes.append(8, '\0');
        const KeySort sort(bytes.data(), values, kAttributeBytes);
        // Where each value's numbers begin, and in the end where they end.
        std::vector<std::uint32_t> ends(values.size());
        for (const Entry& entry : entries)
            ++ends[entry.value];
        std::uint32_t begin = 0;
        for (const KeySort::Entry& value : sort.Order())
            begin += std::exchange(ends[value.index], begin);
        std::vector<std::uint32_t> numbers(entries.size());
        for (const Entry& entry : entries)
            numbers[ends[entry.value]++] = entry.number;
        begin = 0;
        std::uint64_t some[kMostRowNumbers];
        for (const KeySort::Entry& value : sort.Order()) {
            for (const std::uint32_t end = ends[value.index]; begin < end;) {
                const std::uint32_t count =
                    std::min(end - begin, static_cast<std::uint32_t>(kMostRowNumbers));
                for (std::uint32_t i = 0; i < count; ++i)
                    some[i] = base + numbers[begin + i];
                take(KeyOf(value.index), some, count);
                begin += count;
            }
        }
    }

    void Spill()
    {
        if (!file)
            file.emplace(path);
        runs.push_back(file->End());
        SortRun([&](std::string_view key, const std::uint64_t* numbers, std::size_t count) {
            file->Add(key, numbers, count);
        });
        StartRun();
    }

    void Finish(const RowPacker::Take& take)
    {
        RowPacker packer(take);
        if (!runs.empty()) {
            if (!entries.empty())
                Spill();
            Merge(packer);
        } else {
            SortRun([&](std::string_view key, const std::uint64_t* numbers, std::size_t count) {
                packer.Add(key, numbers, count);
            });
            StartRun();
        }
        packer.Finish();
    }

    void Merge(RowPacker& packer)
    {
        file->Flush();
        constexpr std::size_t kBuffers = 4U << 20;
        const std::size_t buffer = std::clamp<std::size_t>(kBuffers / runs.size(), 4096, 1U << 16);
        std::vector<RunReader> readers;
        readers.reserve(runs.size());
        for (std::size_t i = 0; i < runs.size(); ++i)
            readers.emplace_back(*file, runs[i], i + 1 < runs.size() ? runs[i + 1] : file->End(),
                                 buffer);
        // Of one value an earlier run has the smaller numbers.
        const auto later = [&](std::size_t a, std::size_t b) {
            const int order = readers[a].Entry().compare(readers[b].Entry());
            return order != 0 ? order > 0 : a > b;
        };
        std::vector<std::size_t> heap(runs.size());
        for (std::size_t i = 0; i < heap.size(); ++i)
            heap[i] = i;
        std::make_heap(heap.begin(), heap.end(), later);
        std::vector<std::uint64_t> numbers;
        while (!heap.empty()) {
            std::pop_heap(heap.begin(), heap.end(), later);
            RunReader& run = readers[heap.back()];
            while (run.TakeNumbers(numbers))
                packer.Add(run.Entry(), numbers.data(), numbers.size());
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

EntryBuilder::EntryBuilder(std::size_t attribute, const ValueType& type, std::size_t memory,
                           const std::string& path)
    : m_state(std::make_unique<State>(attribute, type, memory, path))
{
}

EntryBuilder::~EntryBuilder() = default;
EntryBuilder::EntryBuilder(EntryBuilder&&) noexcept = default;

void EntryBuilder::Add(std::string_view form, std::uint64_t number, std::uint64_t& hint)
{
    m_state->Add(form, number, hint);
}

void EntryBuilder::Finish(const RowPacker::Take& take)
{
    m_state->Finish(take);
}

} // namespace ko::store::inner
