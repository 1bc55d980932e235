#include "interface/call.h"

#include "collation/text.h"

#include <kostrcmp.h>

#include <algorithm>
#include <cstring>
#include <limits>

using namespace ko;

// The order of stored values, of their keys and of texts.

namespace ko
{

namespace
{

constexpr int SignOf(int number)
{
    return (number > 0 ? 1 : 0) - (number < 0 ? 1 : 0);
}

/// The comparison of identities does not look at the byte order, their keys do.
bool OrdersByKeyAlone(o_char id, ko_order order)
{
    return order == KO_BIG && (id == KoOBJID_T || id == KoCLID_T || id == KoREF_T);
}

int CompareKeys(o_char id, const void* a, const void* b, unsigned short word, unsigned char format)
{
    unsigned char keys[2][64];
    const unsigned first = Manager().SortKey(id, keys[0], sizeof keys[0], a, format, 1, word);
    const unsigned second = Manager().SortKey(id, keys[1], sizeof keys[1], b, format, 1, word);
    const unsigned both = std::min({first, second, unsigned{sizeof keys[0]}});
    const int order = std::memcmp(keys[0], keys[1], both);
    return order != 0 ? order : static_cast<int>(first) - static_cast<int>(second);
}

/// A text of a caller with a terminator, in the narrowest code set.
class CollatedText
{
public:
    CollatedText() = default;
    ~CollatedText()
    {
        if (m_buffer != m_short)
            KoFree(m_buffer);
    }
    CollatedText(const CollatedText&) = delete;
    CollatedText& operator=(const CollatedText&) = delete;

    ko_status Read(const char* utf8, std::size_t length)
    {
        if (utf8 == nullptr && length != 0)
            return KO_BAD_ARGUMENT;
        if (length > static_cast<std::size_t>(std::numeric_limits<int>::max()) / 4)
            return KO_TOO_LONG;
        const Utf8Survey survey(utf8, length);
        if (survey.at < length)
            return KO_NOT_UTF8;
        m_codeSet = survey.isAscii ? KoCS_LATIN1 : KoCS_UNICODE;
        const unsigned width = KoCodeSetWidth(m_codeSet);
        const std::size_t end = survey.units * width;
        if (end + width > sizeof m_short)
            m_buffer = StringAccess::Allocate(end + width);
        if (m_buffer == nullptr)
            return KO_NO_MEMORY;
        if (survey.isAscii && length != 0)
            std::memcpy(m_buffer, utf8, length);
        else
            WriteCharacters(m_buffer, m_codeSet, utf8, length);
        std::memset(m_buffer + end, 0, width);
        return KO_OK;
    }
    const char* Get() const { return m_buffer; }
    unsigned char CodeSet() const { return m_codeSet; }

private:
    alignas(16) char m_short[256];
    char* m_buffer = m_short;
    unsigned char m_codeSet = KoCS_LATIN1;
};

} // namespace

} // namespace ko

ko_status ko_compare(int type, const void* a, size_t a_length, const void* b, size_t b_length,
                     unsigned word, ko_order order, int* result)
{
    if (result == nullptr)
        return KO_BAD_ARGUMENT;
    const auto id = static_cast<o_char>(type);
    ko_status status = CheckValue(type, a, a_length, order, word);
    if (status == KO_OK)
        status = CheckBytes(id, b, b_length, order);
    if (status != KO_OK)
        return status;
    const auto format = static_cast<unsigned char>(order);
    const auto cmpOp = static_cast<unsigned short>(word);
    if (OrdersByKeyAlone(id, order)) {
        *result = SignOf(CompareKeys(id, a, b, cmpOp, format));
        return KO_OK;
    }
    // Comparisons take their operands unqualified and do not write to them. They allocate nothing.
    int code = 0;
    const int found =
        TypeOf(koCurrentTypeTable, id)
            .cmp(format, static_cast<unsigned>(a_length), const_cast<void*>(a),
                 static_cast<unsigned>(b_length), const_cast<void*>(b), cmpOp, 1, code);
    if (code == KoRC_NOT_SUPPORTED || code == KoRC_TRUNCATED)
        return KO_NOT_SUPPORTED;
    *result = SignOf(found);
    return KO_OK;
}

