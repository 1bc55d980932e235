#include "object/store_memory.h"

#include "object/fingerprint.h"

#include <algorithm>

namespace ko::store::inner
{

namespace
{

/// Of so many blocks it is remembered that their checksums are right.
constexpr std::uint64_t kProvedBlocks = 1U << 24;

} // namespace

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

ProvedBlocks::ProvedBlocks(std::uint64_t moment, std::uint64_t blocks)
    : m_moment(moment), m_words(std::min(blocks, kProvedBlocks) / kBits + 1)
{
}

std::shared_ptr<const Described> StoreMemory::Describe(std::string_view sealed,
                                                       const std::string& store)
{
    const std::lock_guard guard(m_mutex);
    if (!m_described || !m_described->Is(sealed))
        m_described = std::make_shared<const Described>(sealed, store);
    return m_described;
}

std::shared_ptr<const Counts> StoreMemory::Count(std::string_view sealed, std::size_t attributes,
                                                 const std::string& store)
{
    const std::lock_guard guard(m_mutex);
    if (!m_counts || m_sealedCounts != sealed || m_counts->texts.size() != attributes) {
        m_counts = std::make_shared<const Counts>(Counts::Read(sealed, attributes, store));
        m_sealedCounts = sealed;
    }
    return m_counts;
}

std::shared_ptr<ProvedBlocks> StoreMemory::Proved(std::uint64_t moment, std::uint64_t blocks)
{
    const std::lock_guard guard(m_mutex);
    if (!m_proved || m_proved->Moment() != moment)
        m_proved = std::make_shared<ProvedBlocks>(moment, blocks);
    return m_proved;
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
