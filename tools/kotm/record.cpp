#include "record.h"

namespace kotm
{

bool RecordReader::Read(std::string_view record, std::size_t attributes)
{
    m_forms.clear();
    m_end = (m_schema.attributes.size() + 7) / 8;
    if (record.size() < m_end)
        return false;
    for (std::size_t i = 0; i < attributes; ++i) {
        if ((record[i / 8] >> i % 8 & 1) != 0) {
            m_forms.emplace_back();
            continue;
        }
        const std::string_view rest = record.substr(m_end);
        const std::size_t size = m_schema.attributes[i].type.SizeAt(rest);
        if (size == 0)
            return false;
        m_forms.push_back(rest.substr(0, size));
        m_end += size;
    }
    return true;
}

} // namespace kotm
