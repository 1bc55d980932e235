#ifndef KOTM_RECORD_H
#define KOTM_RECORD_H

#include "entry.h"
#include "schema.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kotm
{

/// An object's record: a bit per attribute, set for an absent value (attribute n is bit n % 8 of
/// byte n / 8), then the persistent forms of the present values: first those of the types whose
/// forms all have one size, which are found without a look at any other, then the rest. Within
/// both the attributes keep their order.
class RecordWriter
{
public:
    explicit RecordWriter(const Schema& schema);

    void Start();
    /// The bytes to append the next attribute's form to; End finishes it.
    std::string& Bytes() { return m_parts[m_fields[m_next].part]; }
    void End()
    {
        Field& field = m_fields[m_next++];
        field.start = std::exchange(m_ends[field.part], m_parts[field.part].size());
        field.size = m_ends[field.part] - field.start;
    }
    void EndAbsent();
    /// The form of an attribute that was written; empty for an absent one.
    std::string_view Form(std::size_t attribute) const
    {
        const Field& field = m_fields[attribute];
        return {m_parts[field.part].data() + field.start, field.size};
    }
    /// The whole, once every attribute has been written; valid until Start.
    std::string_view Finish() { return m_parts[0].append(m_parts[1]); }

private:
    struct Field {
        std::size_t part = 0; ///< 1 for forms of varying size
        std::size_t start = 0;
        std::size_t size = 0;
    };

    std::string m_parts[2];         ///< the bits stand in front of the first
    std::size_t m_ends[2] = {0, 0}; ///< of the forms that are finished
    std::vector<Field> m_fields;    ///< of the attributes
    std::size_t m_next = 0;         ///< the first of them that is not finished
};

/// Takes records apart as far as is needed.
class RecordReader
{
public:
    explicit RecordReader(const Schema& schema);

    /// Form will be asked for this attribute.
    void Need(std::size_t attribute);

    /// Finds the forms of the attributes that are needed; they point into `record`. False where the
    /// record ends too early.
    bool Read(std::string_view record) { return Read(record, m_needed); }
    /// Finds all. False where the record is not exactly its forms.
    bool ReadAll(std::string_view record)
    {
        return Read(record, m_order.size()) && m_end == record.size();
    }

    /// The object id of the record, which Form gives for kObjectIdIndex.
    void SetId(const char* id) { m_id = {id, kObjectIdBytes}; }
    /// Empty for an absent value.
    std::string_view Form(std::size_t attribute) const
    {
        return attribute == kObjectIdIndex ? m_id : m_forms[attribute];
    }

private:
    bool Read(std::string_view record, std::size_t fields);

    const Schema& m_schema;
    std::vector<std::size_t> m_order; ///< the attributes as they lie in a record
    std::size_t m_needed = 0;         ///< how many of these
    std::string_view m_id;
    std::vector<std::string_view> m_forms; ///< by attribute
    std::size_t m_end = 0;                 ///< where the last form read ends
};

} // namespace kotm

#endif
