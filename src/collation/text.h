#ifndef KO_COLLATION_TEXT_H
#define KO_COLLATION_TEXT_H

#include "core/bytes.h"

#include <koencode.h>
#include <kostring.h>

#include <cstring>

/// A text that belongs to somebody else: of a string in memory, or of a stored record.
struct KoText {
    const char* bytes = nullptr;
    unsigned units = 0; ///< characters; a zero among them ends the text
    unsigned char codeSet = KoCS_NONE;
    unsigned char language = 0;
    unsigned char format = KoFMT_MEMORY; ///< byte order of 16-bit characters
    bool cut = false;                    ///< the text goes on where its characters end

    unsigned Width() const { return KoCodeSetWidth(codeSet); }
    bool IsNull() const
    {
        return language == KoString::kNullLanguage || (codeSet == KoCS_NULL && language == 0);
    }
    /// 16-bit characters stand in the order that is not the machine's.
    bool IsSwapped() const { return Width() == 2 && KoNeedsSwap(format); }
    /// Character `index`. Stored text is not aligned.
    unsigned At(unsigned index) const
    {
        if (Width() == 1)
            return static_cast<unsigned char>(bytes[index]);
        return ko::ReadNumber<o_u2b>(bytes + std::size_t{index} * 2, KoNeedsSwap(format));
    }
};

namespace ko
{

/// The number of characters before the first zero among `limit` ones, all of which are there.
unsigned UnitsBeforeZero(const char* text, unsigned width, unsigned limit);

/// An over-long text is cut off in any case; the setting decides whether that is reported.
void ReportOverflow();

/// What the library itself may do with a string's parts.
struct StringAccess {
    /// Makes `string` the given text with its code set and language; it stays as it was when memory
    /// runs out.
    static void Set(KoString& string, const KoText& text);
    /// Makes `string` the given text converted to `codeSet`: 0, KoMBS_REPLACED or KoMBS_NO_MEMORY
    /// (kombs.h). The text may stand in the string itself.
    static int Convert(KoString& string, const KoText& text, unsigned char codeSet,
                       unsigned char language);
    /// Appends `count` characters of the default 8-bit code set, no zero among them; a block of
    /// zeros stands after them.
    static void AppendPadded(KoString& string, const char* text, std::size_t count)
    {
        // The way of nearly all texts that are printed, into a new string.
        if (string.m_buffer != nullptr || string.m_codeSet != KoString::GetDefault8CodeSet() ||
            string.IsNullValue() || count == 0 || count >= KoString::kMaxBytes) [[unlikely]]
            return AppendToText(string, text, static_cast<unsigned>(count));
        char* const buffer = Allocate(count + 1);
        if (buffer == nullptr)
            return;
        for (std::size_t i = 0; i <= count; i += kBlock)
            std::memcpy(buffer + i, text + i, kBlock);
        string.m_buffer = buffer;
        string.m_size = static_cast<o_u2b>(count + 1);
    }
    /// The bytes of a string's buffer are a multiple of this, those after the text zeros.
    static constexpr std::size_t kBlock = 16;
    /// Memory for the text of a string, `size` bytes with the terminator, or null after the memory
    /// handler. Every buffer of a string comes from here: comparing and hashing read whole blocks,
    /// up to the one with the terminator.
    static char* Allocate(std::size_t size)
    {
        const std::size_t padded = (size + kBlock - 1) / kBlock * kBlock;
        auto* const buffer = static_cast<char*>(KoAlloc(padded));
        if (buffer == nullptr)
            KoCallMemoryHandler(size);
        else
            std::memset(buffer + padded - kBlock, 0, kBlock);
        return buffer;
    }
    static KoText Get(const KoString& string)
    {
        KoText text;
        text.bytes = string.m_buffer;
        text.codeSet = string.m_codeSet;
        text.language = string.m_language;
        // Less than one character of the width is none.
        const unsigned characters = text.Width() == 1 ? string.m_size : string.m_size / 2U;
        text.units = characters == 0 ? 0 : characters - 1;
        return text;
    }

    /// An empty string has text that stands somewhere else, in `size` bytes with the terminator and
    /// with blocks as those of Allocate. It is taken back before the string is changed or
    /// destructed.
    static void Lend(KoString& string, char* buffer, std::size_t size, unsigned char codeSet)
    {
        string.m_buffer = buffer;
        string.m_size = static_cast<o_u2b>(size);
        string.m_codeSet = codeSet;
    }
    static void TakeBack(KoString& string)
    {
        string.m_buffer = nullptr;
        string.m_size = 0;
    }

private:
    [[gnu::cold, gnu::noinline]] static void AppendToText(KoString& string, const char* text,
                                                          unsigned count);
};

} // namespace ko

#endif
