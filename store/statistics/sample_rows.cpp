#include "statistics/sample_rows.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace ko::store::inner
{

/// Keeps what comes first in the order of samples.
void SampleRows::Shrink()
{
    if (m_rows.size() <= kMostSample)
        return;
    std::vector<std::uint64_t> order;
    order.reserve(m_rows.size());
    for (const Row& row : m_rows)
        order.push_back(row.order);
    std::nth_element(order.begin(), order.begin() + kMostSample, order.end());
    m_last = order[kMostSample];
    std::vector<FormList> forms(m_attributes);
    std::vector<std::size_t> withForms;
    for (std::size_t i = 0; i < m_attributes; ++i) {
        if (m_forms[i].Count() != 0)
            withForms.push_back(i);
    }
    std::size_t kept = 0;
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        if (m_rows[row].order >= m_last)
            continue;
        m_rows[kept] = m_rows[row];
        SampleCode* const codes = m_codes.data() + kept * m_attributes;
        std::copy_n(m_codes.data() + row * m_attributes, m_attributes, codes);
        for (const std::size_t i : withForms) {
            if (codes[i].What() == SampleCode::kForm)
                codes[i] =
                    SampleCode(SampleCode::kForm, forms[i].Add(m_forms[i][codes[i].Index()]));
        }
        ++kept;
    }
    m_rows.resize(kept);
    m_codes.resize(kept * m_attributes, SampleCode(SampleCode::kAbsent));
    m_forms = std::move(forms);
}

void SampleRows::Finish()
{
    Shrink();
    m_sorted.resize(m_rows.size());
    std::iota(m_sorted.begin(), m_sorted.end(), 0U);
    std::sort(m_sorted.begin(), m_sorted.end(), [this](std::uint32_t a, std::uint32_t b) {
        return m_rows[a].order < m_rows[b].order;
    });
}

} // namespace ko::store::inner
