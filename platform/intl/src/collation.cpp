#include "collationtables.h"
#include "kointl.h"
#include <algorithm>

namespace
{

using namespace kocollation;

// The checksum is computed as the generator does it: a table that was edited by hand does not
// compile.
constexpr o_u8b Checksum()
{
    o_u8b value = 0xCBF29CE484222325;
    const auto add = [&value](o_u2b word) {
        value = (value ^ (word >> 8U)) * 0x100000001B3;
        value = (value ^ (word & 0xFFU)) * 0x100000001B3;
    };
    for (unsigned page = 0; page < 256; ++page) {
        for (unsigned low = 0; kPageOf[page] != 0 && low < 256; ++low) {
            const auto character = static_cast<o_u2b>(page << 8 | low);
            const unsigned record = RecordOf(character);
            if (record == 0)
                continue;
            const KoUnicodeProps& props = kProps[record - 1];
            add(character);
            add(props.count);
            for (unsigned i = 0; i < props.count; ++i)
                add(props.orders[i]);
        }
    }
    return value;
}
static_assert(Checksum() == kCollationChecksum, "run gencollation.py");

constexpr std::array<KoUnicodeProps, 256> kUndefined = [] {
    std::array<KoUnicodeProps, 256> all{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        const auto itself = static_cast<o_u2b>(byte);
        all[byte] = {{UndefinedOrder(byte)}, 1, itself, itself};
    }
    return all;
}();

template <class T>
const T* PageOrNull(const Pages<T>& pages, unsigned char page)
{
    return kPageOf[page] == 0 ? nullptr : pages[kPageOf[page]].data();
}

template <std::size_t count>
o_u2b Mapped(const CaseRun (&runs)[count], o_u2b unicode)
{
    const CaseRun* const run =
        std::lower_bound(std::begin(runs), std::end(runs), unicode,
                         [](const CaseRun& r, o_u2b value) { return r.last < value; });
    if (run == std::end(runs) || unicode < run->first || (unicode - run->first) % run->step != 0)
        return unicode;
    return static_cast<o_u2b>(unicode + run->difference);
}

unsigned char Resolved(unsigned char language)
{
    return language == KoLANG_DEFAULT ? KoLanguageContext::GetDefaultLanguage() : language;
}

constexpr o_u2b kDottedCapitalI = 0x130;
constexpr o_u2b kDotlessI = 0x131;

o_u2b UpperOf(o_u2b unicode, unsigned char language)
{
    if (unicode == 'i' && language == KoLANG_TURKISH)
        return kDottedCapitalI;
    return unicode < kBelow ? kProps[unicode].upper : Mapped(kUpperRuns, unicode);
}

o_u2b LowerOf(o_u2b unicode, unsigned char language)
{
    if (unicode == 'I' && language == KoLANG_TURKISH)
        return kDotlessI;
    return unicode < kBelow ? kProps[unicode].lower : Mapped(kLowerRuns, unicode);
}

// A mapping that leaves the code set leaves the character as it is.
template <class Map>
o_u2b MappedWithin(const KoCodeSet& codeSet, o_u2b character, Map map)
{
    o_u2b unicode = 0;
    o_u2b mapped = character;
    if (codeSet.ToUnicode(character, unicode))
        codeSet.FromUnicode(map(unicode), mapped);
    return mapped;
}

} // namespace

const KoUnicodeProps* KoCodeSet::GetUnicodeProps(o_u2b character) const noexcept
{
    o_u2b unicode = 0;
    if (ToUnicode(character, unicode))
        return PropsOf(unicode);
    return character > 0xFF ? nullptr : &kUndefined[character];
}

unsigned KoCodeSet::GetOrders(o_u2b character, o_u2b (&orders)[3]) const noexcept
{
    if (const KoUnicodeProps* const props = GetUnicodeProps(character); props != nullptr) {
        std::copy(std::begin(props->orders), std::end(props->orders), orders);
        return props->count;
    }
    o_u2b unicode = character;
    ToUnicode(character, unicode);
    orders[0] = unicode;
    orders[1] = orders[2] = 0;
    return 1;
}

o_u2b KoCodeSet::GetOrder(o_u2b character) const noexcept
{
    if (const o_u2b* const orders = Orders(static_cast<unsigned char>(character >> 8)); orders)
        return orders[character & 0xFF];
    return character;
}

const o_u2b* KoCodeSet::Orders(unsigned char page) const noexcept
{
    if (m_orders != nullptr)
        return page == 0 ? m_orders : nullptr;
    return PageOrNull(kOrderPages, page);
}

const o_u4b* KoCodeSet::FastKeys(unsigned char page) const noexcept
{
    if (m_fastKeys != nullptr)
        return page == 0 ? m_fastKeys : nullptr;
    return PageOrNull(kKeyPages, page);
}

unsigned char KoCodeSet::GetVariant(unsigned char language) const noexcept
{
    switch (Resolved(language)) {
    case KoLANG_CHINESE:
    case KoLANG_JAPANESE:
    case KoLANG_KOREAN:
        return KoVARIANT_IDEOGRAPHIC;
    default:
        return 0;
    }
}

o_u2b KoCodeSet::ToUpper(o_u2b character, unsigned char language) const noexcept
{
    return MappedWithin(*this, character, [language = Resolved(language)](o_u2b unicode) {
        return UpperOf(unicode, language);
    });
}

o_u2b KoCodeSet::ToLower(o_u2b character, unsigned char language) const noexcept
{
    return MappedWithin(*this, character, [language = Resolved(language)](o_u2b unicode) {
        return LowerOf(unicode, language);
    });
}

o_u4b KoCollationVersion() noexcept
{
    return kCollationVersion;
}

o_u8b KoCollationChecksum() noexcept
{
    return kCollationChecksum;
}

o_u4b KoCaseTablesVersion() noexcept
{
    return kCaseVersion;
}

o_u8b KoCaseTablesChecksum() noexcept
{
    return kCaseChecksum;
}
