#ifndef KO_STORE_SCHEMA_H
#define KO_STORE_SCHEMA_H

#include "schema/value_type.h"
#include <kostore.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

struct Attribute {
    std::string name;
    std::string column;
    ValueType type;
    std::optional<std::string> format; ///< how the type reads and prints; absent: its own
    bool index = false;
    unsigned char codeSet = 0; ///< 0: chosen for each text

    const char* Format() const { return format ? format->c_str() : nullptr; }
    /// Throws Error (ErrorCode::Usage) for bytes that are no value of the attribute; empty ones are
    /// the null value, which not every type has.
    void RequireForm(std::string_view form) const;
};

/// What stands for an object's own id where an attribute is named, and in the place of an
/// attribute's index: no attribute can have this name.
inline constexpr const char* kObjectIdName = kObjectId;
inline constexpr std::size_t kObjectIdIndex = static_cast<std::size_t>(-1);

/// A class of objects: its attributes in the order of their bits and forms in a record.
struct Schema {
    static constexpr std::size_t kMaxAttributes = 256;

    std::string name;
    std::vector<Attribute> attributes;

    /// Reads the JSON form; throws Error(`code`), with `source` and the place in it, for
    /// text that is no JSON, a missing, unknown or repeated key, a value of the wrong kind, a
    /// type that does not exist, and an attribute that stands twice.
    static Schema FromJson(const std::string& text, const std::string& source,
                           ErrorCode code = ErrorCode::Usage);
    /// The same as compact JSON.
    std::string ToJson() const;
    /// The first thing in which this schema, that of a store, differs from one given for it: "its
    /// attribute "a" is the column "b", not "c""; empty where nothing does. Indexes come and go in
    /// a store, and count for nothing here.
    std::string DifferenceTo(const Schema& given) const;

    /// The attribute of that name, or null.
    const Attribute* Find(const std::string& attribute) const;
    /// The sentence that there is none of that name, with those that there are.
    std::string NoAttribute(const std::string& attribute) const;

    // ---- of the attribute at an index, or of the objects' own ids at kObjectIdIndex

    bool IsIndexed(std::size_t attribute) const
    {
        return attribute == kObjectIdIndex || attributes[attribute].index;
    }
    o_char TypeId(std::size_t attribute) const
    {
        return attribute == kObjectIdIndex ? static_cast<o_char>(KoOBJID_T)
                                           : attributes[attribute].type.Id();
    }
    std::string Name(std::size_t attribute) const
    {
        return attribute == kObjectIdIndex ? kObjectIdName : attributes[attribute].name;
    }
    bool IsText(std::size_t attribute) const
    {
        return attribute != kObjectIdIndex && attributes[attribute].type.IsText();
    }
    const char* Format(std::size_t attribute) const
    {
        return attribute == kObjectIdIndex ? nullptr : attributes[attribute].Format();
    }
};

} // namespace ko::store::inner

#endif
