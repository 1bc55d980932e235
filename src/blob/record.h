#ifndef KO_BLOB_RECORD_H
#define KO_BLOB_RECORD_H

#include "core/value_ops.h"

#include <koblob.h>

#include <cstddef>

/// Stored blobs: an array is the number of bytes that follow, then for each element its length and
/// its bytes, or a length of -1 for null. Numbers are signed 32-bit ones in the byte order of the
/// format, which is never the machine's own.

namespace ko
{

inline constexpr unsigned kBlobWord = 4; ///< bytes of the total and of each length
inline constexpr o_4b kBlobNull = -1;    ///< the length of a null element

/// Order of two runs of bytes: that of the first ones that differ, else of the lengths.
int BlobOrder(const unsigned char* a, std::size_t lengthA, const unsigned char* b,
              std::size_t lengthB);

/// What walking through the elements of an operand meets.
enum class BlobFound {
    kWhole,
    kCut,    ///< the bound leaves the length and a part of the bytes
    kNone,   ///< the bound ended before the length
    kBroken, ///< a length that is negative or goes beyond the total
};

/// An element that belongs to somebody else.
struct BlobPart {
    const unsigned char* bytes = nullptr;
    o_4b length = kBlobNull;
    std::size_t held = 0; ///< bytes that are there
    bool IsNull() const { return length == kBlobNull; }
};

/// The elements of an operand of load, compare and hash, one after another: blobs in memory, or a
/// stored array. Nothing is read beyond the bound, nor beyond what the total announces.
class BlobWalk
{
public:
    /// `bound` bytes at `value`, 0 without bound.
    BlobWalk(unsigned char format, unsigned bound, const void* value);

    /// The total of a stored array; negative where that is damaged.
    o_4b Total() const { return m_total; }
    BlobFound Next(BlobPart& part);
    /// The next element starts inside the bound; in memory it is wholly inside.
    bool Continues() const { return m_at < m_available && m_available - m_at >= m_least; }

private:
    BlobFound NextInMemory(BlobPart& part);

    const unsigned char* m_value;
    unsigned char m_format;
    std::size_t m_least;     ///< bytes of which nothing less is an element, or a part of one
    std::size_t m_available; ///< bytes up to the bound
    std::size_t m_end = 0;   ///< end of the elements by the total
    std::size_t m_at = 0;
    o_4b m_total = 0;
};

unsigned BlobStore(void* destination, const void* source, unsigned char format, unsigned count);
unsigned BlobLoad(void* destination, const void* source, unsigned char format, unsigned count);
unsigned BlobSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                     unsigned count);
/// The size of blobs in memory when they are stored, not cut to 32 bits.
o_u8b BlobBytes(const void* blobs, unsigned char format, unsigned count);
int BlobValidate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                 std::size_t& at);
/// Where an array ends by its total, which has room for the lengths of the elements; see
/// KoValidateFunc.
int BlobMeasure(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                std::size_t& at);
unsigned BlobFileSize(MemFile* file, unsigned char format, unsigned count);
o_u4b BlobHash(unsigned char format, unsigned length, const void* value, unsigned count,
               int& status);

} // namespace ko

#endif
