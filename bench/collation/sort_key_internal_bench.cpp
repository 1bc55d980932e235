#include "collation/key_sort.h"
#include "ratio.h"

#include "collation/sort_key.h"

#include <fstream>
#include <memory>
#include <random>
#include <set>

#if defined(KO_HAVE_ICU)
#include <unicode/ucol.h>
#include <unicode/ustring.h>
#endif

using namespace ko;

// Making sort keys of the texts of four columns of the example data, their sizes, and sorting by
// them, keys included, beside ICU (root collation), std::string and KoString::Compare.

namespace
{

using benchmark::State;
using Texts = std::vector<std::string>;

constexpr unsigned kRoom = 1024;

/// The fields of a line of CSV.
Texts Fields(const std::string& line)
{
    Texts fields(1);
    bool quoted = false;
    for (const char c : line) {
        if (c == '"')
            quoted = !quoted;
        else if (c == ',' && !quoted)
            fields.emplace_back();
        else
            fields.back() += c;
    }
    return fields;
}

struct Column {
    const char* name;
    std::size_t index;
    Texts texts;
};

std::vector<Column>& Columns()
{
    static std::vector<Column> s_columns = [] {
        std::vector<Column> columns = {
            {"species", 8, {}}, {"airport", 0, {}}, {"operator", 4, {}}, {"aircraft", 1, {}}};
        std::ifstream in(KO_EXAMPLES "/birdstrikes.csv");
        std::string line;
        std::getline(in, line);
        while (std::getline(in, line)) {
            const Texts fields = Fields(line);
            for (Column& column : columns)
                if (column.index < fields.size())
                    column.texts.push_back(fields[column.index]);
        }
        return columns;
    }();
    return s_columns;
}

std::vector<KoString> InMemory(const Texts& texts)
{
    std::vector<KoString> strings;
    for (const std::string& text : texts)
        strings.emplace_back(text.c_str());
    return strings;
}

// ---- making keys

using Strings = std::shared_ptr<const std::vector<KoString>>;

unsigned MakeKey(const KoString& string, unsigned char* key, unsigned room)
{
    return ko::WriteSortKey(StringAccess::Get(string), KoCMP_PLAIN, key, room,
                            ko::TextMemory::kPadded);
}

unsigned MakePlainKey(const KoString& string, unsigned char* key, unsigned room)
{
    return ko::WriteSortKeyBy(ko::SortKeyWay::kPlain, StringAccess::Get(string), KoCMP_PLAIN, key,
                              room);
}

unsigned MakeKeyByBlocks(const KoString& string, unsigned char* key, unsigned room)
{
    static const ko::SortKeyWay s_way = std::min(ko::SortKeyWay::kBlocks, ko::BestSortKeyWay());
    return ko::WriteSortKeyBy(s_way, StringAccess::Get(string), KoCMP_PLAIN, key, room,
                              ko::TextMemory::kPadded);
}

template <class Text, class Make>
void AddMaking(const std::string& name, std::vector<Text> texts, Make make)
{
    const auto shared = std::make_shared<std::vector<Text>>(std::move(texts));
    benchmark::RegisterBenchmark(name.c_str(), [shared, make](State& state) {
        unsigned char key[kRoom];
        std::size_t i = 0;
        for (auto _ : state) {
            benchmark::DoNotOptimize(make((*shared)[i], key, kRoom));
            benchmark::DoNotOptimize(key);
            i = i + 1 < shared->size() ? i + 1 : 0;
        }
    });
}

#if defined(KO_HAVE_ICU)
const UCollator* Collator(UCollationStrength strength)
{
    UErrorCode status = U_ZERO_ERROR;
    UCollator* collator = ucol_open("", &status);
    ucol_setStrength(collator, strength);
    return collator;
}

std::vector<std::u16string> Wide(const Texts& texts)
{
    std::vector<std::u16string> wide;
    for (const std::string& text : texts) {
        char16_t units[kRoom];
        int length = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strFromUTF8(units, kRoom, &length, text.data(), static_cast<int>(text.size()), &status);
        wide.emplace_back(units, static_cast<std::size_t>(length));
    }
    return wide;
}

auto IcuKey(UCollationStrength strength)
{
    return [collator = Collator(strength)](const std::u16string& text, unsigned char* key,
                                           unsigned room) {
        return static_cast<unsigned>(ucol_getSortKey(
            collator, text.data(), static_cast<int>(text.size()), key, static_cast<int>(room)));
    };
}
#endif

template <class Text, class Make>
double BytesForAByte(const std::vector<Text>& texts, std::size_t bytes, Make make)
{
    std::size_t length = 0;
    for (const Text& text : texts)
        length += make(text, nullptr, 0);
    return static_cast<double>(length) / static_cast<double>(bytes);
}

void AddColumns()
{
    for (const Column& column : Columns()) {
        const std::string name = std::string("keys of ") + column.name;
        AddMaking(name + "/ours", InMemory(column.texts), MakeKey);
        AddMaking(name + "/ours plain", InMemory(column.texts), MakePlainKey);
        AddMaking(name + "/ours by blocks", InMemory(column.texts), MakeKeyByBlocks);
#if defined(KO_HAVE_ICU)
        AddMaking(name + "/ICU tertiary", Wide(column.texts), IcuKey(UCOL_TERTIARY));
        AddMaking(name + "/ICU identical", Wide(column.texts), IcuKey(UCOL_IDENTICAL));
#endif
    }
}

void PrintSizes()
{
    std::printf("\nBytes of keys for a byte of UTF-8\n");
    for (const Column& column : Columns()) {
        std::size_t bytes = 0;
        for (const std::string& text : column.texts)
            bytes += text.size();
        std::printf("%-10s ours %.3f", column.name,
                    BytesForAByte(InMemory(column.texts), bytes, MakeKey));
#if defined(KO_HAVE_ICU)
        for (const auto& [peer, strength] :
             {std::pair("tertiary", UCOL_TERTIARY), std::pair("identical", UCOL_IDENTICAL)})
            std::printf("  ICU %s %.3f", peer,
                        BytesForAByte(Wide(column.texts), bytes, IcuKey(strength)));
#endif
        std::printf("\n");
    }
}

// ---- sorting

constexpr std::size_t kSorted = 20000;

std::mt19937 s_random(1);

std::string Random(unsigned shortest, unsigned longest)
{
    std::string word(shortest + s_random() % (longest - shortest + 1), ' ');
    for (char& letter : word)
        letter = static_cast<char>('a' + s_random() % 26);
    return word;
}

/// A word of a made-up language: syllables, a capital now and then.
std::string Word()
{
    static const char* const kSyllables[] = {"ba", "con", "de", "er",  "fi", "gra", "in", "ka",
                                             "li", "mo",  "ne", "pre", "re", "sta", "te", "un"};
    std::string word;
    for (auto left = 2 + s_random() % 3; left > 0; --left)
        word += kSyllables[s_random() % std::size(kSyllables)];
    if (s_random() % 8 == 0)
        word[0] = static_cast<char>(word[0] - 'a' + 'A');
    return word;
}

template <class Make>
Texts Many(Make make)
{
    Texts texts;
    while (texts.size() < kSorted)
        texts.push_back(make());
    return texts;
}

template <class Text, class Make>
void AddKeySort(const std::string& name, const std::vector<Text>& texts, Make make)
{
    benchmark::RegisterBenchmark(name.c_str(), [texts, make](State& state) {
        KeyList keys;
        KeySort sort;
        for (auto _ : state) {
            keys.Fill(texts, make);
            benchmark::DoNotOptimize(sort.Sort(keys).data());
        }
    });
}

/// By std::sort, as keys are sorted without further thought.
template <class Text, class Make>
void AddPlainKeySort(const std::string& name, const std::vector<Text>& texts, Make make)
{
    benchmark::RegisterBenchmark(name.c_str(), [texts, make](State& state) {
        KeyList keys;
        for (auto _ : state) {
            keys.Fill(texts, make);
            std::sort(keys.entries.begin(), keys.entries.end(),
                      [&keys](const KeyList::Entry& a, const KeyList::Entry& b) {
                          const std::uint32_t x = keys.Length(a.index);
                          const std::uint32_t y = keys.Length(b.index);
                          const int order =
                              std::memcmp(keys.bytes.data() + keys.Begin(a.index),
                                          keys.bytes.data() + keys.Begin(b.index), std::min(x, y));
                          return order != 0 ? order < 0 : x < y;
                      });
            benchmark::DoNotOptimize(keys.entries.data());
        }
    });
}

template <class Text, class Less>
void AddSort(const std::string& name, const std::vector<Text>& texts, Less less)
{
    benchmark::RegisterBenchmark(name.c_str(), [texts, less](State& state) {
        std::vector<const Text*> sorted(texts.size());
        for (auto _ : state) {
            for (std::size_t i = 0; i < texts.size(); ++i)
                sorted[i] = &texts[i];
            std::sort(sorted.begin(), sorted.end(),
                      [less](const Text* a, const Text* b) { return less(*a, *b); });
            benchmark::DoNotOptimize(sorted.data());
        }
    });
}

/// Both ways of sorting must agree before either is measured.
bool SortsAlike(const Texts& texts)
{
    std::vector<KoString> strings = InMemory(texts);
    KeyList keys;
    keys.Fill(strings, MakeKey);
    KeySort sort;
    const std::vector<std::uint32_t>& order = sort.Sort(keys);
    for (std::size_t i = 1; i < order.size(); ++i)
        if (strings[order[i - 1]].Compare(strings[order[i]], -1, KoCMP_PLAIN) > 0)
            return false;
    return std::set<std::uint32_t>(order.begin(), order.end()).size() == texts.size();
}

bool AddSorts(const std::string& name, const Texts& texts)
{
    const std::vector<KoString> strings = InMemory(texts);
    AddKeySort(name + "/ours", strings, MakeKey);
    AddPlainKeySort(name + "/keys and std::sort", strings, MakeKey);
    AddSort(name + "/KoString::Compare", strings,
            [](const KoString& a, const KoString& b) { return a.Compare(b, -1, KoCMP_PLAIN) < 0; });
    AddSort(name + "/std::string", texts, std::less<>());
#if defined(KO_HAVE_ICU)
    AddPlainKeySort(name + "/ICU keys", Wide(texts), IcuKey(UCOL_TERTIARY));
    AddSort(name + "/ICU strcollUTF8", texts,
            [collator = Collator(UCOL_TERTIARY)](const std::string& a, const std::string& b) {
                UErrorCode status = U_ZERO_ERROR;
                return ucol_strcollUTF8(collator, a.data(), static_cast<int>(a.size()), b.data(),
                                        static_cast<int>(b.size()), &status) < 0;
            });
#endif
    return SortsAlike(texts);
}

} // namespace

int main(int argc, char** argv)
{
    AddColumns();
    bool alike = AddSorts("sort words", Many(Word));
    alike = AddSorts("sort random", Many([] { return Random(4, 12); })) && alike;
    for (const Column& column : Columns())
        alike =
            AddSorts(std::string("sort rows of ") + column.name,
                     Many([&column] { return column.texts[s_random() % column.texts.size()]; })) &&
            alike;
    if (!alike) {
        std::printf("sorting by keys is not sorting by comparing\n");
        return 1;
    }
    const int result = RunWithRatios(argc, argv);
    PrintSizes();
    return result;
}
