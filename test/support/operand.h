#ifndef KO_TEST_SUPPORT_OPERAND_H
#define KO_TEST_SUPPORT_OPERAND_H

#include "support/fixtures.h"
#include "support/texts.h"

#include <cstdlib>

/// The forms of values: in memory, and least or most significant byte first.
inline constexpr unsigned char kForms[] = {KoFMT_MEMORY, KoFMT_LITTLE, KoFMT_BIG};

/// How much a test of drawn values does: a number, or what an environment variable asks for.
inline unsigned long long Asked(const char* variable, unsigned long long number)
{
    const char* const asked = std::getenv(variable);
    return asked != nullptr ? std::strtoull(asked, nullptr, 10) : number;
}

inline std::string Hex(const Bytes& bytes)
{
    return data::FormatBytes(bytes);
}

/// Up to three elements of a type in every form.
class Operand
{
public:
    Operand(const KoTypeMgr& manager, o_char id)
        : m_manager(manager), m_id(id), m_memory(manager.Create(id, 3))
    {
    }
    Operand(const Operand&) = delete;
    Operand& operator=(const Operand&) = delete;
    ~Operand() { m_manager.Delete(m_id, m_memory, 3); }

    /// Elements like those of `other`, so that small differences are met, or of any kind.
    void Fill(Random& random, unsigned count, const Operand* other)
    {
        m_count = count;
        for (unsigned i = 0; i < count; ++i)
            m_manager.IsFixed(m_id) != 0 ? FillBytes(random, i, other) : FillText(random, i, other);
        for (unsigned form = 1; form < std::size(kForms); ++form)
            m_stored[form] = Stored(m_manager, m_id, m_memory, kForms[form], count);
    }
    const void* In(unsigned form) const { return form == 0 ? m_memory : m_stored[form].data(); }
    const Bytes& StoredIn(unsigned form) const { return m_stored[form]; }
    void* At(unsigned i) const { return m_manager.GetArrayElement(m_id, m_memory, i, 0); }
    unsigned Count() const { return m_count; }

private:
    void FillBytes(Random& random, unsigned i, const Operand* other)
    {
        static constexpr unsigned char kBytes[] = {0, 1, 2, 0x7F, 0x80, 0xFE, 0xFF, 0xF0};
        Bytes bytes(m_manager.DiskLenGet(m_id, nullptr, KoFMT_BIG, 1, KoFMT_MEMORY));
        const bool like = other != nullptr && random.Below(2) == 0;
        if (like)
            m_manager.Store(m_id, bytes.data(), other->At(i), KoFMT_BIG, 1);
        const unsigned at = random.Below(static_cast<unsigned>(bytes.size()) + 1);
        for (unsigned k = 0; k < bytes.size(); ++k) {
            if (!like || k == at)
                bytes[k] = random.Below(3) != 0 ? kBytes[random.Below(std::size(kBytes))]
                                                : static_cast<unsigned char>(random.Below(256));
        }
        std::size_t wrong = 0;
        while (m_manager.Validate(m_id, bytes.data(), bytes.size(), KoFMT_BIG, 1, wrong) != 0)
            bytes[wrong] = static_cast<unsigned char>(random.Below(2));
        m_manager.Load(m_id, At(i), bytes.data(), KoFMT_BIG, 1);
    }
    void FillText(Random& random, unsigned i, const Operand* other)
    {
        const bool like = other != nullptr && random.Below(2) == 0;
        m_texts[i] = like ? random.Like(other->m_texts[i]) : random.AnyText();
        KoTypeConvertData record{nullptr, &m_texts[i], 1, KoSTRING_T};
        void* made = KoTypeMgr().ConvertFrom(m_id, &record, 1);
        record.manager = nullptr; // the text stays ours
        m_manager.AssignmentPtrGet(m_id)(At(i), made, 1, 0);
        m_manager.Delete(m_id, made, 1);
    }

    const KoTypeMgr& m_manager;
    o_char m_id;
    void* m_memory;
    unsigned m_count = 0;
    Bytes m_stored[3];
    KoString m_texts[3];
};

/// The sort key, made in a room of its length beyond which nothing is written.
inline Bytes Key(const KoTypeMgr& manager, o_char id, const void* value, unsigned char format,
                 unsigned count, o_u2b word)
{
    const unsigned length = manager.SortKeyLen(id, value, format, count, word);
    Bytes key(length + 1, 0xA5);
    EXPECT_EQ(manager.SortKey(id, key.data(), length, value, format, count, word), length);
    EXPECT_EQ(key.back(), 0xA5) << "written beyond the room";
    key.pop_back();
    return key;
}

#endif
