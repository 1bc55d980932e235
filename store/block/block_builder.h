#ifndef KO_STORE_BLOCK_BLOCK_BUILDER_H
#define KO_STORE_BLOCK_BLOCK_BUILDER_H

#include "block/block.h"

#include <string>
#include <vector>

namespace ko::store::inner
{

/// Makes the bytes of a block, from nothing or from those of a block that changes. The same values
/// in the same slots give the same bytes, however they came there.
class BlockBuilder
{
public:
    /// `slots`: what a block may hold.
    BlockBuilder(const BlockLayout& layout, unsigned slots);

    /// Forgets all objects.
    void Clear();
    /// Takes the objects of a block over those there are. False where it is damaged, or has more
    /// slots than this one: the builder is then empty.
    bool Load(BlockView& block);

    /// An object stands in the slot, if none did, without any value.
    void Add(unsigned slot);
    void Erase(unsigned slot);
    bool Has(unsigned slot) const { return TestBit(m_objects, slot); }
    bool IsEmpty() const { return m_slots == 0; }

    /// Sets a value of the object in a slot. A form has the attribute's size, or up to kMostInline
    /// bytes where sizes vary; it is copied.
    void Put(std::size_t attribute, unsigned slot, const Cell& cell);
    /// The same, for an entry and for a form of the attribute's one size.
    void PutEntry(std::size_t attribute, unsigned slot, std::uint16_t entry)
    {
        m_values[attribute].codes[slot] = static_cast<std::uint16_t>(kFirstCode + entry);
    }
    void PutFixed(std::size_t attribute, unsigned slot, std::string_view form)
    {
        Values& values = m_values[attribute];
        values.codes[slot] = kInlineCode;
        CopyForm(values.forms.data() + std::size_t{slot} * values.size,
                 form.substr(0, values.size));
    }

    /// Writes the block over `bytes`; it must hold an object.
    void Write(std::string& bytes);

private:
    struct Span {
        std::uint32_t begin;
        std::uint32_t size;
    };
    struct Values {
        unsigned size;                    ///< of every form; 0: varying
        std::vector<char> forms;          ///< of one size, by slot
        std::vector<std::uint16_t> codes; ///< by slot, absent without an object; inline for forms
        std::vector<Span> spans;          ///< of inline forms of varying size, by slot
        std::string bytes;                ///< of these
    };

    void WriteFixed(const Values& values, std::string& bytes) const;
    void WriteVarying(const Values& values, std::string& bytes) const;
    void WriteInline(const Values& values, std::string& bytes, std::size_t head) const;
    const char* FindVarying(const Values& values, const SlotBits& own) const;
    bool FindDefault(const Values& values, SlotBits& own, const char*& form) const;

    unsigned m_capacity;
    unsigned m_slots = 0; ///< the highest one with an object, and one more
    SlotBits m_objects{};
    std::vector<Values> m_values;
    std::string m_room;
    mutable std::vector<unsigned> m_varying; ///< which bytes of the forms of a column
};

} // namespace ko::store::inner

#endif
