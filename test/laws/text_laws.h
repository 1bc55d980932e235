#ifndef KO_TEST_LAWS_TEXT_LAWS_H
#define KO_TEST_LAWS_TEXT_LAWS_H

#include "laws/value_laws.h"

#include <ko.h>
#include <kostd.h>

/// Values go through their text and back, in each of the ways that there are.
class TextLaws
{
public:
    TextLaws(const KoTypeMgr& manager, o_char id, Tally& tally)
        : m_manager(manager), m_id(id), m_format(manager.TextFormatGet(id)),
          m_tally(tally), m_back{manager, id, manager.Create(id, 1), 1}
    {
    }

    void Check(const Drawn& drawn)
    {
        m_value = drawn.At(0);
        m_stored = &drawn.StoredIn(kBig);
        const bool isNull = m_manager.IsNullValue(m_id, m_value) != 0;
        m_tally.nulls += isNull ? 1 : 0;
        if (HasNoCharacters())
            return;
        CheckTextFormat();
        ++m_tally.texts;
        // Texts of conversion are for people: what is in braces as a text is no date, time or
        // number of theirs, and fields of -1 count in the days of a span.
        const bool isOdd = m_manager.IsFixed(m_id) != 0 && !IsText() &&
                           (m_utf8[0] == '{' || m_utf8.find('*') != m_utf8.npos);
        if (isNull || !isOdd)
            CheckConversion(isNull);
    }

private:
    /// Weights cannot become characters, nor can positions that a code set leaves undefined.
    bool HasNoCharacters() const
    {
        if (m_id == KoISTRING_T || m_id == KoCASEISTRING_T)
            return (static_cast<const KoIStringText*>(m_value)->Flag() & KoIStringText::kRaw) != 0;
        if (m_id != KoSTRING_T)
            return false;
        const auto& text = *static_cast<const KoString*>(m_value);
        KoString mapped;
        return mapped.CopyMapped(text, KoCS_UNICODE, -1) != 0;
    }
    /// Values of these types hold more than texts do: code set and language of a string, flags of a
    /// case-insensitive one, payload of a NaN, the value in a null, the byte that stands for true.
    bool IsMoreThanText() const
    {
        const std::string name = m_manager.NameGet(m_id);
        return m_id == KoSTRING_T || m_id == KoISTRING_T || m_id == KoCASEISTRING_T ||
               m_id == KoFLOAT_T || m_id == KoDOUBLE_T || m_id == KoBOOLEAN_T ||
               name.rfind("KoNull_", 0) == 0;
    }
    /// Every text is a value of these, so none can have more behind it.
    bool IsText() const
    {
        return m_manager.IsFixed(m_id) == 0 ? m_id != KoBLOB_T : m_id == Ko1B_T || m_id == KoU1B_T;
    }

    /// Half a surrogate pair is no character, and no UTF-8 of ko.h has it.
    static bool HasHalf(const std::string& utf8)
    {
        for (std::size_t at = utf8.find('\xED'); at != utf8.npos; at = utf8.find('\xED', at + 1)) {
            if (static_cast<unsigned char>(utf8[at + 1]) >= 0xA0)
                return true;
        }
        return false;
    }

    void CheckTextFormat()
    {
        KoString text(KoCS_UNICODE, 0);
        m_manager.PrintToKoString(m_id, text, m_value, m_format, 1);
        m_utf8 = ko::ToUtf8(text);
        if (text.ByteSize() == KoString::kMaxBytes) // perhaps cut off; ko.h may have the whole
            return CheckLong();
        unsigned errorAt = 0;
        Law(m_manager.ParseFromKoString(m_id, m_back.data, text, m_format, errorAt) == 0,
            "a text is read", [&] { return Shown(); });
        ExpectBack();
        std::size_t at = 0;
        Law(m_manager.ReadText(m_id, m_back.data, m_utf8.data(), m_utf8.size(), nullptr, at) == 0 &&
                at == m_utf8.size(),
            "UTF-8 is read", [&] { return Shown(); });
        const Bytes before = BackStored();
        CheckInterface(before);
        ExpectBack();
        if (IsText())
            return;
        const std::string longer = m_utf8 + "~";
        Law(m_manager.ReadText(m_id, m_back.data, longer.data(), longer.size(), nullptr, at) < 0 &&
                at < longer.size() && BackStored() == before,
            "more than a text is refused", [&] { return Shown(); });
    }

