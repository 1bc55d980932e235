#include "memory_value.h"

#include "text.h"

#include <kostore.h>

#include <algorithm>

namespace kotm
{

using ko::store::Error;
using ko::store::ErrorCode;

namespace
{

o_char TypeNamed(const std::string& name)
{
    o_char type = 0;
    if (Manager().Name2KoTypeId(name.c_str(), type) != 0)
        throw Error(ErrorCode::Usage, "there is no type \"" + name + "\"");
    return type;
}

/// Why KoReadMBS took no text. Code set 0 has every character.
std::string TextFault(const std::string& utf8, int result, std::size_t at)
{
    if (result == KoMBS_NO_MEMORY)
        return "no memory for the text";
    if (result != KoMBS_TOO_LONG)
        return utf8[at] == '\0' ? "NUL byte in a text" : "byte that is no UTF-8";
    constexpr std::size_t kMostNarrow = KoString::kMaxBytes - 1;   // the terminator takes one byte
    constexpr std::size_t kMostWide = KoString::kMaxBytes / 2 - 1; // or one unit
    const bool narrow = CountCharacters(std::string_view(utf8).substr(0, at)) == kMostNarrow;
    // Characters of four bytes are two units of 16 bits.
    const auto pairs = std::count_if(utf8.begin(), utf8.end(),
                                     [](char c) { return static_cast<unsigned char>(c) >= 0xF0; });
    const std::size_t units =
        CountCharacters(utf8) + (narrow ? 0 : static_cast<std::size_t>(pairs));
    return "text of " + std::to_string(units) + " characters where " +
           std::to_string(narrow ? kMostNarrow : kMostWide) + " are the most";
}

} // namespace

MemoryValue::MemoryValue(const std::string& typeName)
    : m_name(typeName), m_type(TypeNamed(typeName)), m_value(Manager().Create(m_type, 1))
{
    if (m_value == nullptr)
        throw Error(ErrorCode::Usage,
                    std::string("the type \"") + Manager().NameGet(m_type) + "\" has no values");
}

MemoryValue::~MemoryValue()
{
    Manager().Delete(m_type, m_value, 1);
}

bool MemoryValue::IsNull() const
{
    return Manager().SupportsNullValue(m_type) != 0 && Manager().IsNullValue(m_type, m_value) != 0;
}

void MemoryValue::Read(const std::string& utf8)
{
    KoString text;
    std::size_t at = 0;
    const int result = KoReadMBS(utf8.data(), utf8.size(), 0, text, at);
    if (result != 0) {
        const std::size_t place = result == KoMBS_TOO_LONG ? utf8.size() : at;
        throw Error(ErrorCode::Usage,
                    "text, byte " + std::to_string(place + 1) + ": " + TextFault(utf8, result, at));
    }
    unsigned errorAt = 0;
    const int code = Manager().ParseFromKoString(m_type, m_value, text, nullptr, errorAt);
    if (code == KoRC_NOT_SUPPORTED)
        throw Error(ErrorCode::Usage, "the type " + m_name + " is not read from text");
    if (code != 0)
        throw Error(ErrorCode::Usage, Quoted(utf8) + " is no value of the type " + m_name +
                                          " (character " + std::to_string(errorAt + 1) + ")");
}

std::size_t MemoryValue::SizeAt(std::string_view bytes, unsigned char format) const
{
    const std::size_t size =
        Manager().IsFixed(m_type) != 0 ? PersistentLength(m_type) : [&]() -> std::size_t {
        MemFile file(bytes.data(), bytes.size());
        return Manager().DiskLenGetFromMemFile(m_type, &file, format, 1);
    }();
    return size <= bytes.size() ? size : 0;
}

std::string MemoryValue::LengthFault(std::string_view bytes, unsigned char format) const
{
    const std::string given = std::to_string(bytes.size()) + " bytes";
    const std::string type = Manager().NameGet(m_type);
    if (Manager().IsFixed(m_type) != 0)
        return given + " where " + type + " takes " + std::to_string(PersistentLength(m_type));
    const std::size_t size = SizeAt(bytes, format);
    return size == 0 ? given + " do not hold a whole " + type
                     : given + " where this " + type + " takes " + std::to_string(size);
}

void MemoryValue::Load(const std::string& bytes, unsigned char format)
{
    if (bytes.empty() || SizeAt(bytes, format) != bytes.size())
        throw Error(ErrorCode::Usage, LengthFault(bytes, format));
    // A form that is read beyond its end gives another value with other bytes after it.
    std::string stored[2];
    for (const char behind : {'\0', 'U'}) {
        std::string copy = bytes;
        copy.append(64, behind).append(64, '\0');
        const bool isWhole =
            Manager().Load(m_type, m_value, copy.data(), format, 1) == bytes.size();
        stored[behind == 'U' ? 1 : 0] = isWhole ? Store(KoFMT_LITTLE) : std::string(1, behind);
    }
    if (stored[0] != stored[1])
        throw Error(ErrorCode::Usage, "the bytes are no value of the type " + m_name);
}

std::string MemoryValue::Store(unsigned char format) const
{
    std::string bytes(Manager().DiskLenGet(m_type, m_value, format, 1, KoFMT_MEMORY), '\0');
    // The key-form bit lets a type ask for more room than it fills.
    bytes.resize(Manager().Store(m_type, bytes.data(), m_value, format, 1));
    return bytes;
}

std::string MemoryValue::Text() const
{
    std::string text;
    ko::store::Codec({"", "", ko::Type::Of(m_type).value()}).Print(Store(KoFMT_LITTLE), text);
    return text;
}

std::size_t PersistentLength(o_char type)
{
    void* value = Manager().Create(type, 1);
    if (value == nullptr)
        return 0;
    const std::size_t length = Manager().DiskLenGet(type, value, KoFMT_LITTLE, 1, KoFMT_MEMORY);
    Manager().Delete(type, value, 1);
    return length;
}

} // namespace kotm
