#ifndef KOSTORE_PLANS_H
#define KOSTORE_PLANS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What kostore.h, where the rules are, tells of plans and of the statistics that they are made by.
namespace ko::store
{

/// How a query would be answered, and what is true of the parts of its predicate.
struct Explanation {
    /// A part of an index, its ends printed as the attribute prints values: "null", "(first)",
    /// "(last)", "(none)" for others.
    struct Part {
        std::string attribute;
        std::string from, to;
        double share = 1.0; ///< of the entries of the index, estimated
    };
    /// Where an estimate comes from.
    enum class Source {
        Counted,      ///< numbers that statistics have counted, with nothing assumed
        CommonValues, ///< the values that most objects have, tested one by one
        Histogram,    ///< how many values lie between which
        Sample,       ///< objects of the store, chosen at random
        Combined,     ///< estimates of its comparisons, with a few objects of the sample
        IndexWalk,    ///< entries of the index, counted now
        Fallback,     ///< the two ends of an index, or a number that is assumed
    };
    /// Where the objects of the answer may be looked for.
    struct Way {
        enum class Kind {
            AllObjects,
            Index,   ///< `part`
            InOrder, ///< `part` in the order that the query wants, until its limit is met
            Both,    ///< objects that are on all of `ways`
            Either,  ///< objects that are on one of them
        };
        Kind kind = Kind::AllObjects;
        Part part{};
        std::vector<Way> ways{};
    };
    /// A way that was weighed.
    struct Alternative {
        Way way;
        double share = 1.0; ///< of the objects, that would be looked at, estimated
        double cost = 0.0;  ///< estimated, in microseconds, on a machine that nobody has measured
        bool chosen = false;
    };
    /// How old statistics are.
    struct Age {
        std::uint64_t objects = 0; ///< that the store had when they were made
        std::uint64_t added = 0;   ///< since
        std::uint64_t erased = 0;  ///< since, as far as the numbers tell
    };
    struct Comparison {
        std::string predicate; ///< as it would be written
        bool hasIndex = false;
        std::string attribute, lowest, highest; ///< of the index; empty without one
        std::string from, to;                   ///< what the comparisons leave of it
        double estimated = 0.0;                 ///< share of the objects that meet it
        double actual = 0.0;
        Source source = Source::Fallback; ///< of the estimate
    };

    std::vector<Comparison> comparisons;
    std::optional<Part> part; ///< of the index that is used; absent: none is used, or several
    double estimated = 0.0;   ///< share of the objects that meet the predicate
    double actual = 0.0;
    std::uint64_t read = 0;  ///< objects that are looked at
    std::uint64_t found = 0; ///< that meet the predicate, but no more than the query wants
    std::uint64_t objects = 0;
    Source source = Source::Fallback;      ///< of the estimate for the whole predicate
    std::optional<Age> statistics;         ///< absent: the store has none, or they were not asked
    std::vector<Alternative> alternatives; ///< what was weighed, from the cheapest on
};

/// What is known of the values of an attribute. Values are forms, in the order of their type.
struct AttributeStatistics {
    /// A value that many objects have.
    struct Common {
        std::string form;
        std::uint64_t objects = 0;
    };
    /// The values that are not common, above those of the bucket before, up to `high` and with it.
    /// Buckets have about as many objects each.
    struct Bucket {
        std::string high;
        std::uint64_t objects = 0;
        std::uint64_t ofHigh = 0;   ///< of these, the ones with the value `high`
        std::uint64_t distinct = 0; ///< values
    };

    std::uint64_t nulls = 0;
    std::uint64_t distinct = 0; ///< values without null; of equal ones with several forms each
    bool exact = false; ///< all numbers are counted; else all but `nulls` are estimates, the one of
                        ///< `distinct` off by 1.6 % (one sigma)
    std::string lowest; ///< of all values that were seen; empty: there are none
    std::string highest;
    std::vector<Common> common;  ///< up to 200, ascending
    std::vector<Bucket> buckets; ///< up to 200, ascending
    std::uint64_t sample = 0;    ///< objects of the sample with values that are kept
};

/// What is known of the objects of a store, as they were when an import or Store::Analyze counted
/// them.
struct StoreStatistics {
    std::uint64_t objects = 0; ///< at that time
    std::uint64_t sample = 0;  ///< of these, those whose values are kept
    std::uint64_t added = 0;   ///< objects since then
    std::uint64_t erased = 0;  ///< and those that are gone; objects that changed are not counted
    std::vector<AttributeStatistics> attributes; ///< by attribute of the schema
};

} // namespace ko::store

#endif
