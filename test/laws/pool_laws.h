#ifndef KO_TEST_LAWS_POOL_LAWS_H
#define KO_TEST_LAWS_POOL_LAWS_H

#include "laws/stranger_laws.h"
#include "laws/text_laws.h"
#include "laws/value_laws.h"

#include <array>

/// A few values, of which many are alike: the laws of each, of all pairs in both directions and in
/// every form, and of all triples. A pair is compared once for all the triples that it is in.
class Pool
{
public:
    static constexpr unsigned kSize = 10;
    static constexpr unsigned kTriples = kSize * (kSize - 1) * (kSize - 2) / 6;

    Pool(const KoTypeMgr& manager, o_char id, Source& source, Tally& tally)
        : m_manager(manager), m_id(id), m_source(source), m_tally(tally),
          m_values(manager, id, source.random, tally), m_texts(manager, id, tally),
          m_strangers(manager, id, source.random, tally)
    {
        for (Member& member : m_members)
            member.value = std::make_unique<Drawn>(manager, id);
    }

    /// Draws values and holds them to the laws under a word.
    void Check(o_u2b word)
    {
        Random& random = m_source.random;
        m_word = word;
        m_count = random.Below(4) == 0 ? random.Below(4) : 1;
        for (unsigned i = 0; i < kSize; ++i) {
            Member& member = m_members[i];
            const Drawn* const like = i == 0 ? nullptr : m_members[random.Below(i)].value.get();
            member.value->Fill(m_source, m_count, like);
            member.kind = member.value->Kind();
            member.marks = m_values.Check(*member.value, word);
            if (m_count == 1)
                m_texts.Check(*member.value);
            m_strangers.Check(*member.value, word, m_values);
        }
        for (unsigned i = 0; i < kSize; ++i)
            for (unsigned j = 0; j <= i; ++j)
                CheckPair(i, j);
        CheckTriples();
    }

private:
    struct Member {
        std::unique_ptr<Drawn> value;
        Marks marks;
        unsigned kind = 0;
    };
    static constexpr signed char kNoOrder = 9;

    std::string Shown(unsigned i, unsigned j) const
    {
        std::string shown;
        for (const unsigned k : {i, j})
            shown += "\n" + ValueLaws::Shown(*m_members[k].value) + " key " +
                     Hex(m_members[k].marks.key) + " hash " +
                     std::to_string(m_members[k].marks.hash);
        return shown;
    }

    int Compare(unsigned i, unsigned j, unsigned form) const
    {
        int status = 99;
        const int order =
            m_manager.Cmp(m_id, 0, m_members[i].value->In(form), 0, m_members[j].value->In(form),
                          m_word, m_count, kForms[form], status);
        Law(status == KoRC_OK, "whole values are compared", [&] { return Shown(i, j); });
        return Sign(order);
    }

    void CheckPair(unsigned i, unsigned j)
    {
        const bool ordered = !m_members[i].marks.key.empty();
        const bool oneKind = m_members[i].kind == m_members[j].kind;
        const int order = Compare(i, j, kLittle);
        for (unsigned form = 0; form < std::size(kForms); ++form) {
            const auto shown = [&] {
                return Shown(i, j) + "\nform " + std::to_string(form) + " order " +
                       std::to_string(order);
            };
            // Weights with accents and without are compared as they are.
            if (!oneKind && (kForms[form] & KoFMT_KEY) != 0)
                continue;
            const int here = Compare(i, j, form);
            const int turned = Compare(j, i, form);
            // Identities have an order as the numbers that their little-endian form compares by.
            const bool hasOrder = !IsIdentity(m_id) || (form != kMemory && form != kBig);
            if (ordered)
                Law(hasOrder ? here == -turned : (here == 0) == (turned == 0), "antisymmetry",
                    shown);
            // Without an order, fields of -1 match on either side in memory alone.
            if (ordered || form != kMemory || m_manager.IsFixed(m_id) == 0)
                Law(hasOrder ? here == order : (here == 0) == (order == 0),
                    "one order in all forms", shown);
            if (form != kMemory && i != j)
                CheckCut(i, j, form, here);
        }
        m_orders[i][j] = static_cast<signed char>(ordered && oneKind ? order : kNoOrder);
        m_orders[j][i] = static_cast<signed char>(ordered && oneKind ? -order : kNoOrder);
        if (ordered && oneKind)
            CheckMarks(i, j, order);
        if (m_count == 1)
            CheckNullAndInterface(i, j, order);
    }

    /// Order and equality are those of the keys, and equality is that of the hashes.
    void CheckMarks(unsigned i, unsigned j, int order)
    {
        const Marks& a = m_members[i].marks;
        const Marks& b = m_members[j].marks;
        const auto shown = [&] { return Shown(i, j) + "\norder " + std::to_string(order); };
        const auto shorter = std::min(a.key.size(), b.key.size());
        const int byKeys = Sign(std::memcmp(a.key.data(), b.key.data(), shorter));
        Law(byKeys == order, "order of keys", shown);
        Law(byKeys != 0 || a.key.size() == b.key.size(), "no key begins another", shown);
        Law((a.hashUnder == b.hashUnder) == (order == 0), "hash under the word", shown);
        const bool exact = (m_word & (KoCMP_IGNORE_CASE | KoCMP_IGNORE_ACCENTS | KoCMP_SKIP_SPACES |
                                      KoCMP_SKIP_SYMBOLS)) == 0;
        if (m_id != KoSTRING_T || exact)
            Law(order != 0 || a.hash == b.hash, "equal values hash equal", shown);
        m_tally.less += order != 0 ? 1 : 0;
        m_tally.equal += order == 0 && i != j ? 1 : 0;
        m_tally.alike +=
            order == 0 && m_members[i].value->StoredIn(kBig) != m_members[j].value->StoredIn(kBig)
                ? 1
                : 0;
    }

