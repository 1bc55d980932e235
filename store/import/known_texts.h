#ifndef KO_STORE_IMPORT_KNOWN_TEXTS_H
#define KO_STORE_IMPORT_KNOWN_TEXTS_H

#include "base/short_bytes.h"
#include "object/form_memo.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// Texts that were read before, and the form that each became.
class KnownTexts
{
public:
    /// Takes about `memory` bytes at the most, and what it takes out of `more`, which several
    /// share, where that makes many more texts known. `more` outlives it.
    KnownTexts(std::size_t memory, std::size_t& more)
        : m_memory(memory), m_more(&more), m_texts(kFewest)
    {
    }

    struct Text {
        std::uint32_t hash = 0;
        std::uint32_t at = 0; ///< in m_bytes, where the form follows it; 0: there is none
        std::uint16_t size = 0;
        std::uint16_t formSize = 0;
        FormMemo memo{}; ///< for as long as the text is known
    };

    static std::uint32_t Hash(std::string_view text)
    {
        return static_cast<std::uint32_t>(HashBytes(text));
    }

    /// Find for this hash comes soon: the wait for memory begins already.
    void Expect(std::uint32_t hash) const { __builtin_prefetch(&m_texts[hash & m_mask]); }
    /// Null for a text that is not known; valid, as its form is, until Add.
    Text* Find(std::uint32_t hash, std::string_view text)
    {
        ++m_finds;
        const std::size_t place = hash & m_mask;
        if (Is(m_texts[place], hash, text))
            return &m_texts[place];
        return Is(m_texts[place ^ 1], hash, text) ? &m_texts[place ^ 1] : nullptr;
    }
    /// The text has kCopySlack readable bytes after it.
    std::string_view FormOf(const Text& known) const
    {
        return {m_bytes.data() + known.at + known.size, known.formSize};
    }

    /// Makes a text known; others may be forgotten for it. Null where the text, or its form, is so
    /// long that it is not worth it.
    Text* Add(std::uint32_t hash, std::string_view text, std::string_view form);

private:
    static constexpr std::size_t kFewest = 1024; // a power of two

    bool Is(const Text& known, std::uint32_t hash, std::string_view text) const
    {
        return known.hash == hash && known.at != 0 &&
               SameBytes({m_bytes.data() + known.at, known.size}, text);
    }
    Text& PlaceFor(std::uint32_t hash);
    bool MayGrow() const { return m_texts.size() * sizeof(Text) * 4 <= m_memory; }
    void TakeMemory();
    void Grow();

    std::size_t m_memory;
    std::size_t* m_more;
    std::size_t m_finds = 0;   ///< since memory was last asked for
    std::size_t m_adds = 0;    ///< of them, texts that were not known
    std::vector<Text> m_texts; ///< each in the place of its hash, or in the one beside it
    std::size_t m_mask = kFewest - 1;
    std::size_t m_filled = 0;
    std::string m_bytes;
    std::size_t m_end = 1; ///< of what is in use of m_bytes
};

} // namespace ko::store::inner

#endif
