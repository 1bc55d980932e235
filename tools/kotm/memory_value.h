#ifndef KOTM_MEMORY_VALUE_H
#define KOTM_MEMORY_VALUE_H

#include <kotms.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace kotm
{

/// The manager that the program asks about types.
inline KoTypeMgr& Manager()
{
    static KoTypeMgr manager;
    return manager;
}

/// One value of a type in memory form.
class MemoryValue
{
public:
    /// Throws Error (ErrorCode::Usage) where there is no such type, or it has no values.
    explicit MemoryValue(const std::string& typeName);
    ~MemoryValue();
    MemoryValue(const MemoryValue&) = delete;
    MemoryValue& operator=(const MemoryValue&) = delete;

    o_char Type() const { return m_type; }
    void* Get() { return m_value; }
    bool IsNull() const;

    /// Reads a text strictly. Throws Error (ErrorCode::Usage).
    void Read(const std::string& utf8);
    /// Reads a persistent form, whatever the bytes are. Throws Error (ErrorCode::Usage) where they
    /// are not exactly one; no other bytes are read.
    void Load(const std::string& bytes, unsigned char format);
    /// The persistent form.
    std::string Store(unsigned char format) const;
    /// The text of the type's own format.
    std::string Text() const;

private:
    std::size_t SizeAt(std::string_view bytes, unsigned char format) const;
    std::string LengthFault(std::string_view bytes, unsigned char format) const;

    std::string m_name;
    o_char m_type = 0;
    void* m_value;
};

/// Persistent bytes of a value as the type creates it; for a fixed-length type, of any value.
std::size_t PersistentLength(o_char type);

} // namespace kotm

#endif
