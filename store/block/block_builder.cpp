#include "block/block_builder.h"

#include "base/short_bytes.h"
#include "block/block_bytes.h"

#include <algorithm>
#include <bit>
#include <functional>

namespace ko::store::inner
{

namespace
{

/// Calls each(slot) for the slots that are set.
template <class Each>
void ForEach(const SlotBits& bits, unsigned slots, const Each& each)
{
    for (unsigned word = 0; word * 64 < slots; ++word) {
        for (std::uint64_t left = bits[word]; left != 0; left &= left - 1)
            each(word * 64 + static_cast<unsigned>(std::countr_zero(left)));
    }
}

void SetFlags(char& byte, unsigned flags)
{
    byte = static_cast<char>(static_cast<unsigned char>(byte) | flags);
}

/// Appends numbers of some bits one behind the other, the first one lowest.
void AppendPacked(std::string& bytes, const std::uint16_t* numbers, unsigned count, unsigned least,
                  unsigned width)
{
    const std::size_t begin = bytes.size();
    const std::size_t size = BitBytes(std::size_t{count} * width);
    bytes.resize(begin + size + sizeof(std::uint64_t));
    char* to = bytes.data() + begin;
    std::uint64_t word = 0;
    unsigned used = 0;
    for (unsigned i = 0; i < count; ++i) {
        word |= std::uint64_t{numbers[i] - least} << used;
        used += width;
        if (used >= 32) {
            PutLittle(to, static_cast<std::uint32_t>(word));
            to += 4;
            word >>= 32;
            used -= 32;
        }
    }
    PutLittle(to, word);
    bytes.resize(begin + size);
}

} // namespace

BlockBuilder::BlockBuilder(const BlockLayout& layout, unsigned slots) : m_capacity(slots)
{
    for (const unsigned size : layout) {
        Values& values = m_values.emplace_back();
        values.size = size;
        values.codes.resize(slots);
        if (size != 0)
            values.forms.resize(std::size_t{slots} * size + sizeof(std::uint64_t));
        else
            values.spans.resize(slots);
    }
}

void BlockBuilder::Clear()
{
    for (Values& values : m_values) {
        std::fill_n(values.codes.begin(), m_slots, kAbsentCode);
        values.bytes.clear();
    }
    m_slots = 0;
    m_objects = {};
}

bool BlockBuilder::Load(BlockView& block)
{
    if (block.Slots() > m_capacity) {
        Clear();
        return false;
    }
    for (unsigned slot = 0; slot < block.Slots(); ++slot) {
        if (block.Has(slot))
            Add(slot);
    }
    for (std::size_t attribute = 0; attribute < m_values.size(); ++attribute) {
        const Column* column = block.Values(attribute);
        if (column == nullptr) {
            Clear();
            return false;
        }
        for (unsigned slot = 0; slot < block.Slots(); ++slot) {
            if (block.Has(slot))
                Put(attribute, slot, column->At(slot, m_room));
        }
    }
    return true;
}

void BlockBuilder::Add(unsigned slot)
{
    SetBit(m_objects, slot);
    m_slots = std::max(m_slots, slot + 1);
}

void BlockBuilder::Erase(unsigned slot)
{
    ClearBit(m_objects, slot);
    for (Values& values : m_values)
        values.codes[slot] = kAbsentCode;
    while (m_slots != 0 && !Has(m_slots - 1))
        --m_slots;
}

void BlockBuilder::Put(std::size_t attribute, unsigned slot, const Cell& cell)
{
    Values& values = m_values[attribute];
    std::uint16_t& code = values.codes[slot];
    switch (cell.kind) {
    case Cell::Kind::Absent:
        code = kAbsentCode;
        break;
    case Cell::Kind::Large:
        code = kLargeCode;
        break;
    case Cell::Kind::Entry:
        PutEntry(attribute, slot, cell.entry);
        break;
    case Cell::Kind::Form:
        if (values.size != 0) {
            PutFixed(attribute, slot, cell.form);
            break;
        }
        code = kInlineCode;
        // What the slot had before stays behind until the next Clear.
        values.spans[slot] = {static_cast<std::uint32_t>(values.bytes.size()),
                              static_cast<std::uint32_t>(cell.form.size())};
        values.bytes += cell.form;
    }
}

void BlockBuilder::Write(std::string& bytes)
{
    using namespace block_bytes;
    const bool hasBits = CountBits(m_objects, m_slots) != m_slots;
    bytes.assign(1, kVersion);
    bytes += static_cast<char>(hasBits ? kHasBits : 0);
    AppendLittle(bytes, static_cast<std::uint16_t>(m_slots));
    AppendLittle(bytes, static_cast<std::uint16_t>(m_values.size()));
    if (hasBits)
        AppendBits(bytes, m_objects, m_slots);
    // Room for wide ends: the columns move up where narrow ones do.
    const std::size_t ends = bytes.size();
    const std::size_t columns = ends + m_values.size() * 4;
    bytes.resize(columns);
    for (std::size_t i = 0; i < m_values.size(); ++i) {
        if (m_values[i].size != 0)
            WriteFixed(m_values[i], bytes);
        else
            WriteVarying(m_values[i], bytes);
        PutLittle(bytes.data() + ends + i * 4, static_cast<std::uint32_t>(bytes.size() - columns));
    }
    if (bytes.size() - columns > 0xFFFF) {
        SetFlags(bytes[1], kWideEnds);
        return;
    }
    for (std::size_t i = 0; i < m_values.size(); ++i) {
        const auto end = GetLittle<std::uint32_t>(bytes.data() + ends + i * 4);
        PutLittle(bytes.data() + ends + i * 2, static_cast<std::uint16_t>(end));
    }
    bytes.erase(ends + m_values.size() * 2, m_values.size() * 2);
}

/// A form that more than half of the objects have, where it pays that they need no bytes of their
/// own: `own` then has the others. All objects have a value.
bool BlockBuilder::FindDefault(const Values& values, SlotBits& own, const char*& form) const
{
    const auto at = [&](unsigned slot) {
        return std::string_view(values.forms.data() + std::size_t{slot} * values.size, values.size);
    };
    // The majority vote of Boyer and Moore (1981): only `common` can be in most of the slots.
    own = {};
    const auto choose = [&](const auto& valueAt, const auto& same) {
        unsigned common = 0;
        unsigned votes = 0;
        ForEach(m_objects, m_slots, [&](unsigned slot) {
            if (votes == 0)
                common = slot;
            votes = same(valueAt(common), valueAt(slot)) ? votes + 1 : votes - 1;
        });
        ForEach(m_objects, m_slots, [&](unsigned slot) {
            if (!same(valueAt(common), valueAt(slot)))
                SetBit(own, slot);
        });
        form = at(common).data();
    };
    if (values.size <= sizeof(std::uint64_t)) {
        const unsigned unused = 64 - values.size * 8;
        choose([&](unsigned slot) { return GetLittle<std::uint64_t>(at(slot).data()) << unused; },
               std::equal_to<>());
    } else {
        choose(at, SameBytes);
    }
    // The others have as many bytes each as all would have, or fewer.
    const std::size_t saved = std::size_t{m_slots - CountBits(own, m_slots)} * m_varying.size();
    return saved > values.size + BitBytes(m_slots);
}

/// Finds the bytes in which forms differ, and returns one of them.
const char* BlockBuilder::FindVarying(const Values& values, const SlotBits& own) const
{
    const char* const forms = values.forms.data();
    const char* first = nullptr;
    m_varying.clear();
    for (unsigned begin = 0; begin < values.size; begin += 8) {
        std::uint64_t differ = 0;
        ForEach(own, m_slots, [&](unsigned slot) {
            const char* form = forms + std::size_t{slot} * values.size;
            if (first == nullptr)
                first = form;
            differ |=
                GetLittle<std::uint64_t>(form + begin) ^ GetLittle<std::uint64_t>(first + begin);
        });
        for (unsigned i = begin; i < std::min(begin + 8, values.size); ++i, differ >>= 8) {
            if ((differ & 0xFF) != 0)
                m_varying.push_back(i);
        }
    }
    return first;
}

void BlockBuilder::WriteFixed(const Values& values, std::string& bytes) const
{
    const auto at = [&](unsigned slot) {
        return values.forms.data() + std::size_t{slot} * values.size;
    };
    SlotBits own{};
    ForEach(m_objects, m_slots, [&](unsigned slot) {
        if (values.codes[slot] != kAbsentCode)
            SetBit(own, slot);
    });
    if (CountBits(own, m_slots) == 0)
        return;
    const char* first = FindVarying(values, own);
    const SlotBits present = own;
    const char* common = nullptr;
    bool hasDefault = false;
    const bool someAbsent = own != m_objects;
    if (!someAbsent && !m_varying.empty()) {
        hasDefault = FindDefault(values, own, common);
        if (hasDefault)
            first = FindVarying(values, own);
        else
            own = present;
    }
    const bool hasBits = someAbsent || hasDefault;
    bytes += static_cast<char>((hasBits ? column_flags::kHasBits : 0) |
                               (hasDefault ? column_flags::kHasDefault : 0));
    const std::size_t mask = bytes.size();
    bytes.resize(mask + BitBytes(values.size));
    for (const unsigned i : m_varying)
        SetFlags(bytes[mask + i / 8], 1U << i % 8);
    for (unsigned i = 0; i < values.size; ++i) {
        if ((bytes[mask + i / 8] >> i % 8 & 1) == 0)
            bytes += first[i];
    }
    if (hasDefault)
        bytes.append(common, values.size);
    if (hasBits)
        AppendBits(bytes, own, m_slots);
    const std::size_t size = m_varying.size();
    const std::size_t begin = bytes.size();
    bytes.resize(begin + (hasBits ? CountBits(own, m_slots) : m_slots) * size);
    const unsigned* const varying = m_varying.data();
    char* to = bytes.data() + begin;
    ForEach(own, m_slots, [&](unsigned slot) {
        const char* form = at(slot);
        if (!hasBits)
            to = bytes.data() + begin + slot * size;
        for (std::size_t i = 0; i < size; ++i)
            *to++ = form[varying[i]];
    });
}

void BlockBuilder::WriteVarying(const Values& values, std::string& bytes) const
{
    unsigned least = UINT16_MAX;
    unsigned most = 0;
    for (unsigned slot = 0; slot < m_slots; ++slot) {
        const unsigned code = values.codes[slot];
        least = std::min(least, code);
        most = std::max(most, code);
    }
    if (most == kAbsentCode)
        return;
    const auto width = static_cast<unsigned>(std::bit_width(most - least));
    const std::size_t head = bytes.size();
    bytes += static_cast<char>(width);
    AppendLittle(bytes, static_cast<std::uint16_t>(least));
    AppendPacked(bytes, values.codes.data(), m_slots, least, width);
    if (!values.bytes.empty())
        WriteInline(values, bytes, head);
}

void BlockBuilder::WriteInline(const Values& values, std::string& bytes, std::size_t head) const
{
    SlotBits own{};
    std::size_t size = 0;
    ForEach(m_objects, m_slots, [&](unsigned slot) {
        if (values.codes[slot] == kInlineCode) {
            SetBit(own, slot);
            size += values.spans[slot].size;
        }
    });
    const unsigned count = CountBits(own, m_slots);
    if (count == 0)
        return;
    const bool wide = size > 0xFFFF;
    SetFlags(bytes[head],
             (count == m_slots ? column_flags::kAllInline : column_flags::kSomeInline) |
                 (wide ? column_flags::kWideEnds : 0));
    if (count != m_slots)
        AppendBits(bytes, own, m_slots);
    std::size_t end = 0;
    ForEach(own, m_slots, [&](unsigned slot) {
        end += values.spans[slot].size;
        if (wide)
            AppendLittle(bytes, static_cast<std::uint32_t>(end));
        else
            AppendLittle(bytes, static_cast<std::uint16_t>(end));
    });
    ForEach(own, m_slots, [&](unsigned slot) {
        bytes.append(values.bytes, values.spans[slot].begin, values.spans[slot].size);
    });
}

} // namespace ko::store::inner
