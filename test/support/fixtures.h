#ifndef KO_TEST_SUPPORT_FIXTURES_H
#define KO_TEST_SUPPORT_FIXTURES_H

#include "support/data_file.h"

#include <gtest/gtest.h>
#include <kotms.h>

#include <memory>
#include <string>
#include <vector>

/// The id of a type, or -1.
inline int FindType(const std::string& name)
{
    for (int id = 0; id < KoTYPE_COUNT; ++id) {
        if (id != KoRES_T && name == koCurrentTypeTable.entry[id]->name)
            return id;
    }
    return -1;
}

/// Calls `visit(manager, id)` for every type, whose name it gives to what fails.
template <class Visit>
void ForEachType(Visit visit)
{
    KoTypeMgr manager;
    for (o_char id = 0; id < KoTYPE_COUNT; ++id) {
        if (id == KoRES_T)
            continue;
        SCOPED_TRACE(manager.NameGet(id));
        visit(manager, id);
    }
}

/// True for identities: a new one is null, in memory they are equal or not, and their order is that
/// of the bytes of format 1 read as numbers.
inline bool IsIdentity(o_char id)
{
    return id == KoOBJID_T || id == KoCLID_T || id == KoREF_T;
}

/// An array that a type made, with its release.
struct Array {
    const KoTypeMgr& manager;
    o_char id;
    void* data;
    unsigned count;
    ~Array() { manager.Delete(id, data, count); }
};

/// Exact comparison: no wildcards in texts, none in the fields of dates and times.
inline constexpr unsigned short kExact = 0x0110;

using data::Bytes;

/// The stored form of values, written at an odd address; nothing is written around it.
inline Bytes Stored(const KoTypeMgr& manager, o_char id, const void* values, unsigned char format,
                    unsigned count)
{
    constexpr unsigned char kGuard = 0xA5;
    const unsigned size = manager.DiskLenGet(id, values, format, count, KoFMT_MEMORY);
    Bytes bytes(size + 17, kGuard);
    EXPECT_EQ(manager.Store(id, bytes.data() + 1, values, format, count), size);
    EXPECT_EQ(bytes.front(), kGuard);
    for (std::size_t at = size + 1; at < bytes.size(); ++at)
        EXPECT_EQ(bytes[at], kGuard) << "written beyond the end, format " << int{format};
    return Bytes(bytes.begin() + 1, bytes.begin() + 1 + static_cast<std::ptrdiff_t>(size));
}

/// The bytes in a buffer of exactly their number, so that a read beyond them is noticed.
inline std::unique_ptr<unsigned char[]> Exactly(const Bytes& bytes)
{
    auto copy = std::make_unique<unsigned char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), copy.get());
    return copy;
}

/// The golden corpus: a section for every type, whose head is the type's name, with the columns
/// bytes in format 1, bytes in format 2, hash, printed text, converted text, reason.
inline const std::vector<data::Section>& Corpus()
{
    static const std::vector<data::Section> corpus = data::Read("golden", 6);
    return corpus;
}

/// The values of one type that stand in the golden corpus, smallest, largest, null, empty, awkward,
/// as an array that the type made.
class FixtureArray
{
public:
    FixtureArray(const KoTypeMgr& manager, o_char id) : m_manager(manager), m_id(id)
    {
        for (const data::Section& section : Corpus()) {
            if (FindType(section.head[0]) == id)
                m_rows = section.rows;
        }
        m_data = manager.Create(id, Count());
        for (unsigned i = 0; m_data != nullptr && i < Count(); ++i)
            manager.Load(id, (*this)[i], data::ParseBytes(m_rows[i][0]).data(), KoFMT_LITTLE, 1);
    }
    FixtureArray(const FixtureArray&) = delete;
    FixtureArray& operator=(const FixtureArray&) = delete;
    ~FixtureArray() { m_manager.Delete(m_id, m_data, Count()); }

    unsigned Count() const { return static_cast<unsigned>(m_rows.size()); }
    void* Data() const { return m_data; }
    void* operator[](unsigned i) const { return m_manager.GetArrayElement(m_id, m_data, i, 0); }
    const char* Reason(unsigned i) const { return m_rows[i].Reason().c_str(); }

private:
    const KoTypeMgr& m_manager;
    o_char m_id;
    std::vector<data::Row> m_rows;
    void* m_data = nullptr;
};

#endif
