#include "collation/order_characters.h"
#include "collation/sort_key.h"
#include "collation/sort_key_code.h"
#include "kocollator.h"

#include <cstring>

// Reading sort keys. What is read is what would be written: every code is made again from its order
// and compared, and of every choice that the form leaves only the writer's is taken.

namespace ko
{

namespace
{

using sortkey::Code;

constexpr int kRefused = -1;

/// Bytes that may end anywhere.
struct Bytes {
    const unsigned char* at;
    unsigned left;

    /// The next byte, 256 at the end.
    unsigned Peek(unsigned offset = 0) const { return offset < left ? at[offset] : 256; }
    void Skip(unsigned count)
    {
        at += count;
        left -= count;
    }
    /// The number in the two bytes from `offset` on.
    unsigned Word(unsigned offset) const { return Peek(offset) << 8U | Peek(offset + 1); }
    bool BeginsWith(Code code) const
    {
        for (unsigned i = 0; i < sortkey::BytesOf(code); ++i)
            if (Peek(i) != (code >> (8 * i + 8) & 0xFFU))
                return false;
        return true;
    }
};

/// An order that would have the code at the beginning of the bytes, if any order has. What stands
/// behind a lead may be anything, the end too.
unsigned GuessDigit(const Bytes& bytes)
{
    const unsigned lead = bytes.Peek() - 2;
    return sortkey::kDigits + lead / 2 * 10 + (lead % 2 == 0 ? 0 : bytes.Peek(1));
}

unsigned GuessOrder(const Bytes& bytes)
{
    const unsigned lead = bytes.Peek();
    if (lead < 0x15)
        return GuessDigit(bytes);
    const auto letter = [](unsigned base, unsigned marks) {
        return sortkey::kLetters | base | marks << 7U;
    };
    if (lead == 0x15 || lead == 0x7E) {
        const unsigned first = lead == 0x15 ? sortkey::kLetters - sortkey::kBehindDigits : 0;
        const unsigned rank = bytes.Word(1);
        if (rank < first)
            return sortkey::kBehindDigits + rank;
        const unsigned offset = rank - first;
        const unsigned base = lead == 0x15 ? 0 : sortkey::kBehindBases;
        return letter(base + offset / 128 % 128, offset % 128);
    }
    if (lead >= 0x7F)
        return (lead + 1) << 8U | (bytes.Peek(1) & 0xFFU);
    const unsigned base = sortkey::kFirstBase + (lead - 0x16) / 4 * 4;
    const unsigned second = bytes.Peek(1);
    switch ((lead - 0x16) % 4) {
    case 0:
        return letter(base, 0);
    case 1:
        return letter(base, second & 0x7FU);
    case 2:
        return letter(base, 32);
    default:
        if (second < 0x20)
            return letter(base, 32 + second);
        const unsigned rank = 64 + bytes.Word(1) - 0x2000;
        return letter(base + rank / 128 % 4, rank % 128);
    }
}

unsigned GuessPlainLetter(const Bytes& bytes, unsigned firstLead, unsigned firstOrder)
{
    const unsigned offset = bytes.Peek() - firstLead;
    return firstOrder + offset / 2 * 4 + (offset % 2 == 0 ? 0 : bytes.Peek(1));
}

unsigned GuessIdeographic(const Bytes& bytes)
{
    const unsigned lead = bytes.Peek();
    const unsigned low = bytes.Peek(1) & 0xFFU;
    if (lead < 0x15)
        return GuessDigit(bytes);
    if (lead == 0x15)
        return sortkey::kBehindDigits + bytes.Peek(1);
    if (lead < 0x49)
        return GuessPlainLetter(bytes, 0x16, sortkey::kCapitals);
    if (lead == 0x49 || lead == 0xD0 || lead == 0xFD)
        return bytes.Word(1);
    if (lead < 0x4D)
        return (lead - 0x4A + 0x4E) << 8U | low;
    if (lead < 0x80)
        return GuessPlainLetter(bytes, 0x4D, sortkey::kSmalls);
    if (lead < 0xD0)
        return (lead - 0x80 + 0x50) << 8U | low;
    return lead == 0xFE ? 0xFF00 | low : (lead - 0xD1 + 0xAC) << 8U | low;
}

/// Takes a code; 0 where there is none.
o_u2b TakeOrder(Bytes& bytes, unsigned form)
{
    if (bytes.Peek() < 0x02 || bytes.Peek() > 0xFE)
        return 0;
    const bool ideographic = form == sortkey::kIdeographicForm;
    const unsigned guess = ideographic ? GuessIdeographic(bytes) : GuessOrder(bytes);
    if (guess < KoORDER_DIGIT || guess > 0xFFFF)
        return 0;
    const auto order = static_cast<o_u2b>(guess);
    const Code code = sortkey::CodeOf(order, form);
    if (!bytes.BeginsWith(code))
        return 0;
    bytes.Skip(sortkey::BytesOf(code));
    return order;
}

/// Takes an element of a gap; 0 where there is none.
o_u2b TakeElement(Bytes& bytes, o_u2b cmpOp)
{
    const unsigned first = bytes.Peek();
    const unsigned order = first < sortkey::kLongElement ? first - 1
                                                         : sortkey::kLongElements + bytes.Word(0) -
                                                               sortkey::kLongElement * 256U;
    if (first < 2 || first > 0xFF || order >= KoORDER_DIGIT)
        return 0;
    const auto element = static_cast<o_u2b>(order);
    const Code code = sortkey::CodeOfElement(element);
    const bool dropped =
        (cmpOp & (order < KoORDER_SYMBOL ? KoCMP_SKIP_SPACES : KoCMP_SKIP_SYMBOLS)) != 0;
    if (dropped || !bytes.BeginsWith(code))
        return 0;
    bytes.Skip(sortkey::BytesOf(code));
    return element;
}

/// Reads gaps, one after another.
class GapReader
{
public:
    GapReader(const Bytes& bytes, o_u2b cmpOp) : m_bytes(bytes), m_cmpOp(cmpOp) {}

