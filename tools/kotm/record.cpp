#include "record.h"

#include <algorithm>

namespace kotm
{

RecordWriter::RecordWriter(const Schema& schema) : m_fields(schema.attributes.size())
{
    for (std::size_t i = 0; i < m_fields.size(); ++i)
        m_fields[i].part = schema.attributes[i].type.FixedSize() == 0 ? 1 : 0;
}

void RecordWriter::Start()
{
    m_parts[0].assign((m_fields.size() + 7) / 8, '\0');
    m_parts[1].clear();
    m_ends[0] = m_parts[0].size();
    m_ends[1] = 0;
    m_next = 0;
}

void RecordWriter::EndAbsent()
{
    char& byte = m_parts[0][m_next / 8];
    byte = static_cast<char>(byte | 1 << m_next % 8);
    End();
}

RecordReader::RecordReader(const Schema& schema)
    : m_schema(schema), m_forms(schema.attributes.size())
{
    for (std::size_t i = 0; i < m_forms.size(); ++i)
        m_order.push_back(i);
    std::stable_partition(m_order.begin(), m_order.end(), [&](std::size_t attribute) {
        return schema.attributes[attribute].type.FixedSize() != 0;
    });
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

} // namespace kotm
