#include "collation/sort_key.h"

#include "collation/keyed_text.h"
#include "collation/sort_key_ascii.h"
#include "collation/sort_key_gaps.h"

#include <atomic>

// Writing sort keys. The codes of what is not skipped come first, so gaps wait in a buffer beside,
// or, of a long text, are written when the text is walked along once more.

namespace ko
{

namespace
{

using sortkey::Code;

// What the tables hold beside codes.
constexpr Code kUnknown = 0;
constexpr Code kSkipped = 0x0E; ///< the order in bits 8 and up
constexpr Code kByRules = 0x0F;

/// What of a text's orders counts.
struct Mode {
    unsigned form; ///< see FormOf
    bool skipsSpaces, skipsSymbols;

    Mode(const KoText& text, o_u2b cmpOp)
        : form(sortkey::FormOf(cmpOp, HasFastKeys(text) ? 0 : KoVARIANT_IDEOGRAPHIC)),
          skipsSpaces((cmpOp & KoCMP_SKIP_SPACES) != 0),
          skipsSymbols((cmpOp & KoCMP_SKIP_SYMBOLS) != 0)
    {
    }
    bool IsIdeographic() const { return form == sortkey::kIdeographicForm; }
    /// A space or symbol is as if it were not there.
    bool Drops(o_u2b order) const { return order < KoORDER_SYMBOL ? skipsSpaces : skipsSymbols; }
};

/// Entries for the characters below U+0200, filled as they are asked for: two threads that meet
/// here write the same.
constexpr unsigned kTableEnd = 0x200;
std::atomic<Code> s_entries[sortkey::kForms][kTableEnd];

constexpr bool IsSkipped(o_u2b order)
{
    return order < KoORDER_DIGIT;
}

/// One code for all orders of a character, none of which is skipped, if it has room.
Code CodeOfAll(const o_u2b* orders, unsigned count, unsigned form)
{
    o_u8b all = 0;
    unsigned length = 0;
    for (unsigned i = 0; i < count; ++i) {
        const Code code = IsSkipped(orders[i]) ? kByRules : sortkey::CodeOf(orders[i], form);
        if (code == kByRules || length + sortkey::BytesOf(code) > 3)
            return kByRules;
        all |= o_u8b{code >> 8U} << 8 * length;
        length += sortkey::BytesOf(code);
    }
    return static_cast<Code>(all << 8U | count << 4U | length);
}

[[gnu::noinline]] Code FindEntry(unsigned character, unsigned form)
{
    const KoCodeSet& codeSet = *KoLanguageContext::QueryCodeSet(KoCS_UNICODE);
    o_u2b orders[3];
    const unsigned count = codeSet.GetOrders(static_cast<o_u2b>(character), orders);
    const Code entry = count == 1 && IsSkipped(orders[0]) ? kSkipped | o_u4b{orders[0]} << 8U
                                                          : CodeOfAll(orders, count, form);
    s_entries[form][character].store(entry, std::memory_order_relaxed);
    return entry;
}

/// The characters of a text, in turn.
template <class Unit>
class Characters
{
public:
    explicit Characters(const KoText& text)
        : m_codeSet(&CodeSetOf(text)), m_unicode(m_codeSet->UnicodeTable()), m_bytes(text.bytes),
          m_units(text.units), m_swapped(text.IsSwapped())
    {
    }

