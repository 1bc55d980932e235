#ifndef KO_TEST_LAWS_STRANGER_LAWS_H
#define KO_TEST_LAWS_STRANGER_LAWS_H

#include "laws/value_laws.h"

/// Stored bytes in which something was changed or cut off: they are refused, or they are a value,
/// of which the laws hold as they do of every other.
class StrangerLaws
{
public:
    StrangerLaws(const KoTypeMgr& manager, o_char id, Random& random, Tally& tally)
        : m_manager(manager), m_id(id), m_random(random),
          m_tally(tally), m_back{manager, id, manager.Create(id, 3), 3}
    {
    }

    void Check(const Drawn& value, o_u2b word, ValueLaws& laws)
    {
        const unsigned form = 1 + m_random.Below(static_cast<unsigned>(std::size(kForms)) - 1);
        m_format = kForms[form];
        m_count = value.Count();
        Bytes bytes = value.StoredIn(form);
        if (bytes.empty() || m_count == 0)
            return;
        Mutate(bytes);
        const auto exact = Exactly(bytes);
        const std::size_t size = bytes.size();
        const auto shown = [&] {
            return Hex(bytes) + " format " + std::to_string(m_format) + " for " +
                   ValueLaws::Shown(value);
        };
        std::size_t at = 99;
        const int result = m_manager.Validate(m_id, exact.get(), size, m_format, m_count, at);
        Law(result == KoRC_OK          ? at <= size
            : result == KoRC_TRUNCATED ? at == size
                                       : result == KoRC_DAMAGED && at < size,
            "the place of what is wrong", shown);
        int status = 99;
        const unsigned length =
            m_manager.DiskLenGet(m_id, exact.get(), size, m_format, m_count, status);
        Law(status == KoRC_OK ? length <= size : length == 0, "a length within the bound", shown);
        CheckInterface(exact.get(), size, result, at);
        CheckBounded(value, exact.get(), size, form, word);
        if (result != KoRC_OK) {
            ++m_tally.damaged;
            // Whatever the bytes of a fixed length are, they are loaded as they are compared.
            if (m_manager.IsFixed(m_id) == 0 || result != KoRC_DAMAGED ||
                size < value.StoredIn(form).size())
                return;
            const Marks marks = laws.MarksOf(exact.get(), m_format);
            m_manager.Load(m_id, m_back.data, exact.get(), m_format, m_count);
            const Marks loaded = laws.MarksOf(m_back.data, KoFMT_MEMORY);
            Law(loaded.key == marks.key && loaded.hash == marks.hash,
                "what is damaged is loaded as compared", shown);
            return;
        }
        ++m_tally.changed;
        Law(status == KoRC_OK && length == at, "valid bytes have their length", shown);
        // The end of the bytes is that of what is read.
        const auto whole = Exactly(Bytes(bytes.begin(), bytes.begin() + static_cast<long>(at)));
        const Marks marks = laws.MarksOf(whole.get(), m_format);
        CheckOrder(value, whole.get(), form, word, marks, laws, shown);
        bytes.resize(at);
        if (IsReadAsAnother(m_id, bytes))
            return;
        Law(m_manager.Load(m_id, m_back.data, whole.get(), m_format, m_count) == at,
            "valid bytes are loaded", shown);
        const Marks loaded = laws.MarksOf(m_back.data, KoFMT_MEMORY);
        Law(loaded.key == marks.key && loaded.hashUnder == marks.hashUnder &&
                loaded.hash == marks.hash,
            "what is loaded has the key and the hash", shown);
        const std::size_t taken = at;
        const Bytes again = value.Store(m_back.data, m_format, m_count);
        Law(m_manager.Validate(m_id, again.data(), again.size(), m_format, m_count, at) == KoRC_OK,
            "what was loaded is stored as valid", shown);
        // A text under the key form is stored again as its weights.
        Law((m_format & KoFMT_KEY) != 0 || again.size() == taken,
            "what was loaded takes as many bytes", shown);
        Law(marks.key.empty() ||
                m_manager.Cmp(m_id, again.data(), whole.get(), word, m_count, m_format) == 0,
            "what was loaded is equal", shown);
    }

private:
    void Mutate(Bytes& bytes)
    {
        const auto size = static_cast<unsigned>(bytes.size());
        const unsigned at = m_random.Below(size);
        switch (m_random.Below(6)) {
        case 0:
            bytes.resize(at);
            break;
        case 1:
            bytes.push_back(static_cast<unsigned char>(m_random.Below(256)));
            break;
        case 2:
            bytes[at] = static_cast<unsigned char>(m_random.Below(256));
            break;
        case 3: // what is looked at first, and what ends a record
            bytes[m_random.Below(2) == 0 ? m_random.Below(std::min(size, 5U)) : size - 1] =
                m_random.Below(2) == 0 ? 0 : 0xFF;
            break;
        default:
            bytes[at] = static_cast<unsigned char>(bytes[at] ^ 1U << m_random.Below(8));
        }
    }

