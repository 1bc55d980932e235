#include "statistics/sample_rows.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace ko::store::inner
{

/// Keeps what comes first, in its order. `more`: other objects may come after it.
void SampleRows::Shrink(bool more)
{
    std::vector<std::uint32_t> order(m_rows.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [this](std::uint32_t a, std::uint32_t b) {
        return m_rows[a].order < m_rows[b].order;
    });
    order.resize(std::min(order.size(), kMostSample));
    std::vector<Row> rows;
    std::vector<SampleCode> codes;
    std::vector<FormList> forms(m_attributes);
    rows.reserve(more ? 2 * kMostSample : order.size());
    codes.reserve(rows.capacity() * m_attributes);
    for (const std::uint32_t at : order) {
        rows.push_back(m_rows[at]);
        for (std::size_t i = 0; i < m_attributes; ++i) {
            SampleCode code = Code(at, i);
            if (code.What() == SampleCode::kForm)
                code = SampleCode(SampleCode::kForm, forms[i].Add(m_forms[i][code.Index()]));
            codes.push_back(code);
        }
    }
    m_rows = std::move(rows);
    m_codes = std::move(codes);
    m_forms = std::move(forms);
    if (m_rows.size() == kMostSample)
        m_last = m_rows.back().order;
}

} // namespace ko::store::inner
