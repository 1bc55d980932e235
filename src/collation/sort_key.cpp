#include "collation/sort_key.h"

#include "collation/sort_key_ascii.h"
#include "collation/sort_key_gaps.h"
#include "kofasttext.h"

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
        : form(sortkey::FormOf(cmpOp, KoHasFastKeys(text) ? 0 : KoVARIANT_IDEOGRAPHIC)),
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
        : m_codeSet(&KoCodeSetOf(text)), m_unicode(m_codeSet->UnicodeTable()), m_bytes(text.bytes),
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
    Code Entry(o_u2b character, unsigned form) const
    {
        const unsigned unicode = sizeof(Unit) == 1 ? m_unicode[character] : character;
        if (unicode >= kTableEnd)
            return unicode < KoORDER_DIGIT ? kSkipped | unicode << 8U : kByRules;
        const Code entry = s_entries[form][unicode].load(std::memory_order_relaxed);
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

/// Calls `visit(code)` or `visit.Skip(order)` along a text.
template <class Unit, class Visit>
[[gnu::always_inline]] inline void Walk(const Characters<Unit>& text, const Mode& mode,
                                        Visit& visit)
{
    for (unsigned i = 0; i < text.Units(); ++i) {
        const o_u2b character = text[i];
        if (character == 0)
            break;
        const Code entry = text.Entry(character, mode.form);
        const unsigned kind = sortkey::BytesOf(entry);
        if (kind < kSkipped) [[likely]] {
            visit.Put(entry);
        } else if (kind == kSkipped) {
            if (const auto order = static_cast<o_u2b>(entry >> 8U); !mode.Drops(order))
                visit.Skip(order);
        } else {
            o_u2b orders[3];
            const unsigned count = text.Orders(character, orders);
            for (unsigned j = 0; j < count; ++j) {
                if (!IsSkipped(orders[j]))
                    visit.Put(sortkey::CodeOf(orders[j], mode.form));
                else if (!mode.Drops(orders[j]))
                    visit.Skip(orders[j]);
            }
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
constexpr unsigned kShortCodes = 1 + 9 * kMostShort + 1 + 2;
constexpr unsigned kShortGaps = 4 * kMostShort + 16;

struct ShortKey {
    sortkey::Unbounded codes;
    sortkey::Unbounded gapBytes;
    sortkey::Gaps<sortkey::Unbounded> gaps{gapBytes};

    void Put(Code code)
    {
        codes.Put(code);
        gaps.Pass(sortkey::OrdersOf(code));
    }
    void Skip(o_u2b order) { gaps.Skip(order); }
};

void CopyInto(void* key, unsigned room, const unsigned char* bytes, unsigned length,
              unsigned offset = 0)
{
    if (offset < room)
        std::memcpy(static_cast<unsigned char*>(key) + offset, bytes,
                    std::min(length, room - offset));
}

// ---- long ones, and all that is rare

struct LongCodes {
    sortkey::Bounded& out;
    bool anySkipped = false;

    void Put(Code code) { out.Put(code); }
    void Skip(o_u2b) { anySkipped = true; }
};

struct LongGaps {
    sortkey::Gaps<sortkey::Bounded> gaps;

    void Put(Code code) { gaps.Pass(sortkey::OrdersOf(code)); }
    void Skip(o_u2b order) { gaps.Skip(order); }
};

/// Of a text that has nothing but one gap.
struct LoneGap {
    sortkey::Bounded& out;

    void Put(Code) {}
    void Skip(o_u2b order) { out.Put(sortkey::CodeOfElement(order)); }
};

template <class Unit>
unsigned WriteLong(const Characters<Unit>& text, const Mode& mode, void* key, unsigned room)
{
    sortkey::Bounded out(key, room);
    if (mode.IsIdeographic())
        out.PutByte(sortkey::kIdeographic);
    const unsigned begin = out.Length();
    LongCodes codes{out};
    Walk(text, mode, codes);
    if (out.Length() == begin) { // no codes: what stands there yet is not the key
        out = sortkey::Bounded(key, room);
        out.PutByte(sortkey::kGaps);
        if (codes.anySkipped && mode.IsIdeographic()) {
            out.PutByte(sortkey::kAlone);
            LoneGap alone{out};
            Walk(text, mode, alone);
        }
        if (!codes.anySkipped || mode.IsIdeographic()) {
            out.PutByte(sortkey::kLast);
            return out.Length();
        }
    } else {
        out.PutByte(codes.anySkipped ? sortkey::kGaps : sortkey::kNoGaps);
    }
    if (codes.anySkipped) {
        LongGaps gaps{sortkey::Gaps<sortkey::Bounded>(out)};
        Walk(text, mode, gaps);
        gaps.gaps.Finish();
    }
    return out.Length();
}

template <class Unit>
unsigned WriteShort(const Characters<Unit>& text, const Mode& mode, void* key, unsigned room)
{
    unsigned char codes[kShortCodes];
    unsigned char gaps[kShortGaps];
    ShortKey bytes{sortkey::Unbounded(codes), sortkey::Unbounded(gaps)};
    if (mode.IsIdeographic())
        bytes.codes.PutByte(sortkey::kIdeographic);
    const unsigned begin = bytes.codes.Length();
    Walk(text, mode, bytes);
    bytes.gaps.Finish();
    if (bytes.codes.Length() == begin)
        return WriteLong(text, mode, key, room);
    const unsigned gapLength = bytes.gapBytes.Length();
    bytes.codes.PutByte(gapLength == 0 ? sortkey::kNoGaps : sortkey::kGaps);
    const unsigned length = bytes.codes.Length();
    CopyInto(key, room, codes, length);
    if (gapLength != 0)
        CopyInto(key, room, gaps, gapLength, length);
    return length + gapLength;
}

unsigned WriteCollated(const KoText& text, const Mode& mode, void* key, unsigned room)
{
    return WithCharacters(text, [&](const auto& characters) {
        return text.units <= kMostShort ? WriteShort(characters, mode, key, room)
                                        : WriteLong(characters, mode, key, room);
    });
}

/// Null values and plain bytes; 0 for all others.
unsigned WriteUncollated(const KoText& text, void* key, unsigned room)
{
    sortkey::Bounded out(key, room);
    if (text.IsNull()) {
        out.PutByte(sortkey::kNull);
    } else if (text.codeSet == KoCS_NONE) {
        out.PutByte(sortkey::kIdeographic);
        out.PutByte(sortkey::kIdeographic);
        for (unsigned i = 0; i < text.units && text.bytes[i] != 0; ++i)
            out.PutByte(static_cast<unsigned char>(text.bytes[i]));
        out.PutByte(sortkey::kLast);
    }
    return out.Length();
}

} // namespace

bool HasSortKeys(o_u2b cmpOp)
{
    return (KoResolvedCmpOp(cmpOp) & (KoCMP_PLAIN | KoCMP_NO_WILDCARDS)) != 0;
}

bool HasWholeSortKeys(o_u2b cmpOp)
{
    constexpr o_u2b kIgnores =
        KoCMP_IGNORE_CASE | KoCMP_IGNORE_ACCENTS | KoCMP_SKIP_SPACES | KoCMP_SKIP_SYMBOLS;
    return HasSortKeys(cmpOp) && (KoResolvedCmpOp(cmpOp) & kIgnores) == 0;
}

unsigned WriteSortKeyPlain(const KoText& text, o_u2b cmpOp, void* key, unsigned room)
{
    const o_u2b asked = KoResolvedCmpOp(cmpOp);
    if (!HasSortKeys(asked))
        return 0;
    const unsigned uncollated = WriteUncollated(text, key, room);
    return uncollated != 0 ? uncollated : WriteCollated(text, Mode(text, asked), key, room);
}

unsigned WriteSortKey(const KoText& text, o_u2b cmpOp, void* key, unsigned room, TextMemory memory)
{
    const o_u2b asked = KoResolvedCmpOp(cmpOp);
    if (!HasSortKeys(asked))
        return 0;
    if (const unsigned uncollated = WriteUncollated(text, key, room); uncollated != 0)
        return uncollated;
    const Mode mode(text, asked);
    if (text.units <= sortkey::kMostAscii && mode.skipsSpaces == mode.skipsSymbols) {
        unsigned char bytes[sortkey::kAsciiRoom];
        const unsigned length =
            sortkey::WriteAscii(text, mode.form, !mode.skipsSpaces, memory, bytes);
        if (length != 0) {
            CopyInto(key, room, bytes, length);
            return length;
        }
    }
    return WriteCollated(text, mode, key, room);
}

} // namespace ko
