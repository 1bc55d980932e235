#include "engine/postgres_connection.h"
#include <kostore.h>

#include <charconv>

namespace ko::store::inner::postgres
{

namespace
{

constexpr std::uint32_t kByteaType = 17;

void AppendNumber(std::string& to, std::uint64_t number, int bytes)
{
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        to += static_cast<char>(number >> shift);
}

} // namespace

bool SqlError::IsConflict() const
{
    // A server behind the one that is asked may be connected to anew, where it can be. The last
    // two: a pooler that mixes up prepared statements, which are done without from then on.
    return (IsElsewhere() && !Is("08001")) || Is("40001") || Is("40P01") || Is("55P03") ||
           Is("26000") || Is("42P05");
}

bool SqlError::IsLost() const
{
    return !m_goesOn && TellsOfLoss();
}

bool SqlError::TellsOfLoss() const
{
    return m_state.starts_with("08") || m_state.starts_with("57P0") || Is("25P03");
}

void SqlError::Fail(const Address& address) const
{
    const bool isDamaged = Is("XX001") || Is("XX002");
    throw Error(isDamaged ? ErrorCode::Damaged : ErrorCode::Io,
                address.Shown() + ": " + m_message + " (" + m_state + ")");
}

Parameters& Parameters::Add(std::string_view bytes)
{
    m_values.push_back(bytes.data() != nullptr ? bytes.data() : "");
    m_lengths.push_back(static_cast<int>(bytes.size()));
    return *this;
}

Parameters& Parameters::Add(std::int64_t number)
{
    std::string bytes;
    AppendNumber(bytes, static_cast<std::uint64_t>(number), 8);
    return Keep(std::move(bytes));
}

// Dimensions, whether there are nulls, the type; then of the one dimension its length and where it
// begins; then each element after its length.
Parameters& Parameters::Add(std::span<const std::string_view> bytes)
{
    std::size_t size = 20;
    for (const std::string_view element : bytes)
        size += 4 + element.size();
    std::string array;
    array.reserve(size);
    for (const std::uint32_t head :
         {1U, 0U, kByteaType, static_cast<std::uint32_t>(bytes.size()), 1U})
        AppendNumber(array, head, 4);
    for (const std::string_view element : bytes) {
        AppendNumber(array, element.size(), 4);
        array += element;
    }
    return Keep(std::move(array));
}

std::int64_t Answer::Number(std::size_t row, int column) const
{
    const std::string_view bytes = Bytes(row, column);
    std::uint64_t number = 0;
    for (const char byte : bytes)
        number = number << 8 | static_cast<unsigned char>(byte);
    if (bytes.size() != 8)
        throw SqlError("08P01", "the server has answered with no number");
    return static_cast<std::int64_t>(number);
}

std::uint64_t Answer::Changed() const
{
    const std::string_view text = PQcmdTuples(m_result.get());
    std::uint64_t rows = 0;
    std::from_chars(text.data(), text.data() + text.size(), rows);
    return rows;
}

} // namespace ko::store::inner::postgres
