#include "query/predicate.h"

#include "base/utf8.h"
#include "base/visible.h"
#include <kostore.h>

#include <algorithm>
#include <cctype>

namespace ko::store::inner
{

namespace
{

/// Deeper nesting is refused, so that no input exhausts the stack.
constexpr int kMaxDepth = 200;

bool IsNameByte(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || std::isalnum(byte) != 0 || c == '_';
}

class Parser
{
public:
    explicit Parser(std::string_view text) : m_text(text) {}

    Predicate Parse()
    {
        Predicate predicate = Either();
        SkipBlanks();
        if (m_at != m_text.size())
            Fail("\"and\", \"or\" or the end is expected");
        return predicate;
    }

private:
    [[noreturn]] void Fail(const std::string& reason) const { FailAt(m_text, m_at, reason); }

    void SkipBlanks()
    {
        while (m_at < m_text.size() &&
               std::string_view(" \t\r\n").find(m_text[m_at]) != std::string_view::npos)
            ++m_at;
    }

    std::string_view PeekWord()
    {
        SkipBlanks();
        std::size_t end = m_at;
        // "@id" is the one name that begins so.
        if (end < m_text.size() && m_text[end] == '@')
            ++end;
        while (end < m_text.size() && IsNameByte(m_text[end]))
            ++end;
        return m_text.substr(m_at, end - m_at);
    }

    bool TakeWord(std::string_view word)
    {
        const std::string_view next = PeekWord();
        const bool same = std::equal(
            next.begin(), next.end(), word.begin(), word.end(), [](char given, char wanted) {
                return std::tolower(static_cast<unsigned char>(given)) == wanted;
            });
        m_at += same ? next.size() : 0;
        return same;
    }

    bool Take(std::string_view symbol)
    {
        SkipBlanks();
        if (!m_text.substr(m_at).starts_with(symbol))
            return false;
        m_at += symbol.size();
        return true;
    }

    template <class Part>
    Predicate List(Predicate::Kind kind, std::string_view word, Part part)
    {
        Predicate first = part();
        if (!TakeWord(word))
            return first;
        Predicate list{kind, {}, {}, 0, {}, {}};
        list.parts.push_back(std::move(first));
        do {
            list.parts.push_back(part());
        } while (TakeWord(word));
        return list;
    }

    Predicate Either()
    {
        return List(Predicate::Kind::Or, "or", [this] { return Both(); });
    }

    Predicate Both()
    {
        return List(Predicate::Kind::And, "and", [this] { return Negation(); });
    }

    Predicate Negation()
    {
        if (++m_depth > kMaxDepth)
            Fail("nested too deeply");
        Predicate predicate = NegationBody();
        --m_depth;
        return predicate;
    }

    Predicate NegationBody()
    {
        if (TakeWord("not")) {
            Predicate negation{Predicate::Kind::Not, {}, {}, 0, {}, {}};
            negation.parts.push_back(Negation());
            return negation;
        }
        if (Take("(")) {
            Predicate inner = Either();
            if (!Take(")"))
                Fail("\")\" is expected");
            return inner;
        }
        return Comparison();
    }

    Predicate Comparison()
    {
        const std::string_view name = PeekWord();
        if (name.empty() || std::isdigit(static_cast<unsigned char>(name[0])) != 0)
            Fail("the name of an attribute, \"not\" or \"(\" is expected");
        Predicate comparison{Predicate::Kind::Compare, {}, std::string(name), m_at, {}, {}};
        m_at += name.size();
        if (TakeWord("is")) {
            comparison.kind =
                TakeWord("not") ? Predicate::Kind::IsNotNull : Predicate::Kind::IsNull;
            if (!TakeWord("null"))
                Fail("\"null\" is expected");
            return comparison;
        }
        comparison.op = TakeOperator();
        comparison.literal = TakeLiteral();
        return comparison;
    }

    Operator TakeOperator()
    {
        // The longer ones first: "<=" begins with "<".
        static constexpr struct {
            std::string_view symbol;
            Operator op;
        } kOperators[] = {{"<=", Operator::LessEqual}, {">=", Operator::GreaterEqual},
                          {"!=", Operator::NotEqual},  {"=", Operator::Equal},
                          {"<", Operator::Less},       {">", Operator::Greater}};
        for (const auto& candidate : kOperators) {
            if (Take(candidate.symbol))
                return candidate.op;
        }
        Fail("one of = != < <= > >= or \"is null\" is expected");
    }