    /// Reads the lead of a gap; `alone`: the text has the ideographic variant and no codes. False
    /// where there is none.
    bool ReadLead(bool alone)
    {
        const unsigned lead = m_bytes.Peek();
        if (alone || lead == sortkey::kAfterMany) {
            const unsigned taken = alone ? 1 : 4;
            if (m_bytes.left < taken || (alone && lead != sortkey::kAlone))
                return false;
            m_empty = alone ? 0 : sortkey::kManyEmpty - (m_bytes.Peek(1) << 16U | m_bytes.Word(2));
            m_kind = kAny;
            m_bytes.Skip(taken);
            return alone || m_empty > sortkey::kMostEmpty;
        }
        if (lead > sortkey::LeadOf(0, sortkey::kKinds - 1))
            return false;
        m_empty = sortkey::kMostEmpty - (lead - 1) / sortkey::kKinds;
        m_kind = (lead - 1) % sortkey::kKinds;
        m_bytes.Skip(1);
        return true;
    }
    /// The empty gaps before the one whose lead was read.
    unsigned Empty() const { return m_empty; }

    /// Calls `visit(order)` for what stands in the gap, as long as that gives true.
    template <class Visit>
    bool ReadGap(Visit visit)
    {
        for (const o_u2b single : {sortkey::kBlank, sortkey::kHyphen}) {
            const unsigned kind = sortkey::KindOfSingle(single);
            if (m_kind != kind && m_kind != kind + 1)
                continue;
            m_more = m_kind != kind;
            const bool space = single < KoORDER_SYMBOL;
            return (m_cmpOp & (space ? KoCMP_SKIP_SPACES : KoCMP_SKIP_SYMBOLS)) == 0 &&
                   visit(single);
        }
        unsigned size = 0;
        o_u2b first = 0;
        for (; m_bytes.Peek() > sortkey::kMore; ++size) {
            const o_u2b order = TakeElement(m_bytes, m_cmpOp);
            if (order == 0 || !visit(order))
                return false;
            if (size == 0)
                first = order;
        }
        if (size == 0 || m_bytes.left == 0)
            return false;
        m_more = m_bytes.Peek() == sortkey::kMore;
        m_bytes.Skip(1);
        const bool shortened = size == 1 && sortkey::IsShortAlone(first);
        return m_kind == kAny || (sortkey::KindOf(first) == m_kind && !shortened);
    }
    bool HasMore() const { return m_more; }
    const Bytes& Rest() const { return m_bytes; }

private:
    static constexpr unsigned kAny = sortkey::kKinds;