ko_status ko_key(int type, const void* bytes, size_t length, unsigned word, ko_order order,
                 void* out, size_t* size)
{
    const Room room(out, size);
    if (!room.IsUsable())
        return room.Fail(KO_BAD_ARGUMENT);
    const auto id = static_cast<o_char>(type);
    ko_status status = CheckValue(type, bytes, length, order, word);
    if (status != KO_OK)
        return room.Fail(status);
    // Keys are made without memory.
    const std::size_t most = std::numeric_limits<unsigned>::max();
    const unsigned needed = ExtensionOf(id).sortKey(
        out, static_cast<unsigned>(std::min(room.Size(), most)), bytes,
        static_cast<unsigned char>(order), 1, static_cast<unsigned short>(word));
    return needed != 0 ? room.Takes(needed) : room.Fail(KO_NO_ORDER);
}

ko_status ko_from_key(int type, const void* key, size_t length, unsigned word, ko_order order,
                      void* out, size_t* size)
{
    return ko_from_key_with(nullptr, type, key, length, word, order, out, size);
}

ko_status ko_from_key_with(const ko_settings* settings, int type, const void* key, size_t length,
                           unsigned word, ko_order order, void* out, size_t* size)
{
    const Room room(out, size);
    if (!room.IsUsable() || (key == nullptr && length != 0))
        return room.Fail(KO_BAD_ARGUMENT);
    if (const ko_status status = CheckArguments(type, order, word); status != KO_OK)
        return room.Fail(status);
    if (length > std::numeric_limits<unsigned>::max())
        return room.Fail(KO_DAMAGED);
    const CallScope scope(settings);
    if (scope.Status() != KO_OK)
        return room.Fail(scope.Status());
    const auto id = static_cast<o_char>(type);
    ScopedValue value(id);
    int code = KoRC_NO_MEMORY;
    if (value.Get() != nullptr)
        code = Manager().FromSortKey(id, value.Get(), key, static_cast<unsigned>(length), 1,
                                     static_cast<unsigned short>(word));
    if (scope.HasRunOut() || code == KoRC_NO_MEMORY)
        return room.Fail(KO_NO_MEMORY);
    if (code != KoRC_OK)
        return room.Fail(code == KoRC_NOT_SUPPORTED ? KO_NOT_SUPPORTED : KO_DAMAGED);
    return room.PutValue(value, order);
}

ko_status ko_hash(int type, const void* bytes, size_t length, unsigned word, ko_order order,
                  uint64_t* hash)
{
    if (hash == nullptr)
        return KO_BAD_ARGUMENT;
    const auto id = static_cast<o_char>(type);
    ko_status status = CheckValue(type, bytes, length, order, word);
    if (status != KO_OK)
        return status;
    const CallScope scope;
    const auto format = static_cast<unsigned char>(order);
    const auto cmpOp = static_cast<unsigned short>(word);
    const o_u8b found = Manager().HashUnder(id, bytes, format, 1, cmpOp);
    if (scope.HasRunOut())
        return KO_NO_MEMORY;
    if (found == 0 && Manager().SortKeyLen(id, bytes, format, 1, cmpOp) == 0)
        return KO_NO_ORDER;
    *hash = found;
    return KO_OK;
}

ko_status ko_collate(const char* a, size_t a_length, const char* b, size_t b_length, unsigned word,
                     int* result)
{
    return ko_collate_with(nullptr, a, a_length, b, b_length, word, result);
}

ko_status ko_collate_with(const ko_settings* settings, const char* a, size_t a_length,
                          const char* b, size_t b_length, unsigned word, int* result)
{
    if (result == nullptr || !IsWord(word))
        return KO_BAD_ARGUMENT;
    const CallScope scope(settings);
    CollatedText first;
    CollatedText second;
    ko_status status = scope.Status();
    if (status == KO_OK)
        status = first.Read(a, a_length);
    if (status == KO_OK)
        status = second.Read(b, b_length);
    if (status != KO_OK)
        return status;
    const unsigned char language = KoLanguageContext::GetDefaultLanguage();
    const int found =
        KoStrCmp(first.CodeSet(), language, first.Get(), second.CodeSet(), language, second.Get(),
                 static_cast<unsigned short>(word), -1, KoFMT_MEMORY, nullptr);
    if (scope.HasRunOut())
        return KO_NO_MEMORY;
    *result = SignOf(found);
    return KO_OK;
}
