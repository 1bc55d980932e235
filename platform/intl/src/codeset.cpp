#include "collationtables.h"
#include "kointl.h"
#include <array>
#include <cstddef>
#include <cstring>

namespace
{

constexpr o_u2b kNoCharacter = 0xFFFF;
constexpr unsigned char kReplacement = '?';

struct UpperHalf {
    unsigned char id;
    o_u2b unicode[128];
};

#include "../tables/codesets.inc"

constexpr std::size_t kSets = std::size(kUpperHalves);

using UnicodeValues = std::array<o_u2b, 256>;

constexpr std::array<UnicodeValues, kSets> kToUnicode = [] {
    std::array<UnicodeValues, kSets> all{};
    for (std::size_t set = 0; set < kSets; ++set) {
        for (unsigned byte = 0; byte < 128; ++byte) {
            all[set][byte] = static_cast<o_u2b>(byte);
            all[set][128 + byte] = kUpperHalves[set].unicode[byte];
        }
    }
    return all;
}();

// FNV-1a, 64 bits (Fowler, Noll and Vo, 1991), as the generator computes it: a table that was
// edited by hand, or read wrongly by a compiler, does not compile.
constexpr o_u8b Checksum()
{
    o_u8b value = 0xCBF29CE484222325;
    const auto add = [&value](unsigned byte) { value = (value ^ byte) * 0x100000001B3; };
    for (std::size_t set = 0; set < kSets; ++set) {
        add(kUpperHalves[set].id);
        for (const o_u2b unicode : kToUnicode[set]) {
            add(unicode >> 8);
            add(unicode & 0xFFU);
        }
    }
    return value;
}
static_assert(Checksum() == kTablesChecksum, "run gencodesets.py");

// The way back is a table of blocks for each code set, derived from the way there: the high bits of
// a Unicode value choose a block, the low bits a byte in it. 0 stands for "no such character",
// which U+0000 does not need, ASCII being handled without a table. Block 0 is empty and shared.
constexpr unsigned kBlockSize = 64;

// No 8-bit code set has a character from here on.
constexpr unsigned kEnd = [] {
    unsigned end = 0;
    for (const UnicodeValues& values : kToUnicode)
        for (const o_u2b unicode : values)
            if (unicode != kNoCharacter && unicode >= end)
                end = unicode + 1U;
    return (end + kBlockSize - 1) / kBlockSize * kBlockSize;
}();

using BlockNumbers = std::array<o_u2b, kEnd / kBlockSize>;

constexpr std::size_t kBlocks = [] {
    std::size_t blocks = 1;
    for (const UnicodeValues& values : kToUnicode) {
        std::array<bool, kEnd / kBlockSize> used{};
        for (const o_u2b unicode : values) {
            if (unicode == kNoCharacter || used[unicode / kBlockSize])
                continue;
            used[unicode / kBlockSize] = true;
            ++blocks;
        }
    }
    return blocks;
}();

struct FromUnicodeTables {
    std::array<BlockNumbers, kSets> blockOf{};
    std::array<unsigned char, kBlocks * kBlockSize> bytes{};
};

constexpr FromUnicodeTables kFromUnicode = [] {
    FromUnicodeTables tables;
    o_u2b blocks = 1;
    for (std::size_t set = 0; set < kSets; ++set) {
        for (unsigned byte = 0; byte < 256; ++byte) {
            const o_u2b unicode = kToUnicode[set][byte];
            if (unicode == kNoCharacter)
                continue;
            o_u2b& block = tables.blockOf[set][unicode / kBlockSize];
            if (block == 0)
                block = blocks++;
            tables.bytes[block * kBlockSize + unicode % kBlockSize] =
                static_cast<unsigned char>(byte);
        }
    }
    return tables;
}();

// The collation of the 256 characters of each code set, as its Unicode values have it.
struct SetCollation {
    std::array<o_u2b, 256> orders{};
    std::array<o_u4b, 256> fastKeys{};
};

constexpr std::array<SetCollation, kSets> kCollations = [] {
    std::array<SetCollation, kSets> all{};
    for (std::size_t set = 0; set < kSets; ++set) {
        for (unsigned byte = 0; byte < 256; ++byte) {
            const o_u2b unicode = kToUnicode[set][byte];
            const o_u2b undefined = kocollation::UndefinedOrder(byte);
            all[set].orders[byte] =
                unicode == kNoCharacter ? undefined : kocollation::OrderOf(unicode);
            all[set].fastKeys[byte] =
                unicode == kNoCharacter ? KoFastKey(undefined) : kocollation::FastKeyOf(unicode);
        }
    }
    return all;
}();

} // namespace

// Objects, one for each table and one, at the end, for 16-bit Unicode.
struct KoCodeSetTables {
    using Objects = std::array<KoCodeSet, kSets + 1>;

    static constexpr Objects MakeObjects() noexcept
    {
        Objects objects{};
        for (std::size_t set = 0; set < kSets; ++set) {
            objects[set].m_id = kUpperHalves[set].id;
            objects[set].m_toUnicode = kToUnicode[set].data();
            objects[set].m_blockOf = kFromUnicode.blockOf[set].data();
            objects[set].m_orders = kCollations[set].orders.data();
            objects[set].m_fastKeys = kCollations[set].fastKeys.data();
        }
        objects[kSets].m_id = KoCS_UNICODE;
        return objects;
    }

    static constexpr std::array<unsigned char, 256> MakeIndex() noexcept
    {
        std::array<unsigned char, 256> index{}; // ISO 8859-1 is the first table
        for (std::size_t set = 0; set < kSets; ++set)
            index[kUpperHalves[set].id] = static_cast<unsigned char>(set);
        for (std::size_t id = 225; id < 256; ++id)
            index[id] = static_cast<unsigned char>(kSets);
        return index;
    }

