#ifndef KO_STORE_BLOCK_COLUMN_H
#define KO_STORE_BLOCK_COLUMN_H

#include "block/bits.h"

#include <string>

namespace ko::store::inner
{

/// How the bytes of a column are laid out; see doc/formats.md.
namespace column_flags
{
// The first byte of a column of one size:
inline constexpr unsigned kHasBits = 1;    ///< only slots with a bit have bytes of their own
inline constexpr unsigned kHasDefault = 2; ///< the others have this form, and are not absent
// and of a column of varying size, above the width of its codes:
inline constexpr unsigned kWidth = 0x1F;
inline constexpr unsigned kSomeInline = 0x20;
inline constexpr unsigned kAllInline = 0x40;
inline constexpr unsigned kWideEnds = 0x80;
} // namespace column_flags

/// The values of one attribute in a block, where they lie.
class Column
{
public:
    /// `size`: bytes of every form, 0 where they vary. False for bytes that are no column of so
    /// many slots; nothing beyond them and the `behind` bytes that follow is read then or later.
    /// The forms of a column of varying size are not looked into.
    bool Open(std::string_view bytes, std::size_t behind, unsigned size, unsigned slots);

    /// The value of a slot that holds an object. A form points into the block, or into `room` where
    /// it had to be put together.
    Cell At(unsigned slot, std::string& room) const;

    bool IsAbsent() const { return m_isAbsent; } ///< all values are
    bool IsFixed() const { return m_size != 0; }

    /// The codes of all slots of a column of varying size. `codes` has room for them.
    void Codes(std::uint16_t* codes) const;

    /// All forms of a column of one size, one after another, whatever they are where there is no
    /// value; and which slots have one, in the words that the block's slots need. `forms` has room
    /// for kScanSlack bytes more.
    void Forms(char* forms, SlotBits& present) const;
    static constexpr std::size_t kScanSlack = 8;

private:
    bool OpenFixed(std::string_view bytes);
    bool OpenVarying(std::string_view bytes);
    bool CheckEnds(std::string_view bytes, unsigned count);
    unsigned Code(unsigned slot) const;
    std::size_t InlineEnd(unsigned index) const;
    std::string_view Inline(unsigned slot) const;
    void Compose(const char* packed, char* form) const;
    template <class Each>
    void EachWord(char* forms, const Each& each) const;

    bool m_isAbsent = true;
    unsigned m_size = 0;
    unsigned m_slots = 0;
    StoredBits m_bits;              ///< of slots with bytes of their own
    const char* m_end = nullptr;    ///< of the column
    const char* m_packed = nullptr; ///< what varies of the forms; or the inline forms
    // One size:
    const char* m_mask = nullptr;    ///< which bytes of a form vary; then those that do not
    const char* m_default = nullptr; ///< null: slots without bytes of their own are absent
    unsigned m_packedSize = 0;       ///< of one form
    // Varying size:
    const char* m_codes = nullptr;
    const char* m_ends = nullptr; ///< of the inline forms
    unsigned m_width = 0;         ///< bits of a code
    unsigned m_base = 0;          ///< what codes are more than their bits
    bool m_allInline = false;
    bool m_wideEnds = false;
};

} // namespace ko::store::inner

#endif
