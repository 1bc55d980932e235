#ifndef KO_STORE_OBJECT_STORE_MEMORY_H
#define KO_STORE_OBJECT_STORE_MEMORY_H

#include "block/dictionary.h"
#include "block/layout.h"
#include "engine/engine.h"
#include "object/description.h"
#include "statistics/kept_statistics.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace ko::store::inner
{

/// A description that was read, and what follows from it. Serves several threads.
class Described
{
public:
    /// Throws Error as Description::Read does.
    Described(std::string_view sealed, const std::string& store);

    const Description& Get() const { return m_description; }
    const BlockLayout& Layout() const { return m_layout; }
    bool Is(std::string_view sealed) const { return m_sealed == sealed; }
    /// False: there are indexes, and they were made under another order.
    bool IndexesServe() const;

private:
    std::string m_sealed;
    Description m_description;
    BlockLayout m_layout;
    mutable std::once_flag m_ordered;
    mutable bool m_indexesServe = false;
};

/// A row of a dictionary, its checksum proved.
struct KeptTexts {
    TextRow texts;
    std::shared_ptr<const std::string> bytes; ///< where the reader's do not stay
};

/// What the snapshots of one open store need not read again: the description as long as it has the
/// same bytes, statistics, and rows of dictionaries, whose entries never change once they are
/// committed. Serves several threads.
class StoreMemory
{
public:
    explicit StoreMemory(Reach reach) : m_reach(reach) {}

    /// Of the engine.
    Reach EngineReach() const { return m_reach; }
    KeptStatistics& Statistics() { return m_statistics; }

    std::shared_ptr<const Described> Describe(std::string_view sealed, const std::string& store);

    /// The row as it was kept; it may have got more entries since. No bytes: it was not kept.
    KeptTexts Texts(std::size_t attribute, std::uint32_t row) const;
    /// Keeps a row of committed entries, which has bytes of its own.
    void Keep(std::size_t attribute, std::uint32_t row, const KeptTexts& texts);

private:
    const Reach m_reach;
    KeptStatistics m_statistics;
    mutable std::mutex m_mutex;
    std::shared_ptr<const Described> m_described;
    std::map<std::pair<std::size_t, std::uint32_t>, KeptTexts> m_texts;
};

} // namespace ko::store::inner

#endif
