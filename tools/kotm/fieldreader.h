#ifndef KOTM_FIELDREADER_H
#define KOTM_FIELDREADER_H

#include "knowntexts.h"
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

    /// `memory` is what the texts that were read before may take, in bytes.
    explicit FieldReader(const Attribute& attribute, std::size_t memory = 1U << 16);

    /// Appends the persistent form of the value to `bytes`. An empty text is absent where the type
    /// has a null value. Refused: `fault` says why and at which byte of the text.
    Result Read(std::string_view utf8, std::string& bytes, TextFault& fault);

    /// A number of the caller's that stays with the text read last, for as long as that is known;
    /// 0 at first. Valid until the next Read.
    std::uint64_t& Hint() { return *m_hint; }

private:
    Result Convert(std::string_view utf8, std::string& bytes, TextFault& fault);

    Attribute m_attribute;
    Value m_value;
    KoString m_text;
    KnownTexts m_known;
    std::uint64_t m_absentHint = 0;
    std::uint64_t m_newHint = 0;
    std::uint64_t* m_hint = &m_newHint;
};

} // namespace kotm

#endif