    /// Texts that a string of 16 bits cannot hold go through UTF-8.
    void CheckLong()
    {
        if (HasHalf(m_utf8))
            return;
        std::string utf8(4 * std::size_t{KoString::kMaxBytes}, '~');
        std::size_t size = utf8.size();
        Law(ko_text(m_id, m_stored->data(), m_stored->size(), KO_BIG, nullptr, utf8.data(),
                    &size) == KO_OK,
            "ko.h writes a long text", [&] { return Shown(); });
        std::size_t at = 0;
        const int read = m_manager.ReadText(m_id, m_back.data, utf8.data(), size, nullptr, at);
        // Beyond Latin-1 a string is one of 16 bits.
        if (read == 0)
            ExpectBack();
        else
            Law(read == KoREAD_TOO_LONG, "a long text is read", [&] { return Shown(); });
    }

    /// ko.h writes and reads the same text.
    void CheckInterface(const Bytes& read) const
    {
        if (IsReadAsAnother(m_id, *m_stored) || HasHalf(m_utf8))
            return;
        std::string utf8(m_utf8.size() + 1, '~');
        std::size_t size = utf8.size();
        Law(ko_text(m_id, m_stored->data(), m_stored->size(), KO_BIG, nullptr, utf8.data(),
                    &size) == KO_OK &&
                utf8.substr(0, size) == m_utf8,
            "ko.h writes the same text", [&] { return std::to_string(size) + ' ' + Shown(); });
        Bytes packed(read.size());
        size = packed.size();
        Law(ko_pack(m_id, m_utf8.data(), m_utf8.size(), nullptr, KO_BIG, packed.data(), &size,
                    nullptr) == KO_OK &&
                packed == read,
            "ko.h reads the same text", [&] { return Shown(); });
    }

    void CheckConversion(bool isNull)
    {
        const std::unique_ptr<KoTypeConvertData> texts(m_manager.ConvertTo(m_id, m_value, 1));
        const KoString& text = *texts->GetString(0);
        const bool isEmpty = text.IsEmpty() != 0;
        const Array made{m_manager, m_id, m_manager.ConvertFrom(m_id, texts.get(), 1), 1};
        m_utf8 = std::string("by conversion ") + (text.Width() == 1 ? text.StrGet() : "");
        // The character 0 has no text, and no text means null where there is a null.
        if (isNull ||
            (m_manager.IsFixed(m_id) != 0 && m_manager.SupportsNullValue(m_id) != 0 && isEmpty)) {
            Law(m_manager.IsNullValue(m_id, made.data) != 0, "null converts",
                [&] { return Shown(); });
            return;
        }
        m_manager.AssignmentPtrGet(m_id)(m_back.data, made.data, 1, 0);
        ExpectBack();
    }

    std::string Shown() const { return Hex(*m_stored) + " text " + m_utf8.substr(0, 200); }
    Bytes BackStored() const { return Stored(m_manager, m_id, m_back.data, KoFMT_BIG, 1); }
    void ExpectBack()
    {
        const auto shown = [&] { return Shown() + " back " + Hex(BackStored()); };
        if (!IsMoreThanText())
            return Law(BackStored() == *m_stored, "a text comes back", shown);
        const bool isNull = m_manager.IsNullValue(m_id, m_value) != 0;
        Law(isNull == (m_manager.IsNullValue(m_id, m_back.data) != 0), "null comes back", shown);
        KoString wide[2];
        if (m_id == KoSTRING_T && !isNull) {
            static_cast<KoString*>(m_back.data)
                ->SetLanguage(static_cast<KoString*>(m_value)->Language());
            wide[0] = *static_cast<KoString*>(m_value);
            wide[1] = *static_cast<KoString*>(m_back.data);
            for (KoString& text : wide)
                text.MapToCodeSet(KoCS_UNICODE);
        }
        Law(m_manager.Cmp(m_id, m_value, m_back.data, KoCMP_PLAIN, 1, KoFMT_MEMORY) == 0 &&
                UnitsOf(wide[0]) == UnitsOf(wide[1]),
            "a text comes back", shown);
    }

    const KoTypeMgr& m_manager;
    o_char m_id;
    const char* m_format;
    Tally& m_tally;
    Array m_back;
    void* m_value = nullptr;
    const Bytes* m_stored = nullptr;
    std::string m_utf8;
};

#endif
