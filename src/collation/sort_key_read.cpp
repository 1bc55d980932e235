#include "collation/order_characters.h"
#include "collation/orders.h"
#include "collation/sort_key.h"
#include "collation/sort_key_parse.h"

#include <cstring>
#include <utility>

// Reading texts back from their sort keys.

namespace ko
{

namespace
{

using sortkey::Bytes;

constexpr int kRefused = -1;

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
    const unsigned taken = sortkey::VisitOrders(key, KoCMP_PLAIN, [&](o_u2b order) {
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
    const o_u2b asked = ResolvedCmpOp(cmpOp);
    const Bytes key = BytesAt(bytes, length);
    if (!HasSortKeys(asked) || length == 0)
        return 0;
    if (key.Peek() == sortkey::kNull)
        return 1;
    return IsPlain(key) ? PlainExtent(key)
                        : sortkey::VisitOrders(key, asked, [](o_u2b) { return true; });
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
        if (CodeSetOf(codeSet).Id() == codeSet && FitsCodeSet(codeSet)) {
            m_codeSet = codeSet;
            return KoRC_OK;
        }
    return kRefused;
}

bool SortKeyReader::FitsCodeSet(unsigned char codeSet) const
{
    const KoCodeSet& set = CodeSetOf(codeSet);
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
    const KoCodeSet& set = CodeSetOf(m_codeSet);
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
        StringAccess::Set(read, text);
        KoFree(characters);
        if (read.Len() != text.units)
            return kRefused; // out of memory
    }
    value = std::move(read);
    taken = reader.Taken();
    return KoRC_OK;
}

} // namespace ko