    static const Objects s_objects;

    /// The object of an identifier that is taken as it is: neither 0 nor 255 is a stand-in here.
    static const KoCodeSet& Of(unsigned char codeSet) noexcept
    {
        static constexpr std::array<unsigned char, 256> index = MakeIndex();
        static_assert(kUpperHalves[0].id == KoCS_LATIN1);
        return s_objects[index[codeSet]];
    }

    /// The byte for a Unicode value in an 8-bit code set; 0 where there is none, and for U+0000.
    static unsigned char ByteFor(const KoCodeSet& codeSet, o_u2b unicode) noexcept
    {
        if (unicode < 0x80)
            return static_cast<unsigned char>(unicode);
        if (unicode >= kEnd)
            return 0;
        const std::size_t block = codeSet.m_blockOf[unicode / kBlockSize];
        return kFromUnicode.bytes[block * kBlockSize + unicode % kBlockSize];
    }
};

constinit const KoCodeSetTables::Objects KoCodeSetTables::s_objects = MakeObjects();

bool KoCodeSet::ToUnicode(o_u2b character, o_u2b& unicode) const noexcept
{
    if (m_toUnicode == nullptr) {
        unicode = character;
        return true;
    }
    if (character > 0xFF || m_toUnicode[character] == kNoCharacter)
        return false;
    unicode = m_toUnicode[character];
    return true;
}

bool KoCodeSet::FromUnicode(o_u2b unicode, o_u2b& character) const noexcept
{
    if (m_toUnicode == nullptr) {
        character = unicode;
        return true;
    }
    const unsigned char byte = KoCodeSetTables::ByteFor(*this, unicode);
    if (byte == 0 && unicode != 0)
        return false;
    character = byte;
    return true;
}

const KoCodeSet* KoLanguageContext::QueryCodeSet(unsigned char codeSet) noexcept
{
    if (codeSet == KoCS_NONE)
        codeSet = GetNativeCodeSet();
    else if (codeSet == KoCS_DEFAULT)
        codeSet = GetDefaultCodeSet();
    return &KoCodeSetTables::Of(codeSet);
}

o_u4b KoCodeSetTablesVersion() noexcept
{
    return kTablesVersion;
}

o_u8b KoCodeSetTablesChecksum() noexcept
{
    return kTablesChecksum;
}

namespace
{

o_u2b Swapped(o_u2b unit)
{
    return static_cast<o_u2b>((unit << 8) | (unit >> 8));
}

// Units of stored text may lie at odd addresses.
o_u2b UnitAt(const unsigned char* text, std::size_t i)
{
    o_u2b unit;
    std::memcpy(&unit, text + 2 * i, sizeof unit);
    return unit;
}

void SetUnit(unsigned char* text, std::size_t i, o_u2b unit)
{
    std::memcpy(text + 2 * i, &unit, sizeof unit);
}

// `unicodeAt` gives the Unicode value of a source character, kNoCharacter where it has none.
template <class UnicodeAt>
std::size_t ToBytes(const KoCodeSet& to, unsigned char* target, std::size_t count,
                    UnicodeAt unicodeAt)
{
    std::size_t replaced = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const o_u2b unicode = unicodeAt(i);
        const unsigned char byte = KoCodeSetTables::ByteFor(to, unicode);
        const bool lacks = byte == 0 && unicode != 0;
        target[i] = lacks ? kReplacement : byte;
        replaced += lacks;
    }
    return replaced;
}

std::size_t ToUnits(const KoCodeSet& from, unsigned char* target, const unsigned char* source,
                    std::size_t count)
{
    const o_u2b* const table = from.UnicodeTable();
    std::size_t replaced = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const o_u2b unicode = table[source[i]];
        const bool lacks = unicode == kNoCharacter;
        SetUnit(target, i, lacks ? kReplacement : unicode);
        replaced += lacks;
    }
    return replaced;
}

void CopyUnits(unsigned char* target, const unsigned char* source, std::size_t count, bool swapped)
{
    if (!swapped) {
        std::memmove(target, source, 2 * count);
        return;
    }
    for (std::size_t i = 0; i < count; ++i)
        SetUnit(target, i, Swapped(UnitAt(source, i)));
}

// 0 is the native code set. 255 and the other 16-bit identifiers keep their width: a caller who
// sizes buffers by KoCodeSetWidth must never meet a code set of another width here.
const KoCodeSet& ForConversion(unsigned char codeSet)
{
    return KoCodeSetTables::Of(codeSet == KoCS_NONE ? KoLanguageContext::GetNativeCodeSet()
                                                    : codeSet);
}

} // namespace

std::size_t KoConvertText(void* target, unsigned char targetCodeSet, const void* source,
                          unsigned char sourceCodeSet, std::size_t count, bool swapped) noexcept
{
    if (count == 0)
        return 0;
    const KoCodeSet& from = ForConversion(sourceCodeSet);
    const KoCodeSet& to = ForConversion(targetCodeSet);
    auto* const out = static_cast<unsigned char*>(target);
    const auto* const in = static_cast<const unsigned char*>(source);
    if (from.Width() == 2 && to.Width() == 2) {
        CopyUnits(out, in, count, swapped);
        return 0;
    }
    if (&from == &to) {
        std::memmove(out, in, count);
        return 0;
    }
    if (to.Width() == 2)
        return ToUnits(from, out, in, count);
    if (from.Width() == 1)
        return ToBytes(to, out, count,
                       [in, table = from.UnicodeTable()](std::size_t i) { return table[in[i]]; });
    if (swapped)
        return ToBytes(to, out, count, [in](std::size_t i) { return Swapped(UnitAt(in, i)); });
    return ToBytes(to, out, count, [in](std::size_t i) { return UnitAt(in, i); });
}
