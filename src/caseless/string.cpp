#include "caseless/text.h"
#include "collation/orders.h"
#include "collation/text.h"
#include "number/ascii.h"
#include "number/string_number.h"

#include <koservices.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace ko
{

namespace
{

std::string_view View(const KoIStringText& text)
{
    return text.IsEmpty() ? std::string_view() : std::string_view(text.StrGet());
}

constexpr std::size_t kDigits = 32;

template <class T>
struct Printed {
    Printed(T number, const char* format)
        : length(static_cast<unsigned short>(PrintNumber(text, kDigits, format, number)))
    {
    }
    char text[kDigits];
    unsigned short length;
};

template <class T>
T Number(const KoIStringText& text, const char* format)
{
    T number = 0;
    const std::string_view view = View(text);
    ScanNumber(number, view.data(), view.size(), format);
    return number;
}

/// Only a text that begins like a number counts.
template <class T>
int ReadChecked(const KoIStringText& text, T& result, const char* format)
{
    result = 0;
    const char first = *text.StrGet();
    if (first != '-' && !IsDigit(first))
        return -1;
    result = Number<T>(text, format);
    return KoRC_OK;
}

bool IsBlank(char c)
{
    return CodeSetOf(KoCS_WINDOWS_1252).GetOrder(static_cast<unsigned char>(c)) < KoORDER_SYMBOL;
}

unsigned char Upper(unsigned char c)
{
    if ((c >= 97 && c <= 122) || (c >= 224 && c <= 254 && c != 247))
        return static_cast<unsigned char>(c - 32);
    return c == 156 ? 140 : c == 159 ? 255 : c;
}

unsigned char Lower(unsigned char c)
{
    if ((c >= 65 && c <= 90) || (c >= 192 && c <= 222 && c != 215))
        return static_cast<unsigned char>(c + 32);
    return c == 140 ? 156 : c == 255 ? 159 : c;
}

} // namespace

void CaselessAccess::Set(KoIStringText& text, const char* bytes, unsigned count, o_u1b flag)
{
    KoIStringText made;
    made.Splice(0, 0, bytes, count);
    if (count != 0 && made.IsEmpty())
        return; // no memory
    made.m_flag = flag;
    text = std::move(made);
}

} // namespace ko

using namespace ko;

KoIStringText::KoIStringText(const char* s, unsigned short n)
{
    const void* end = s == nullptr ? nullptr : std::memchr(s, 0, n);
    const auto length =
        end == nullptr ? n : static_cast<unsigned>(static_cast<const char*>(end) - s);
    Splice(0, 0, s, s == nullptr ? 0 : length);
}

KoIStringText::KoIStringText(int n)
{
    const Printed<int> printed(n, "%d");
    Splice(0, 0, printed.text, printed.length);
}

KoIStringText::KoIStringText(o_8b n)
{
    const Printed<o_8b> printed(n, "%S");
    Splice(0, 0, printed.text, printed.length);
}

KoIStringText::KoIStringText(o_u8b n)
{
    const Printed<o_u8b> printed(n, "%S");
    Splice(0, 0, printed.text, printed.length);
}

KoIStringText::KoIStringText(double d)
{
    const Printed<double> printed(d, "%.17g");
    Splice(0, 0, printed.text, printed.length);
}

KoIStringText::KoIStringText(const KoIStringText& other) : m_flag(other.m_flag)
{
    Splice(0, 0, other.m_text, other.Len());
}

KoIStringText::KoIStringText(KoIStringText&& other) noexcept
    : m_text(std::exchange(other.m_text, nullptr)), m_flag(other.m_flag)
{
}

KoIStringText::~KoIStringText()
{
    KoFree(m_text);
}

KoIStringText& KoIStringText::operator=(const KoIStringText& other)
{
    if (this != &other)
        CaselessAccess::Set(*this, other.m_text, other.Len(), other.m_flag);
    return *this;
}

KoIStringText& KoIStringText::operator=(KoIStringText&& other) noexcept
{
    std::swap(m_text, other.m_text);
    std::swap(m_flag, other.m_flag);
    return *this;
}

void KoIStringText::Init()
{
    Destroy();
    m_flag = 0;
}

void KoIStringText::Destroy()
{
    KoFree(std::exchange(m_text, nullptr));
}

// ---- questions

unsigned short KoIStringText::Len() const
{
    return static_cast<unsigned short>(View(*this).size());
}

const char* KoIStringText::StrGet() const
{
    return m_text == nullptr ? "" : m_text;
}

char& KoIStringText::operator[](int i)
{
    return i >= 0 && i < Len() ? m_text[i] : m_outside = '\0';
}

char KoIStringText::operator[](int i) const
{
    return i >= 0 && i < Len() ? m_text[i] : '\0';
}

KoIStringText::operator short() const
{
    return static_cast<short>(Number<o_4b>(*this, "%d"));
}

KoIStringText::operator int() const
{
    return Number<o_4b>(*this, "%d");
}

KoIStringText::operator o_8b() const
{
    return Number<o_8b>(*this, "%d");
}