    Bytes m_bytes;
    o_u2b m_cmpOp;
    unsigned m_empty = 0;
    unsigned m_kind = 0;
    bool m_more = false;
};

/// Calls `visit(order)`, as long as that gives true, for the orders of a text whose key stands at
/// the beginning of the bytes. The bytes of the key; 0 where none stands there.
template <class Visit>
unsigned VisitOrders(const Bytes& key, o_u2b cmpOp, Visit visit)
{
    const bool ideographic = key.Peek() == sortkey::kIdeographic;
    const unsigned form = sortkey::FormOf(cmpOp, ideographic ? KoVARIANT_IDEOGRAPHIC : 0);
    Bytes codes = key;
    codes.Skip(ideographic ? 1 : 0);
    Bytes rest = codes;
    unsigned count = 0;
    for (; rest.Peek() > sortkey::kGaps && rest.left != 0; ++count)
        if (TakeOrder(rest, form) == 0)
            return 0;
    if (rest.left == 0 || (count == 0 && (ideographic || rest.Peek() != sortkey::kGaps)))
        return 0;
    const bool anyGap = rest.Peek() == sortkey::kGaps;
    rest.Skip(1);
    if (count == 0 && rest.Peek() == sortkey::kLast)
        return 2; // the empty text
    const bool alone = count == 0 && rest.Peek() == sortkey::kAlone;
    GapReader gaps(rest, cmpOp);
    if (anyGap && !gaps.ReadLead(alone))
        return 0;
    bool more = anyGap;
    unsigned before = gaps.Empty(); // gaps up to the next one that is not empty
    for (unsigned i = 0;; ++i) {
        if (more && before == 0) {
            if (!gaps.ReadGap(visit))
                return 0;
            more = gaps.HasMore();
            if (more && !gaps.ReadLead(false))
                return 0;
            before = gaps.Empty() + 1;
        }
        if (i == count)
            break;
        --before;
        if (!visit(TakeOrder(codes, form)))
            return 0;
    }
    return more ? 0 : key.left - gaps.Rest().left;
}

/// The length of the key of a text without a code set.
unsigned PlainExtent(const Bytes& key)
{
    constexpr unsigned kTag = 2;
    for (unsigned i = kTag; i < key.left; ++i)
        if (key.at[i] == sortkey::kLast)
            return i + 1;
    return 0;
}

bool IsPlain(const Bytes& key)
{
    return key.Peek() == sortkey::kIdeographic && key.Peek(1) == sortkey::kIdeographic;
}

Bytes BytesAt(const void* bytes, unsigned length)
{
    return {static_cast<const unsigned char*>(bytes), length};
}

/// Calls `visit(character)` for the characters of a text under a word that ignores nothing; see
/// VisitOrders.
template <class Visit>
unsigned VisitCharacters(const Bytes& key, Visit visit)
{
    CharactersOfOrders characters;
    const unsigned taken = VisitOrders(key, KoCMP_PLAIN, [&](o_u2b order) {
        OrderedCharacter character;
        switch (characters.Take(order, character)) {
        case CharactersOfOrders::Step::kGoesOn:
            return true;
        case CharactersOfOrders::Step::kCharacter:
            return visit(character);
        default:
            return false;
        }
    });
    return characters.IsComplete() ? taken : 0;
}

} // namespace

unsigned SortKeyExtent(const void* bytes, unsigned length, o_u2b cmpOp)
{
    const o_u2b asked = KoResolvedCmpOp(cmpOp);
    const Bytes key = BytesAt(bytes, length);
    if (!HasSortKeys(asked) || length == 0)
        return 0;
    if (key.Peek() == sortkey::kNull)
        return 1;
    return IsPlain(key) ? PlainExtent(key) : VisitOrders(key, asked, [](o_u2b) { return true; });
}

int SortKeyReader::Read(const void* bytes, unsigned length, o_u2b cmpOp)
{
    if (!HasWholeSortKeys(cmpOp))
        return KoRC_NOT_SUPPORTED;
    *this = {};
    m_key = static_cast<const unsigned char*>(bytes);
    m_length = length;
    if (length == 0)
        return kRefused;
    m_null = m_key[0] == sortkey::kNull;
    if (m_null) {
        m_taken = 1;
        m_language = KoString::kNullLanguage;
        return KoRC_OK;
    }
    return IsPlain(BytesAt(bytes, length)) ? ReadBytes() : ReadText();
}

int SortKeyReader::ReadBytes()
{
    m_taken = PlainExtent(BytesAt(m_key, m_length));
    if (m_taken == 0)
        return kRefused;
    m_units = m_taken - 3;
    return m_units < KoString::kMaxBytes ? KoRC_OK : kRefused;
}

int SortKeyReader::ReadText()
{
    bool undefined = false;
    m_taken = VisitCharacters(BytesAt(m_key, m_length), [&](const OrderedCharacter& character) {
        ++m_units;
        undefined = undefined || character.undefined;
        return true;
    });
    if (m_taken == 0)
        return kRefused;
    const bool ideographic = m_key[0] == sortkey::kIdeographic ||
                             (m_key[0] == sortkey::kGaps && m_key[1] == sortkey::kAlone);
    m_language = ideographic ? KoLANG_CHINESE : KoLANG_NONE;
    m_codeSet = KoCS_UNICODE;
    if (!undefined && m_units < KoString::kMaxBytes / 2)
        return KoRC_OK;
    if (m_units >= KoString::kMaxBytes)
        return kRefused;
    for (unsigned char codeSet = KoCS_LATIN1; KoCodeSetWidth(codeSet) == 1; ++codeSet)
        if (KoCodeSetOf(codeSet).Id() == codeSet && FitsCodeSet(codeSet)) {
            m_codeSet = codeSet;
            return KoRC_OK;
        }
    return kRefused;
}

bool SortKeyReader::FitsCodeSet(unsigned char codeSet) const
{
    const KoCodeSet& set = KoCodeSetOf(codeSet);
    return VisitCharacters(BytesAt(m_key, m_length), [&set](const OrderedCharacter& character) {
               o_u2b other;
               return character.undefined ? !set.ToUnicode(character.character, other)
                                          : set.FromUnicode(character.character, other);
           }) != 0;
}

void SortKeyReader::CopyTo(char* characters) const
{
    if (m_null)
        return;
    if (m_codeSet == KoCS_NONE) {
        std::memcpy(characters, m_key + 2, m_units);
        return;
    }
    const KoCodeSet& set = KoCodeSetOf(m_codeSet);
    VisitCharacters(BytesAt(m_key, m_length), [&](const OrderedCharacter& found) {
        o_u2b character = found.character;
        if (!found.undefined)
            set.FromUnicode(found.character, character);
        if (set.Width() == 1)
            *characters = static_cast<char>(character);
        else
            std::memcpy(characters, &character, sizeof character);
        characters += set.Width();
        return true;
    });
}

int ReadSortKey(KoString& value, const void* bytes, unsigned length, o_u2b cmpOp, unsigned& taken)
{
    SortKeyReader reader;
    if (const int code = reader.Read(bytes, length, cmpOp); code != KoRC_OK)
        return code;
    if (reader.IsNull()) {
        value.SetNullValue();
        taken = reader.Taken();
        return KoRC_OK;
    }
    KoText text;
    text.codeSet = reader.CodeSet();
    text.language = reader.Language();
    text.units = reader.Units();
    KoString read(text.codeSet, text.language);
    if (text.units != 0) {
        char* const characters =
            static_cast<char*>(KoAlloc(std::size_t{text.units} * text.Width()));
        if (characters == nullptr) {
            KoCallMemoryHandler(std::size_t{text.units} * text.Width());
            return kRefused;
        }
        reader.CopyTo(characters);
        text.bytes = characters;
        KoStringAccess::Set(read, text);
        KoFree(characters);
        if (read.Len() != text.units)
            return kRefused; // out of memory
    }
    value = std::move(read);
    taken = reader.Taken();
    return KoRC_OK;
}

} // namespace ko
