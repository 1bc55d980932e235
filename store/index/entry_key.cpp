#include "index/entry_key.h"

#include "base/object_number.h"

#include <algorithm>

namespace ko::store::inner
{

ValueKeys::ValueKeys(std::size_t attribute, const ValueType& type) : m_type(type)
{
    PutBig(m_key, static_cast<std::uint16_t>(attribute));
}

std::string_view ValueKeys::Of(std::string_view form)
{
    return {m_key, form.empty() ? FillAbsent() : Fill(form)};
}

std::size_t ValueKeys::Fill(std::string_view form)
{
    const std::size_t whole =
        Manager().SortKey(m_type.Id(), m_key + kAttributeBytes, static_cast<unsigned>(kMostSortKey),
                          form.data(), kStoreFormat, 1, kPlainOperator);
    return kAttributeBytes + std::min(whole, kMostSortKey);
}

std::size_t ValueKeys::FillAbsent()
{
    if (!m_type.HasNull())
        throw Error(ErrorCode::Damaged,
                    "an object lacks the value of an attribute that has no null");
    if (m_absent.empty()) {
        Value null(m_type);
        null.SetNull();
        null.Store(m_absent);
    }
    return Fill(m_absent);
}

bool EntryKey::Open(std::string_view key)
{
    if (key.size() <= kAttributeBytes + kNumberBytes || key.size() > kMostEntryKey)
        return false;
    valueKey = key.substr(0, key.size() - kNumberBytes);
    first = GetNumber(key.data() + valueKey.size());
    return Attribute() < Schema::kMaxAttributes && first != 0 && first <= kMaxObjectNumber;
}

} // namespace ko::store::inner
