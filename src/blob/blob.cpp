#include "blob/record.h"
#include "number/number_text.h"

#include <koblob.h>
#include <koservices.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

namespace ko
{

namespace
{

/// Memory for `size` bytes; null, after the memory handler was called, when there is none.
void* Allocate(std::size_t size)
{
    void* memory = KoAlloc(size);
    if (memory == nullptr)
        KoCallMemoryHandler(size);
    return memory;
}

int NoLess(int size)
{
    return std::max(size, 0);
}

/// `len` cut to what there is from `pos` on in `length` bytes; 0 where there is nothing.
int Within(int pos, int len, int length)
{
    return pos < 0 || pos > length ? 0 : std::clamp(len, 0, length - pos);
}

/// The bytes as a number, 0 where they are none.
template <class T>
T Number(const KoBlob& blob, const char* format)
{
    T number = 0;
    const auto length = static_cast<std::size_t>(blob.Length());
    if (length != 0)
        ScanNumber(number, reinterpret_cast<const char*>(blob.Seek(0, -1)), length, format);
    return number;
}

} // namespace

int BlobOrder(const unsigned char* a, std::size_t lengthA, const unsigned char* b,
              std::size_t lengthB)
{
    const std::size_t common = std::min(lengthA, lengthB);
    // What memcmp answers beside its sign differs between machines; this result does not.
    const int order = common == 0 ? 0 : std::memcmp(a, b, common);
    return order != 0 ? (order > 0) - (order < 0) : (lengthA > lengthB) - (lengthA < lengthB);
}

} // namespace ko

using namespace ko;

/// A record of `size` bytes in a buffer of `room`; null without memory.
KoBlobData* KoBlob::NewRecord(int size, int room)
{
    auto* record = static_cast<KoBlobData*>(Allocate(sizeof(KoBlobData)));
    if (record == nullptr)
        return nullptr;
    *record = {nullptr, size, 0};
    if (room == 0)
        return record;
    record->data = static_cast<unsigned char*>(Allocate(static_cast<std::size_t>(room)));
    if (record->data == nullptr) {
        KoFree(record);
        return nullptr;
    }
    return record;
}

KoBlobData* KoBlob::AllocData(int size)
{
    return size < 0 || size == INT_MAX ? nullptr : NewRecord(size, size + 1);
}

void KoBlob::Free()
{
    if (m_data == nullptr)
        return;
    KoFree(m_data->data);
    KoFree(std::exchange(m_data, nullptr));
}

/// Becomes a copy of the bytes. False, and unchanged, without memory.
bool KoBlob::Become(const void* data, int size)
{
    size = data == nullptr ? 0 : NoLess(size);
    const auto bytes = static_cast<std::size_t>(size);
    const bool inPlace = m_data != nullptr && m_data->data != nullptr && m_data->length >= size &&
                         m_data->length - size <= kReuse;
    if (inPlace) {
        if (size != 0)
            std::memmove(m_data->data, data, bytes); // the bytes may be its own
        m_data->length = size;
        m_data->room = 0;
        return true;
    }
    if (m_data == nullptr) {
        m_data = NewRecord(size, size);
        if (m_data != nullptr && size != 0)
            std::memcpy(m_data->data, data, bytes);
        return m_data != nullptr;
    }
    unsigned char* buffer = size == 0 ? nullptr : static_cast<unsigned char*>(Allocate(bytes));
    if (buffer == nullptr && size != 0)
        return false;
    if (size != 0)
        std::memcpy(buffer, data, bytes);
    KoFree(std::exchange(m_data->data, buffer));
    m_data->length = size;
    m_data->room = 0;
    return true;
}

/// Moves to a buffer of `size` bytes with the first `kept` ones and the length of these. False, and
/// unchanged, without memory.
bool KoBlob::Move(int size, int kept)
{
    unsigned char* buffer = nullptr;
    if (size != 0) {
        buffer = static_cast<unsigned char*>(Allocate(static_cast<std::size_t>(size)));
        if (buffer == nullptr)
            return false;
    }
    if (kept != 0)
        std::memcpy(buffer, m_data->data, static_cast<std::size_t>(kept));
    KoFree(std::exchange(m_data->data, buffer));
    m_data->length = kept;
    m_data->room = 0;
    return true;
}

// ---- construction and assignment

KoBlob::KoBlob() : m_data(NewRecord(0, 0))
{
}

KoBlob::KoBlob(int size) : m_data(NewRecord(NoLess(size), NoLess(size)))
{
}

KoBlob::KoBlob(const void* data, int size)
{
    Become(data, size);
}

KoBlob::KoBlob(const KoBlob& other)
{
    *this = other;
}

KoBlob::KoBlob(char* text)
{
    const std::size_t length = text == nullptr ? 0 : std::strlen(text);
    m_data = length >= INT_MAX ? nullptr : AllocData(static_cast<int>(length));
    if (m_data == nullptr)
        return;
    if (length != 0)
        std::memcpy(m_data->data, text, length);
    m_data->data[length] = 0;
    ++m_data->length;
}

KoBlob& KoBlob::operator=(const KoBlob& other)
{
    if (this == &other)
        return *this;
    if (other.m_data == nullptr)
        Free();
    else
        Become(other.Length() == 0 ? nullptr : other.m_data->data, other.Length());
    return *this;
}

KoBlob& KoBlob::operator=(KoBlob&& other) noexcept
{
    if (this != &other) {
        Free();
        m_data = std::exchange(other.m_data, nullptr);
    }
    return *this;
}

KoBlob& KoBlob::operator=(char* counted)
{
    o_4b size = -1;
    if (counted != nullptr)
        std::memcpy(&size, counted, sizeof size);
    KoBlob rebuilt;
    if (size < 0)
        rebuilt.SetNullValue();
    else
        rebuilt = KoBlob(counted + sizeof size, size);
    return *this = std::move(rebuilt);
}

