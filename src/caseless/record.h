#ifndef KO_CASELESS_RECORD_H
#define KO_CASELESS_RECORD_H

#include "caseless/text.h"
#include "string/record.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

/// Stored case-insensitive texts: for each a 16-bit length of what follows in the byte order of the
/// format, the flag byte, the text and a zero byte. In the key form, which bit KoFMT_KEY asks for
/// in writing, the text stands as its weights and the flag says so.

namespace ko
{

inline constexpr unsigned kIRecordHead = 3; ///< length and flag
inline constexpr unsigned kIRecordRest = 2; ///< what a length counts beyond the text
inline constexpr unsigned kIRecordMostText =
    0xFFFF - kIRecordRest; ///< weights of a key are cut to it

/// The texts of an operand of compare and hash, one after another: in memory, or stored with or
/// without a bound of `size` bytes (0: none).
class CaselessWalk
{
public:
    CaselessWalk(unsigned char format, unsigned size, const void* value)
        : m_format(format), m_available(size == 0 ? SIZE_MAX : size),
          m_value(static_cast<const unsigned char*>(value))
    {
    }

    TextFound Next(CaselessText& text);

private:
    unsigned char m_format;
    std::size_t m_available;
    const unsigned char* m_value;
    std::size_t m_at = 0;
};

/// The text of a record of `length` bytes of which `held` are there, all but the length field; what
/// follows is not looked at.
CaselessText CaselessRecordText(const unsigned char* record, unsigned length, std::size_t held);

/// Writing, reading and measuring; comparing and hashing. `weights` are those of the class.
unsigned StoreCaseless(void* destination, const void* source, unsigned char format, unsigned count,
                       const CaselessWeights& weights);
unsigned LoadCaseless(void* destination, const void* source, unsigned char format, unsigned count);
o_u8b CaselessBytes(const void* texts, unsigned char format, unsigned count,
                    const CaselessWeights& weights);
unsigned CaselessSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                         unsigned count, const CaselessWeights& weights);
unsigned CaselessFileSize(MemFile* file, unsigned char format, unsigned count);
/// The weights of each text and a zero, which is no weight. Keys hold only weights, so that texts
/// are not made from them.
unsigned ISortKey(void* key, unsigned room, const void* value, unsigned char format, unsigned count,
                  const CaselessWeights& weights);
/// The flag is any byte.
int IValidate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
              std::size_t& at);
int CompareCaseless(unsigned char format, unsigned size1, const void* value1, unsigned size2,
                    const void* value2, unsigned count, int& status,
                    const CaselessWeights& weights);
o_u4b HashCaseless(unsigned char format, unsigned size, const void* value, unsigned count,
                   int& status, const CaselessWeights& weights);

} // namespace ko

#endif
