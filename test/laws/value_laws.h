#ifndef KO_TEST_LAWS_VALUE_LAWS_H
#define KO_TEST_LAWS_VALUE_LAWS_H

#include "laws/drawn.h"

#include <ko.h>

/// What the laws were held to, so that a type to which they were not is told.
struct Tally {
    unsigned long long triples = 0, less = 0, equal = 0, alike = 0, keysBack = 0, texts = 0,
                       nulls = 0, damaged = 0, changed = 0, cuts = 0;
};

/// The key and the hashes of a value under a word, the same in every form.
struct Marks {
    Bytes key; ///< empty where the word gives no order
    o_u8b hashUnder = 0;
    unsigned hash = 0;
};

/// The laws of one value in all of its forms: storing, reading back, sort key, hashes, validation.
class ValueLaws
{
public:
    ValueLaws(const KoTypeMgr& manager, o_char id, Random& random, Tally& tally)
        : m_manager(manager), m_id(id), m_random(random),
          m_tally(tally), m_back{manager, id, manager.Create(id, 3), 3}
    {
    }

    Marks Check(const Drawn& value, o_u2b word)
    {
        m_count = value.Count();
        m_word = word;
        const Marks marks = MarksOf(value.In(kMemory), kForms[kMemory]);
        for (unsigned form = 0; form < std::size(kForms); ++form) {
            const Marks other = MarksOf(value.In(form), kForms[form]);
            Law(other.key == marks.key, "one key in all forms",
                [&] { return Shown(value) + " form " + std::to_string(form); });
            Law(other.hash == marks.hash && other.hashUnder == marks.hashUnder,
                "one hash in all forms",
                [&] { return Shown(value) + " form " + std::to_string(form); });
            if (form != kMemory)
                CheckStored(value, form);
        }
        CheckAnyFormat(value);
        CheckKey(value, marks);
        if (m_count == 1)
            CheckInterface(value, marks);
        return marks;
    }

    static std::string Shown(const Drawn& value) { return Hex(value.StoredIn(kBig)); }

    Marks MarksOf(const void* value, unsigned char format) const
    {
        int status = 99;
        Marks marks{Key(value, format), m_manager.HashUnder(m_id, value, format, m_count, m_word),
                    0};
        marks.hash = m_manager.Hash(m_id, 0, value, m_count, format, status);
        Law(status == KoRC_OK, "a whole value hashes", [] { return std::string(); });
        Law(!marks.key.empty() || marks.hashUnder == 0, "no order, no hash under it",
            [] { return std::string(); });
        return marks;
    }

    Bytes Key(const void* value, unsigned char format) const
    {
        const unsigned length = m_manager.SortKeyLen(m_id, value, format, m_count, m_word);
        Bytes key(length + 1, 0xA5);
        Law(m_manager.SortKey(m_id, key.data(), length, value, format, m_count, m_word) == length &&
                key.back() == 0xA5,
            "length of a key", [&] { return Hex(key); });
        key.pop_back();
        return key;
    }

private:
    /// What is stored comes back, is valid and measured to its last byte, and not with one less.
    void CheckStored(const Drawn& value, unsigned form)
    {
        const unsigned char format = kForms[form];
        const Bytes& stored = value.StoredIn(form);
        const auto shown = [&] { return Hex(stored) + " form " + std::to_string(form); };
        const std::size_t size = stored.size();
        const auto length = static_cast<unsigned>(size);
        const auto exact = Exactly(stored);
        std::size_t at = 99;
        Law(m_manager.Validate(m_id, exact.get(), size, format, m_count, at) == KoRC_OK &&
                at == size,
            "what is stored is valid", shown);
        int status = 99;
        Law(m_manager.DiskLenGet(m_id, exact.get(), size, format, m_count, status) == size &&
                status == KoRC_OK,
            "what is stored is measured", shown);
        if (size != 0) {
            Law(m_manager.Validate(m_id, exact.get(), size - 1, format, m_count, at) ==
                        KoRC_TRUNCATED &&
                    at == size - 1,
                "one byte less is truncated", shown);
            Law(m_manager.DiskLenGet(m_id, exact.get(), size - 1, format, m_count, status) == 0 &&
                    status == KoRC_TRUNCATED,
                "one byte less has no length", shown);
        }
        if (m_count == 0 || IsReadAsAnother(m_id, stored))
            return;
        Law(m_manager.Load(m_id, m_back.data, exact.get(), format, m_count) == length &&
                value.Store(m_back.data, format, m_count) == stored,
            "stored and loaded", shown);
        // Translating knows no key form, and that has a size of its own for texts that may grow.
        if (format == kForms[kLittle] || format == kForms[kBig]) {
            m_manager.AssignmentPtrGet(m_id)(m_back.data, value.At(0), 3, 1);
            m_manager.Translate(m_id, m_back.data, KoFMT_MEMORY, 0, exact.get(), format, length,
                                m_count);
            Bytes made(size);
            m_manager.Translate(m_id, made.data(), format, length, m_back.data, KoFMT_MEMORY, 0,
                                m_count);
            Law(made == stored, "translated to memory and back", shown);
            MemFile file(exact.get(), size);
            Law(m_manager.DiskLenGet(m_id, exact.get(), format, m_count, format) == length &&
                    m_manager.DiskLenGetFromMemFile(m_id, &file, format, m_count) == length &&
                    (m_manager.IsFixed(m_id) == 0 ||
                     koCurrentTypeTable.entry[m_id]->nullSizeGet(m_count) == length),
                "length without a bound", shown);
        }
    }

