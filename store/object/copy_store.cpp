#include "object/copy_store.h"

#include "block/block_builder.h"
#include "block/checksum.h"
#include "object/block_check.h"
#include "object/fingerprint.h"
#include "object/index_feed.h"
#include "object/row_walk.h"
#include "object/statistics_feed.h"
#include <kostore.h>

#include <optional>

namespace ko::store::inner
{

namespace
{

/// So many objects tell how large they are.
constexpr unsigned kFirstObjects = kMostSlots - 1;

class Copier
{
public:
    Copier(Snapshot& from, Loader& to, const std::string& scratch)
        : m_from(from), m_to(to), m_schema(from.GetSchema()), m_scratch(scratch)
    {
    }

    std::uint64_t Do(bool sameBlocks)
    {
        Description description = m_from.About();
        if (!sameBlocks)
            description.slotsOfBlock = ChooseSlots();
        if (!m_from.IndexesServe())
            m_feed.emplace(m_from, IndexedAttributes(m_schema), m_scratch);
        CopyTexts();
        CopyObjects(description.slotsOfBlock);
        CopyLarge();
        if (m_feed)
            MakeIndexes();
        else
            CopyEntries();
        ProveStatistics(m_schema, m_from.Rows());
        EachRow(m_from.Rows(), Space::Statistics,
                [&](const Row& row) { m_to.Append(Space::Statistics, row.key, row.value); });
        m_to.Append(Space::Description, Counts::kKey, m_from.GetCounts().Write());
        description.order = FingerprintOfOrder(m_schema);
        m_to.Append(Space::Description, Description::kKey, description.Write());
        return m_objects;
    }

private:
    bool IsSound(std::size_t attribute, std::string_view form) const
    {
        return attribute < m_schema.attributes.size() && m_from.Layout()[attribute] == 0 &&
               m_schema.attributes[attribute].type.IsForm(form);
    }

    /// As an import finds out how large objects are: from the first ones in one block.
    unsigned ChooseSlots()
    {
        BlockBuilder builder(m_from.Layout(), kMostSlots);
        unsigned count = 0;
        for (const auto walk = m_from.Blocks(); count < kFirstObjects && walk->Next();) {
            BlockView& block = walk->Block();
            for (unsigned slot = 0; slot < block.Slots() && count < kFirstObjects; ++slot) {
                if (block.Has(slot))
                    PutObject(builder, count++, walk->Number(), block, slot);
            }
        }
        std::string bytes;
        if (count != 0)
            builder.Write(bytes);
        return SlotsFor(m_to.About().blockBytes, bytes.size() / std::max(count, 1U) + 1);
    }

    void PutObject(BlockBuilder& builder, unsigned to, std::uint64_t number, BlockView& block,
                   unsigned slot)
    {
        builder.Add(to);
        for (std::size_t i = 0; i < m_schema.attributes.size(); ++i) {
            Cell cell;
            if (!block.At(i, slot, cell, m_room))
                FailDamaged(Space::Blocks, BlockKey(number), "holds no values of its attributes");
            builder.Put(i, to, cell);
        }
    }

    /// Of a change that broke: whoever writes next to the dictionary writes over it.
    bool IsBehindTexts(std::size_t attribute, std::uint32_t row) const
    {
        return attribute < m_from.Layout().size() && m_from.Layout()[attribute] == 0 &&
               row * kEntriesInRow >= m_from.Texts(attribute);
    }

    /// Copies the first entries of a row.
    void CutTexts(const Row& row, std::uint32_t entries)
    {
        Dictionary first;
        if (!first.LoadRow(0, SealedBytes(row.value), entries))
            FailDamaged(Space::Texts, row.key, "holds an entry twice");
        first.WriteRow(0, m_bytes);
        Seal(Space::Texts, row.key, m_bytes);
        m_to.Append(Space::Texts, row.key, m_bytes);
    }

    void CopyTexts()
    {
        std::vector<std::uint32_t> sizes(m_schema.attributes.size());
        EachRow(m_from.Rows(), Space::Texts, [&](const Row& row) {
            std::size_t attribute = 0;
            std::uint32_t number = 0;
            TextRow texts;
            const bool isRow = texts.Open(Unseal(Space::Texts, row.key, row.value)) &&
                               ReadTextKey(row.key, attribute, number);
            if (isRow && IsBehindTexts(attribute, number))
                return;
            bool isSound = isRow && attribute < sizes.size() &&
                           sizes[attribute] == number * std::uint64_t{kEntriesInRow};
            for (unsigned i = 0; isSound && i < texts.Count(); ++i)
                isSound = IsSound(attribute, texts.Form(i));
            if (!isSound)
                FailDamaged(Space::Texts, row.key, "holds no entries of a dictionary");
            if (const std::uint32_t left = m_from.Texts(attribute) - sizes[attribute];
                texts.Count() > left) {
                CutTexts(row, left);
                sizes[attribute] += left;
                return;
            }
            sizes[attribute] += texts.Count();
            m_to.Append(Space::Texts, row.key, row.value);
        });
        if (sizes != m_from.GetCounts().texts)
            throw Error(ErrorCode::Damaged,
                        m_from.Name() + ": is damaged: a dictionary has another size than the "
                                        "counts say");
    }

