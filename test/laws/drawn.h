#ifndef KO_TEST_LAWS_DRAWN_H
#define KO_TEST_LAWS_DRAWN_H

#include "laws/law.h"
#include "support/fixtures.h"
#include "support/texts.h"

#include <algorithm>
#include <memory>
#include <utility>

/// What the values of a type are drawn from.
struct Source {
    Source(const KoTypeMgr& manager, o_char id, unsigned seed) : random(seed), corpus(manager, id)
    {
    }
    Random random;
    FixtureArray corpus; ///< smallest, largest, null, awkward
};

/// Up to three elements of a type in every form.
class Drawn
{
public:
    Drawn(const KoTypeMgr& manager, o_char id)
        : m_manager(manager), m_id(id), m_memory(manager.Create(id, 3))
    {
    }
    Drawn(const Drawn&) = delete;
    Drawn& operator=(const Drawn&) = delete;
    ~Drawn() { m_manager.Delete(m_id, m_memory, 3); }

    /// Elements like those of `other`, so that equal and nearly equal ones are met, those of the
    /// corpus and what becomes of these, null, or any.
    void Fill(Source& source, unsigned count, const Drawn* other)
    {
        m_count = count;
        for (unsigned i = 0; i < count; ++i) {
            const unsigned way = source.random.Below(24);
            if (way == 0) {
                m_manager.SetNullValue(m_id, At(i));
                continue;
            }
            if (other != nullptr && way < 14)
                Assign(i, other->At(i));
            else if (way < 19)
                Assign(i, source.corpus[source.random.Below(source.corpus.Count())]);
            else
                MakeAny(source.random, i);
            if (way % 4 != 0)
                Change(source.random, i);
            if ((m_id == KoISTRING_T || m_id == KoCASEISTRING_T) && way % 6 == 0) {
                auto& text = *static_cast<KoIStringText*>(At(i));
                text.SetFlag(text.Flag() ^ KoIStringText::kAccents);
            }
        }
        for (unsigned form = 1; form < std::size(kForms); ++form)
            m_stored[form] = Store(m_memory, kForms[form], count);
    }
    const void* In(unsigned form) const
    {
        return form == kMemory ? m_memory : m_stored[form].data();
    }
    const Bytes& StoredIn(unsigned form) const { return m_stored[form]; }
    void* At(unsigned i) const { return m_manager.GetArrayElement(m_id, m_memory, i, 0); }
    unsigned Count() const { return m_count; }

    /// Key forms may take less than they ask for.
    Bytes Store(const void* values, unsigned char format, unsigned count) const
    {
        Bytes bytes(m_manager.DiskLenGet(m_id, values, format, count, KoFMT_MEMORY) + 1U, 0xA5);
        const unsigned size = m_manager.Store(m_id, bytes.data(), values, format, count);
        const bool mayBeLess = (format & KoFMT_KEY) != 0 && m_manager.IsFixed(m_id) == 0;
        Law(mayBeLess ? size < bytes.size() : size + 1 == bytes.size(), "size of what is stored",
            [&] { return std::to_string(size); });
        Law(bytes.back() == 0xA5, "nothing written behind", [&] { return Hex(bytes); });
        bytes.resize(size);
        return bytes;
    }

    /// Values of one kind have an order; what the kind is, doc/formats.md says under sort keys.
    unsigned Kind() const
    {
        unsigned kind = 0;
        for (unsigned i = 0; i < m_count; ++i) {
            bool other = false;
            if (m_id == KoSTRING_T) {
                const auto* const text = static_cast<const KoString*>(At(i));
                other = text->CodeSet() == KoCS_NONE && text->IsNullValue() == 0;
            } else if (m_id == KoCASEISTRING_T) {
                other = (static_cast<const KoCaseIString*>(At(i))->Flag() &
                         KoIStringText::kAccents) != 0;
            }
            kind = 2 * kind + (other ? 1 : 0);
        }
        return kind;
    }

private:
    void Assign(unsigned i, const void* from)
    {
        m_manager.AssignmentPtrGet(m_id)(At(i), const_cast<void*>(from), 1, 0);
    }

    void MakeAny(Random& random, unsigned i)
    {
        if (m_manager.IsFixed(m_id) == 0)
            return ConvertFrom(i, random.AnyText());
        Bytes bytes(m_manager.DiskLenGet(m_id, nullptr, KoFMT_BIG, 1, KoFMT_MEMORY));
        for (unsigned char& byte : bytes)
            byte = Byte(random);
        Load(random, i, bytes);
    }

    void Change(Random& random, unsigned i)
    {
        const bool isText = m_manager.IsFixed(m_id) == 0;
        if (isText && random.Below(4) != 0) {
            const std::unique_ptr<KoTypeConvertData> texts(m_manager.ConvertTo(m_id, At(i), 1));
            return ConvertFrom(i, random.Like(*texts->GetString(0)));
        }
        Bytes bytes = Store(At(i), KoFMT_BIG, 1);
        const auto size = static_cast<unsigned>(bytes.size());
        const unsigned at = random.Below(size);
        switch (random.Below(isText ? 2 : 6)) {
        case 0:
            bytes[at] = Byte(random);
            break;
        case 1:
            bytes[at] = static_cast<unsigned char>(bytes[at] ^ 1U << random.Below(8));
            break;
        case 2: { // the number that ends there less or more by one
            const unsigned char carry = random.Below(2) == 0 ? 0 : 0xFF;
            for (unsigned k = at + 1; k-- > 0;) {
                bytes[k] = static_cast<unsigned char>(bytes[k] + (carry == 0 ? 1 : -1));
                if (bytes[k] != carry)
                    break;
            }
            break;
        }
        case 3: // nothing, which the next case gives a sign
            std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
            break;
        case 4:
            bytes[0] ^= 0x80;
            break;
        default: // two fields changed for one another
            std::swap(bytes[at], bytes[random.Below(size)]);
        }
        Load(random, i, bytes);
    }

    static unsigned char Byte(Random& random)
    {
        static constexpr unsigned char kBytes[] = {0, 1, 2, 0x7F, 0x80, 0xFE, 0xFF, 0xF0};
        return random.Below(3) != 0 ? kBytes[random.Below(std::size(kBytes))]
                                    : static_cast<unsigned char>(random.Below(256));
    }

    /// The bytes as a value: those of a fixed length with what is wrong in them changed, others
    /// where they are valid.
    void Load(Random& random, unsigned i, Bytes& bytes)
    {
        std::size_t wrong = 0;
        while (m_manager.Validate(m_id, bytes.data(), bytes.size(), KoFMT_BIG, 1, wrong) != 0) {
            if (m_manager.IsFixed(m_id) == 0)
                return;
            bytes[wrong] = static_cast<unsigned char>(random.Below(2));
        }
        if (!IsReadAsAnother(m_id, bytes))
            m_manager.Load(m_id, At(i), bytes.data(), KoFMT_BIG, 1);
    }

    void ConvertFrom(unsigned i, KoString text)
    {
        KoTypeConvertData record{nullptr, &text, 1, KoSTRING_T};
        void* const made = m_manager.ConvertFrom(m_id, &record, 1);
        record.manager = nullptr; // the text stays ours
        Assign(i, made);
        m_manager.Delete(m_id, made, 1);
    }

    const KoTypeMgr& m_manager;
    o_char m_id;
    void* m_memory;
    unsigned m_count = 0;
    Bytes m_stored[std::size(kForms)];
};

#endif
