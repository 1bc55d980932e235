#include "object/store_memory.h"

#include "object/fingerprint.h"

#include <algorithm>

namespace ko::store::inner
{

Described::Described(std::string_view sealed, const std::string& store)
    : m_sealed(sealed), m_description(Description::Read(sealed, store)),
      m_layout(LayoutOf(m_description.schema))
{
}

bool Described::IndexesServe() const
{
    std::call_once(m_ordered, [&] {
        const auto& attributes = m_description.schema.attributes;
        m_indexesServe = std::none_of(attributes.begin(), attributes.end(),
                                      [](const Attribute& attribute) { return attribute.index; }) ||
                         FingerprintOfOrder(m_description.schema) == m_description.order;
    });
    return m_indexesServe;
}

std::shared_ptr<const Described> StoreMemory::Describe(std::string_view sealed,
                                                       const std::string& store)
{
    const std::lock_guard guard(m_mutex);
    if (!m_described || !m_described->Is(sealed))
        m_described = std::make_shared<const Described>(sealed, store);
    return m_described;
}

KeptTexts StoreMemory::Texts(std::size_t attribute, std::uint32_t row) const
{
    const std::lock_guard guard(m_mutex);
    const auto at = m_texts.find({attribute, row});
    return at != m_texts.end() ? at->second : KeptTexts();
}

void StoreMemory::Keep(std::size_t attribute, std::uint32_t row, const KeptTexts& texts)
{
    const std::lock_guard guard(m_mutex);
    KeptTexts& kept = m_texts[{attribute, row}];
    if (kept.texts.Count() < texts.texts.Count())
        kept = texts;
}

} // namespace ko::store::inner
