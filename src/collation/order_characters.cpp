#include "collation/order_characters.h"

#include <kointl.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace ko
{

namespace
{

// Orders from here on are those of bytes that their code set leaves undefined.
constexpr unsigned kUndefined = 256;
/// The first order of U+FFFF and of the private-use characters whose orders other ones have.
constexpr o_u2b kLead = 0xFFFF;

struct Entry {
    o_u2b order, character;
    bool operator<(const Entry& other) const { return order < other.order; }
};

/// Characters whose first order is not their value, by that order. They stand on few pages.
struct Inverse {
    // 512 characters below U+0200, and 389 each that moved and that made room.
    std::array<Entry, 1536> entries{};
    std::size_t count = 0;

    Inverse()
    {
        const KoCodeSet& unicode = *KoLanguageContext::QueryCodeSet(KoCS_UNICODE);
        for (unsigned page = 0; page < 256; ++page) {
            const o_u2b* const orders = unicode.Orders(static_cast<unsigned char>(page));
            for (unsigned low = 0; orders != nullptr && low < 256; ++low) {
                const auto character = static_cast<o_u2b>(page << 8U | low);
                if (orders[low] != character && orders[low] != kLead && count < entries.size())
                    entries[count++] = {orders[low], character};
            }
        }
        std::sort(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(count));
    }

    o_u2b CharacterOf(o_u2b order) const
    {
        const auto end = entries.begin() + static_cast<std::ptrdiff_t>(count);
        const auto found = std::lower_bound(entries.begin(), end, Entry{order, 0});
        return found != end && found->order == order ? found->character : order;
    }
};

const KoCodeSet& Unicode()
{
    return *KoLanguageContext::QueryCodeSet(KoCS_UNICODE);
}

} // namespace

CharactersOfOrders::Step CharactersOfOrders::TakeFirst(o_u2b order, OrderedCharacter& character)
{
    static const Inverse s_inverse;
    character = {s_inverse.CharacterOf(order), false};
    if (order == kLead) {
        m_orders[0] = kLead;
        m_count = 2;
        m_taken = 1;
        return Step::kGoesOn; // the second order is the character
    }
    m_count = Unicode().GetOrders(character.character, m_orders);
    if (m_count == 0 || m_orders[0] != order) {
        const unsigned byte = order - kUndefined;
        character = {static_cast<o_u2b>(byte), true};
        return order >= kUndefined + 0x80 && byte < 256 ? Step::kCharacter : Step::kNone;
    }
    if (m_count == 1)
        return Step::kCharacter;
    m_character = character.character;
    m_taken = 1;
    return Step::kGoesOn;
}

CharactersOfOrders::Step CharactersOfOrders::Take(o_u2b order, OrderedCharacter& character)
{
    if (m_taken == 0)
        return TakeFirst(order, character);
    if (m_orders[0] == kLead) {
        m_character = order;
        if (Unicode().GetOrders(order, m_orders) != 2 || m_orders[0] != kLead)
            return Step::kNone;
    }
    if (order != m_orders[m_taken])
        return Step::kNone;
    if (++m_taken < m_count)
        return Step::kGoesOn;
    m_taken = 0;
    character = {m_character, false};
    return Step::kCharacter;
}

} // namespace ko