int KoBlob::SetNullValue()
{
    Free();
    return KoRC_OK;
}

// ---- editing

void KoBlob::SetTo(const void* data, int size)
{
    Become(data, size);
}

void KoBlob::Resize(unsigned size)
{
    const int length = size > INT_MAX ? 0 : static_cast<int>(size);
    if (m_data != nullptr && length != 0 && length <= m_data->length) {
        m_data->length = length;
        m_data->room = 0;
    } else {
        Expand(length);
    }
}

void KoBlob::Expand(int size)
{
    size = NoLess(size);
    if (m_data == nullptr)
        m_data = NewRecord(size, size);
    else if (Move(size, std::min(size, m_data->length)))
        m_data->length = size;
}

void KoBlob::Append(const void* data, int size)
{
    if (size < 1 || data == nullptr)
        return;
    if (m_data == nullptr) {
        Become(data, size);
        return;
    }
    const int length = m_data->length;
    if (size > INT_MAX - length) {
        KORA_assert("size <= INT_MAX - length", "src\\koblob", __LINE__);
        return;
    }
    const int needed = length + size;
    unsigned char* buffer = m_data->data;
    int room = m_data->room;
    if (room < needed) {
        // The first of a run gets what it needs, those that follow half as much again.
        const int reserve = room == 0 ? 0 : std::min(needed / 2, INT_MAX - needed);
        room = needed + reserve;
        // The reserve is a convenience: without room for it the exact size will do.
        buffer = static_cast<unsigned char*>(KoAlloc(static_cast<std::size_t>(room)));
        if (buffer == nullptr) {
            room = needed;
            buffer = static_cast<unsigned char*>(Allocate(static_cast<std::size_t>(room)));
        }
        if (buffer == nullptr)
            return;
        if (length != 0)
            std::memcpy(buffer, m_data->data, static_cast<std::size_t>(length));
    }
    // The old buffer goes only now, since the bytes may stand in it.
    std::memcpy(buffer + length, data, static_cast<std::size_t>(size));
    if (buffer != m_data->data)
        KoFree(m_data->data);
    *m_data = {buffer, needed, room};
}

void KoBlob::Append(const KoBlob& other)
{
    if (other.Length() != 0)
        Append(other.m_data->data, other.Length());
}

KoBlob& KoBlob::operator+=(const KoBlob& other)
{
    Append(other);
    return *this;
}

void KoBlob::CopyTo(const KoBlob& source, int pos, int len)
{
    const int count = std::min(Within(pos, len, Length()), source.Length());
    if (count > 0)
        std::memmove(m_data->data + pos, source.m_data->data, static_cast<std::size_t>(count));
}

KoBlob KoBlob::CopyFrom(int pos, int len) const
{
    const int count = Within(pos, len, Length());
    if (m_data == nullptr || count == Length())
        return *this;
    return {count == 0 ? nullptr : m_data->data + pos, count};
}

void KoBlob::Cut(int pos, int len)
{
    const int length = Length();
    const int count = Within(pos, len, length);
    if (count == 0)
        return;
    if (count == length) {
        Move(0, 0);
        return;
    }
    std::memmove(m_data->data + pos, m_data->data + pos + count,
                 static_cast<std::size_t>(length - pos - count));
    m_data->length = length - count;
    m_data->room = 0;
}

void KoBlob::Destroy(KoBlob& other)
{
    if (this == &other)
        return;
    if (other.m_data == nullptr) {
        Free();
        return;
    }
    // Its own record, emptied, serves the other blob.
    if (m_data == nullptr)
        m_data = NewRecord(0, 0);
    else
        Move(0, 0);
    std::swap(m_data, other.m_data);
}

// ---- questions

unsigned char* KoBlob::Seek(int pos, int len) const
{
    if (m_data == nullptr || pos < 0 || pos > m_data->length || len == 0 ||
        len > m_data->length - pos)
        return nullptr;
    return m_data->data == nullptr ? nullptr : m_data->data + pos;
}

int KoBlob::Search(const KoBlob& pattern) const
{
    if (m_data == nullptr || pattern.m_data == nullptr)
        return kNotFound;
    const auto size = static_cast<std::size_t>(pattern.Length());
    if (size == 0)
        return 0;
    const unsigned char* at = m_data->data;
    for (int left = Length() - pattern.Length(); left >= 0;) {
        const void* first =
            std::memchr(at, *pattern.m_data->data, static_cast<std::size_t>(left) + 1);
        if (first == nullptr)
            break;
        const auto* found = static_cast<const unsigned char*>(first);
        if (std::memcmp(found, pattern.m_data->data, size) == 0)
            return static_cast<int>(found - m_data->data);
        left -= static_cast<int>(found - at) + 1;
        at = found + 1;
    }
    return kNotFound;
}

bool KoBlob::operator==(const KoBlob& other) const
{
    if (m_data == nullptr || other.m_data == nullptr)
        return m_data == other.m_data;
    return Length() == other.Length() && (*this != other) == 0;
}

int KoBlob::operator!=(const KoBlob& other) const
{
    if (m_data == nullptr || other.m_data == nullptr)
        return (m_data != nullptr) * 2 - (other.m_data != nullptr) * 2;
    return BlobOrder(m_data->data, static_cast<std::size_t>(Length()), other.m_data->data,
                     static_cast<std::size_t>(other.Length()));
}

KoBlob::operator short() const
{
    return static_cast<short>(static_cast<int>(*this));
}

KoBlob::operator int() const
{
    return Number<o_4b>(*this, "%d");
}

KoBlob::operator double() const
{
    return Number<double>(*this, "%.17g");
}
