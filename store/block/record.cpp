#include "block/record.h"

#include "base/short_bytes.h"

#include <algorithm>
#include <numeric>

namespace ko::store
{

std::vector<std::size_t> RecordOrder(const Schema& schema)
{
    std::vector<std::size_t> order(schema.attributes.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_partition(order.begin(), order.end(), [&](std::size_t attribute) {
        return schema.attributes[attribute].type.FixedSize() != 0;
    });
    return order;
}

std::string_view RecordWriter::Write(const std::vector<std::string_view>& forms)
{
    const std::size_t bits = (m_order.size() + 7) / 8;
    std::size_t size = bits;
    for (const std::string_view form : forms)
        size += form.size();
    if (m_bytes.size() < size + kCopySlack)
        m_bytes.resize(size + kCopySlack);
    std::fill_n(m_bytes.begin(), bits, '\0');
    char* end = m_bytes.data() + bits;
    for (const std::size_t attribute : m_order) {
        const std::string_view form = forms[attribute];
        if (form.empty()) {
            char& byte = m_bytes[attribute / 8];
            byte = static_cast<char>(byte | 1 << attribute % 8);
            continue;
        }
        CopyShort(end, form);
        end += form.size();
    }
    return {m_bytes.data(), size};
}

RecordReader::RecordReader(const Schema& schema)
    : m_schema(schema), m_order(RecordOrder(schema)), m_forms(schema.attributes.size())
{
}

void RecordReader::Need(std::size_t attribute)
{
    if (attribute == kObjectIdIndex)
        return;
    const auto at = std::find(m_order.begin(), m_order.end(), attribute);
    m_needed = std::max(m_needed, static_cast<std::size_t>(at - m_order.begin()) + 1);
}

bool RecordReader::Read(std::string_view record, std::size_t fields)
{
    m_end = (m_order.size() + 7) / 8;
    if (record.size() < m_end)
        return false;
    for (std::size_t i = 0; i < fields; ++i) {
        const std::size_t attribute = m_order[i];
        if ((record[attribute / 8] >> attribute % 8 & 1) != 0) {
            m_forms[attribute] = {};
            continue;
        }
        const std::string_view rest = record.substr(m_end);
        const std::size_t size = m_schema.attributes[attribute].type.SizeAt(rest);
        if (size == 0)
            return false;
        m_forms[attribute] = rest.substr(0, size);
        m_end += size;
    }
    return true;
}

} // namespace ko::store
