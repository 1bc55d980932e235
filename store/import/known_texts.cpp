#include "import/known_texts.h"

#include <utility>

namespace ko::store::inner
{

KnownTexts::Text* KnownTexts::Add(std::uint32_t hash, std::string_view text, std::string_view form)
{
    constexpr std::size_t kLongest = 64;
    if (text.size() > kLongest || form.size() > 4 * kLongest)
        return nullptr;
    ++m_adds;
    const bool isCrowded = m_filled * 4 > m_texts.size();
    const std::size_t end = m_end + text.size() + form.size();
    if (end > m_memory / 2 || (isCrowded && !MayGrow()))
        TakeMemory();
    if (end > m_memory / 2) {
        // What is in use is known again soon; what is not makes room.
        m_texts.assign(m_texts.size(), Text());
        m_filled = 0;
        m_end = 1;
    } else if (isCrowded && MayGrow()) {
        Grow();
    }
    Text& known = PlaceFor(hash);
    m_filled += known.at == 0 ? 1 : 0;
    known = {hash,
             static_cast<std::uint32_t>(m_end),
             static_cast<std::uint16_t>(text.size()),
             static_cast<std::uint16_t>(form.size()),
             {}};
    m_bytes.resize(m_end);
    m_bytes.append(text).append(form);
    m_end = m_bytes.size();
    m_bytes.append(kCopySlack, '\0');
    return &known;
}

/// The place for a new text: what came last is found with the first look, and what both places had
/// for the longest time is forgotten.
KnownTexts::Text& KnownTexts::PlaceFor(std::uint32_t hash)
{
    Text& first = m_texts[hash & m_mask];
    Text& second = m_texts[(hash & m_mask) ^ 1];
    if (first.at == 0)
        return first;
    if (second.at != 0)
        second = first;
    else
        return second;
    return first;
}

/// Doubles the memory where that pays: many texts come again, but many of these are forgotten by
/// then. Where next to none comes again, as in a column of keys, none would with twice the memory.
void KnownTexts::TakeMemory()
{
    if (m_finds < m_texts.size())
        return;
    const bool pays = m_adds > m_finds / 16 && m_finds - m_adds > m_finds / 8;
    m_finds = 0;
    m_adds = 0;
    if (pays && *m_more >= m_memory) {
        *m_more -= m_memory;
        m_memory *= 2;
    }
}

void KnownTexts::Grow()
{
    const std::vector<Text> before = std::exchange(m_texts, std::vector<Text>(m_texts.size() * 2));
    m_mask = m_texts.size() - 1;
    m_filled = 0;
    for (const Text& known : before) {
        if (known.at == 0)
            continue;
        Text& place = PlaceFor(known.hash);
        m_filled += place.at == 0 ? 1 : 0;
        place = known;
    }
}

} // namespace ko::store::inner
