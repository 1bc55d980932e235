#include "support/data_file.h"

#include "query/predicate.h"
#include <kostore.h>

#include <gtest/gtest.h>

using ko::store::Error;
using namespace ko::store::inner;

namespace
{

std::string Show(const Predicate& p)
{
    const auto list = [&](const char* name) {
        std::string text = name;
        for (const Predicate& part : p.parts)
            text += " " + Show(part);
        return "(" + text + ")";
    };
    switch (p.kind) {
    case Predicate::Kind::And:
        return list("and");
    case Predicate::Kind::Or:
        return list("or");
    case Predicate::Kind::Not:
        return list("not");
    case Predicate::Kind::IsNull:
        return p.attribute + "?null";
    case Predicate::Kind::IsNotNull:
        return p.attribute + "?value";
    case Predicate::Kind::Compare:
        break;
    }
    const Literal& l = p.literal;
    return p.attribute + "#" + std::to_string(static_cast<int>(p.op)) + "#" + l.text +
           (l.quoted ? "'" : "") + (l.pattern ? "*" : "") + (l.ignoreCase ? "i" : "") +
           (l.ignoreAccents ? "a" : "");
}

TEST(Predicate, TreesAndThePlacesOfFaults)
{
    data::ForEachRow("predicates.txt", 3, [](const auto&, const data::Row& row) {
        std::string result;
        try {
            result = Show(ParsePredicate(data::ParseString(row[0])));
        } catch (const Error& failure) {
            const std::string what = failure.what();
            const std::string before = "predicate, character ";
            EXPECT_EQ(what.rfind(before, 0), 0U) << what;
            result = "!" + what.substr(before.size(), what.find(':') - before.size());
        }
        EXPECT_EQ(result, row[1]);
    });
}

} // namespace
