#ifndef KOTM_FIELDREADER_H
#define KOTM_FIELDREADER_H

#include "schema.h"
#include "utf8.h"

#include <kostring.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

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
    /// A text that was read before, and what came of it. Columns repeat their values: most fields
    /// of a large file are found here, whatever their type.
    struct Known {
        std::string utf8;
        std::string form;
        Result result = Result::Refused; ///< Refused: nothing is known here
    };

    Result Convert(std::string_view utf8, std::string& bytes, TextFault& fault);

    Attribute m_attribute;
    Value m_value;
    KoString m_text;
    std::vector<Known> m_known; ///< by the hash of the text, the latest one in each place
};

} // namespace kotm

#endif
