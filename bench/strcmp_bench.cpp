#include "ratio.h"

#include <kotms.h>

#include <algorithm>
#include <clocale>
#include <cstring>
#include <random>
#include <vector>

#if defined(__unix__)
#include <fnmatch.h>
#endif
#if defined(KO_HAVE_ICU)
#include <unicode/ucol.h>
#endif

// Comparing, matching and hashing texts. ICU makes the same distinctions at the strength given
// beside it: tertiary for all of them, secondary without case.

namespace
{

using benchmark::State;

constexpr unsigned kPairs = 256;

std::mt19937 s_random(1);

std::string Word(unsigned length)
{
    std::string word(length, ' ');
    for (char& letter : word)
        letter = static_cast<char>('a' + s_random() % 26);
    return word;
}

KoString In(unsigned char codeSet, const std::string& text)
{
    KoString string(text.c_str());
    string.MapToCodeSet(codeSet);
    return string;
}

/// Pairs of texts as the peers and as we have them.
struct Pairs {
    std::vector<std::string> left, right;

    template <class Make>
    explicit Pairs(Make make)
    {
        for (unsigned i = 0; i < kPairs; ++i) {
            const auto [a, b] = make();
            left.push_back(a);
            right.push_back(b);
        }
    }
};

/// Texts that share all but the last quarter.
Pairs Prefixed(unsigned length)
{
    return Pairs([length] {
        const std::string prefix = Word(length - length / 4);
        return std::pair(prefix + Word(length / 4), prefix + Word(length / 4));
    });
}

Pairs CaseOnly(unsigned length)
{
    return Pairs([length] {
        std::string word = Word(length);
        std::string upper = word;
        for (char& letter : upper)
            letter = static_cast<char>(letter - 'a' + 'A');
        return std::pair(word, upper);
    });
}

template <class Work>
void Walk(State& state, Work work)
{
    unsigned i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(work(i));
        i = (i + 1) % kPairs;
    }
}

template <class Work>
void Add(const std::string& name, Work work)
{
    benchmark::RegisterBenchmark(name.c_str(), [work](State& state) { Walk(state, work); });
}

void AddOurs(const std::string& name, const Pairs& pairs, unsigned char leftSet,
             unsigned char rightSet, o_u2b cmpOp)
{
    std::vector<KoString> left, right;
    for (unsigned i = 0; i < kPairs; ++i) {
        left.push_back(In(leftSet, pairs.left[i]));
        right.push_back(In(rightSet, pairs.right[i]));
    }
    Add(name + "/ours",
        [left, right, cmpOp](unsigned i) { return left[i].Compare(right[i], -1, cmpOp); });
}

#if defined(KO_HAVE_ICU)
UCollator* Collator(UCollationStrength strength)
{
    UErrorCode status = U_ZERO_ERROR;
    UCollator* collator = ucol_open("", &status);
    ucol_setStrength(collator, strength);
    return collator;
}

int Collate(const UCollator* collator, const std::string& a, const std::string& b)
{
    UErrorCode status = U_ZERO_ERROR;
    return ucol_strcollUTF8(collator, a.data(), static_cast<int>(a.size()), b.data(),
                            static_cast<int>(b.size()), &status);
}

void AddIcu(const std::string& name, const Pairs& pairs, UCollationStrength strength)
{
    Add(name + "/ICU", [pairs, collator = Collator(strength)](unsigned i) {
        return Collate(collator, pairs.left[i], pairs.right[i]);
    });
}
#else
enum UCollationStrength { UCOL_SECONDARY, UCOL_TERTIARY };
void AddIcu(const std::string&, const Pairs&, UCollationStrength)
{
}
#endif