KoIStringText::operator double() const
{
    return Number<double>(*this, "%.17g");
}

int KoIStringText::Atol(int& result) const
{
    return ReadChecked(*this, result, "%d");
}

int KoIStringText::Atoll(o_8b& result) const
{
    return ReadChecked(*this, result, "%d");
}

int KoIStringText::Strtol(int& result) const
{
    return ReadChecked(*this, result, "%i");
}

int KoIStringText::Strtoll(o_8b& result) const
{
    return ReadChecked(*this, result, "%i");
}

int KoIStringText::Find(const KoIStringText& piece, unsigned short start) const
{
    if (IsEmpty() || piece.IsEmpty())
        return -1;
    const std::size_t found = View(*this).find(View(piece), start);
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

int KoIStringText::Weigh(const KoIStringText& other, bool ignoresCase, unsigned len) const
{
    return CompareWeights(CaselessText::Of(*this), CaselessText::Of(other),
                          CaselessWeights::Of(ignoresCase), len)
        .order;
}

// ---- editing

/// The one step that edits a text. The old buffer is released last: the piece may stand in it.
void KoIStringText::Splice(unsigned pos, unsigned removed, const char* piece, unsigned count,
                           char fill)
{
    if (count == 0 && removed == 0)
        return;
    const unsigned suffixFrom = pos + removed;
    const unsigned suffix = Len() - suffixFrom;
    unsigned room = pos + count + suffix;
    if (room > kMaxLength) {
        ReportOverflow();
        room = kMaxLength;
    }
    char* buffer = nullptr;
    if (room != 0) {
        buffer = static_cast<char*>(KoAlloc(room + 1));
        if (buffer == nullptr) {
            KoCallMemoryHandler(room + 1);
            return;
        }
        char* at = buffer;
        const auto put = [&](const char* from, unsigned bytes) {
            bytes = std::min(bytes, room);
            if (from == nullptr)
                std::memset(at, fill, bytes);
            else
                std::memcpy(at, from, bytes);
            at += bytes;
            room -= bytes;
        };
        put(m_text, pos);
        put(piece, count);
        put(suffix == 0 ? nullptr : m_text + suffixFrom, suffix);
        *at = 0;
    }
    KoFree(std::exchange(m_text, buffer));
}

void KoIStringText::SpliceAt(unsigned pos, const KoIStringText& piece, bool over)
{
    const unsigned len = Len();
    if (pos > len)
        return;
    const unsigned count = over ? std::min<unsigned>(piece.Len(), len - pos) : piece.Len();
    Splice(pos, over ? count : 0, piece.m_text, count);
}

void KoIStringText::CutAt(unsigned short pos, unsigned short n)
{
    const unsigned len = Len();
    if (pos < len)
        Splice(pos, std::min<unsigned>(n, len - pos), nullptr, 0);
}

/// `c` from `from` up to a length of `n`, in the place of what stands there.
void KoIStringText::FillWith(unsigned from, unsigned short n, char c)
{
    const unsigned count = c == 0 || n < from ? 0 : n - from;
    Splice(from, Len() - from, nullptr, count, c);
}

void KoIStringText::ReplaceEvery(const KoIStringText& from, const KoIStringText& to, unsigned start)
{
    const std::string_view text = View(*this);
    const std::string_view piece = View(from);
    const std::string_view put = View(to);
    std::size_t at = piece.empty() ? std::string_view::npos : text.find(piece, start);
    if (at == std::string_view::npos)
        return;
    const std::size_t grown = put.size() <= piece.size() ? 0 : put.size() - piece.size();
    // One more, so that Splice notices a text that is too long.
    const std::size_t most = std::min<std::size_t>(
        text.size() + (text.size() - at) / piece.size() * grown, kMaxLength + 1);
    TextRoom room(most);
    if (room.Size() < most)
        return;
    std::size_t length = 0;
    const auto append = [&](std::string_view bytes) {
        length += bytes.copy(room.Data() + length, most - length);
    };
    std::size_t done = 0;
    for (; at != std::string_view::npos; at = text.find(piece, done)) {
        append(text.substr(done, at - done));
        append(put);
        done = at + piece.size();
    }
    append(text.substr(done));
    Splice(0, Len(), room.Data(), static_cast<unsigned>(length));
}

void KoIStringText::TrimBlanks(bool atBegin, bool atEnd)
{
    const std::string_view view = View(*this);
    std::size_t begin = 0;
    std::size_t end = view.size();
    while (atEnd && end > 0 && IsBlank(view[end - 1]))
        --end;
    while (atBegin && begin < end && IsBlank(view[begin]))
        ++begin;
    if (end - begin < view.size())
        Splice(0, static_cast<unsigned>(view.size()), view.data() + begin,
               static_cast<unsigned>(end - begin));
}

void KoIStringText::Swap(char from, char to)
{
    std::replace(m_text, m_text + Len(), from, to);
}

void KoIStringText::MapCase(bool upper)
{
    std::transform(m_text, m_text + Len(), m_text, [upper](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return static_cast<char>(upper ? Upper(byte) : Lower(byte));
    });
}
