#ifndef KO_STORE_OBJECT_BULK_H
#define KO_STORE_OBJECT_BULK_H

#include "block/block_builder.h"
#include "engine/engine.h"
#include "index/entry_builder.h"
#include "object/description.h"
#include "object/dictionaries.h"
#include "object/form_memo.h"
#include "statistics/statistics_builder.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

class Snapshot;

/// Where many objects go: a new store, or one that grows.
class BulkTarget
{
public:
    virtual ~BulkTarget() = default;
    /// Sets a row. Within a space keys ascend.
    virtual void Put(Space space, std::string_view key, std::string_view sealed) = 0;
    /// Adds rows to the index on an attribute. Indexes come in the order of their attributes.
    virtual void PutIndex(EntryBuilder& entries) = 0;
    /// Makes it all visible.
    virtual void Commit() = 0;
};

/// Adds many objects, in the order of their numbers, in memory that does not depend on how many
/// they are: blocks as they become full, then dictionaries and indexes. Nobody sees any of them
/// before Commit, and without it they never were.
class Bulk
{
public:
    /// Begins a new store. `scratch` is the path beside which temporary files come and go.
    static std::unique_ptr<Bulk> Create(std::unique_ptr<Loader> loader, const Schema& schema,
                                        const std::string& scratch);
    /// Adds to a store that was opened to grow; `name` begins sentences. Its calls may throw
    /// Conflict: everything is then to be done again, with another Bulk.
    static std::unique_ptr<Bulk> Grow(Engine& engine, const std::string& name,
                                      const std::string& scratch);
    ~Bulk();

    const Schema& GetSchema() const { return m_description.schema; }
    const Counts& GetCounts() const { return m_counts; }

    /// Adds an object with these sound forms, empty ones for absent values, each with its memo.
    /// Returns its number.
    std::uint64_t Add(std::span<const std::string_view> forms, std::span<FormMemo* const> memos);
    void Commit();

private:
    Bulk(std::unique_ptr<BulkTarget> target, std::size_t blockBytes, Description description,
         Counts counts, const std::string& scratch);

    Cell Place(std::size_t attribute, std::string_view form, FormMemo& memo);
    bool PutKnown(std::size_t attribute, unsigned slot, std::string_view form, const FormMemo& memo,
                  bool counted);
    void Put(std::size_t attribute, unsigned slot, std::string_view form, FormMemo& memo);
    void ResumeStatistics(Snapshot& now);
    void ChooseSlots();
    void WriteBlock(BlockBuilder& builder, std::uint64_t block);

    std::unique_ptr<BulkTarget> m_target;
    std::size_t m_blockBytes;
    bool m_isNew;
    Description m_description; ///< no slots of a block before they are chosen
    Counts m_counts;
    BlockLayout m_layout;
    Dictionaries m_dictionaries;
    std::vector<Dictionary*> m_places; ///< by attribute; null where forms have one size
    BlockBuilder m_builder;
    std::size_t m_firstBytes = 0; ///< of forms, before slots are chosen
    std::vector<std::size_t> m_indexed;
    std::vector<EntryBuilder> m_indexes; ///< of these
    std::string m_bytes;
    std::optional<StatisticsBuilder> m_statistics;
};

} // namespace ko::store::inner

#endif
