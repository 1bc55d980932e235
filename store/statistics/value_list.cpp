#include "statistics/value_list.h"

#include "base/bytes.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ko::store::inner
{

namespace
{

/// Longer sort keys are cut; what is equal so far stands in the order of its bytes.
constexpr unsigned kMostKey = 503;
constexpr std::size_t kWord = sizeof(std::uint64_t);
/// A value is common where it has so many times the objects of a mean one,
constexpr double kMoreThanMean = 1.5;
/// and where the sample tells of it, so many objects there.
constexpr std::uint32_t kFewestHits = 8;

/// A sort key: its first eight bytes as a number, and where the others stand.
struct Key {
    std::uint64_t word;
    std::uint32_t begin;
    std::uint32_t size;
    std::uint32_t addition;
};

std::string_view BeginningOfKey(o_char type, std::string_view form, char (&room)[kMostKey])
{
    return {room, std::min(kMostKey, Manager().SortKey(type, room, kMostKey, form.data(),
                                                       kStoreFormat, 1, kPlainOperator))};
}

} // namespace

int OrderOfForms(o_char type, std::string_view a, std::string_view b)
{
    char roomOfA[kMostKey];
    char roomOfB[kMostKey];
    const int order = BeginningOfKey(type, a, roomOfA).compare(BeginningOfKey(type, b, roomOfB));
    return order != 0 ? order : a.compare(b);
}

std::uint32_t ValueList::Add(std::string_view form, double objects, double distinct)
{
    m_values.push_back({form, objects, distinct, 0, 0, 0});
    return static_cast<std::uint32_t>(m_values.size() - 1);
}

void ValueList::Sort()
{
    std::string bytes;
    std::vector<Key> keys(m_values.size());
    char room[kMostKey + kWord];
    for (std::uint32_t i = 0; i < keys.size(); ++i) {
        std::memset(room, 0, kWord);
        const unsigned size =
            std::min(kMostKey, Manager().SortKey(m_type, room, kMostKey, m_values[i].form.data(),
                                                 kStoreFormat, 1, kPlainOperator));
        const std::size_t rest = size > kWord ? size - kWord : 0;
        keys[i] = {GetBig<std::uint64_t>(room), static_cast<std::uint32_t>(bytes.size()),
                   static_cast<std::uint32_t>(rest), i};
        bytes.append(room + kWord, rest);
    }
    const auto rest = [&](const Key& key) {
        return std::string_view(bytes).substr(key.begin, key.size);
    };
    const auto order = [&](const Key& a, const Key& b) {
        const int keysOrder = rest(a).compare(rest(b));
        return keysOrder != 0 ? keysOrder
                              : m_values[a.addition].form.compare(m_values[b.addition].form);
    };
    std::sort(keys.begin(), keys.end(), [&](const Key& a, const Key& b) {
        return a.word != b.word ? a.word < b.word : order(a, b) < 0;
    });
    std::vector<Value> sorted;
    m_valueOf.resize(m_values.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const Value& value = m_values[keys[i].addition];
        const bool again =
            i != 0 && keys[i].word == keys[i - 1].word && order(keys[i], keys[i - 1]) == 0;
        if (again) {
            sorted.back().objects += value.objects;
            sorted.back().distinct = std::max(sorted.back().distinct, value.distinct);
        } else {
            sorted.push_back(value);
        }
        m_valueOf[keys[i].addition] = static_cast<std::uint32_t>(sorted.size() - 1);
    }
    m_values = std::move(sorted);
}

/// The values that have more objects than the others, as many as may be.
std::vector<bool> ValueList::ChooseCommon(double least) const
{
    double objects = 0.0;
    double distinct = 0.0;
    for (const Value& value : m_values) {
        objects += value.objects;
        distinct += value.distinct;
    }
    std::vector<bool> common(m_values.size());
    std::vector<std::uint32_t> order;
    const bool all = m_values.size() <= kMostCommon;
    for (std::uint32_t i = 0; i < m_values.size(); ++i) {
        const Value& value = m_values[i];
        // What stands for several values, or was met in the sample alone, is no sure count.
        const bool sure = value.distinct <= 1.0 || value.hits >= kFewestHits;
        const bool most = value.objects > kMoreThanMean * objects / distinct;
        if (value.objects >= std::max(least, 1.0) && sure && (all || most))
            order.push_back(i);
    }
    const std::size_t count = std::min(order.size(), kMostCommon);
    const auto more = [this](std::uint32_t a, std::uint32_t b) {
        const Value& left = m_values[a];
        const Value& right = m_values[b];
        return left.objects != right.objects ? left.objects > right.objects : a < b;
    };
    std::partial_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(count),
                      order.end(), more);
    for (std::size_t i = 0; i < count; ++i)
        common[order[i]] = true;
    return common;
}