void AddComparisons()
{
    for (const unsigned length : {12U, 60U}) {
        const std::string n = " " + std::to_string(length);
        const Pairs prefixed = Prefixed(length);
        const Pairs caseOnly = CaseOnly(length);
        const struct {
            const char* name;
            const Pairs& pairs;
            unsigned char left, right;
            o_u2b cmpOp;
            UCollationStrength strength;
        } rows[] = {
            {"all distinctions", prefixed, 1, 1, 0x10, UCOL_TERTIARY},
            {"under the default word", prefixed, 1, 1, 0, UCOL_TERTIARY},
            {"ignoring case", prefixed, 1, 1, 0x30, UCOL_SECONDARY},
            {"case only differs", caseOnly, 1, 1, 0x30, UCOL_SECONDARY},
            {"16-bit", prefixed, 253, 253, 0x10, UCOL_TERTIARY},
            {"two code sets", prefixed, 1, 2, 0x10, UCOL_TERTIARY},
            {"8-bit and 16-bit", prefixed, 1, 253, 0x10, UCOL_TERTIARY},
        };
        for (const auto& row : rows) {
            AddOurs(row.name + n, row.pairs, row.left, row.right, row.cmpOp);
            AddIcu(row.name + n, row.pairs, row.strength);
        }
    }
    const Pairs spaced([] {
        const std::string two = Word(8) + " " + Word(7);
        return std::pair(two + " " + Word(8), two + Word(9));
    });
    AddOurs("a space differs 25", spaced, 1, 1, 0x10);
    AddIcu("a space differs 25", spaced, UCOL_TERTIARY);

    for (const unsigned length : {12U, 60U, 1024U}) {
        const std::string n = "bytes " + std::to_string(length);
        const Pairs pairs = Prefixed(length);
        std::vector<KoString> left, right;
        for (unsigned i = 0; i < kPairs; ++i) {
            left.emplace_back(pairs.left[i].c_str()).SetCodeSetCode(KoCS_NONE);
            right.emplace_back(pairs.right[i].c_str()).SetCodeSetCode(KoCS_NONE);
        }
        Add(n + "/ours", [left, right](unsigned i) { return left[i].Compare(right[i], -1, 0x10); });
        Add(n + "/memcmp and length", [pairs](unsigned i) {
            const std::string& a = pairs.left[i];
            const std::string& b = pairs.right[i];
            const int order = std::memcmp(a.data(), b.data(), std::min(a.size(), b.size()));
            return order != 0 ? order : static_cast<int>(a.size()) - static_cast<int>(b.size());
        });
    }
}

void AddStored()
{
    for (const unsigned length : {12U, 60U, 240U}) {
        const Pairs pairs = Prefixed(length);
        using Records = std::vector<std::vector<unsigned char>>;
        static std::vector<std::vector<KoString>> s_strings;
        const auto strings = [](const std::vector<std::string>& texts) -> KoString* {
            return s_strings.emplace_back(texts.size()).data();
        };
        s_strings.reserve(8);
        KoString* const left = strings(pairs.left);
        KoString* const right = strings(pairs.right);
        Records leftStored, rightStored;
        for (unsigned i = 0; i < kPairs; ++i) {
            left[i] = pairs.left[i].c_str();
            right[i] = pairs.right[i].c_str();
            leftStored.emplace_back(length + 6);
            rightStored.emplace_back(length + 6);
            StringStore(leftStored.back().data(), &left[i], KoFMT_LITTLE, 1);
            StringStore(rightStored.back().data(), &right[i], KoFMT_LITTLE, 1);
        }
        const std::string n = "stored " + std::to_string(length);
        Add(n + "/ours", [leftStored, rightStored, length](unsigned i) mutable {
            int status;
            return StringCompare(KoFMT_LITTLE, length + 6, leftStored[i].data(), length + 6,
                                 rightStored[i].data(), 0x10, 1, status);
        });
        Add(n + "/in memory", [left, right](unsigned i) {
            int status;
            return StringCompare(KoFMT_MEMORY, 0, &left[i], 0, &right[i], 0x10, 1, status);
        });
    }
}

