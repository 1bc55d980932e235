#ifndef KO_STORE_OBJECT_SNAPSHOT_H
#define KO_STORE_OBJECT_SNAPSHOT_H

#include "base/object_number.h"
#include "block/block.h"
#include "block/dictionary.h"
#include "engine/engine.h"
#include "index/entry_key.h"
#include "index/number_row.h"
#include "object/description.h"
#include "object/row_walk.h"
#include "object/store_memory.h"
#include "statistics/statistics.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ko::store::inner
{

/// A walk over blocks in ascending order. It ends before its snapshot does.
class BlockWalk
{
public:
    /// `provesEnds`: see RowWalk.
    BlockWalk(Reader& reader, Range range, bool provesEnds, const BlockLayout& layout,
              unsigned slotsOfBlock);

    /// Moves to the next block; false behind the last one. Throws Error (ErrorCode::Damaged).
    bool Next();
    std::uint64_t Number() const { return m_number; }
    /// The number of the object in slot 0.
    std::uint64_t FirstObject() const { return m_number * m_slotsOfBlock; }
    /// Its bytes with their checksum. Valid until Next.
    std::string_view Sealed() const { return m_rows.Sealed(); }
    /// Valid until Next.
    BlockView& Block() { return m_block; }

private:
    RowWalk m_rows;
    unsigned m_slotsOfBlock;
    std::uint64_t m_number = 0;
    BlockView m_block;
};

/// A walk over the rows of an index, in either direction. Within a row the numbers ascend; rows of
/// one value do not overlap. It ends before its snapshot does.
class EntryWalk
{
public:
    /// `provesEnds`: see RowWalk.
    EntryWalk(Reader& reader, Range range, Direction direction, bool provesEnds)
        : m_rows(reader, Space::Entries, std::move(range), direction, provesEnds)
    {
    }

    /// Moves to the next row; false behind the last one. Throws Error (ErrorCode::Damaged).
    bool Next();
    /// Many rows will be wanted: they are asked for together from now on.
    void ReadMany();
    /// Attribute and sort key of the row's value; see EntryKey::MayBeCut. Valid until Next.
    const EntryKey& Key() const { return m_key; }
    const NumberRow& Numbers() const { return m_numbers; }

private:
    static constexpr std::size_t kFewAtOnce = 64;

    RowWalk m_rows;
    std::size_t m_atOnce = kFewAtOnce; ///< rows that are asked for
    EntryKey m_key;
    NumberRow m_numbers;
};

/// The objects and indexes of a store at one moment, as far as its engine has such moments. One
/// thread uses it at a time. Rows that are damaged end in Error (ErrorCode::Damaged).
class Snapshot
{
public:
    using ReadAgain = std::function<std::unique_ptr<Reader>()>;

    /// `store` begins sentences. `viewsLast`: what the reader hands out stays where it is as long
    /// as the reader. `memory` is that of the open store, for snapshots of what is committed alone.
    /// `again`: where readers have no single moment, gives one that begins now. Users ask
    /// ObjectStore::Read.
    Snapshot(std::shared_ptr<Reader> reader, bool viewsLast, std::string store,
             std::shared_ptr<StoreMemory> memory = nullptr, ReadAgain again = {});
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    /// What begins sentences.
    const std::string& Name() const { return m_store; }
    const Description& About() const { return m_described->Get(); }
    const Schema& GetSchema() const { return About().schema; }
    const Counts& GetCounts() const { return *m_counts; }
    const BlockLayout& Layout() const { return m_described->Layout(); }
    unsigned SlotsOfBlock() const { return m_slotsOfBlock; }
    /// False: there are indexes, and they were made under another order.
    bool IndexesServe() const { return m_described->IndexesServe(); }
    /// Ends with Error (ErrorCode::Damaged), which says what to do, where IndexesServe is false.
    void NeedIndexes() const;

    // ---- objects

    /// Slots are a power of two.
    std::uint64_t BlockOf(std::uint64_t number) const { return number >> m_slotBits; }
    unsigned SlotOf(std::uint64_t number) const
    {
        return static_cast<unsigned>(number & (m_slotsOfBlock - 1));
    }

    /// Reads what will be asked for of the first of these objects, so many as go together, and
    /// returns how many of them: their blocks, and of `attributes` the rows of dictionaries and the
    /// values that stand by themselves. Where each question costs a round trip that saves most of
    /// them, elsewhere it does nothing. It counts as asking for another block. What is not there is
    /// left to who asks for it.
    std::size_t Fetch(std::span<const std::uint64_t> numbers,
                      std::span<const std::size_t> attributes = {});

    /// False where each question may be answered from a later moment than the one before, and a
    /// change that broke may be there in part: an index may name objects that are gone, or that
    /// have another value now.
    bool IsOneMoment() const { return !m_again; }

    /// True where IsOneMoment is false and the counts have changed since they were read: what was
    /// read may be of several moments, and what seems damaged may be sound.
    bool HasChanged();

    /// True where Fetch does something: what is wanted had best be asked for together.
    bool IsAfar() const { return !m_viewsLast; }

    /// What it takes the engine to reach rows.
    Reach EngineReach() const;

    /// A block, its checksum proved; null where there is none, which the rows beside it prove.
    /// Valid until another block is asked for; the last few are kept open.
    BlockView* Block(std::uint64_t block);
    /// The block that an object stands in; null where there is no such object.
    BlockView* BlockWith(std::uint64_t number);
    /// The blocks from `first` to `last`.
    std::unique_ptr<BlockWalk> Blocks(std::uint64_t first = 0,
                                      std::uint64_t last = kMaxObjectNumber);
    /// Keeps the block that a walk is at for Block, where that would cost a round trip otherwise.
    void Keep(const BlockWalk& walk);

    /// The form of a cell of an object; empty for an absent value. It points to where the cell's
    /// form does, into the snapshot (until its end), or into `room`.
    std::string_view Form(std::size_t attribute, const Cell& cell, std::uint64_t number,
                          std::string& room)
    {
        switch (cell.kind) {
        case Cell::Kind::Entry:
            return Text(attribute, cell.entry);
        case Cell::Kind::Large:
            return Large(attribute, number, room);
        default:
            return cell.form;
        }
    }
    /// The same of an object that stands in a block.
    std::string_view Form(BlockView& block, std::uint64_t number, std::size_t attribute,
                          std::string& room);
    /// The form of an attribute of an object; absent where there is no such object, empty for an
    /// absent value. It may point into a block, into the snapshot or into `room`.
    std::optional<std::string_view> Value(std::uint64_t number, std::size_t attribute,
                                          std::string& room);

    /// Entries of the dictionary of an attribute: their cells have lesser numbers.
    std::uint32_t Texts(std::size_t attribute) const { return m_counts->texts[attribute]; }
    /// The form of one of these; valid for as long as the snapshot. Rows of the dictionary are read
    /// when they are asked for first.
    std::string_view Text(std::size_t attribute, std::uint32_t entry)
    {
        return FindTexts(attribute, entry).Form(entry % kEntriesInRow);
    }

    // ---- indexes

    /// The rows of a range of keys of Space::Entries; index/entry_key.h has the ends of ranges.
    /// NeedIndexes is for the caller.
    EntryWalk Entries(Range keys, Direction direction);
    /// About how many rows these are.
    std::uint64_t CountRowsRoughly(const Range& keys);

    // ---- statistics

    /// What is known of the values of these attributes, of which the store may have kept it from an
    /// earlier snapshot; null where the store has no statistics, or they cannot be trusted. It goes
    /// with the snapshot.
    Statistics* FindStatistics(std::span<const std::size_t> attributes);

    /// For who checks.
    Reader& Rows() { return *m_reader; }

private:
    struct OpenBlock;
    struct KeptDictionary {
        std::vector<KeptTexts> rows;
        std::size_t reads = 0;
    };

    std::string_view Proved(std::uint64_t block, std::string_view key, std::string_view sealed);
    void CloseBlocks();
    std::size_t MostFetched() const;
    const std::string* FindFetched(std::uint64_t block) const;
    void MakeRoom(std::span<const std::uint64_t> wanted);
    void FetchBlocks(std::vector<std::uint64_t>& blocks);
    void FetchForms(std::span<const std::uint64_t> numbers,
                    std::span<const std::size_t> attributes);
    void FetchLarge(std::span<const std::string> keys);
    bool HasText(std::size_t attribute, std::uint32_t entry);
    void ReadTexts(std::span<const std::string> keys);
    std::unique_ptr<Statistics> OpenStatistics(std::span<const std::size_t> attributes);
    const TextRow& FindTexts(std::size_t attribute, std::uint32_t entry);
    Counts ReadCounts(Reader& reader) const;
    const TextRow* FindLaterTexts(std::size_t attribute, std::uint32_t entry);
    std::string ReadLaterLarge(std::size_t attribute, std::uint64_t number);
    std::string_view Large(std::size_t attribute, std::uint64_t number, std::string& room);

    std::shared_ptr<Reader> m_reader;
    bool m_viewsLast;  ///< what the reader hands out stays where it is
    ReadAgain m_again; ///< null where there is one moment
    std::string m_store;
    std::shared_ptr<StoreMemory> m_memory; ///< may be null
    std::shared_ptr<const Described> m_described;
    unsigned m_slotsOfBlock = 0;
    int m_slotBits = 0;
    std::shared_ptr<const Counts> m_counts;
    std::vector<std::unique_ptr<OpenBlock>> m_blocks; ///< by their numbers' remainders
    std::shared_ptr<ProvedBlocks> m_proved;
    std::vector<KeptDictionary> m_texts; ///< by attribute
    std::vector<KeptTexts> m_outgrown;   ///< rows that were read again
    using FetchedBlocks = std::unordered_map<std::uint64_t, std::string>; // by number, sealed
    FetchedBlocks m_fetched;
    FetchedBlocks m_fetchedBefore;                                  ///< which go first
    std::map<std::string, std::string, std::less<>> m_fetchedLarge; ///< values, sealed
    std::size_t m_fetchedLargeBytes = 0;
    std::unique_ptr<Statistics> m_statistics;
    std::vector<std::size_t> m_known;                       ///< attributes that it was asked for
    std::map<std::string, std::string> m_fetchedStatistics; ///< sealed rows
};

} // namespace ko::store::inner

#endif