    void CopyObjects(unsigned slots)
    {
        BlockBuilder builder(m_from.Layout(), slots);
        std::optional<std::uint64_t> current;
        for (const auto walk = m_from.Blocks(); walk->Next();) {
            BlockView& block = walk->Block();
            CheckBlock(m_from, walk->Number(), block, [&](unsigned, std::size_t) { ++m_large; });
            m_objects += block.CountObjects();
            if (m_feed)
                m_feed->Add(walk->Number(), block);
            for (unsigned slot = 0; slot < block.Slots(); ++slot) {
                const std::uint64_t number = walk->FirstObject() + slot;
                if (!block.Has(slot))
                    continue;
                if (current && *current != number / slots)
                    WriteBlock(builder, *current);
                current = number / slots;
                PutObject(builder, static_cast<unsigned>(number % slots), walk->Number(), block,
                          slot);
            }
        }
        if (current)
            WriteBlock(builder, *current);
        if (m_objects != m_from.GetCounts().objects)
            throw Error(ErrorCode::Damaged, m_from.Name() +
                                                ": is damaged: " + std::to_string(m_objects) +
                                                " objects where the counts ask for " +
                                                std::to_string(m_from.GetCounts().objects));
    }

    void WriteBlock(BlockBuilder& builder, std::uint64_t block)
    {
        const std::string key = BlockKey(block);
        builder.Write(m_bytes);
        Seal(Space::Blocks, key, m_bytes);
        m_to.Append(Space::Blocks, key, m_bytes);
        builder.Clear();
    }

    void CopyLarge()
    {
        EachRow(m_from.Rows(), Space::Large, [&](const Row& row) {
            std::uint64_t number = 0;
            std::size_t attribute = 0;
            const std::string_view form = Unseal(Space::Large, row.key, row.value);
            if (!ReadLargeKey(row.key, number, attribute) || form.size() <= kMostInline ||
                !IsSound(attribute, form) || m_large == 0)
                FailDamaged(Space::Large, row.key, "is no value of an object");
            --m_large;
            m_to.Append(Space::Large, row.key, row.value);
        });
        if (m_large != 0)
            throw Error(ErrorCode::Damaged,
                        m_from.Name() + ": is damaged: values of objects are missing");
    }

    void CopyEntries()
    {
        EachRow(m_from.Rows(), Space::Entries, [&](const Row& row) {
            EntryKey key;
            NumberRow numbers;
            if (const auto bytes = Unseal(Space::Entries, row.key, row.value);
                !key.Open(row.key) || !numbers.Decode(key.first, bytes))
                FailDamaged(Space::Entries, row.key, "holds no numbers of objects");
            m_to.Append(Space::Entries, row.key, row.value);
        });
    }

    void MakeIndexes()
    {
        for (std::size_t i = 0; i < m_feed->Attributes().size(); ++i) {
            m_feed->Entries(i).Finish(
                [&](std::string_view key, std::string_view value, std::size_t) {
                    m_bytes = value;
                    Seal(Space::Entries, key, m_bytes);
                    m_to.Append(Space::Entries, key, m_bytes);
                });
        }
    }

    Snapshot& m_from;
    Loader& m_to;
    const Schema& m_schema;
    const std::string& m_scratch;
    std::optional<IndexFeed> m_feed; ///< where the indexes are made anew
    std::uint64_t m_objects = 0;
    std::uint64_t m_large = 0; ///< values that objects have and that were not met
    std::string m_bytes;
    std::string m_room;
};

} // namespace

std::uint64_t CopyStore(const ObjectStore& from, Loader& to, const std::string& scratch)
{
    const auto snapshot = from.Read();
    const bool sameBlocks = from.EngineTraits().blockBytes == to.About().blockBytes;
    std::uint64_t objects = 0;
    try {
        objects = Copier(*snapshot, to, scratch).Do(sameBlocks);
    } catch (const Error& error) {
        if (error.Code() != ErrorCode::Damaged || !snapshot->HasChanged())
            throw;
        throw Conflict();
    }
    if (snapshot->HasChanged())
        throw Conflict();
    to.Publish();
    return objects;
}

std::uint64_t CopyStore(const std::string& from, const std::string& to)
{
    const auto source = ObjectStore::Open(from, Mode::Read);
    const auto loader = StartLoad(to);
    CheckEngine(from);
    return CopyStore(*source, *loader, ScratchOfStore(to));
}

} // namespace ko::store::inner