/// Times one sort; what is sorted are places, so that neither side moves texts.
template <class Before>
void AddSort(const std::string& name, Before before)
{
    constexpr unsigned kWords = 20000;
    benchmark::RegisterBenchmark(name.c_str(), [before](State& state) {
        std::vector<unsigned> places(kWords);
        for (auto _ : state) {
            for (unsigned i = 0; i < kWords; ++i)
                places[i] = i;
            std::sort(places.begin(), places.end(), before);
            benchmark::DoNotOptimize(places.data());
        }
        state.SetItemsProcessed(state.iterations() * kWords);
    })->Unit(benchmark::kMillisecond);
}

void AddSorts()
{
    static std::vector<std::string> s_words;
    static std::vector<KoString> s_strings, s_wide;
    for (unsigned i = 0; i < 20000; ++i) {
        s_words.push_back(Word(3 + static_cast<unsigned>(s_random() % 18)));
        s_strings.push_back(In(1, s_words.back()));
        s_wide.push_back(In(253, s_words.back()));
    }
    AddSort("sort 20,000 words/ours", [](unsigned a, unsigned b) {
        return s_strings[a].Compare(s_strings[b], -1, 0x10) < 0;
    });
    AddSort("sort 20,000 words, 16-bit/ours",
            [](unsigned a, unsigned b) { return s_wide[a].Compare(s_wide[b], -1, 0x10) < 0; });
    AddSort("sort 20,000 words/std::string",
            [](unsigned a, unsigned b) { return s_words[a] < s_words[b]; });
#if defined(KO_HAVE_ICU)
    for (const char* name : {"sort 20,000 words/ICU", "sort 20,000 words, 16-bit/ICU"})
        AddSort(name, [collator = Collator(UCOL_TERTIARY)](unsigned a, unsigned b) {
            return Collate(collator, s_words[a], s_words[b]) < 0;
        });
#endif
}

unsigned SimpleHash(const char* text)
{
    unsigned hash = 0;
    for (; *text != 0; ++text)
        hash = 9 * hash + static_cast<unsigned>(static_cast<signed char>(*text));
    return hash;
}

unsigned SimpleKeyHash(const char* text, const o_u4b* keys)
{
    unsigned hash = 0;
    for (; *text != 0; ++text)
        hash = 9 * hash + keys[static_cast<unsigned char>(*text)];
    return hash;
}

void AddHashes()
{
    for (const unsigned length : {12U, 64U, 1024U}) {
        std::vector<KoString> texts;
        for (unsigned i = 0; i < kPairs; ++i)
            texts.emplace_back(Word(length).c_str());
        const std::string n = std::to_string(length);
        Add("hash " + n + "/ours", [texts](unsigned i) { return HashKoString(texts[i]); });
        Add("hash " + n + "/straight loop",
            [texts](unsigned i) { return SimpleHash(texts[i].StrGet()); });
        Add("hash of orders " + n + "/ours", [texts](unsigned i) {
            return HashString(1, 0, const_cast<char*>(texts[i].StrGet()), -1, 1);
        });
        Add("hash of orders " + n + "/straight loop",
            [texts, keys = KoLanguageContext::QueryCodeSet(1)->FastKeys()](unsigned i) {
                return SimpleKeyHash(texts[i].StrGet(), keys);
            });
    }
}

