#include "object/snapshot.h"

#include <algorithm>

namespace ko::store::inner
{

namespace
{

/// Blocks that are fetched together, as many as an engine asks for in one round trip, and kept.
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
    // What cannot be small even so: blocks of the fewest objects have any size.
    const std::size_t most = SlotsOfBlock() > kFewestSlots ? kMostFetched : kMostFetched / 4;
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

void Snapshot::FetchBlocks(std::vector<std::uint64_t>& blocks)
{
    std::sort(blocks.begin(), blocks.end());
    blocks.erase(std::unique(blocks.begin(), blocks.end()), blocks.end());
    const auto isHere = [&](std::uint64_t block) {
        return m_fetched.count(block) != 0 || block > kMaxObjectNumber;
    };
    const auto missing = static_cast<std::size_t>(
        std::count_if(blocks.begin(), blocks.end(), [&](auto block) { return !isHere(block); }));
    if (missing == 0)
        return;
    if (m_fetched.size() + missing > 2 * kMostFetched) {
        CloseBlocks();
        m_fetched.clear();
    }
    blocks.erase(std::remove_if(blocks.begin(), blocks.end(), isHere), blocks.end());
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
    std::vector<std::string> texts;
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
                texts.push_back(TextKey(attribute, cell.entry / kEntriesInRow));
        }
    }
    const auto ascend = [](std::vector<std::string>& keys) {
        std::sort(keys.begin(), keys.end());
        keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    };
    ascend(texts);
    ascend(large);
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
