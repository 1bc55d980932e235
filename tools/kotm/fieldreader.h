#ifndef KOTM_FIELDREADER_H
#define KOTM_FIELDREADER_H

#include "schema.h"
#include "utf8.h"

#include <kostring.h>

#include <optional>
#include <string>
#include <string_view>

namespace kotm
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

} // namespace kotm

#endif