double ValueList::Distinct(const Summary& summary, const std::vector<bool>& common) const
{
    double rest = 0.0;
    for (std::size_t i = 0; i < m_values.size(); ++i)
        rest += common[i] ? 0.0 : m_values[i].distinct;
    const auto there =
        static_cast<double>(summary.distinct) - static_cast<double>(summary.common.size());
    return rest > 0.0 ? std::max(1.0, there / rest) : 1.0;
}

/// The values from `begin` to before `end`, of which the last one is not common.
Summary::Bucket ValueList::MakeBucket(std::size_t begin, std::size_t end,
                                      const std::vector<bool>& common, double distinct,
                                      double least) const
{
    double objects = 0.0;
    double values = 0.0;
    for (std::size_t i = begin; i < end; ++i) {
        if (!common[i]) {
            objects += m_values[i].objects;
            values += m_values[i].distinct * distinct;
        }
    }
    values = std::max(values, 1.0);
    const Value& high = m_values[end - 1];
    const double ofHigh = high.objects < least ? std::min(high.objects, objects / values)
                                               : high.objects / std::max(1.0, high.distinct);
    const auto rounded = [](double number) {
        return static_cast<std::uint64_t>(std::llround(number));
    };
    return {std::string(high.form), rounded(objects), std::min(rounded(ofHigh), rounded(objects)),
            rounded(values), 0};
}

void ValueList::SumUp(Summary& summary, double least) const
{
    if (m_values.empty())
        return;
    const std::vector<bool> common = ChooseCommon(least);
    double rest = 0.0;
    for (std::size_t i = 0; i < m_values.size(); ++i) {
        if (common[i])
            summary.common.push_back({std::string(m_values[i].form),
                                      static_cast<std::uint64_t>(std::llround(m_values[i].objects)),
                                      m_values[i].code});
        else
            rest += m_values[i].objects;
    }
    summary.lowest = m_values.front().form;
    summary.highest = m_values.back().form;
    const double distinct = Distinct(summary, common);
    // A bucket ends with the value that fills it, so that one with many objects is its high end.
    std::size_t begin = 0;
    std::size_t last = m_values.size();
    while (last > 0 && common[last - 1])
        --last;
    double seen = 0.0;
    for (std::size_t i = 0; i < last; ++i) {
        if (common[i])
            continue;
        seen += m_values[i].objects;
        const double full = rest / static_cast<double>(kMostBuckets) *
                            static_cast<double>(summary.buckets.size() + 1);
        if (i + 1 == last || (seen >= full && summary.buckets.size() + 1 < kMostBuckets)) {
            summary.buckets.push_back(MakeBucket(begin, i + 1, common, distinct, least));
            begin = i + 1;
        }
    }
    SetSampleEnds(summary);
    // Rounded numbers may have a few objects too many all together.
    std::uint64_t left = summary.Values();
    for (Summary::Common& one : summary.common)
        left -= one.count = std::min(one.count, left);
    for (Summary::Bucket& one : summary.buckets) {
        left -= one.count = std::min(one.count, left);
        one.ofHigh = std::min(one.ofHigh, one.count);
    }
}

void ValueList::SetSampleEnds(Summary& summary) const
{
    std::uint16_t end = 2; // SampleColumn::kFirst
    std::size_t at = 0;
    for (Summary::Bucket& bucket : summary.buckets) {
        for (bool inside = true; inside; ++at) {
            if (m_values[at].code != 0)
                end = static_cast<std::uint16_t>(m_values[at].code + 1);
            inside = m_values[at].form != bucket.high;
        }
        bucket.sampleEnd = end;
    }
}

} // namespace ko::store::inner
