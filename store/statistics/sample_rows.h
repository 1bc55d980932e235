#ifndef KO_STORE_STATISTICS_SAMPLE_ROWS_H
#define KO_STORE_STATISTICS_SAMPLE_ROWS_H

#include "base/bytes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// Most objects of a sample.
inline constexpr std::size_t kMostSample = 30'000;

/// Where an object stands in the order of samples: a bijection without a pattern (the finisher of
/// SplitMix64, Steele, Lea, Flood, 2014). A sample is the first objects in this order, so that it
/// is the same on every machine, and the samples of two parts of a store have in them that of both.
inline std::uint64_t SampleOrder(std::uint64_t number)
{
    number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9;
    number = (number ^ number >> 27) * 0x94D049BB133111EB;
    return number ^ number >> 31;
}

/// Forms one after another.
class FormList
{
public:
    std::uint32_t Add(std::string_view form)
    {
        m_bytes += form;
        m_ends.push_back(m_bytes.size());
        return static_cast<std::uint32_t>(m_ends.size() - 1);
    }
    std::string_view operator[](std::size_t index) const
    {
        const std::size_t begin = index == 0 ? 0 : m_ends[index - 1];
        return std::string_view(m_bytes).substr(begin, m_ends[index] - begin);
    }
    std::size_t Count() const { return m_ends.size(); }

private:
    std::string m_bytes;
    std::vector<std::size_t> m_ends;
};

/// What the sample keeps of a value of an object, in 4 bytes.
class SampleCode
{
public:
    enum Kind : std::uint32_t { kAbsent, kLarge, kKnown, kForm };

    explicit SampleCode(Kind kind, std::uint32_t index = 0) : m_bits(index << 2 | kind) {}
    Kind What() const { return static_cast<Kind>(m_bits & 3); }
    /// The known value's number, or the place in the attribute's forms.
    std::uint32_t Index() const { return m_bits >> 2; }

private:
    std::uint32_t m_bits;
};

/// The sample of a store while its objects come.
class SampleRows
{
public:
    explicit SampleRows(std::size_t attributes) : m_attributes(attributes), m_forms(attributes) {}

    /// True where the object, with its SampleOrder, may belong to the sample: its values are to be
    /// put, then, but for absent ones.
    bool Takes(std::uint64_t number, std::uint64_t order)
    {
        if (order > m_last)
            return false;
        if (m_rows.size() == 2 * kMostSample)
            Shrink();
        m_rows.push_back({order, number});
        m_row = m_codes.size();
        m_codes.resize(m_row + m_attributes, SampleCode(SampleCode::kAbsent));
        return true;
    }
    void Put(std::size_t attribute, SampleCode code) { m_codes[m_row + attribute] = code; }
    void PutForm(std::size_t attribute, std::string_view form)
    {
        Put(attribute, SampleCode(SampleCode::kForm, m_forms[attribute].Add(form)));
    }

    struct Row {
        std::uint64_t order;
        std::uint64_t number;
    };
    /// No more objects come: the rest is the sample, in its order.
    void Finish();
    std::size_t Count() const { return m_sorted.size(); }
    std::uint64_t Number(std::size_t row) const { return m_rows[m_sorted[row]].number; }
    SampleCode Code(std::size_t row, std::size_t attribute) const
    {
        return m_codes[m_sorted[row] * m_attributes + attribute];
    }
    const FormList& Forms(std::size_t attribute) const { return m_forms[attribute]; }

private:
    void Shrink();

    std::size_t m_attributes;
    std::uint64_t m_last = UINT64_MAX; ///< of the order, that may belong to it
    std::vector<Row> m_rows;
    std::vector<SampleCode> m_codes;     ///< of each row those of all attributes
    std::size_t m_row = 0;               ///< where those of the last row begin
    std::vector<std::uint32_t> m_sorted; ///< rows in the sample's order
    std::vector<FormList> m_forms;       ///< by attribute, of values without a number
};

} // namespace ko::store::inner

#endif
