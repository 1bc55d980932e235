#include "character/character_text.h"

#include <algorithm>
#include <utility>

// Places in a text, and the operations on its characters.

using namespace ko;

KoStringIterator::KoStringIterator(const void* text, std::size_t bytes, unsigned char codeSet,
                                   unsigned char language, unsigned char format)
    : m_codeSetObject(&CodeSetOf(codeSet)), m_codeSet(codeSet),
      m_language(OrDefault(language, KoString::GetDefaultLanguage)),
      m_variant(m_codeSetObject->GetVariant(m_language)), m_format(format),
      m_position(static_cast<char*>(const_cast<void*>(text))), m_begin(m_position),
      m_end(m_position + bytes)
{
}

KoStringIterator::KoStringIterator(KoString& s) : KoStringIterator(std::as_const(s))
{
    m_readOnly = false;
}

KoStringIterator::KoStringIterator(const KoString& s)
    : KoStringIterator(s.StrGet(), std::size_t{s.Len()} * s.Width(), s.CodeSet(), s.Language(),
                       KoFMT_MEMORY)
{
    m_readOnly = true;
}

KoStringIterator::KoStringIterator(KoChar& c)
    : KoStringIterator(c.Place(), c.Width(), c.CodeSet(), c.Language(), c.Format())
{
}

KoStringIterator::KoStringIterator(const char* text, unsigned char codeSet, unsigned char language,
                                   unsigned char format)
    : KoStringIterator(text, 0, OrDefault(codeSet, KoString::GetDefault8CodeSet), language,
                       format == 255 ? static_cast<unsigned char>(KoFMT_LITTLE) : format)
{
    if (text != nullptr)
        m_end = nullptr;
}

KoStringIterator::KoStringIterator(const unsigned short* text, unsigned char codeSet,
                                   unsigned char language, unsigned char format)
    : KoStringIterator(reinterpret_cast<const char*>(text),
                       OrDefault(codeSet, KoString::GetDefault16CodeSet), language, format)
{
}

/// The code of the current character, 0 at the end.
unsigned short KoStringIterator::Current() const
{
    return m_position == m_end ? o_u2b{} : CodeAt(m_position, m_codeSet, m_format);
}

KoChar KoStringIterator::operator*() const
{
    const unsigned short code = Current();
    if (code == 0 || m_readOnly)
        return {KoChar::NoDefaults{}, code, m_codeSet, m_language};
    return {m_position, m_codeSet, m_language, m_format};
}

KoStringIterator& KoStringIterator::operator++()
{
    SetOverflow(nullptr, 0);
    if (Current() != 0)
        m_position += KoCodeSetWidth(m_codeSet);
    return *this;
}

KoStringIterator& KoStringIterator::operator--()
{
    SetOverflow(nullptr, 0);
    if (m_position != m_begin)
        m_position -= KoCodeSetWidth(m_codeSet);
    return *this;
}

KoStringIterator KoStringIterator::operator++(int)
{
    const KoStringIterator before = *this;
    ++*this;
    return before;
}

KoStringIterator KoStringIterator::operator--(int)
{
    const KoStringIterator before = *this;
    --*this;
    return before;
}

unsigned short KoStringIterator::Step(unsigned short n)
{
    unsigned short done = 0;
    SetOverflow(nullptr, 0);
    for (; done < n && Current() != 0; ++done)
        ++*this;
    return done;
}

bool KoStringIterator::operator==(const KoStringIterator& other) const
{
    return m_position == other.m_position &&
           m_overflow.count - m_pending == other.m_overflow.count - other.m_pending;
}

unsigned short KoStringIterator::GetNextOrder(unsigned short advance)
{
    if (m_pending < m_overflow.count) {
        const o_u2b order = m_overflow.orders[m_pending];
        m_pending = static_cast<o_u1b>(m_pending + (advance != 0 ? 1 : 0));
        return order;
    }
    KoWCharList list = {};
    list.count = static_cast<o_u1b>(m_codeSetObject->GetOrders(Current(), list.orders));
    if (list.count == 0)
        return 0;
    if (advance != 0) {
        ++*this;
        SetOverflow(&list, 1);
    }
    return list.orders[0];
}

void KoStringIterator::SetOverflow(const KoWCharList* list, unsigned char taken)
{
    m_overflow = list == nullptr ? KoWCharList{} : *list;
    m_overflow.count = std::min(m_overflow.count, o_u1b{KoWCharList::kMost});
    m_pending = std::min<o_u1b>(taken, m_overflow.count);
}

void KoStringIterator::Transform(KoStringIterator& target, KoCharOperation& operation)
{
    SetOverflow(nullptr, 0);
    target.SetOverflow(nullptr, 0);
    for (; !IsEOS() && !target.IsEOS(); ++*this, ++target) {
        const KoChar input = **this;
        KoChar result(input);
        KoStringIterator at(*this);
        const KoChar& filled = operation.Apply(result, input, at);
        if (filled.Code() != 0)
            *target = filled;
    }
}

KoChar& KoCharToLower::Apply(KoChar& result, const KoChar& input, KoStringIterator& at)
{
    return result = input.ToLower(&at);
}

KoChar& KoCharToUpper::Apply(KoChar& result, const KoChar& input, KoStringIterator& at)
{
    return result = input.ToUpper(&at);
}
