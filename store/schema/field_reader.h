#ifndef KO_STORE_SCHEMA_FIELD_READER_H
#define KO_STORE_SCHEMA_FIELD_READER_H

#include "base/utf8.h"
#include "schema/schema.h"

#include <kostring.h>

#include <optional>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// Turns the text of one attribute, as UTF-8, into a value.
class FieldReader
{
public:
    enum class Result { Present, Absent, Refused };

    explicit FieldReader(const Attribute& attribute);

    /// Appends the persistent form of the value to `bytes`. An empty text is absent where the type
    /// has a null value. Refused: `fault` says why and at which byte of the text.
    Result Read(std::string_view utf8, std::string& bytes, TextFault& fault);

private:
    Attribute m_attribute;
    Value m_value;
    KoString m_text;
};

} // namespace ko::store::inner

#endif
