#include "kostringpiece.h"
#include "kostringtext.h"

#include <koencode.h>
#include <koservices.h>

#include <algorithm>
#include <cstring>

// The one step that edits a text, and the edits built on it.

namespace
{

/// Writes `count` characters of the piece in the code set `codeSet`; how many that lacks. Text
/// without a code set stays as it is unless its width has to change.
std::size_t Write(char* to, unsigned char codeSet, const void* text, unsigned char from,
                  unsigned char format, std::size_t count)
{
    const unsigned width = KoCodeSetWidth(codeSet);
    if (from == KoCS_NONE && width == 1)
        from = codeSet;
    const bool swapped = KoNeedsSwap(format);
    if (from != codeSet || (swapped && width == 2))
        return KoConvertText(to, codeSet, text, from, count, swapped);
    std::memcpy(to, text, count * width);
    return 0;
}

/// Fills `total` bytes with copies of the first `unit` of them, doubling what stands there already.
void Repeat(char* to, std::size_t unit, std::size_t total)
{
    for (std::size_t done = unit; done < total;) {
        const std::size_t next = std::min(done, total - done);
        std::memcpy(to + done, to, next);
        done += next;
    }
}

} // namespace

/// The text becomes its first `prefix` characters, the piece, and `suffix` characters from
/// `suffixFrom`, in the code set `codeSet`; prefix and suffix must be 0 where its width differs
/// from the current one. The old buffer is released last: the piece may stand in it.
KoString::Outcome KoString::Edit(unsigned prefix, unsigned suffixFrom, unsigned suffix,
                                 const Piece& piece, unsigned char codeSet)
{
    const unsigned width = KoCodeSetWidth(codeSet);
    const o_u8b inserted = o_u8b{piece.count} * piece.repeat;
    const o_u8b length = prefix + inserted + suffix;
    Outcome outcome = Outcome::kDone;
    char* buffer = nullptr;
    unsigned size = 0;
    if (length > 0) {
        o_u8b wanted = (length + 1) * width;
        if (wanted > kMaxBytes) {
            KoReportOverflow();
            wanted = kMaxBytes;
        }
        size = static_cast<unsigned>(wanted);
        buffer = KoStringAccess::Allocate(size);
        if (buffer == nullptr)
            return Outcome::kNoMemory;
        o_u8b room = wanted - width; // the terminator has its place in any case
        const auto cut = [&room](std::size_t bytes) {
            const std::size_t fits = std::min<std::size_t>(bytes, room);
            room -= fits;
            return fits;
        };
        char* to = buffer;
        if (const std::size_t bytes = cut(std::size_t{prefix} * width); bytes > 0) {
            std::memcpy(to, m_buffer, bytes);
            to += bytes;
        }
        if (const std::size_t bytes = cut(inserted * width); bytes > 0) {
            const std::size_t once = std::min<std::size_t>(bytes, std::size_t{piece.count} * width);
            if (Write(to, codeSet, piece.text, piece.codeSet, piece.format, once / width) != 0)
                outcome = Outcome::kReplaced;
            Repeat(to, once, bytes);
            to += bytes;
        }
        if (const std::size_t bytes = cut(std::size_t{suffix} * width); bytes > 0) {
            std::memcpy(to, At(suffixFrom), bytes);
            to += bytes;
        }
        std::memset(to, 0, width);
    }
    KoFree(m_buffer);
    m_buffer = buffer;
    m_size = static_cast<o_u2b>(size);
    m_codeSet = codeSet;
    return outcome;
}

KoString::Outcome KoString::Become(const Piece& piece, unsigned char codeSet,
                                   unsigned char language)
{
    const Outcome outcome = Edit(0, 0, 0, piece, codeSet);
    if (outcome != Outcome::kNoMemory)
        m_language = language;
    return outcome;
}

/// Puts the piece in the place of `removed` characters at `pos` of a text of `len` characters.
KoString& KoString::Splice(unsigned pos, unsigned removed, unsigned len, const Piece& piece)
{
    const bool comesIn = piece.count > 0 && piece.repeat > 0;
    if (IsNullValue()) {
        if (comesIn)
            Become(piece, GetDefaultCodeSet(), GetDefaultLanguage());
    } else if (comesIn || removed > 0) {
        Edit(pos, pos + removed, len - pos - removed, piece, m_codeSet);
    }
    return *this;
}

KoString& KoString::AppendTo(unsigned len, const Piece& piece)
{
    return Splice(len, 0, len, piece);
}

KoString::Piece KoString::Whole() const
{
    return Part(0, Len());
}

KoString::Piece KoString::Part(unsigned pos, unsigned count) const
{
    if (count == 0)
        return {};
    return {At(pos), count, m_codeSet};
}

// ---- the edits

KoString& KoString::Insert(const KoString& s, unsigned short pos)
{
    const unsigned len = Len();
    return pos > len ? *this : Splice(pos, 0, len, s.Whole());
}

KoString& KoString::Replace(const KoString& s, unsigned short pos)
{
    const unsigned len = Len();
    if (pos >= len)
        return *this;
    const unsigned count = std::min<unsigned>(s.Len(), len - pos);
    return Splice(pos, count, len, s.Part(0, count));
}

KoString& KoString::Cut(unsigned short pos, short n)
{
    const unsigned len = Len();
    if (pos >= len)
        return *this;
    return Splice(pos, std::min<unsigned>(static_cast<unsigned short>(n), len - pos), len, {});
}

KoString KoString::Copy(unsigned short pos, short n) const
{
    KoString copy(m_codeSet, m_language);
    const unsigned len = Len();
    if (pos < len) {
        const unsigned count = std::min<unsigned>(static_cast<unsigned short>(n), len - pos);
        copy.Become(Part(pos, count), m_codeSet, m_language);
    }
    return copy;
}

KoString KoString::Left(unsigned short n) const
{
    return Copy(0, static_cast<short>(n));
}

KoString KoString::Right(unsigned short n) const
{
    const unsigned short len = Len();
    return Copy(static_cast<unsigned short>(n < len ? len - n : 0), kRest);
}

KoString& KoString::Fill(unsigned short n, char c)
{
    const unsigned len = Len();
    return Splice(0, len, len, Piece::Of(c, n, GetDefault8CodeSet()));
}

KoString& KoString::Fill(unsigned short n, unsigned short c)
{
    const unsigned len = Len();
    return Splice(0, len, len, Piece::Of(c, n, GetDefault16CodeSet()));
}

KoString& KoString::Expand(unsigned short n, char c)
{
    const unsigned len = Len();
    return n <= len ? *this : AppendTo(len, Piece::Of(c, n - len, GetDefault8CodeSet()));
}

KoString& KoString::Expand(unsigned short n, unsigned short c)
{
    const unsigned len = Len();
    return n <= len ? *this : AppendTo(len, Piece::Of(c, n - len, GetDefault16CodeSet()));
}
