#include "object/snapshot.h"

#include "block/checksum.h"
#include <kostore.h>

#include <algorithm>
#include <bit>
#include <utility>

namespace ko::store::inner
{

namespace
{

/// Rows that a walk asks for at once: of blocks, and of an index of which many are wanted.
constexpr std::size_t kBlocksAtOnce = 16;
constexpr std::size_t kManyAtOnce = 1000;
/// Blocks that are kept open, where their bytes stay and where they are copies.
constexpr std::size_t kOpenBlocks = 1024;
constexpr std::size_t kCopiedBlocks = 64;
/// At most 2^10 rows of a dictionary are asked for at once.
constexpr std::size_t kMostDoublings = 10;
constexpr std::size_t kDoublingsAfar = 5; ///< each time, where a question costs a round trip

void OpenBlockView(BlockView& view, std::string_view key, std::string_view bytes, unsigned slots)
{
    if (!view.Open(bytes) || view.Slots() > slots)
        FailDamaged(Space::Blocks, key, "holds no objects of this store");
}

} // namespace

BlockWalk::BlockWalk(Reader& reader, Range range, bool provesEnds, const BlockLayout& layout,
                     unsigned slotsOfBlock)
    : m_rows(reader, Space::Blocks, std::move(range), Direction::Forwards, provesEnds),
      m_slotsOfBlock(slotsOfBlock), m_block(layout)
{
}

bool BlockWalk::Next()
{
    if (!m_rows.Next(kBlocksAtOnce))
        return false;
    const std::string_view key = m_rows.Key();
    if (key.size() != kNumberBytes)
        FailDamaged(Space::Blocks, key, "has no number");
    m_number = GetNumber(key.data());
    OpenBlockView(m_block, key, m_rows.Bytes(), m_slotsOfBlock);
    return true;
}

bool EntryWalk::Next()
{
    if (!m_rows.Next(m_atOnce))
        return false;
    const std::string_view key = m_rows.Key();
    if (!m_key.Open(key) || !m_numbers.Decode(m_key.first, m_rows.Bytes()))
        FailDamaged(Space::Entries, key, "holds no numbers of objects");
    return true;
}

void EntryWalk::ReadMany()
{
    m_atOnce = kManyAtOnce;
}

struct Snapshot::OpenBlock {
    explicit OpenBlock(const BlockLayout& layout) : view(layout) {}

