#ifndef KO_TEST_STORE_EVERY_WAY_H
#define KO_TEST_STORE_EVERY_WAY_H

#include "query/narrowing.h"
#include "query/way.h"

#include <algorithm>
#include <utility>
#include <vector>

/// All ways that indexes have for a condition, whatever they cost: ranges, unions of what each
/// condition of an "or" has, and what several of these have together; up to `most` of each kind.
inline std::vector<ko::store::inner::Way> EveryWay(const ko::store::inner::Narrowed& narrowed,
                                                   std::size_t most)
{
    using namespace ko::store::inner;
    struct Single {
        Way way;
        std::uint64_t answers;
    };
    const auto isById = [](const Way& way) {
        return way.kind == Way::Kind::Range && way.range.attribute == kObjectIdIndex;
    };
    std::vector<Single> singles;
    for (const auto& [attribute, part] : narrowed.parts)
        singles.push_back({Way::Of(part.range), part.answers});
    for (const Narrowed::Either& either : narrowed.either) {
        // The n-th way of each condition, as long as one of them has another.
        std::vector<std::vector<Way>> each;
        std::size_t count = most;
        for (const Narrowed& part : *either.parts) {
            each.push_back(EveryWay(part, most));
            std::erase_if(each.back(), isById);
            count = each.back().empty() ? 0 : count;
        }
        for (std::size_t n = 0; n < count; ++n) {
            Way way{Way::Kind::Either, {}, {}, true, 1.0};
            bool isNew = n == 0;
            for (const std::vector<Way>& ways : each) {
                isNew = isNew || n < ways.size();
                way.parts.push_back(ways[n % ways.size()]);
                way.exact = way.exact && way.parts.back().exact;
            }
            if (isNew)
                singles.push_back({way, way.exact ? either.answers : 0});
        }
    }
    std::vector<Way> all;
    for (Single& one : singles) {
        one.way.exact = one.answers == narrowed.all;
        all.push_back(one.way);
    }
    // Sets of two or more of them, those of few first.
    std::vector<std::uint64_t> sets;
    for (std::uint64_t set = 0;
         singles.size() > 1 && set < std::uint64_t{1} << std::min<std::size_t>(singles.size(), 8);
         ++set)
        sets.push_back(set);
    std::size_t taken = 0;
    for (const std::uint64_t set : sets) {
        Way way{Way::Kind::Both, {}, {}, false, 1.0};
        std::uint64_t answers = 0;
        for (std::size_t i = 0; i < singles.size() && i < 8; ++i) {
            if ((set >> i & 1) == 0)
                continue;
            answers |= singles[i].answers;
            // What begins is a range of an index.
            const auto at = isById(singles[i].way) ? way.parts.end() : way.parts.begin();
            way.parts.insert(at, singles[i].way);
        }
        if (way.parts.size() < 2 || isById(way.parts[0]) || ++taken > most)
            continue;
        way.exact = answers == narrowed.all;
        all.push_back(std::move(way));
    }
    return all;
}

#endif
