#include "block/dictionary.h"

#include "base/bytes.h"
#include "base/object_number.h"
#include "base/short_bytes.h"

#include <algorithm>

namespace ko::store::inner
{

namespace
{

/// A row: the number of entries (1 byte), the end of each form (2), and the forms.
constexpr std::size_t kRowHead = 1;
constexpr std::size_t kEndBytes = 2;
static_assert(kEntriesInRow * kMostInline <= 0xFFFF);

/// How many forms are remembered that were met once; kTurns of them stand together,
/// so that a few which always come one after another do not keep each other out.
constexpr std::size_t kMetOnce = 1U << 14;
constexpr std::size_t kTurns = 4;

constexpr std::uint32_t Part(std::uint64_t hash)
{
    return static_cast<std::uint32_t>(hash >> 32);
}

} // namespace

std::string TextKey(std::size_t attribute, std::uint32_t row)
{
    std::string key;
    AppendBig(key, static_cast<std::uint16_t>(attribute));
    AppendBig(key, row);
    return key;
}

bool ReadTextKey(std::string_view key, std::size_t& attribute, std::uint32_t& row)
{
    if (key.size() != 6)
        return false;
    attribute = GetBig<std::uint16_t>(key.data());
    row = GetBig<std::uint32_t>(key.data() + 2);
    return attribute < Schema::kMaxAttributes && row <= kMostEntries / kEntriesInRow;
}

std::string LargeKey(std::uint64_t number, std::size_t attribute)
{
    std::string key;
    AppendNumber(key, number);
    AppendBig(key, static_cast<std::uint16_t>(attribute));
    return key;
}

bool ReadLargeKey(std::string_view key, std::uint64_t& number, std::size_t& attribute)
{
    if (key.size() != kNumberBytes + 2)
        return false;
    number = GetNumber(key.data());
    attribute = GetBig<std::uint16_t>(key.data() + kNumberBytes);
    return attribute < Schema::kMaxAttributes && number != 0 && number <= kMaxObjectNumber;
}

bool TextRow::Open(std::string_view bytes)
{
    m_count = 0;
    if (bytes.empty())
        return false;
    const unsigned count = static_cast<unsigned char>(bytes[0]);
    const std::size_t head = kRowHead + count * kEndBytes;
    if (count == 0 || count > kEntriesInRow || bytes.size() < head)
        return false;
    m_bytes = bytes;
    std::size_t before = 0;
    for (unsigned i = 0; i < count; ++i) {
        const std::size_t end = GetLittle<std::uint16_t>(bytes.data() + kRowHead + i * kEndBytes);
        if (end <= before || end - before > kMostInline)
            return false;
        before = end;
    }
    if (before != bytes.size() - head)
        return false;
    m_count = count;
    return true;
}

std::string_view TextRow::Form(unsigned index) const
{
    const char* ends = m_bytes.data() + kRowHead;
    const std::size_t begin =
        index == 0 ? 0 : GetLittle<std::uint16_t>(ends + (index - 1) * kEndBytes);
    const std::size_t end = GetLittle<std::uint16_t>(ends + index * kEndBytes);
    return {ends + m_count * kEndBytes + begin, end - begin};
}

Dictionary::Slot& Dictionary::SlotOf(std::uint64_t hash, std::string_view form)
{
    const std::size_t mask = m_table.size() - 1;
    std::size_t at = hash & mask;
    while (m_table[at].entry != kNone &&
           (m_table[at].hash != Part(hash) || !SameBytes(Form(m_table[at].entry), form)))
        at = (at + 1) & mask;
    return m_table[at];
}

std::uint32_t Dictionary::Find(std::string_view form) const
{
    // The slot is not written to.
    return m_table.empty() ? kNone
                           : const_cast<Dictionary*>(this)->SlotOf(HashBytes(form), form).entry;
}

void Dictionary::Grow()
{
    m_table.assign(std::max<std::size_t>(64, m_table.size() * 2), {kNone, 0});
    for (std::uint32_t entry = 0; entry < Size(); ++entry) {
        const std::uint64_t hash = HashBytes(Form(entry));
        SlotOf(hash, Form(entry)) = {entry, Part(hash)};
    }
}

void Dictionary::Add(std::uint64_t hash, std::string_view form)
{
    if (std::size_t{Size()} * 2 >= m_table.size())
        Grow();
    SlotOf(hash, form) = {Size(), Part(hash)};
    m_bytes += form;
    m_ends.push_back(static_cast<std::uint32_t>(m_bytes.size()));
}

Cell Dictionary::Place(std::string_view form)
{
    if (form.empty())
        return {};
    if (form.size() > kMostInline)
        return Cell::OfLarge();
    const std::uint64_t hash = HashBytes(form);
    if (!m_table.empty()) {
        const std::uint32_t entry = SlotOf(hash, form).entry;
        if (entry != kNone)
            return Cell::OfEntry(entry);
    }
    if (Size() == kMostEntries || m_bytes.size() + form.size() > m_mostBytes)
        return Cell::OfForm(form);
    if (m_metOnce.empty())
        m_metOnce.resize(kMetOnce);
    std::uint32_t* const met = m_metOnce.data() + hash % (kMetOnce / kTurns) * kTurns;
    if (std::find(met, met + kTurns, Part(hash)) == met + kTurns) {
        std::copy_backward(met, met + kTurns - 1, met + kTurns);
        *met = Part(hash);
        return Cell::OfForm(form);
    }
    Add(hash, form);
    return Cell::OfEntry(Size() - 1);
}

bool Dictionary::LoadRow(std::uint32_t row, std::string_view bytes, std::uint32_t size)
{
    TextRow texts;
    if (Size() != std::size_t{row} * kEntriesInRow || !texts.Open(bytes) ||
        Size() + texts.Count() > kMostEntries)
        return false;
    for (unsigned i = 0; i < texts.Count() && Size() < size; ++i) {
        if (Find(texts.Form(i)) != kNone)
            return false;
        Add(HashBytes(texts.Form(i)), texts.Form(i));
    }
    m_saved = Size();
    return true;
}

void Dictionary::WriteRow(std::uint32_t row, std::string& bytes) const
{
    const std::uint32_t first = row * kEntriesInRow;
    const std::uint32_t count = std::min(Size() - first, kEntriesInRow);
    bytes.assign(1, static_cast<char>(count));
    std::size_t end = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        end += Form(first + i).size();
        AppendLittle(bytes, static_cast<std::uint16_t>(end));
    }
    for (std::uint32_t i = 0; i < count; ++i)
        bytes += Form(first + i);
}

} // namespace ko::store::inner
