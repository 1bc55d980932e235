#ifndef KOTM_COLUMNREADER_H
#define KOTM_COLUMNREADER_H

#include "fieldreader.h"
#include "knowntexts.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kotm
{

/// Reads the texts of one attribute of many objects. Columns repeat their values: most fields of a
/// large file are known from before, whatever their type, and are not converted again.
class ColumnReader
{
public:
    /// `memory` is what the texts that are known may take, in bytes.
    ColumnReader(const Attribute& attribute, std::size_t memory)
        : m_reader(attribute), m_known(memory)
    {
    }

    /// The persistent form of the value of a text, empty for an absent one, with kCopySlack
    /// readable bytes after it; valid until the next Read. False for what FieldReader refuses.
    bool Read(std::string_view utf8, std::string_view& form, TextFault& fault)
    {
        const std::uint32_t hash = KnownTexts::Hash(utf8);
        KnownTexts::Text* text = m_known.Find(hash, utf8);
        if (text == nullptr)
            return Convert(utf8, hash, form, fault);
        form = m_known.FormOf(*text);
        m_hint = &text->hint;
        return true;
    }

    /// A number of the caller's that stays with the text read last, for as long as that is known;
    /// 0 at first. Valid until the next Read.
    std::uint64_t& Hint() { return *m_hint; }

private:
    bool Convert(std::string_view utf8, std::uint32_t hash, std::string_view& form,
                 TextFault& fault);

    FieldReader m_reader;
    KnownTexts m_known;
    std::string m_form;
    std::uint64_t m_newHint = 0;
    std::uint64_t* m_hint = &m_newHint;
};

} // namespace kotm

#endif
