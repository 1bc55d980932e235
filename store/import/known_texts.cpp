#include "import/known_texts.h"

#include <utility>

namespace ko::store::inner
{

KnownTexts::Text* KnownTexts::Add(std::uint32_t hash, std::string_view text, std::string_view form)
{
    constexpr std::size_t kLongest = 64;
    if (text.size() > kLongest || form.size() > 4 * kLongest)
        return nullptr;
    if (m_end + text.size() + form.size() > m_memory / 2) {
        // What is in use is known again soon; what is not makes room.
        m_texts.assign(m_texts.size(), Text());
        m_filled = 0;
        m_end = 1;
    } else if (m_filled * 4 > m_texts.size() && m_texts.size() * sizeof(Text) * 4 <= m_memory) {
        Grow();
    }
    Text& known = m_texts[hash & m_mask];
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

void KnownTexts::Grow()
{
    const std::vector<Text> before = std::exchange(m_texts, std::vector<Text>(m_texts.size() * 2));
    m_mask = m_texts.size() - 1;
    for (const Text& known : before) {
        if (known.at != 0)
            m_texts[known.hash & m_mask] = known;
    }
}

} // namespace ko::store::inner
