#ifndef KOTM_RECORD_H
#define KOTM_RECORD_H

#include "entry.h"
#include "schema.h"

#include <string>
#include <string_view>
#include <vector>

namespace kotm
{

/// The attributes as they lie in a record.
std::vector<std::size_t> RecordOrder(const Schema& schema);

/// An object's record: a bit per attribute, set for an absent value (attribute n is bit n % 8 of
/// byte n / 8), then the persistent forms of the present values: first those of the types whose
/// forms all have one size, which are found without a look at any other, then the rest. Within
/// both the attributes keep their order.
class RecordWriter
{
public:
    explicit RecordWriter(const Schema& schema) : m_order(RecordOrder(schema)) {}

    /// The record of an object whose attributes have these forms, which have kCopySlack readable
    /// bytes after them; empty ones for absent values. Valid until the next Write.
    std::string_view Write(const std::vector<std::string_view>& forms);

private:
    std::vector<std::size_t> m_order;
    std::vector<char> m_bytes;
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
    std::vector<std::size_t> m_order; ///< RecordOrder
    std::size_t m_needed = 0;         ///< how many of these
    std::string_view m_id;
    std::vector<std::string_view> m_forms; ///< by attribute
    std::size_t m_end = 0;                 ///< where the last form read ends
};

} // namespace kotm

#endif
