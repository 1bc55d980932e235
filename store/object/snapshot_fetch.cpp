#include "object/snapshot.h"

#include <algorithm>
#include <set>
#include <utility>

namespace ko::store::inner
{

namespace
{

/// Blocks that are fetched together, as many as an engine asks for in one round trip. The last ones
/// are kept, up to twice as many.
constexpr std::size_t kMostFetched = 4000;
/// Values that stand by themselves and are fetched together, and bytes of them that are kept.
constexpr std::size_t kLargeTogether = 64;
constexpr std::size_t kMostLargeBytes = 16U << 20;

} // namespace

std::size_t Snapshot::Fetch(std::span<const std::uint64_t> numbers,
                            std::span<const std::size_t> attributes)
{
    if (m_viewsLast)
        return numbers.size();
    const std::size_t most = MostFetched();
    std::vector<std::uint64_t> blocks;
    std::size_t taken = 0;
    for (; taken < numbers.size(); ++taken) {
        const std::uint64_t block = BlockOf(numbers[taken]);
        if (!blocks.empty() && blocks.back() == block)
            continue;
        if (blocks.size() == most)
            break;
        blocks.push_back(block);
    }
    FetchBlocks(blocks);
    if (!attributes.empty())
        FetchForms(numbers.first(taken), attributes);
    return taken;
}

std::size_t Snapshot::MostFetched() const
{
    // What cannot be small even so: blocks of the fewest objects have any size.
    return SlotsOfBlock() > kFewestSlots ? kMostFetched : kMostFetched / 4;
}

const std::string* Snapshot::FindFetched(std::uint64_t block) const
{
    for (const FetchedBlocks* blocks : {&m_fetched, &m_fetchedBefore}) {
        const auto at = blocks->find(block);
        if (at != blocks->end())
            return &at->second;
    }
    return nullptr;
}

/// For blocks that come, where there are many already: the oldest ones go, but not those wanted.
void Snapshot::MakeRoom(std::span<const std::uint64_t> wanted)
{
    if (m_fetched.size() + wanted.size() <= MostFetched())
        return;
    FetchedBlocks oldest = std::exchange(m_fetchedBefore, std::exchange(m_fetched, {}));
    for (const std::uint64_t block : wanted)
        m_fetched.insert(oldest.extract(block));
    CloseBlocks();
}

void Snapshot::Keep(const BlockWalk& walk)
{
    const std::uint64_t block = walk.Number();
    if (m_viewsLast || FindFetched(block) != nullptr)
        return;
    MakeRoom({&block, 1});
    m_fetched.emplace(block, walk.Sealed());
}

void Snapshot::FetchBlocks(std::vector<std::uint64_t>& blocks)
{
    std::sort(blocks.begin(), blocks.end());
    blocks.erase(std::unique(blocks.begin(), blocks.end()), blocks.end());
    const auto isHere = [&](std::uint64_t block) {
        return block > kMaxObjectNumber || FindFetched(block) != nullptr;
    };
    if (std::all_of(blocks.begin(), blocks.end(), isHere))
        return;
    MakeRoom(blocks);
    blocks.erase(std::remove_if(blocks.begin(), blocks.end(), isHere), blocks.end());
    m_fetched.reserve(m_fetched.size() + blocks.size());
    std::vector<std::string> keys;
    keys.reserve(blocks.size());
    for (const std::uint64_t block : blocks)
        keys.push_back(BlockKey(block));
    const std::vector<std::string_view> views(keys.begin(), keys.end());
    m_reader->Get(Space::Blocks, views, [&](std::size_t i, std::string_view sealed) {
        m_fetched.emplace(blocks[i], sealed);
    });
}

void Snapshot::FetchForms(std::span<const std::uint64_t> numbers,
                          std::span<const std::size_t> attributes)
{
    std::set<std::pair<std::size_t, std::uint32_t>> rows; // of dictionaries
    std::vector<std::string> large;
    Cell cell;
    std::string room;
    for (const std::uint64_t number : numbers) {
        BlockView* const block = BlockWith(number);
        for (const std::size_t attribute : attributes) {
            if (block == nullptr || Layout()[attribute] != 0 ||
                !block->At(attribute, SlotOf(number), cell, room))
                continue;
            if (cell.kind == Cell::Kind::Large) {
                if (m_fetchedLarge.count(LargeKey(number, attribute)) == 0)
                    large.push_back(LargeKey(number, attribute));
            } else if (cell.kind == Cell::Kind::Entry && cell.entry < Texts(attribute) &&
                       !HasText(attribute, cell.entry) &&
                       m_texts[attribute].rows[cell.entry / kEntriesInRow].texts.Count() == 0)
                rows.emplace(attribute, cell.entry / kEntriesInRow);
        }
    }
    std::vector<std::string> texts;
    texts.reserve(rows.size());
    for (const auto& [attribute, row] : rows)
        texts.push_back(TextKey(attribute, row));
    std::sort(texts.begin(), texts.end());
    std::sort(large.begin(), large.end());
    large.erase(std::unique(large.begin(), large.end()), large.end());
    ReadTexts(texts);
    FetchLarge(large);
}

void Snapshot::FetchLarge(std::span<const std::string> keys)
{
    const std::vector<std::string_view> views(keys.begin(), keys.end());
    for (std::size_t at = 0; at < keys.size(); at += kLargeTogether) {
        if (m_fetchedLargeBytes >= kMostLargeBytes) {
            if (at != 0) // the last ones are read when they are asked for
                return;
            m_fetchedLarge.clear();
            m_fetchedLargeBytes = 0;
        }
        const auto some = std::span(views).subspan(at, std::min(kLargeTogether, keys.size() - at));
        m_reader->Get(Space::Large, some, [&](std::size_t i, std::string_view sealed) {
            m_fetchedLargeBytes += sealed.size();
            m_fetchedLarge.emplace(some[i], sealed);
        });
    }
}

} // namespace ko::store::inner
