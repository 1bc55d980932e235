#ifndef KO_STORE_INDEX_NUMBER_ROW_H
#define KO_STORE_INDEX_NUMBER_ROW_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// The value of a row of Space::Entries, without its checksum: the numbers of the objects that have
/// the key's value, but for the first, which stands in the key. They ascend; each is kept as its
/// difference to the one before in LEB128, of as few bytes as it takes.
inline constexpr std::size_t kMostRowNumbers = 256;
inline constexpr std::size_t kMostRowBytes = 1024;

/// The numbers of one row.
struct NumberRow {
    std::array<std::uint64_t, kMostRowNumbers> numbers;
    std::size_t count = 0;

    /// `first` is that of the key. False for bytes that are no row, and the row is then empty;
    /// nothing beyond them is read.
    bool Decode(std::uint64_t first, std::string_view bytes);

    std::uint64_t Last() const { return numbers[count - 1]; }
    const std::uint64_t* begin() const { return numbers.data(); }
    const std::uint64_t* end() const { return numbers.data() + count; }
};

/// The last number of a row whose bytes Decode takes, without keeping the others; `count` is how
/// many there are.
std::uint64_t LastOfRow(std::uint64_t first, std::string_view bytes, std::size_t& count);

/// Writes the row of the first of these numbers over `bytes`: as many as one row has room for, but
/// at most `most`. Returns how many. `count` is not 0.
std::size_t EncodeRow(const std::uint64_t* numbers, std::size_t count, std::string& bytes,
                      std::size_t most = kMostRowNumbers);

/// Makes full rows of the numbers of one value after another.
class RowPacker
{
public:
    /// Takes a whole key, the value without its checksum, and how many numbers it stands for.
    using Take =
        std::function<void(std::string_view key, std::string_view value, std::size_t count)>;

    explicit RowPacker(Take take) : m_take(std::move(take)) {}

    /// Numbers of a value, all greater than those that the same value had before. Value's keys come
    /// in ascending order.
    void Add(std::string_view valueKey, const std::uint64_t* numbers, std::size_t count);
    /// Hands over what is left.
    void Finish();

private:
    void Emit(const std::uint64_t* numbers, std::size_t count);

    Take m_take;
    std::string m_key; ///< the value's key; behind it there may be a number
    std::size_t m_valueKey = 0;
    std::uint64_t m_held[kMostRowNumbers]; ///< too few for a full row
    std::size_t m_count = 0;
    std::string m_bytes;
};

} // namespace ko::store::inner

#endif
