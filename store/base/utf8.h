#ifndef KO_STORE_BASE_UTF8_H
#define KO_STORE_BASE_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

class KoString;

namespace ko::store::inner
{

/// Why a text cannot be taken, and the byte of it that is to blame.
struct TextFault {
    std::string reason;
    std::size_t offset = 0;
};

/// The character at `at` of a UTF-8 text; `at` moves after it. Returns -1, with `at` unchanged,
/// where the bytes are no UTF-8: stray or missing continuation bytes, forms longer than needed,
/// surrogates and values above 0x10FFFF.
int DecodeUtf8(std::string_view text, std::size_t& at) noexcept;

/// Appends a character below 0x110000.
void AppendCharacter(std::string& text, unsigned character);

/// UTF-8 to `text`. Code set 0 asks for code set 1 where every character fits and 253 where one
/// does not; characters beyond 16 bits become surrogate pairs there. False, with `fault` filled
/// and `text` unchanged, for bytes that are no UTF-8, a NUL, a character that the code set lacks
/// and a text longer than a KoString holds.
bool ToKoString(std::string_view utf8, unsigned char codeSet, KoString& text, TextFault& fault);

/// Appends `text` as UTF-8. Surrogate pairs are joined; a unit without a Unicode value becomes
/// U+FFFD.
void AppendUtf8(std::string& utf8, const KoString& text);

/// The byte at which character `position` of the KoString made from `utf8` begins.
std::size_t ByteOfPosition(std::string_view utf8, const KoString& text, unsigned position);

/// Characters of a text, for alignment and columns; malformed bytes count one each.
std::size_t CountCharacters(std::string_view utf8) noexcept;

} // namespace ko::store::inner

#endif