void AddWildcards()
{
    const struct {
        const char* name;
        const char* pattern;
        Pairs texts;
    } rows[] = {
        {"pattern, hit", "*foo*bar*", Pairs([] {
             return std::pair(Word(20) + "foo" + Word(20) + "bar" + Word(18), std::string());
         })},
        {"pattern, miss", "*foo*bar*",
         Pairs([] { return std::pair(Word(20) + "foo" + Word(41), std::string()); })},
        {"pattern, adversarial", "*a*a*b*",
         Pairs([] { return std::pair(std::string(64, 'a'), std::string()); })},
    };
    std::setlocale(LC_CTYPE, "C.UTF-8");
    for (const auto& row : rows) {
        std::vector<KoString> texts;
        for (const std::string& text : row.texts.left)
            texts.emplace_back(text.c_str());
        for (const bool noCase : {false, true}) {
            const std::string name = row.name + std::string(noCase ? ", ignoring case" : "");
            Add(name + "/ours",
                [texts, pattern = KoString(row.pattern), cmpOp = o_u2b(noCase ? 0x20 : 0)](
                    unsigned i) { return texts[i].Compare(pattern, -1, cmpOp); });
#if defined(__unix__)
            Add(name + "/fnmatch", [pattern = std::string(row.pattern), texts = row.texts.left,
                                    flags = noCase ? FNM_CASEFOLD : 0](unsigned i) {
                return fnmatch(pattern.c_str(), texts[i].c_str(), flags);
            });
#endif
        }
    }
}

std::string Repeated(const std::string& piece, unsigned length)
{
    std::string text;
    while (text.size() + piece.size() <= length)
        text += piece;
    return text;
}

/// The longest texts, with the patterns that take the most time; per character of the text.
void AddLongest()
{
    constexpr unsigned kLongest = 65531;
    constexpr unsigned kHalf = kLongest / 2;
    std::string twoLetters = Word(kLongest);
    for (char& letter : twoLetters)
        letter = letter < 'n' ? 'a' : 'b';
    const std::string same(kLongest, 'a');
    std::string eachThirdAny = same.substr(0, kHalf);
    std::string fewAny = same.substr(0, kHalf);
    for (unsigned i = 1; i < kHalf; i += 3)
        eachThirdAny[i] = '?';
    fewAny[kHalf / 2] = '?';
    const struct {
        const char* name;
        const std::string& text;
        std::string pattern;
    } rows[] = {
        {"asterisks", same, Repeated("*a", kLongest - 2) + "*b"},
        {"short pieces", same, Repeated("*aa?a", kLongest - 2) + "*b"},
        {"long piece", same, "*" + same.substr(0, kHalf) + "b"},
        {"long piece of two letters", twoLetters, "*" + twoLetters.substr(0, kHalf) + "c*"},
        {"middling piece", same, "*" + same.substr(0, 100) + "b*"},
        {"long piece, any character", same, "*" + eachThirdAny + "b*"},
        {"long piece, one any character", same, "*" + fewAny + "b"},
        {"middling piece, any character", same, "*" + eachThirdAny.substr(0, 100) + "b*"},
        {"long piece with any characters at the end", same, "*b" + eachThirdAny},
    };
    for (const auto& row : rows) {
        for (const unsigned char codeSet : {KoCS_NONE, KoCS_LATIN1}) {
            KoString text(row.text.c_str());
            KoString pattern(row.pattern.c_str());
            KoString part(row.pattern.c_str() + 1);
            for (KoString* string : {&text, &pattern, &part})
                string->SetCodeSetCode(codeSet);
            const std::string name = std::string("65,531 characters, ") + row.name +
                                     (codeSet == KoCS_NONE ? ", bytes" : "");
            const auto add = [&name](const char* what, auto work) {
                const auto time = [work](State& state) {
                    for (auto _ : state)
                        benchmark::DoNotOptimize(work());
                    state.SetItemsProcessed(state.iterations() * kLongest);
                };
                benchmark::RegisterBenchmark((name + what).c_str(), time)
                    ->Unit(benchmark::kMillisecond);
            };
            add("/compare", [text, pattern] { return text.Compare(pattern, -1, 0); });
            add("/find", [text, part] { return text.Find(part, 0, 0); });
            add("/find exactly", [text, part] { return text.Find(part, 0, 0x10); });
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    AddComparisons();
    AddStored();
    AddSorts();
    AddHashes();
    AddWildcards();
    AddLongest();
    return RunWithRatios(argc, argv);
}
