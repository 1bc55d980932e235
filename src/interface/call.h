#ifndef KO_INTERFACE_CALL_H
#define KO_INTERFACE_CALL_H

#include "manager/slot.h"
#include "string/null_text.h"
#include "string/utf8_text.h"

#include <ko.h>
#include <komemory.h>

#include <cstddef>
#include <optional>

/// What the calls of ko.h share: what they are handed is checked, and what they need for the time
/// of the call is released at its end.

namespace ko
{

/// What everything goes through.
inline const KoTypeMgr& Manager()
{
    static const KoTypeMgr manager;
    return manager;
}

/// True for a number of a type with values.
inline bool IsType(int type) noexcept
{
    return type >= 0 && type < KoTYPE_COUNT && type != KoRES_T &&
           FindType(koCurrentTypeTable, static_cast<o_char>(type)) != nullptr;
}

inline bool IsOrder(ko_order order) noexcept
{
    return order == KO_LITTLE || order == KO_BIG;
}

inline bool IsWord(unsigned word) noexcept
{
    constexpr unsigned kKnown = KO_PLAIN | KO_IGNORE_CASE | KO_IGNORE_ACCENTS | KO_SKIP_SPACES |
                                KO_NO_WILDCARDS | KO_SKIP_SYMBOLS;
    return (word & ~kKnown) == 0;
}

/// The first thing wrong with the arguments that most calls have.
inline ko_status CheckArguments(int type, ko_order order, unsigned word = 0) noexcept
{
    if (!IsType(type))
        return KO_NO_TYPE;
    return IsOrder(order) && IsWord(word) ? KO_OK : KO_BAD_ARGUMENT;
}

/// Looks whether the bytes begin with a value; `at` as in ko_validate.
ko_status CheckBegin(o_char id, const void* bytes, std::size_t length, ko_order order,
                     std::size_t& at);

/// KO_OK where the bytes are one value and nothing else.
ko_status CheckBytes(o_char id, const void* bytes, std::size_t length, ko_order order);

/// The first thing wrong with the arguments, then with the bytes of a value.
inline ko_status CheckValue(int type, const void* bytes, std::size_t length, ko_order order,
                            unsigned word = 0)
{
    const ko_status status = CheckArguments(type, order, word);
    return status == KO_OK ? CheckBytes(static_cast<o_char>(type), bytes, length, order) : status;
}

/// KO_OK for no format, and for one that no reader or printer chokes on.
ko_status CheckFormat(const char* format);

/// What reading UTF-8 gave, a KoMbsResult.
ko_status ReadStatus(int result);

/// The time of a call: memory that runs out is noted, and the settings of the caller hold.
class CallScope
{
public:
    explicit CallScope(const ko_settings* settings = nullptr)
        : m_memory(settings != nullptr ? settings->out_of_memory : nullptr,
                   settings != nullptr ? settings->context : nullptr)
    {
        if (settings != nullptr)
            Apply(*settings);
    }

    /// KO_OK, or what is wrong with the settings.
    ko_status Status() const { return m_status; }
    bool HasRunOut() const { return m_memory.HasRunOut(); }
    /// The result of the call, unless memory has run out.
    ko_status End(ko_status status) const { return HasRunOut() ? KO_NO_MEMORY : status; }
    /// The code set of texts that are made; 0: any.
    unsigned char CodeSet() const { return m_codeSet; }

private:
    struct OwnNullText {
        Utf8Text text;
        std::optional<NullTextScope> scope;
    };

    void Apply(const ko_settings& settings);

    KoMemoryScope m_memory;
    std::optional<KoLanguageScope> m_language;
    std::optional<OwnNullText> m_nullText;
    unsigned char m_codeSet = KoCS_NONE;
    ko_status m_status = KO_OK;
};

/// One new value in memory form, on the stack where it is small.
class ScopedValue
{
public:
    explicit ScopedValue(o_char id)
        : m_id(id), m_type(TypeOf(koCurrentTypeTable, id)), m_value(m_room)
    {
        if (m_type.memLen <= sizeof m_room)
            m_type.constructor(m_value, 1, 0);
        else
            m_value = m_type.create(1);
    }
    ~ScopedValue()
    {
        if (m_value == m_room) {
            if (m_type.isFixed == 0) // one of fixed length holds nothing
                m_type.destructor(m_value, 1, 0);
        } else if (m_value != nullptr) {
            m_type.destroy(m_value, 1);
        }
    }
    ScopedValue(const ScopedValue&) = delete;
    ScopedValue& operator=(const ScopedValue&) = delete;

    o_char Id() const { return m_id; }
    /// Null where memory ran out.
    void* Get() { return m_value; }
    const KoTypeDescriptor& Type() const { return m_type; }
    /// Becomes what stored bytes say, which were looked at before.
    ko_status Load(const void* bytes, std::size_t length, ko_order order);

private:
    o_char m_id;
    const KoTypeDescriptor& m_type;
    void* m_value;
    alignas(std::max_align_t) unsigned char m_room[16];
};

/// The room of a caller for a result whose length is not known before.
class Room
{
public:
    Room(void* out, std::size_t* size)
        : m_out(static_cast<char*>(out)), m_size(size), m_room(size != nullptr ? *size : 0)
    {
    }

    bool IsUsable() const { return m_size != nullptr && (m_out != nullptr || m_room == 0); }
    char* Out() const { return m_out; }
    std::size_t Size() const { return m_room; }
    /// Nothing was made.
    ko_status Fail(ko_status status) const
    {
        if (m_size != nullptr)
            *m_size = 0;
        return status;
    }
    /// So many bytes are the result.
    ko_status Takes(std::size_t bytes) const
    {
        *m_size = bytes;
        return bytes <= m_room ? KO_OK : KO_NO_ROOM;
    }
    /// The stored bytes of a value.
    ko_status PutValue(ScopedValue& value, ko_order order) const;

private:
    char* m_out;
    std::size_t* m_size;
    std::size_t m_room;
};

} // namespace ko

#endif
