#ifndef KO_STORE_STATISTICS_SAMPLE_COLUMN_H
#define KO_STORE_STATISTICS_SAMPLE_COLUMN_H

#include "statistics/sample_rows.h"
#include "statistics/summary.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// The values that the objects of the sample have of one attribute, in the sample's order: each by
/// the code of a form, and codes ascend with the values.
class SampleColumn
{
public:
    static constexpr std::uint16_t kNull = 0;
    static constexpr std::uint16_t kUnkept = 1; ///< a value too long to be kept
    static constexpr std::uint16_t kFirst = 2;

    /// Bytes of forms that a column may have: it ends with the object before the one whose value
    /// would be too much.
    static constexpr std::size_t kMostBytes = 1U << 20;

    static std::string Write(const std::vector<std::uint16_t>& codes, const FormList& forms);

    /// An empty one.
    SampleColumn() = default;
    /// Throws Error (ErrorCode::Damaged) with the key of the attribute's row for bytes that are no
    /// such column. Forms are not validated: IsForm is for who hands one to more than comparisons.
    SampleColumn(std::size_t attribute, std::string_view bytes);

    std::size_t Objects() const { return m_codes.size(); }
    const std::vector<std::uint16_t>& Codes() const { return m_codes; }
    /// The first code that no value has.
    std::uint16_t EndCode() const { return static_cast<std::uint16_t>(kFirst + m_ends.size()); }
    std::string_view Form(std::uint16_t code) const
    {
        const std::size_t at = code - kFirst;
        const std::size_t begin = at == 0 ? 0 : m_ends[at - 1];
        return std::string_view(m_forms).substr(begin, m_ends[at] - begin);
    }
    /// Of the forms of the codes from `begin` to before `end`.
    std::size_t Bytes(std::uint16_t begin, std::uint16_t end) const
    {
        const auto before = [this](std::size_t code) {
            return code == kFirst ? 0 : m_ends[code - kFirst - 1];
        };
        return end <= begin ? 0 : before(end) - before(begin);
    }
    /// How many objects have one of the codes from `begin` to before `end`.
    std::uint32_t Count(std::uint16_t begin, std::uint16_t end) const
    {
        return end <= begin ? 0 : m_before[end] - m_before[begin];
    }

    /// The first code, out of `begin` to `end`, whose value is not below a form; `end` for none.
    std::uint16_t Find(o_char type, std::string_view form, std::uint16_t begin,
                       std::uint16_t end) const;

private:
    std::vector<std::uint16_t> m_codes;
    std::vector<std::uint32_t> m_ends;
    std::vector<std::uint32_t> m_before; ///< by code, the objects with lesser ones
    std::string m_forms;
};

} // namespace ko::store::inner

#endif
