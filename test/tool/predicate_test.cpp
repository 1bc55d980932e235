#include <failure.h>
#include <predicate.h>

#include <gtest/gtest.h>

using namespace kotm;

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

TEST(Predicate, Trees)
{
    const struct {
        const char* text;
        const char* tree;
    } kCases[] = {
        {"a=1 or b<2 and c>=-3.5e7", "(or a#0#1 (and b#2#2 c#5#-3.5e7))"},
        {"(a=1 OR b<=2) And not c!=3", "(and (or a#0#1 b#3#2) (not c#1#3))"},
        {"a is null and b is not null and c=1", "(and a?null b?value c#0#1)"},
        {R"(a = "x \"y\" \\")", R"(a#0#x "y" \')"},
        {R"(a = "h*k"x)", "a#0#h*k'"},
        {R"(a = "h\*k?"ai)", R"(a#0#h\*k?'*ia)"},
        {R"(a = "h\*k")", "a#0#h*k'"},
        {"nota=1 and is=2", "(and nota#0#1 is#0#2)"},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(Show(ParsePredicate(c.text)), c.tree) << c.text;
}

TEST(Predicate, FaultsPointAtTheirPlace)
{
    const std::string deep(300, '(');
    const struct {
        std::string text;
        std::size_t character;
    } kCases[] = {
        {"", 1},          {"a", 2},          {"a =", 4},         {"a = b", 5},
        {"a == 1", 4},    {"a = 1 b", 7},    {"(a = 1", 7},      {"a = \"x", 5},
        {"a = \"x\\", 5}, {"a = \"x\"q", 8}, {"a = \"x\"ii", 9}, {"a = \"x\"ix", 8},
        {"a is 1", 6},    {"1 = a", 1},      {"a=1 and", 8},     {"\xC3\xA9 = \"\xC3\xA9\" x", 9},
        {deep, 201},
    };
    for (const auto& c : kCases) {
        const std::string wanted = "predicate, character " + std::to_string(c.character) + ":";
        try {
            ParsePredicate(c.text);
            ADD_FAILURE() << c.text;
        } catch (const Failure& failure) {
            EXPECT_EQ(std::string(failure.what()).substr(0, wanted.size()), wanted) << c.text;
        }
    }
}

} // namespace