    void CheckNullAndInterface(unsigned i, unsigned j, int order)
    {
        const auto shown = [&] { return Shown(i, j) + "\norder " + std::to_string(order); };
        const auto isNull = [&](unsigned k) {
            return m_manager.IsNullValue(m_id, m_members[k].value->At(0)) != 0;
        };
        // A negative number of nanoseconds behind the fields of null is before it.
        const auto isBelowNull = [&] {
            return (m_id == KoDATIME_N_T || m_id == KoTIMESPAN_T) &&
                   std::equal(m_members[i].marks.key.begin(), m_members[i].marks.key.end() - 4,
                              m_members[j].marks.key.begin());
        };
        if (!m_members[i].marks.key.empty() && isNull(i))
            Law(isNull(j) ? IsIdentity(m_id) || order == 0 : order < 0 || isBelowNull(),
                "null first", shown);
        const Bytes& a = m_members[i].value->StoredIn(kLittle);
        const Bytes& b = m_members[j].value->StoredIn(kLittle);
        int result = 99;
        if (m_word != 0xFFFF && !IsReadAsAnother(m_id, a) && !IsReadAsAnother(m_id, b))
            Law(ko_compare(m_id, a.data(), a.size(), b.data(), b.size(), m_word, KO_LITTLE,
                           &result) == KO_OK &&
                    result == order,
                "ko.h compares", shown);
    }

    /// Bounds anywhere, also inside an element: what is decided holds, and nothing is read beyond.
    void CheckCut(unsigned i, unsigned j, unsigned form, int order)
    {
        Random& random = m_source.random;
        const Bytes* const whole[] = {&m_members[i].value->StoredIn(form),
                                      &m_members[j].value->StoredIn(form)};
        if (random.Below(4) != 0 || whole[0]->empty() || whole[1]->empty())
            return;
        std::unique_ptr<unsigned char[]> bytes[2];
        unsigned length[2];
        for (const unsigned side : {0U, 1U}) {
            const auto size = static_cast<unsigned>(whole[side]->size());
            length[side] = random.Below(3) == 0 ? size : 1 + random.Below(size);
            bytes[side] = Exactly(Bytes(whole[side]->begin(), whole[side]->begin() + length[side]));
        }
        const auto shown = [&] {
            return Shown(i, j) + "\nform " + std::to_string(form) + " lengths " +
                   std::to_string(length[0]) + " and " + std::to_string(length[1]);
        };
        int status = 99;
        const int here = Sign(m_manager.Cmp(m_id, length[0], bytes[0].get(), length[1],
                                            bytes[1].get(), m_word, m_count, kForms[form], status));
        Law(status == KoRC_OK || status == KoRC_TRUNCATED || m_manager.IsFixed(m_id) == 0,
            "the status of a cut comparison", shown);
        Law(status != KoRC_OK || here == order, "what cut values decide", shown);
        m_tally.cuts += status != KoRC_OK ? 1 : 0;
        if (m_manager.IsFixed(m_id) == 0)
            return;
        const unsigned size = static_cast<unsigned>(whole[0]->size()) / m_count;
        const unsigned visited = std::min(length[0], length[1]) / size;
        Law(here == 0 || here == order, "what cut elements decide", shown);
        Law(visited < m_count || status == KoRC_OK, "whole elements are not cut", shown);
        Law(visited != 0 || (here == 0 && status == KoRC_TRUNCATED), "no whole element", shown);
        const unsigned inside = length[0] / size;
        int ended = 99;
        const unsigned hash =
            m_manager.Hash(m_id, length[0], bytes[0].get(), m_count, kForms[form], ended);
        Law(ended == (inside < m_count ? +KoRC_TRUNCATED : +KoRC_OK) &&
                hash == m_manager.Hash(m_id, 0, whole[0]->data(), inside, kForms[form], status),
            "the hash of the elements inside a bound", shown);
    }

    /// Whatever is above the middle one is above what is not above that.
    void CheckTriples()
    {
        for (unsigned i = 0; i < kSize; ++i)
            for (unsigned j = 0; j < i; ++j)
                for (unsigned k = 0; k < j; ++k) {
                    if (m_orders[i][j] == kNoOrder || m_orders[j][k] == kNoOrder ||
                        m_orders[i][k] == kNoOrder)
                        continue;
                    ++m_tally.triples;
                    CheckTriple(i, j, k);
                    CheckTriple(j, k, i);
                    CheckTriple(k, i, j);
                }
    }
    void CheckTriple(unsigned i, unsigned j, unsigned k) const
    {
        for (const int sign : {1, -1}) {
            const int first = sign * m_orders[i][j];
            const int second = sign * m_orders[j][k];
            const int both = sign * m_orders[i][k];
            if (first <= 0 && second <= 0)
                Law(first + second < 0 ? both < 0 : both == 0, "transitivity",
                    [&] { return Shown(i, j) + Shown(k, k); });
        }
    }

    const KoTypeMgr& m_manager;
    o_char m_id;
    Source& m_source;
    Tally& m_tally;
    ValueLaws m_values;
    TextLaws m_texts;
    StrangerLaws m_strangers;
    std::array<Member, kSize> m_members;
    signed char m_orders[kSize][kSize] = {};
    unsigned m_count = 0;
    o_u2b m_word = 0;
};

#endif
