#ifndef KO_COLLATION_WILDCARDS_H
#define KO_COLLATION_WILDCARDS_H

#include "collation/orders.h"
#include "collation/wildcard_search.h"
#include "core/compare_walk.h"

/// Matching a text against a pattern of keys. `Text` is a place in the text: Key(), which is 0 at
/// the end, and Advance(); it may have Seek(pattern), which skips some places where the pattern
/// cannot begin. `Pattern` is one in the pattern and has Kind() as well. Both are copied.

namespace ko
{

struct MatchResult {
    bool matched = false;
    o_u4b text = 0, pattern = 0; ///< the keys where it failed
    bool afterRun = false;       ///< and it did so after a run

    /// 0 for a match, else the order of the keys where it failed.
    int Order() const
    {
        if (matched)
            return 0;
        return text == 0 ? -1 : ThreeWay(text, pattern);
    }
};

/// What stands at a place of a pattern, as a search has it.
template <class Pattern>
o_u4b SearchKey(const Pattern& pattern)
{
    const PatternKind kind = pattern.Kind();
    return kind == PatternKind::kRun   ? kKeyOfRun
           : kind == PatternKind::kOne ? kKeyOfOne
                                       : pattern.Key();
}

/// As MatchWildcards, from a place of the pattern after a run on. False when memory runs out.
template <class Text, class Pattern>
[[gnu::noinline, gnu::cold]] bool SearchWildcards(Text text, const Pattern& pattern,
                                                  MatchResult& match)
{
    KeyList textKeys;
    KeyList patternKeys;
    for (o_u4b key = text.Key(); key != 0; key = text.Key()) {
        if (!textKeys.Append(key))
            return false;
        text.Advance();
    }
    Pattern place = pattern;
    for (; place.Kind() != PatternKind::kEnd; place.Advance()) {
        if (!patternKeys.Append(SearchKey(place)))
            return false;
    }
    WildSearch search(textKeys, patternKeys);
    if (!search.Prepare())
        return false;
    const WildSearch::Found found = search.Match();
    if (found.matched) {
        match = {true};
        return true;
    }
    place = pattern;
    for (unsigned i = 0; i < found.failedAt; ++i)
        place.Advance();
    match = {false, 0, place.Key(), true};
    return true;
}

/// Going back to the last run suffices: if the pattern up to that run fits at all, it fits at the
/// first place where it does. That is the quickest way for a word. After some tries a search takes
/// over from there that does not go back; only when it has no memory does this one go on, which
/// takes at most the product of the two lengths. Inlined: handing the places over takes as long as
/// matching a word.
template <class Text, class Pattern>
[[gnu::always_inline]] inline MatchResult MatchWildcards(Text text, Pattern pattern)
{
    Text retryText = text;
    Pattern retryPattern = pattern;
    bool retry = false;
    unsigned tries = 0;
    // A place that can seek has a short pattern.
    constexpr unsigned kMostTries = requires
    {
        text.Seek(pattern);
    }
    ? 32 : 8;
    // A place where the literal after the run cannot begin need not be tried.
    const auto seek = [&retryText, &retryPattern] {
        if (retryPattern.Kind() != PatternKind::kLiteral)
            return;
        const o_u4b first = retryPattern.Key();
        if constexpr (requires { retryText.Seek(retryPattern); })
            retryText.Seek(retryPattern);
        for (o_u4b key = retryText.Key(); key != first && key != 0; key = retryText.Key())
            retryText.Advance();
    };
    for (;;) {
        PatternKind kind = pattern.Kind();
        if (kind == PatternKind::kRun) {
            while (kind == PatternKind::kRun) {
                pattern.Advance();
                kind = pattern.Kind();
            }
            if (kind == PatternKind::kEnd)
                return {true};
            retry = true;
            retryPattern = pattern;
            retryText = text;
            seek();
            text = retryText;
        }
        const o_u4b key = text.Key();
        if (kind == PatternKind::kEnd
                ? key == 0
                : key != 0 && (kind == PatternKind::kOne || key == pattern.Key())) {
            if (key == 0)
                return {true};
            text.Advance();
            pattern.Advance();
            continue;
        }
        // From a later place less of the text is left.
        if (!retry || key == 0)
            return {false, key, pattern.Key(), retry};
        retryText.Advance();
        if (++tries == kMostTries) [[unlikely]] {
            const Pattern afterRun = retryPattern; // which stays in registers
            if (MatchResult match; SearchWildcards(retryText, afterRun, match))
                return match;
        }
        seek();
        text = retryText;
        pattern = retryPattern;
    }
}

} // namespace ko

#endif