    unsigned Units() const { return m_units; }
    o_u2b operator[](unsigned index) const
    {
        if constexpr (sizeof(Unit) == 1)
            return static_cast<unsigned char>(m_bytes[index]);
        o_u2b unit;
        std::memcpy(&unit, m_bytes + std::size_t{index} * 2, sizeof unit);
        return m_swapped ? static_cast<o_u2b>(unit << 8U | unit >> 8U) : unit;
    }
    /// `entries` is the row of the table for the form.
    Code Entry(o_u2b character, unsigned form, const std::atomic<Code>* entries) const
    {
        const unsigned unicode = sizeof(Unit) == 1 ? m_unicode[character] : character;
        if (unicode >= kTableEnd)
            return unicode < KoORDER_DIGIT ? kSkipped | unicode << 8U : kByRules;
        const Code entry = entries[unicode].load(std::memory_order_relaxed);
        return entry != kUnknown ? entry : FindEntry(unicode, form);
    }
    unsigned Orders(o_u2b character, o_u2b (&orders)[3]) const
    {
        return m_codeSet->GetOrders(character, orders);
    }

private:
    const KoCodeSet* m_codeSet;
    const o_u2b* m_unicode;
    const char* m_bytes;
    unsigned m_units;
    bool m_swapped;
};

/// Calls `put(code)` and `skip(order)` along a text.
template <class Unit, class Put, class Skip>
[[gnu::always_inline]] inline void Walk(const Characters<Unit>& given, const Mode& mode, Put put,
                                        Skip skip)
{
    const Characters<Unit> text = given; // in registers: the bytes of the key might be anything
    const unsigned form = mode.form;
    const std::atomic<Code>* const entries = s_entries[form];
    for (unsigned i = 0; i < text.Units(); ++i) {
        const o_u2b character = text[i];
        if (character == 0)
            break;
        const Code entry = text.Entry(character, form, entries);
        const unsigned kind = sortkey::BytesOf(entry);
        if (kind < kSkipped) [[likely]] {
            put(entry);
            continue;
        }
        o_u2b orders[3] = {static_cast<o_u2b>(entry >> 8U)};
        const unsigned count = kind == kSkipped ? 1 : text.Orders(character, orders);
        for (unsigned j = 0; j < count; ++j) {
            if (!IsSkipped(orders[j]))
                put(sortkey::CodeOf(orders[j], form));
            else if (!mode.Drops(orders[j]))
                skip(orders[j]);
        }
    }
}

template <class Work>
unsigned WithCharacters(const KoText& text, Work work)
{
    return text.Width() == 1 ? work(Characters<o_u1b>(text)) : work(Characters<o_u2b>(text));
}

// ---- short texts

constexpr unsigned kMostShort = 64;
// A character has at most three orders, an order at most three bytes, or four as a gap of its own
// and now and then three more after many empty gaps.
constexpr unsigned kShortCodes = 1 + 9 * kMostShort + 1 + 3;
constexpr unsigned kShortGaps = 4 * kMostShort + 16;

void CopyInto(void* key, unsigned room, const unsigned char* bytes, unsigned length,
              unsigned offset = 0)
{
    if (offset < room)
        std::memcpy(static_cast<unsigned char*>(key) + offset, bytes,
                    std::min(length, room - offset));
}

// ---- long ones, and all that is rare

template <class Unit>
void WriteLongGaps(const Characters<Unit>& text, const Mode& mode, sortkey::Bounded& out)
{
    sortkey::Gaps<sortkey::Bounded> gaps(out);
    unsigned orders = 0;
    Walk(
        text, mode, [&orders](Code code) { orders += sortkey::OrdersOf(code); },
        [&](o_u2b order) { gaps.Skip(order, orders); });
    gaps.Finish();
}

/// Writes the key of a text that has nothing but one gap.
template <class Unit>
void WriteLoneGap(const Characters<Unit>& text, const Mode& mode, sortkey::Bounded& out)
{
    out.PutByte(sortkey::kAlone);
    Walk(
        text, mode, [](Code) {}, [&out](o_u2b order) { out.Put(sortkey::CodeOfElement(order)); });
    out.PutByte(sortkey::kLast);
}

template <class Unit>
unsigned WriteLong(const Characters<Unit>& text, const Mode& mode, void* key, unsigned room)
{
    sortkey::Bounded out(key, room);
    if (mode.IsIdeographic())
        out.PutByte(sortkey::kIdeographic);
    const unsigned begin = out.Length();
    bool anyGap = false;
    Walk(
        text, mode, [&out](Code code) { out.Put(code); }, [&anyGap](o_u2b) { anyGap = true; });
    const bool anyCode = out.Length() != begin;
    if (!anyCode) // the variant does not stand in front
        out = sortkey::Bounded(key, room);
    out.PutByte(anyCode && !anyGap ? sortkey::kNoGaps : sortkey::kGaps);
    if (anyGap && !anyCode && mode.IsIdeographic())
        WriteLoneGap(text, mode, out);
    else if (anyGap)
        WriteLongGaps(text, mode, out);
    else if (!anyCode)
        out.PutByte(sortkey::kLast);
    return out.Length();
}

template <class Unit>
unsigned WriteShort(const Characters<Unit>& text, const Mode& mode, void* key, unsigned room)
{
    unsigned char codeBytes[kShortCodes];
    unsigned char gapBytes[kShortGaps];
    sortkey::Unbounded codes(codeBytes);
    sortkey::Unbounded gapCodes(gapBytes);
    sortkey::Gaps<sortkey::Unbounded> gaps(gapCodes);
    if (mode.IsIdeographic())
        codes.PutByte(sortkey::kIdeographic);
    unsigned orders = 0; // that are not skipped
    Walk(
        text, mode,
        [&](Code code) {
            codes.Put(code);
            orders += sortkey::OrdersOf(code);
        },
        [&](o_u2b order) { gaps.Skip(order, orders); });
    if (orders == 0)
        return WriteLong(text, mode, key, room);
    gaps.Finish();
    const unsigned gapLength = gapCodes.Length();
    codes.PutByte(gapLength == 0 ? sortkey::kNoGaps : sortkey::kGaps);
    const unsigned length = codes.Length();
    CopyInto(key, room, codeBytes, length);
    if (gapLength != 0)
        CopyInto(key, room, gapBytes, gapLength, length);
    return length + gapLength;
}

[[gnu::noinline]] unsigned WriteCollated(const KoText& text, const Mode& mode, void* key,
                                         unsigned room)
{
    return WithCharacters(text, [&](const auto& characters) {
        return text.units <= kMostShort ? WriteShort(characters, mode, key, room)
                                        : WriteLong(characters, mode, key, room);
    });
}

/// Null values and plain bytes.
[[gnu::noinline]] unsigned WriteUncollated(const KoText& text, void* key, unsigned room)
{
    sortkey::Bounded out(key, room);
    if (text.IsNull()) {
        out.PutByte(sortkey::kNull);
        return out.Length();
    }
    out.PutByte(sortkey::kIdeographic);
    out.PutByte(sortkey::kIdeographic);
    for (unsigned i = 0; i < text.units && text.bytes[i] != 0; ++i)
        out.PutByte(static_cast<unsigned char>(text.bytes[i]));
    out.PutByte(sortkey::kLast);
    return out.Length();
}

/// The same as WriteAscii where there is less room than it needs.
[[gnu::noinline]] unsigned WriteCutAscii(const KoText& text, const Mode& mode, TextMemory memory,
                                         void* key, unsigned room, SortKeyWay way)
{
    unsigned char bytes[sortkey::AsciiRoom(sortkey::kMostAscii)];
    const unsigned length =
        sortkey::WriteAscii(text, mode.form, !mode.skipsSpaces, memory, bytes, way);
    if (length != 0)
        CopyInto(key, room, bytes, length);
    return length;
}

/// Inline, since a short key is made in little more time than a call with this many arguments.
[[gnu::always_inline]] inline unsigned WriteBy(SortKeyWay way, const KoText& text, o_u2b cmpOp,
                                               void* key, unsigned room, TextMemory memory)
{
    const o_u2b asked = ResolvedCmpOp(cmpOp);
    if (!HasSortKeys(asked))
        return 0;
    if (text.codeSet == KoCS_NONE || text.IsNull())
        return WriteUncollated(text, key, room);
    const Mode mode(text, asked);
    if (text.units <= sortkey::kMostAscii && mode.skipsSpaces == mode.skipsSymbols) {
        const unsigned length =
            room >= sortkey::AsciiRoom(text.units)
                ? sortkey::WriteAscii(text, mode.form, !mode.skipsSpaces, memory,
                                      static_cast<unsigned char*>(key), way)
                : WriteCutAscii(text, mode, memory, key, room, way);
        if (length != 0)
            return length;
    }
    return WriteCollated(text, mode, key, room);
}

} // namespace

bool HasSortKeys(o_u2b cmpOp)
{
    return (ResolvedCmpOp(cmpOp) & (KoCMP_PLAIN | KoCMP_NO_WILDCARDS)) != 0;
}

bool HasWholeSortKeys(o_u2b cmpOp)
{
    constexpr o_u2b kIgnores =
        KoCMP_IGNORE_CASE | KoCMP_IGNORE_ACCENTS | KoCMP_SKIP_SPACES | KoCMP_SKIP_SYMBOLS;
    return HasSortKeys(cmpOp) && (ResolvedCmpOp(cmpOp) & kIgnores) == 0;
}

unsigned WriteSortKeyBy(SortKeyWay way, const KoText& text, o_u2b cmpOp, void* key, unsigned room,
                        TextMemory memory)
{
    return WriteBy(way, text, cmpOp, key, room, memory);
}

SortKeyWay BestSortKeyWay()
{
    return sortkey::BestWay();
}

unsigned WriteSortKey(const KoText& text, o_u2b cmpOp, void* key, unsigned room, TextMemory memory)
{
    static const SortKeyWay s_best = sortkey::BestWay();
    return WriteBy(s_best, text, cmpOp, key, room, memory);
}

} // namespace ko
