#ifndef KO_STORE_IMPORT_COLUMN_READER_H
#define KO_STORE_IMPORT_COLUMN_READER_H

#include "import/known_texts.h"
#include "schema/field_reader.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// Reads the texts of one attribute of many objects. Columns repeat their values: most fields of a
/// large file are known from before, whatever their type, and are not converted again.
class ColumnReader
{
public:
    /// `memory` and `more` are what the texts that are known may take, in bytes: see KnownTexts.
    ColumnReader(const Attribute& attribute, std::size_t memory, std::size_t& more)
        : m_reader(attribute), m_known(memory, more)
    {
    }

    /// The text that Read reads next. Told of all columns before the first one is read, so that
    /// their waits for memory overlap.
    void Expect(std::string_view utf8)
    {
        m_hash = KnownTexts::Hash(utf8);
        m_known.Expect(m_hash);
    }
    /// The persistent form of the value of a text, empty for an absent one, with kCopySlack
    /// readable bytes after it; valid until the next Read. False for what FieldReader refuses.
    bool Read(std::string_view utf8, std::string_view& form, TextFault& fault)
    {
        KnownTexts::Text* text = m_known.Find(m_hash, utf8);
        if (text == nullptr)
            return Convert(utf8, m_hash, form, fault);
        form = m_known.FormOf(*text);
        m_memo = &text->memo;
        return true;
    }

    /// That of the form read last, for as long as its text is known. Valid until the next Read.
    FormMemo& Memo() { return *m_memo; }

private:
    bool Convert(std::string_view utf8, std::uint32_t hash, std::string_view& form,
                 TextFault& fault);

    FieldReader m_reader;
    KnownTexts m_known;
    std::uint32_t m_hash = 0; ///< of the text that Read reads next
    std::string m_form;
    FormMemo m_newMemo;
    FormMemo* m_memo = &m_newMemo;
};

} // namespace ko::store::inner

#endif