    /// Whatever the bytes are, calls with a bound keep to it.
    void CheckBounded(const Drawn& value, const void* bytes, std::size_t size, unsigned form,
                      o_u2b word) const
    {
        const auto length = static_cast<unsigned>(size);
        const auto other = static_cast<unsigned>(value.StoredIn(form).size());
        if (length == 0)
            return;
        int status = 99;
        m_manager.Hash(m_id, length, bytes, m_count, m_format, status);
        m_manager.Cmp(m_id, length, bytes, other, value.In(form), word, m_count, m_format, status);
        m_manager.Cmp(m_id, other, value.In(form), length, bytes, word, m_count, m_format, status);
    }

    /// ko.h refuses what is not valid in every call, and leaves its results as they were.
    void CheckInterface(const void* bytes, std::size_t size, int result, std::size_t at) const
    {
        if (m_count != 1 || (m_format & KoFMT_KEY) != 0)
            return;
        const bool valid = result == KoRC_OK && at == size;
        const ko_order order = m_format == KoFMT_BIG ? KO_BIG : KO_LITTLE;
        const Bytes given(static_cast<const unsigned char*>(bytes),
                          static_cast<const unsigned char*>(bytes) + size);
        const auto shown = [&] { return Hex(given) + " order " + std::to_string(order); };
        const bool another = result == KoRC_OK && m_id == KoSTRING_T && size > 4 &&
                             given[2] == 254 && given[3] >= 128;
        unsigned char out[64];
        std::size_t room = sizeof out;
        std::uint64_t hash = 7;
        int flag = 7;
        const ko_status statuses[] = {
            ko_hash(m_id, bytes, size, KO_PLAIN, order, &hash),
            ko_key(m_id, bytes, size, KO_PLAIN, order, out, &room),
            ko_compare(m_id, bytes, size, bytes, size, KO_PLAIN, order, &flag)};
        const ko_status expected = another                    ? KO_DAMAGED
                                   : result == KoRC_TRUNCATED ? KO_TRUNCATED
                                   : result == KoRC_DAMAGED   ? KO_DAMAGED
                                   : valid                    ? KO_OK
                                                              : KO_TRAILING;
        for (const ko_status status : statuses)
            Law(status == expected || (status == KO_NO_ROOM && expected == KO_OK),
                "ko.h refuses what is not valid", shown);
        Law(expected == KO_OK ? flag == 0 : flag == 7 && hash == 7, "results after a refusal",
            shown);
    }

    /// The changed value beside the one that it was.
    template <class Show>
    void CheckOrder(const Drawn& value, const void* changed, unsigned form, o_u2b word,
                    const Marks& marks, const ValueLaws& laws, Show shown) const
    {
        if (marks.key.empty())
            return;
        const int order =
            Sign(m_manager.Cmp(m_id, changed, value.In(form), word, m_count, m_format));
        const int turned =
            Sign(m_manager.Cmp(m_id, value.In(form), changed, word, m_count, m_format));
        Law(order == -turned, "antisymmetry of changed bytes", shown);
        if (m_id == KoSTRING_T || m_id == KoCASEISTRING_T)
            return; // perhaps of two kinds; the drawn values have such pairs
        const Marks other = laws.MarksOf(value.In(form), m_format);
        Law((marks.key == other.key) == (order == 0), "changed bytes agree with their key", shown);
    }

    const KoTypeMgr& m_manager;
    o_char m_id;
    Random& m_random;
    Tally& m_tally;
    Array m_back;
    unsigned char m_format = 0;
    unsigned m_count = 0;
};

#endif
