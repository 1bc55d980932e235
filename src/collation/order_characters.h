#ifndef KO_COLLATION_ORDER_CHARACTERS_H
#define KO_COLLATION_ORDER_CHARACTERS_H

#include <koscalar.h>

namespace ko
{

/// The way from collation orders back to the characters that have them.
/// A character by its orders. `character` is a 16-bit Unicode unit, or, with `undefined`, a byte
/// that its 8-bit code set leaves undefined.
struct OrderedCharacter {
    o_u2b character = 0;
    bool undefined = false;
};

/// Takes the orders of a text and gives its characters.
class CharactersOfOrders
{
public:
    enum class Step {
        kGoesOn,    ///< the character has more orders
        kCharacter, ///< a character is complete
        kNone,      ///< no text has these orders
    };

    /// The next order.
    Step Take(o_u2b order, OrderedCharacter& character);
    /// No character is begun and not complete.
    bool IsComplete() const { return m_taken == 0; }

private:
    Step TakeFirst(o_u2b order, OrderedCharacter& character);

    o_u2b m_character = 0;
    o_u2b m_orders[3] = {}; ///< of the character that is begun, as far as it is known
    unsigned m_count = 0;
    unsigned m_taken = 0; ///< orders of it
};

} // namespace ko

#endif
