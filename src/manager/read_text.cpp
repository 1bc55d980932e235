#include "manager/read_text.h"

#include "character/utf8.h"
#include "core/memory_watch.h"

#include <kombs.h>
#include <kostring.h>

#include <algorithm>
#include <cstring>

// Strict reading of UTF-8.

namespace ko
{

namespace
{

/// The characters of a text, as far as they matter here.
struct Utf8Survey {
    std::size_t good = 0; ///< bytes before the first that does not belong
    bool fitsLatin1 = true;
};

Utf8Survey Survey(const char* utf8, std::size_t length)
{
    Utf8Survey survey;
    o_u4b before = 0;
    while (survey.good < length) {
        o_u4b value;
        const unsigned used = DecodeCharacter(value, utf8 + survey.good, length - survey.good);
        if (used == 0 || value == 0 || value > 0x10FFFF || (IsHighHalf(before) && IsLowHalf(value)))
            break;
        survey.fitsLatin1 = survey.fitsLatin1 && value < 0x100;
        survey.good += used;
        before = value;
    }
    return survey;
}

bool IsAscii(const char* utf8, std::size_t length)
{
    return std::all_of(utf8, utf8 + length,
                       [](char c) { return static_cast<unsigned char>(c - 1) < 0x7F; });
}

/// The byte at which character `position` of the text in `codeSet` begins.
std::size_t ByteOf(unsigned position, const char* utf8, std::size_t length, bool wide)
{
    std::size_t at = 0;
    for (unsigned unit = 0; unit < position && at < length; ++unit) {
        o_u4b value;
        at += DecodeCharacter(value, utf8 + at, length - at);
        unit += wide && value > 0xFFFF ? 1 : 0;
    }
    return at;
}

/// UTF-8 as a string: 0, or a KoReadResult or KoRC_NO_MEMORY with `at` the offset of a fault.
int ToString(KoString& text, const char* utf8, std::size_t length, std::size_t& at)
{
    at = 0;
    if (length > 4 * std::size_t{KoString::kMaxBytes})
        return KoREAD_TOO_LONG;
    if (!IsAscii(utf8, length)) {
        const Utf8Survey survey = Survey(utf8, length);
        at = survey.good;
        if (survey.good != length)
            return KoREAD_NOT_UTF8;
        if (!survey.fitsLatin1)
            text = KoString(KoCS_UNICODE, KoString::GetDefaultLanguage());
    }
    switch (KoMBS2KoString(utf8, text, static_cast<int>(length))) {
    case 0:
        return 0;
    case KoMBS_NO_MEMORY:
        return KoRC_NO_MEMORY;
    case KoMBS_TOO_LONG:
        return KoREAD_TOO_LONG;
    default:
        return KoREAD_NOT_UTF8;
    }
}

} // namespace

int ReadWhole(const KoTypeMgr& manager, const KoTypeExtension& type, o_char id, void* value,
              const KoString& text, const char* format, unsigned& errorAt)
{
    const int result = type.parse(value, text, format, errorAt);
    if (result != KoREAD_NOT_A_VALUE || errorAt == 0 || errorAt == text.Len())
        return result;
    // What stands before the fault may be a value by itself. It is read into another one.
    void* const other = manager.Create(id, 1);
    if (other == nullptr)
        return result;
    const KoString before = text.Copy(0, static_cast<short>(errorAt));
    unsigned ignored = 0;
    const bool trails = type.parse(other, before, format, ignored) == 0;
    manager.Delete(id, other, 1);
    return trails ? KoREAD_TRAILING : result;
}

} // namespace ko

using namespace ko;

const char* KoTypeMgr::TextFormatGet(o_char id) const
{
    return ExtensionOf(*m_table, id).textFormat;
}

int KoTypeMgr::ReadText(o_char id, void* value, const char* utf8, std::size_t length,
                        const char* format, std::size_t& at) const
{
    const KoTypeExtension& type = ExtensionOf(*m_table, id);
    at = 0;
    if (type.parse == nullptr)
        return KoRC_NOT_SUPPORTED;
    if (utf8 == nullptr)
        length = 0;
    if (format == nullptr)
        format = type.textFormat;
    if (type.parseAscii != nullptr && type.parseAscii(value, utf8, length, format)) {
        at = length;
        return KoRC_OK;
    }
    const MemoryWatch memory;
    KoString text(KoCS_LATIN1, KoString::GetDefaultLanguage());
    if (const int result = ToString(text, utf8, length, at); result != 0)
        return result;
    unsigned errorAt = 0;
    const int result = ReadWhole(*this, type, id, value, text, format, errorAt);
    if (memory.HasRunOut() && result != 0) {
        at = 0;
        return KoRC_NO_MEMORY;
    }
    at = result == 0 ? length : ByteOf(errorAt, utf8, length, text.Width() == 2);
    return result;
}