    std::uint64_t number = 0;
    bool isOpen = false;
    std::string bytes; ///< where the reader's do not stay
    BlockView view;
};

Snapshot::Snapshot(std::shared_ptr<Reader> reader, bool viewsLast, std::string store,
                   std::shared_ptr<StoreMemory> memory, ReadAgain again)
    : m_reader(std::move(reader)), m_viewsLast(viewsLast), m_again(std::move(again)),
      m_store(std::move(store)), m_memory(std::move(memory))
{
    const std::string_view keys[] = {Counts::kKey, Description::kKey};
    std::string values[2];
    m_reader->Get(Space::Description, keys,
                  [&](std::size_t key, std::string_view value) { values[key] = value; });
    if (values[1].empty())
        throw Error(ErrorCode::Damaged, m_store + ": is no store of this program (it has no \"" +
                                            std::string(Description::kKey) + "\")");
    m_described = m_memory ? m_memory->Describe(values[1], m_store)
                           : std::make_shared<const Described>(values[1], m_store);
    m_slotsOfBlock = About().slotsOfBlock;
    m_slotBits = std::countr_zero(m_slotsOfBlock);
    const std::size_t attributes = GetSchema().attributes.size();
    m_counts = m_memory
                   ? m_memory->Count(values[0], attributes, m_store)
                   : std::make_shared<const Counts>(Counts::Read(values[0], attributes, m_store));
    const std::uint64_t blocks = BlockOf(GetCounts().nextNumber) + 1;
    m_blocks.resize(
        std::bit_ceil(std::min<std::uint64_t>(blocks, m_viewsLast ? kOpenBlocks : kCopiedBlocks)));
    const std::uint64_t moment = m_reader->Moment();
    m_proved = m_memory && moment != 0 ? m_memory->Proved(moment, blocks)
                                       : std::make_shared<ProvedBlocks>(0, blocks);
    m_texts.resize(attributes);
}

Snapshot::~Snapshot() = default;

void Snapshot::NeedIndexes() const
{
    if (!IndexesServe())
        throw Error(ErrorCode::Damaged,
                    m_store + ": its indexes were made under another order of values: "
                              "\"kotm reindex\" makes them anew");
}

/// The bytes of a block, whose checksum is proved when they are met first.
std::string_view Snapshot::Proved(std::uint64_t block, std::string_view key,
                                  std::string_view sealed)
{
    if (m_proved->Has(block))
        return SealedBytes(sealed);
    const std::string_view bytes = Unseal(Space::Blocks, key, sealed);
    m_proved->Add(block);
    return bytes;
}

BlockView* Snapshot::Block(std::uint64_t block)
{
    std::unique_ptr<OpenBlock>& open = m_blocks[block & (m_blocks.size() - 1)];
    if (open && open->isOpen && open->number == block)
        return &open->view;
    if (block > kMaxObjectNumber)
        return nullptr;
    if (!open)
        open = std::make_unique<OpenBlock>(Layout());
    open->number = block;
    open->isOpen = false;
    const std::string key = BlockKey(block);
    const auto take = [&](std::string_view sealed) {
        OpenBlockView(open->view, key, Proved(block, key, sealed), SlotsOfBlock());
        open->isOpen = true;
    };
    if (const std::string* const fetched = FindFetched(block); fetched != nullptr) {
        take(*fetched);
        return &open->view;
    }
    const std::string_view keys[] = {key};
    m_reader->Get(Space::Blocks, keys, [&](std::size_t, std::string_view sealed) {
        take(m_viewsLast ? sealed : open->bytes.assign(sealed));
    });
    if (open->isOpen)
        return &open->view;
    if (m_viewsLast)
        ProveGap(*m_reader, Space::Blocks, key);
    return nullptr;
}

void Snapshot::CloseBlocks()
{
    for (const auto& open : m_blocks) {
        if (open)
            open->isOpen = false;
    }
}

BlockView* Snapshot::BlockWith(std::uint64_t number)
{
    BlockView* const block = number == 0 ? nullptr : Block(BlockOf(number));
    return block != nullptr && block->Has(SlotOf(number)) ? block : nullptr;
}

std::unique_ptr<BlockWalk> Snapshot::Blocks(std::uint64_t first, std::uint64_t last)
{
    Range range{BlockKey(first), {}};
    if (last < kMaxObjectNumber)
        range.high = BlockKey(last + 1);
    // A server looks after its own pages, and more rows cost round trips there.
    return std::make_unique<BlockWalk>(*m_reader, std::move(range), m_viewsLast, Layout(),
                                       SlotsOfBlock());
}

std::string_view Snapshot::Large(std::size_t attribute, std::uint64_t number, std::string& room)
{
    const std::string key = LargeKey(number, attribute);
    const auto fetched = m_fetchedLarge.find(key);
    if (fetched != m_fetchedLarge.end())
        return Unseal(Space::Large, key, room.assign(fetched->second));
    const std::string_view keys[] = {key};
    std::string_view form;
    m_reader->Get(Space::Large, keys, [&](std::size_t, std::string_view sealed) {
        form = Unseal(Space::Large, key, m_viewsLast ? sealed : room.assign(sealed));
    });
    if (form.empty() && m_again)
        form = Unseal(Space::Large, key, room = ReadLaterLarge(attribute, number));
    if (form.empty())
        FailDamaged(Space::Large, key, "is missing");
    return form;
}

/// A block may be of a later moment than its large values, which were there before it, or of an
/// earlier one than those that have gone since. Returns the value, sealed; throws Conflict where
/// the block has gone on as well.
std::string Snapshot::ReadLaterLarge(std::size_t attribute, std::uint64_t number)
{
    const std::string key = BlockKey(BlockOf(number));
    for (int look = 0; look < 2;
         ++look) { // the value may come between its own look and the block's
        const auto now = m_again();
        if (auto value = now->GetOne(Space::Large, LargeKey(number, attribute)))
            return *std::move(value);
        const auto sealed = now->GetOne(Space::Blocks, key);
        if (!sealed)
            throw Conflict();
        BlockView block(Layout());
        OpenBlockView(block, key, Unseal(Space::Blocks, key, *sealed), SlotsOfBlock());
        Cell cell;
        std::string room;
        if (!block.Has(SlotOf(number)) || !block.At(attribute, SlotOf(number), cell, room) ||
            cell.kind != Cell::Kind::Large)
            throw Conflict();
    }
    FailDamaged(Space::Large, LargeKey(number, attribute), "is missing");
}

std::optional<std::string_view> Snapshot::Value(std::uint64_t number, std::size_t attribute,
                                                std::string& room)
{
    BlockView* const block = BlockWith(number);
    if (block == nullptr)
        return {};
    return Form(*block, number, attribute, room);
}

std::string_view Snapshot::Form(BlockView& block, std::uint64_t number, std::size_t attribute,
                                std::string& room)
{
    Cell cell;
    if (!block.At(attribute, SlotOf(number), cell, room))
        FailDamaged(Space::Blocks, BlockKey(BlockOf(number)), "holds no values of its attributes");
    return Form(attribute, cell, number, room);
}

/// Whether the row of an entry is at hand; where the store has kept it, it is taken from there.
bool Snapshot::HasText(std::size_t attribute, std::uint32_t entry)
{
    std::vector<KeptTexts>& rows = m_texts[attribute].rows;
    const std::uint32_t row = entry / kEntriesInRow;
    if (rows.empty())
        rows.resize((Texts(attribute) + kEntriesInRow - 1) / kEntriesInRow);
    if (row >= rows.size())
        return false;
    if (rows[row].texts.Count() == 0 && m_memory && !m_viewsLast) {
        const KeptTexts kept = m_memory->Texts(attribute, row);
        // Only what serves for all entries: views of it stay.
        if (kept.texts.Count() >= std::min(kEntriesInRow, Texts(attribute) - row * kEntriesInRow))
            rows[row] = kept;
    }
    return rows[row].texts.Count() > entry % kEntriesInRow;
}

void Snapshot::ReadTexts(std::span<const std::string> keys)
{
    const std::vector<std::string_view> views(keys.begin(), keys.end());
    m_reader->Get(Space::Texts, views, [&](std::size_t i, std::string_view sealed) {
        std::size_t attribute = 0;
        std::uint32_t row = 0;
        ReadTextKey(keys[i], attribute, row);
        KeptTexts& kept = m_texts[attribute].rows[row];
        if (!m_viewsLast)
            sealed = *(kept.bytes = std::make_shared<const std::string>(sealed));
        if (!kept.texts.Open(Unseal(Space::Texts, keys[i], sealed)))
            FailDamaged(Space::Texts, keys[i], "holds no entries of a dictionary");
        // What is more than the counts say is not committed: later entries may be others.
        if (!m_viewsLast && m_memory &&
            kept.texts.Count() <= Texts(attribute) - row * kEntriesInRow)
            m_memory->Keep(attribute, row, kept);
    });
}

/// Reads the row of an entry, and others behind it, twice as many each time: many entries then cost
/// few round trips, and a single one no more than its row.
const TextRow& Snapshot::FindTexts(std::size_t attribute, std::uint32_t entry)
{
    KeptDictionary& dictionary = m_texts[attribute];
    const std::uint32_t row = entry / kEntriesInRow;
    if (row < dictionary.rows.size() && dictionary.rows[row].texts.Count() > entry % kEntriesInRow)
        return dictionary.rows[row].texts;
    if (HasText(attribute, entry))
        return dictionary.rows[row].texts;
    std::vector<std::string> keys;
    const std::size_t most = std::size_t{1}
                             << std::min<std::size_t>(dictionary.reads, kMostDoublings);
    dictionary.reads += m_viewsLast ? 1 : kDoublingsAfar;
    for (std::size_t i = row; i < dictionary.rows.size() && keys.size() < most; ++i) {
        if (dictionary.rows[i].texts.Count() == 0)
            keys.push_back(TextKey(attribute, static_cast<std::uint32_t>(i)));
    }
    ReadTexts(keys);
    if (HasText(attribute, entry))
        return dictionary.rows[row].texts;
    if (const TextRow* const later = FindLaterTexts(attribute, entry))
        return *later;
    FailDamaged(Space::Texts, TextKey(attribute, row), "lacks an entry that an object has");
}

/// A block may be of a later moment than the counts, where there are such: its texts, and the
/// counts that have them, were there before it. Null where that does not explain the entry.
const TextRow* Snapshot::FindLaterTexts(std::size_t attribute, std::uint32_t entry)
{
    if (!m_again)
        return nullptr;
    const auto now = m_again();
    if (entry >= ReadCounts(*now).texts[attribute])
        return nullptr;
    const std::uint32_t row = entry / kEntriesInRow;
    const std::string key = TextKey(attribute, row);
    auto sealed = now->GetOne(Space::Texts, key);
    KeptTexts later;
    if (!sealed)
        return nullptr;
    later.bytes = std::make_shared<const std::string>(*std::move(sealed));
    if (!later.texts.Open(Unseal(Space::Texts, key, *later.bytes)) ||
        later.texts.Count() <= entry % kEntriesInRow)
        return nullptr;
    std::vector<KeptTexts>& rows = m_texts[attribute].rows;
    rows.resize(std::max<std::size_t>(rows.size(), row + 1));
    m_outgrown.push_back(std::exchange(rows[row], std::move(later))); // views of it stay
    return &rows[row].texts;
}

Counts Snapshot::ReadCounts(Reader& reader) const
{
    return Counts::Read(reader.GetOne(Space::Description, Counts::kKey).value_or(""),
                        GetSchema().attributes.size(), m_store);
}

bool Snapshot::HasChanged()
{
    return m_again && ReadCounts(*m_again()).Write() != m_counts->Write();
}

EntryWalk Snapshot::Entries(Range keys, Direction direction)
{
    return {*m_reader, std::move(keys), direction, m_viewsLast};
}

std::uint64_t Snapshot::CountRowsRoughly(const Range& keys)
{
    return m_reader->CountRoughly(Space::Entries, keys);
}

} // namespace ko::store::inner
