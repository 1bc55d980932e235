#include "collation/orders.h"

// The orders of characters that expand, and the wildcards of the process.

namespace ko
{

o_u2b OrderReader::NextPending()
{
    const o_u2b order = m_pending[0];
    m_pending[0] = m_pending[1];
    m_pending[1] = 0;
    --m_limit;
    return order;
}

o_u2b OrderReader::Expand(o_u2b character)
{
    o_u2b orders[3];
    m_codeSet->GetOrders(character, orders);
    m_pending[0] = orders[1];
    m_pending[1] = orders[2];
    return orders[0];
}

namespace
{

std::atomic<o_u2b> s_wildcards[3]; // 0 until it is needed

constexpr char kDefaultWildcards[] = {'*', '?', '\\'};

o_u2b DefaultWildcard(unsigned index)
{
    const auto character = static_cast<o_u2b>(kDefaultWildcards[index]);
    return KoLanguageContext::QueryCodeSet(KoCS_LATIN1)->GetOrder(character);
}

/// Two threads that meet here write the same.
o_u2b Wildcard(unsigned index)
{
    o_u2b order = s_wildcards[index].load(std::memory_order_relaxed);
    if (order == 0) {
        order = DefaultWildcard(index);
        s_wildcards[index].store(order, std::memory_order_relaxed);
    }
    return order;
}

} // namespace

std::atomic<bool> WildcardSet::s_replaced;

WildcardSet WildcardSet::Current()
{
    return {Wildcard(0), Wildcard(1), Wildcard(2)};
}

void WildcardSet::Replace(Which which, o_u2b order)
{
    s_wildcards[which].store(order, std::memory_order_relaxed);
    bool replaced = false;
    for (unsigned i = 0; i < 3; ++i)
        replaced = replaced || Wildcard(i) != DefaultWildcard(i);
    s_replaced.store(replaced, std::memory_order_relaxed);
}

} // namespace ko
