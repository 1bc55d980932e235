#ifndef KO_STRING_RECORD_H
#define KO_STRING_RECORD_H

#include "collation/text.h"

#include <komemfile.h>

#include <cstdint>

/// Stored strings: the layout of a record, described in kostring.h.

namespace ko
{

inline constexpr unsigned kRecordLengthField = 2;
inline constexpr unsigned kRecordHead = 4;                   ///< length, code set, language
inline constexpr unsigned char kRecordEnd[2] = {0x00, 0xFF}; ///< ends a current record
inline constexpr unsigned char kOlderRecordEnd = 0x00;       ///< ends an older one

/// The byte order of a record in `format`, which is never the machine's own: KoFMT_BIG or
/// KoFMT_LITTLE.
constexpr unsigned char RecordOrder(unsigned char format) noexcept
{
    return (format & KoFMT_ORDER_MASK) == KoFMT_BIG ? KoFMT_BIG : KoFMT_LITTLE;
}

/// The length field: the bytes that follow it.
inline unsigned RecordLength(const unsigned char* record, unsigned char format)
{
    return RecordOrder(format) == KoFMT_BIG ? record[0] * 256U + record[1]
                                            : record[1] * 256U + record[0];
}

inline void PutRecordLength(unsigned char* record, unsigned length, unsigned char format)
{
    const auto low = static_cast<unsigned char>(length);
    const auto high = static_cast<unsigned char>(length >> 8U);
    const bool big = RecordOrder(format) == KoFMT_BIG;
    record[0] = big ? high : low;
    record[1] = big ? low : high;
}

/// The bytes of `count` records at the position of a memory file, which is left where it was: 0
/// where there is no data. A record that does not end inside the file gives one more than the
/// number of records not yet measured times 65535, which is too large for anything.
/// `measure(record, length, i, last)` measures record i, which is wholly inside, and tells whether
/// it is the last one.
template <class Measure>
unsigned MeasureRecords(MemFile* file, unsigned char format, unsigned count, Measure measure)
{
    constexpr unsigned kTooLarge = 65535;
    if (file == nullptr || file->Left() == 0)
        return 0;
    const o_u8b start = file->Position();
    const auto bytesAt = [file](o_u8b position, unsigned bytes) {
        return static_cast<const unsigned char*>(file->Seek(position, bytes));
    };
    o_u8b position = start;
    unsigned size = 0;
    bool last = false;
    for (unsigned i = 0; i < count && !last; ++i) {
        const unsigned char* record = bytesAt(position, kRecordLengthField);
        const unsigned length = record == nullptr ? 0 : RecordLength(record, format);
        if (record == nullptr || bytesAt(position, length + kRecordLengthField) == nullptr) {
            size = (count - i + 1) * kTooLarge;
            break;
        }
        const unsigned bytes = measure(record, length, i, last);
        size += bytes;
        position += bytes;
    }
    file->Seek(start, 0);
    return size;
}

/// A stored text of code set 254 with bit 7 in the language, which is compared without that bit
/// (doc/formats.md) and so as another text than the one that it is read as.
inline constexpr unsigned char kNullMarkBit = 0x80;
inline bool CarriesNullMark(unsigned char codeSet, unsigned char language)
{
    return codeSet == KoCS_NULL && (language & kNullMarkBit) != 0;
}

/// What walking through the texts of one operand meets.
enum class TextFound {
    kText,   ///< a whole text
    kCut,    ///< a text of which the bound leaves only a part
    kNone,   ///< the bound ended before the text
    kBroken, ///< a cut text that is longer than a cut key can be
};

/// A cut key is never longer than this, so a cut text of as many bytes means lengths that do not
/// belong together.
inline constexpr std::size_t kLongestCutKey = 254;

/// Gives `add` the texts of a walk that a hash of `count` of them takes, as far as the walk goes.
template <class Text, class Walk, class Add>
void VisitHashedTexts(Walk walk, unsigned count, int& status, Add add)
{
    status = KoRC_OK;
    for (unsigned i = 0; i < count && status == KoRC_OK; ++i) {
        Text text;
        const TextFound found = walk.Next(text);
        if (found == TextFound::kBroken)
            status = KoRC_NOT_SUPPORTED;
        else if (found != TextFound::kText)
            status = KoRC_TRUNCATED;
        if (found == TextFound::kText || found == TextFound::kCut)
            add(text);
    }
}

/// The texts of an operand of compare and hash, one after another: strings in memory, or stored
/// records with or without a bound.
class TextWalk
{
public:
    /// `size` bytes at `value`, 0 without bound. A record that the bound cuts does not show its
    /// last byte, so its layout is taken from `cutIsOlder`.
    TextWalk(unsigned char format, unsigned size, const void* value, bool cutIsOlder)
        : m_format(format), m_size(size), m_value(static_cast<const unsigned char*>(value)),
          m_cutIsOlder(cutIsOlder)
    {
    }

    TextFound Next(KoText& text);
    /// The text of the last Next carries a null mark.
    bool HasNullMark() const { return m_nullMark; }

private:
    std::size_t Available() const { return m_size == 0 ? SIZE_MAX : m_size - m_offset; }
    TextFound NextInMemory(KoText& text);
    TextFound NextRecord(KoText& text);
    TextFound NextOlder(KoText& text);

    unsigned char m_format;
    unsigned m_size;
    const unsigned char* m_value;
    bool m_cutIsOlder;
    bool m_nullMark = false;
    bool m_cut = false; ///< the bound cuts the record that is being walked
    std::size_t m_offset = 0;
    std::size_t m_olderEnd = 0; ///< end of the older layout's texts, 0 before it is known
};

/// StringCompare for either string type.
int CompareTexts(unsigned char format, unsigned leftSize, const void* left, unsigned rightSize,
                 const void* right, o_u2b cmpOp, unsigned count, int& status, bool cutIsOlder);

/// The hash of `count` strings: that of one is HashString's; those of several are words that are
/// mixed.
o_u4b HashTexts(unsigned char format, unsigned size, const void* value, unsigned count, int& status,
                bool cutIsOlder);

/// StringSizeGet of strings in memory, not cut to 32 bits.
o_u8b StringBytes(const void* strings, unsigned char format, unsigned count);

/// Records of either layout, as both string types read them; see KoValidateFunc.
int StringValidate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                   std::size_t& at);
/// Where `count` records end by their length fields, whatever stands between; see KoValidateFunc.
/// With `layouts` the first one may be an array in the older layout.
int MeasureWithin(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                  std::size_t& at, bool layouts);

// ---- the older layout, which only the older string type writes

/// StringValidate, but for no strings, of which there is a length of 0.
int OlderValidate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                  std::size_t& at);

/// Writes the older layout. Nothing, and 0, where the texts do not fit its 16-bit length. Of 16-bit
/// text the bytes before the first zero byte are written, at most one for each character.
unsigned OlderStore(void* destination, const void* source, unsigned char format, unsigned count);
unsigned OlderSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                      unsigned count);
o_u8b OlderBytes(const void* strings, unsigned char format, unsigned count);

// ---- sizes in a memory file, see MeasureRecords

unsigned StringFileSize(MemFile* file, unsigned char format, unsigned count);
unsigned OlderFileSize(MemFile* file, unsigned char format, unsigned count);

} // namespace ko

#endif
