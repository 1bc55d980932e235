#ifndef KO_TEST_STORE_RANDOM_PREDICATE_H
#define KO_TEST_STORE_RANDOM_PREDICATE_H

#include "object/snapshot.h"

#include <random>
#include <set>
#include <string>
#include <vector>

/// Predicates at random over the attributes of a store, with literals from its objects and from
/// beside them. The same seed gives the same predicates on every machine.
class RandomPredicates
{
public:
    RandomPredicates(ko::store::inner::Snapshot& snapshot, unsigned seed)
        : m_schema(snapshot.GetSchema()), m_random(seed), m_literals(m_schema.attributes.size())
    {
        std::vector<std::set<std::string>> known(m_literals.size());
        std::string room;
        for (std::uint64_t number = 1; number < snapshot.GetCounts().nextNumber; ++number) {
            for (std::size_t i = 0; i < m_literals.size(); ++i) {
                const std::string_view form = snapshot.Value(number, i, room).value_or("");
                if (form.empty() || known[i].size() > 500)
                    continue;
                ko::store::inner::Value value(m_schema.attributes[i].type);
                value.Load(form);
                std::string text;
                value.Print(text, m_schema.attributes[i].Format());
                known[i].insert(text);
            }
        }
        for (std::size_t i = 0; i < m_literals.size(); ++i)
            m_literals[i].assign(known[i].begin(), known[i].end());
    }

    unsigned Below(std::size_t end) { return static_cast<unsigned>(m_random() % end); }

    std::string Make(unsigned depth)
    {
        switch (depth == 0 ? 9 : Below(10)) {
        case 0:
        case 1:
            return "(" + Make(depth - 1) + " and " + Make(depth - 1) + ")";
        case 2:
        case 3:
            return "(" + Make(depth - 1) + " or " + Make(depth - 1) + ")";
        case 4:
            return "not " + Make(depth - 1);
        case 5:
            return "@id " + std::string(Below(2) == 0 ? "< " : ">= ") + std::to_string(Below(400));
        default:
            return Comparison(Below(m_schema.attributes.size()));
        }
    }

    std::string Comparison(std::size_t attribute)
    {
        static const char* const kOperators[] = {"=", "=", "!=", "<", "<=", ">", ">="};
        const std::string& name = m_schema.attributes[attribute].name;
        if (m_literals[attribute].empty() || Below(12) == 0)
            return name + (Below(2) == 0 ? " is null" : " is not null");
        if (Below(24) == 0) {
            // Outside of every type of numbers; other types refuse it.
            const char* sign = Below(2) == 0 ? " -" : " ";
            return name + " " + kOperators[Below(7)] + sign + "9e999";
        }
        const std::string text = Literal(attribute);
        const bool isText = m_schema.attributes[attribute].type.HasPatterns();
        static const char* const kSuffixes[] = {"", "i", "a", "ia", "x"};
        return name + " " + kOperators[Below(7)] + " " +
               (isText && Below(2) == 0 ? Pattern(text) + kSuffixes[Below(4)]
                                        : Quoted(text) + (isText ? kSuffixes[Below(5)] : ""));
    }

    const std::string& Literal(std::size_t attribute)
    {
        return m_literals[attribute][Below(m_literals[attribute].size())];
    }

    static std::string Quoted(const std::string& text) { return Escaped(text, "*?\"\\"); }

    /// The text with wildcards in the place of some of its characters.
    std::string Pattern(const std::string& text)
    {
        const std::size_t kept = Below(6);
        std::string quoted = Quoted(text.substr(0, Cut(text, kept)));
        quoted.pop_back();
        return (Below(5) == 0 ? "\"*" + quoted.substr(1) : quoted) + "*?"[Below(2)] +
               (Below(2) == 0 ? "*\"" : "\"");
    }

    /// A beginning of at most so many bytes that ends between characters.
    static std::size_t Cut(const std::string& text, std::size_t kept)
    {
        kept = std::min(kept, text.size());
        while (kept > 0 && kept < text.size() && (text[kept] & 0xC0) == 0x80)
            --kept;
        return kept;
    }

private:
    static std::string Escaped(const std::string& text, const char* special)
    {
        std::string quoted = "\"";
        for (const char c : text) {
            if (std::string_view(special).find(c) != std::string_view::npos)
                quoted += '\\';
            quoted += c;
        }
        return quoted + "\"";
    }

    const ko::store::inner::Schema& m_schema;
    std::mt19937_64 m_random;
    std::vector<std::vector<std::string>> m_literals;
};

#endif
