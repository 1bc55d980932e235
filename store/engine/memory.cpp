#include "engine/memory.h"

#include <kostore.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace ko::store::inner
{

namespace
{

using Map = MemoryStore::Map;
using Maps = MemoryStore::Maps;

constexpr Traits kTraits{"memory", 4096, true, true, false, Reach::Copied};

void CheckRow(std::string_view key, std::string_view value)
{
    if (key.empty() || key.size() > kMaxKey || value.size() > kMaxValue)
        throw Error(ErrorCode::Io, "a key or a value of a size that no row has");
}

/// Finds its place by the last key before each batch: the maps of a writer change meanwhile.
class MemoryCursor : public Cursor
{
public:
    MemoryCursor(const std::shared_ptr<const Map>& map, const Range& range, Direction direction)
        : m_map(map), m_range(range), m_forwards(direction == Direction::Forwards)
    {
    }

    std::span<const Row> Next(std::size_t most) override
    {
        std::vector<std::pair<std::string, std::string>> copies;
        for (auto at = Begin(); at != m_map->end() && copies.size() < most;) {
            if (m_range.high && at->first >= *m_range.high)
                break;
            if (at->first < m_range.low)
                break;
            copies.emplace_back(*at);
            if (m_forwards)
                ++at;
            else
                at = Before(at);
        }
        if (!copies.empty())
            m_last = copies.back().first;
        m_ended = copies.empty();
        m_copies = std::move(copies);
        m_rows.clear();
        for (const auto& [key, value] : m_copies)
            m_rows.push_back({key, value});
        return m_rows;
    }

private:
    Map::const_iterator Before(Map::const_iterator at) const
    {
        return at == m_map->begin() ? m_map->end() : std::prev(at);
    }
    Map::const_iterator Begin() const
    {
        if (m_ended)
            return m_map->end();
        if (m_forwards)
            return m_last ? m_map->upper_bound(*m_last) : m_map->lower_bound(m_range.low);
        const auto& below = m_last ? m_last : m_range.high;
        return Before(below ? m_map->lower_bound(*below) : m_map->end());
    }

    const std::shared_ptr<const Map>& m_map; ///< of the reader
    const Range m_range;
    const bool m_forwards;
    bool m_ended = false;
    std::optional<std::string> m_last;
    std::vector<std::pair<std::string, std::string>> m_copies;
    std::vector<Row> m_rows;
};

template <class Base>
class Access : public Base
{
public:
    explicit Access(std::shared_ptr<const Maps> maps) : m_base(std::move(maps)), m_maps(*m_base) {}

    void Get(Space space, std::span<const std::string_view> keys,
             const Reader::Found& found) override
    {
        const Map& map = *MapOf(space);
        for (std::size_t i = 0; i < keys.size(); ++i) {
            CheckRow(keys[i], {});
            const auto at = map.find(keys[i]);
            if (at != map.end())
                found(i, std::string(at->second));
        }
    }
    std::unique_ptr<Cursor> Walk(Space space, const Range& range, Direction direction) override
    {
        return std::make_unique<MemoryCursor>(MapOf(space), range, direction);
    }
    std::uint64_t CountRoughly(Space space, const Range& range) override
    {
        const Map& map = *MapOf(space);
        if (range.high && *range.high <= range.low)
            return 0;
        const auto end = range.high ? map.lower_bound(*range.high) : map.end();
        return static_cast<std::uint64_t>(std::distance(map.lower_bound(range.low), end));
    }

protected:
    std::shared_ptr<const Map>& MapOf(Space space)
    {
        return m_maps[static_cast<std::size_t>(space)];
    }

    std::shared_ptr<const Maps> m_base;
    Maps m_maps;
};

} // namespace

class MemoryStore::MemoryWriter : public Access<Writer>
{
public:
    explicit MemoryWriter(std::shared_ptr<Shared> shared, std::shared_ptr<const Maps> maps)
        : Access(std::move(maps)), m_shared(std::move(shared))
    {
    }

    void Put(Space space, std::string_view key, std::string_view value) override
    {
        CheckRow(key, value);
        Own(space).insert_or_assign(std::string(key), std::string(value));
    }
    void Erase(Space space, std::string_view key) override
    {
        CheckRow(key, {});
        Own(space).erase(std::string(key));
    }
    void Commit() override
    {
        const std::lock_guard guard(m_shared->mutex);
        if (m_shared->maps != m_base)
            throw Conflict();
        m_shared->maps = std::make_shared<const Maps>(m_maps);
    }

private:
    Map& Own(Space space)
    {
        Map*& own = m_own[static_cast<std::size_t>(space)];
        if (own == nullptr) {
            auto copy = std::make_shared<Map>(*MapOf(space));
            own = copy.get();
            MapOf(space) = std::move(copy);
        }
        return *own;
    }

    std::shared_ptr<Shared> m_shared;
    std::array<Map*, kSpaces> m_own{}; ///< those of m_maps that are no one else's
};

class MemoryStore::MemoryEngine : public Engine
{
public:
    MemoryEngine(std::shared_ptr<Shared> shared, Mode mode)
        : m_shared(std::move(shared)), m_mode(mode)
    {
    }
    const Traits& About() const override { return kTraits; }
    std::unique_ptr<Reader> Read() override { return std::make_unique<Access<Reader>>(Now()); }
    std::unique_ptr<Writer> Write() override
    {
        if (m_mode == Mode::Read)
            throw Error(ErrorCode::Io, "the store was opened for reading only");
        return std::make_unique<MemoryWriter>(m_shared, Now());
    }

private:
    std::shared_ptr<const Maps> Now() const
    {
        const std::lock_guard guard(m_shared->mutex);
        return m_shared->maps;
    }

    std::shared_ptr<Shared> m_shared;
    Mode m_mode;
};

class MemoryStore::MemoryLoader : public Loader
{
public:
    explicit MemoryLoader(std::shared_ptr<Shared> shared) : m_shared(std::move(shared)) {}
    const Traits& About() const override { return kTraits; }

    void Append(Space space, std::string_view key, std::string_view value) override
    {
        CheckRow(key, value);
        Map& map = m_maps[static_cast<std::size_t>(space)];
        if (!map.empty() && map.rbegin()->first >= key)
            throw Error(ErrorCode::Io, "keys came in another order than they stand in");
        map.emplace_hint(map.end(), key, value);
    }
    void Publish() override
    {
        auto maps = std::make_shared<Maps>();
        for (std::size_t i = 0; i < kSpaces; ++i)
            (*maps)[i] = std::make_shared<const Map>(std::move(m_maps[i]));
        const std::lock_guard guard(m_shared->mutex);
        if (m_shared->maps)
            throw Error(ErrorCode::Exists, "there is a store already");
        m_shared->maps = std::move(maps);
    }

private:
    std::shared_ptr<Shared> m_shared;
    std::array<Map, kSpaces> m_maps;
};

std::unique_ptr<Engine> MemoryStore::Open(Mode mode)
{
    if (!Exists())
        throw Error(ErrorCode::Missing, "there is no store");
    return std::make_unique<MemoryEngine>(m_shared, mode);
}

std::unique_ptr<Loader> MemoryStore::StartLoad()
{
    if (Exists())
        throw Error(ErrorCode::Exists, "there is a store already");
    return std::make_unique<MemoryLoader>(m_shared);
}

} // namespace ko::store::inner