    /// Whatever the other bits of a format are: 2 alone puts the high byte first.
    void CheckAnyFormat(const Drawn& value)
    {
        const auto format =
            static_cast<unsigned char>(m_random.Below(m_manager.IsFixed(m_id) != 0 ? 256 : 16));
        if (m_count == 0)
            return;
        const auto shown = [&] { return Shown(value) + " format " + std::to_string(format); };
        const Bytes bytes = value.Store(value.In(kMemory), format, m_count);
        Law((format & KoFMT_MEMORY) != 0 ||
                bytes == value.StoredIn((format & KoFMT_ORDER_MASK) == 2 ? kBig : kLittle),
            "bytes of any format", shown);
        Law(m_manager.Load(m_id, m_back.data, bytes.data(), format, m_count) == bytes.size() &&
                value.Store(m_back.data, KoFMT_BIG, m_count) == value.StoredIn(kBig),
            "any format is loaded", shown);
    }

    void CheckKey(const Drawn& value, const Marks& marks)
    {
        if (marks.key.empty())
            return;
        const Bytes& key = marks.key;
        const auto shown = [&] { return Shown(value) + " key " + Hex(key); };
        const auto length = static_cast<unsigned>(key.size());
        const unsigned room = m_random.Below(length + 3);
        Bytes cut(room + 1, 0xA5);
        Law(m_manager.SortKey(m_id, cut.data(), room, value.In(kMemory), KoFMT_MEMORY, m_count,
                              m_word) == length &&
                std::equal(key.begin(), key.begin() + std::min(room, length), cut.begin()) &&
                cut.back() == 0xA5,
            "a cut key begins the key", shown);
        const int result =
            m_manager.FromSortKey(m_id, m_back.data, key.data(), length, m_count, m_word);
        if (result == KoRC_NOT_SUPPORTED)
            return;
        Law(result == KoRC_OK && Key(m_back.data, KoFMT_MEMORY) == key, "a key comes back", shown);
        Law(m_manager.Cmp(m_id, value.In(kMemory), m_back.data, m_word, m_count, KoFMT_MEMORY) == 0,
            "what comes back of a key is equal", shown);
        ++m_tally.keysBack;
        const Bytes before = value.Store(m_back.data, KoFMT_BIG, m_count);
        Bytes wrong = key;
        wrong.push_back(0);
        for (const unsigned given : {length - 1, length + 1}) {
            const auto exact = Exactly(Bytes(wrong.begin(), wrong.begin() + given));
            Law(m_manager.FromSortKey(m_id, m_back.data, exact.get(), given, m_count, m_word) ==
                        KoRC_DAMAGED &&
                    value.Store(m_back.data, KoFMT_BIG, m_count) == before,
                "a key of another length is none", shown);
        }
        // A key with another byte is none, or that of other elements.
        wrong.pop_back();
        wrong[m_random.Below(length)] = static_cast<unsigned char>(m_random.Below(256));
        const auto exact = Exactly(wrong);
        Law(m_manager.FromSortKey(m_id, m_back.data, exact.get(), length, m_count, m_word) !=
                    KoRC_OK ||
                Key(m_back.data, KoFMT_MEMORY) == wrong,
            "a changed key is that of its value", [&] { return Hex(wrong); });
    }

    /// ko.h says the same of the stored bytes.
    void CheckInterface(const Drawn& value, const Marks& marks) const
    {
        const Bytes& stored = value.StoredIn(kLittle);
        if (m_word == 0xFFFF || IsReadAsAnother(m_id, stored))
            return;
        const auto shown = [&] { return Shown(value); };
        Bytes key(marks.key.size() + 1);
        std::size_t size = key.size();
        std::uint64_t hash = 0;
        const ko_status none = marks.key.empty() ? KO_NO_ORDER : KO_OK;
        Law(ko_key(m_id, stored.data(), stored.size(), m_word, KO_LITTLE, key.data(), &size) ==
                    none &&
                ko_hash(m_id, stored.data(), stored.size(), m_word, KO_LITTLE, &hash) == none,
            "ko.h gives keys and hashes", shown);
        key.resize(size);
        Law(key == marks.key && hash == marks.hashUnder, "ko.h gives the same keys and hashes",
            shown);
        Bytes other(stored.size());
        size = other.size();
        Law(ko_convert(m_id, stored.data(), stored.size(), KO_LITTLE, KO_BIG, other.data(),
                       &size) == KO_OK &&
                other == value.StoredIn(kBig),
            "ko.h converts", shown);
        int isNull = 9;
        Law(ko_is_null(m_id, stored.data(), stored.size(), KO_LITTLE, &isNull) == KO_OK &&
                isNull == (m_manager.IsNullValue(m_id, value.At(0)) != 0 ? 1 : 0),
            "ko.h knows null", shown);
    }

    const KoTypeMgr& m_manager;
    o_char m_id;
    Random& m_random;
    Tally& m_tally;
    Array m_back;
    unsigned m_count = 0;
    o_u2b m_word = 0;
};

#endif