    Literal TakeLiteral()
    {
        SkipBlanks();
        if (m_at < m_text.size() && m_text[m_at] == '"')
            return TakeQuoted();
        Literal literal;
        const std::size_t start = m_at;
        if (!TakeWord("true") && !TakeWord("false")) {
            if (m_at < m_text.size() && !StartsNumber(m_text[m_at]))
                Fail("a number, true, false or a text in double quotes is expected");
            while (m_at < m_text.size() && (IsNameByte(m_text[m_at]) || StartsNumber(m_text[m_at])))
                ++m_at;
        }
        if (m_at == start)
            Fail("a literal is expected");
        literal.text = m_text.substr(start, m_at - start);
        for (std::size_t at = start; at <= m_at; ++at)
            literal.at.push_back(at);
        return literal;
    }

    static bool StartsNumber(char c)
    {
        return std::isdigit(static_cast<unsigned char>(c)) != 0 || c == '+' || c == '-' || c == '.';
    }

    Literal TakeQuoted()
    {
        struct Byte {
            char c;
            bool escaped;
            std::size_t at;
        };
        std::vector<Byte> bytes;
        const std::size_t opened = m_at++;
        for (;; ++m_at) {
            if (m_at >= m_text.size())
                FailAt(m_text, opened, "quote that is never closed");
            if (m_text[m_at] == '"')
                break;
            const bool escaped = m_text[m_at] == '\\';
            if (escaped && ++m_at == m_text.size())
                FailAt(m_text, opened, "quote that is never closed");
            bytes.push_back({m_text[m_at], escaped, m_at});
        }
        const std::size_t closed = m_at++;

        Literal literal;
        literal.quoted = true;
        const bool exact = TakeSuffixes(literal);
        const auto isWildcard = [](const Byte& byte) {
            return !byte.escaped && (byte.c == '*' || byte.c == '?');
        };
        literal.pattern = !exact && std::any_of(bytes.begin(), bytes.end(), isWildcard);
        for (const Byte& byte : bytes) {
            // A pattern goes to the matcher, which reads the same escapes.
            if (literal.pattern && byte.escaped) {
                literal.text.push_back('\\');
                literal.at.push_back(byte.at - 1);
            }
            literal.text.push_back(byte.c);
            literal.at.push_back(byte.at);
        }
        literal.at.push_back(closed);
        return literal;
    }

    /// Reads the letters after a quoted text; true when x is one of them.
    bool TakeSuffixes(Literal& literal)
    {
        bool exact = false;
        const std::size_t start = m_at;
        for (; m_at < m_text.size() && IsNameByte(m_text[m_at]); ++m_at) {
            bool& flag = m_text[m_at] == 'i'   ? literal.ignoreCase
                         : m_text[m_at] == 'a' ? literal.ignoreAccents
                                               : exact;
            if (flag || (&flag == &exact && m_text[m_at] != 'x'))
                Fail("the suffixes of a text are i, a and x, each once");
            flag = true;
        }
        if (exact && (literal.ignoreCase || literal.ignoreAccents))
            FailAt(m_text, start, "the suffix x (exact) goes with neither i nor a");
        return exact;
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    int m_depth = 0;
};

} // namespace

void FailAt(std::string_view predicate, std::size_t at, const std::string& reason)
{
    const std::size_t column = CountCharacters(predicate.substr(0, at));
    // Hidden characters become blanks, one each, so that the mark stands below its place.
    std::string line;
    for (std::size_t i = 0; i < predicate.size();) {
        const std::size_t start = i;
        const bool hidden = IsHidden(DecodeUtf8(predicate, i));
        i = std::max(i, start + 1);
        line += hidden ? " " : predicate.substr(start, i - start);
    }
    throw Error(ErrorCode::Usage,
                "predicate, character " + std::to_string(column + 1) + ": " + reason,
                "  " + line + "\n  " + std::string(column, ' ') + "^\n");
}

Predicate ParsePredicate(std::string_view text)
{
    return Parser(text).Parse();
}

} // namespace ko::store::inner
