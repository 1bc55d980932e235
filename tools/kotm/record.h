#ifndef KOTM_RECORD_H
#define KOTM_RECORD_H

#include "entry.h"
#include "schema.h"

#include <string>
#include <string_view>
#include <vector>

namespace kotm
{

/// An object's record: a bit per attribute, set for an absent value (attribute n is bit n % 8 of
/// byte n / 8), then the persistent forms of the present values in the order of the attributes.
class RecordWriter
{
public:
    explicit RecordWriter(const Schema& schema) : m_bitBytes((schema.attributes.size() + 7) / 8) {}

    void Start()
    {
        m_bytes.assign(m_bitBytes, '\0');
        m_ends.clear();
    }
    /// The bytes to append the next attribute's form to; End finishes it.
    std::string& Bytes() { return m_bytes; }
    void End() { m_ends.push_back(m_bytes.size()); }
    void EndAbsent()
    {
        const std::size_t bit = m_ends.size();
        m_bytes[bit / 8] = static_cast<char>(m_bytes[bit / 8] | 1 << bit % 8);
        End();
    }
    /// The form of an attribute that was written; empty for an absent one.
    std::string_view Form(std::size_t attribute) const
    {
        const std::size_t start = attribute == 0 ? m_bitBytes : m_ends[attribute - 1];
        return std::string_view(m_bytes).substr(start, m_ends[attribute] - start);
    }

private:
    std::size_t m_bitBytes;
    std::string m_bytes;
    std::vector<std::size_t> m_ends;
};

/// Takes a record apart.
class RecordReader
{
public:
    explicit RecordReader(const Schema& schema) : m_schema(schema) {}

    /// The forms of the first `attributes` attributes, empty for absent ones; they point into
    /// `record`. False where the record ends too early.
    bool Read(std::string_view record, std::size_t attributes);
    bool ReadAll(std::string_view record)
    {
        return Read(record, m_schema.attributes.size()) && m_end == record.size();
    }
    /// The object id of the record, which Form gives for kObjectIdIndex.
    void SetId(const char* id) { m_id = {id, kObjectIdBytes}; }
    std::string_view Form(std::size_t attribute) const
    {
        return attribute == kObjectIdIndex ? m_id : m_forms[attribute];
    }

private:
    const Schema& m_schema;
    std::string_view m_id;
    std::vector<std::string_view> m_forms;
    std::size_t m_end = 0; ///< where the last form read ends
};

} // namespace kotm

#endif
