#include "support/keys.h"

#include <ko.hpp>

#include <algorithm>
#include <atomic>
#include <map>
#include <set>
#include <sstream>
#include <thread>
#include <unordered_set>

/// ko.hpp over every type, by the golden corpus; and the settings of a caller beside those of
/// others.

namespace
{

ko::BytesView View(const Bytes& bytes)
{
    return std::as_bytes(std::span(bytes));
}

Bytes Plain(const ko::Bytes& bytes)
{
    const auto* const begin = reinterpret_cast<const unsigned char*>(bytes.data());
    return Bytes(begin, begin + bytes.size());
}

TEST(Values, AreThoseOfTheCorpus)
{
    const KoTypeMgr manager;
    data::ForEachRow("golden", 6, [&](const auto& head, const data::Row& row) {
        const ko::Type type = ko::Type::Find(head[0]).value();
        const Bytes little = data::ParseBytes(row[0]);
        const Bytes big = data::ParseBytes(row[1]);
        const auto value = ko::Value::Load(type, View(little), ko::Order::little);
        ASSERT_TRUE(value) << value.error();
        // A stored form that is read, but no longer written, becomes the one that is.
        EXPECT_EQ(Plain(value->Store(ko::Order::little).value()), little);
        EXPECT_EQ(Plain(value->Store().value()), big);
        const auto same = ko::Value::Load(type, View(big));
        EXPECT_TRUE(same && *same == *value && same->IsNull() == value->IsNull());
        const auto key = value->SortKey();
        ASSERT_TRUE(key) << key.error();
        EXPECT_EQ(Plain(*key), Key(manager, static_cast<o_char>(type.Number()), big.data(),
                                   KoFMT_BIG, 1, KoCMP_PLAIN));
        const auto back = ko::Value::FromKey(type, *key);
        EXPECT_TRUE(back ? *back == *value : back.error().status == ko::Status::not_supported)
            << back.error();
        std::ostringstream out;
        out << *value;
        const auto text = value->Text();
        EXPECT_EQ(out.str(), text ? *text : text.error().sentence);
        // Cut anywhere, or with a byte more, the bytes are no value.
        for (std::size_t size = 0; size < big.size(); size += 1 + size / 64) {
            const std::unique_ptr<unsigned char[]> cut =
                Exactly(Bytes(big.begin(), big.begin() + static_cast<std::ptrdiff_t>(size)));
            EXPECT_FALSE(ko::Value::Load(type, std::as_bytes(std::span(cut.get(), size))));
        }
        Bytes more = big;
        more.push_back(0);
        EXPECT_EQ(ko::Value::Load(type, View(more)).error().status, ko::Status::trailing);
    });
}

/// The operators, containers and words: one order, whatever asks for it.
TEST(Values, HaveOneOrder)
{
    const ko::Type string = ko::Type::Find("KoString").value();
    const auto read = [&](const char* text) { return ko::Value::Parse(string, text).value(); };
    const ko::Value values[] = {read("b"), read("B"), read("a*"), read("a")};
    std::map<ko::Value, int, ko::ValueLess> folded(ko::ValueLess{ko::Word::ignore_case});
    for (const ko::Value& value : values)
        ++folded[value];
    EXPECT_EQ(folded.at(read("b")), 2);
    EXPECT_EQ(folded.at(read("a*")), 1); // no pattern
    const auto word = ko::Word::plain | ko::Word::ignore_case | ko::Word::ignore_accents;
    EXPECT_TRUE(read("\xC3\x84").Compare(read("a"), word).value() == 0);
    const auto number = ko::Value::Parse(ko::Type::Find("o_4b").value(), "7").value();
    EXPECT_EQ(number.Compare(read("7")).error().status, ko::Status::bad_argument);
    EXPECT_TRUE(number < read("7")); // by type
}

// As test/data/order/kinds.txt has them.
TEST(Values, StandKindAfterKind)
{
    const ko::ValueLess less{ko::Word::skip_symbols};
    const std::hash<ko::Value> hash;
    for (const data::Section& section : data::Read("order/kinds.txt", 3)) {
        const ko::Type type = ko::Type::Find(section.head[0]).value();
        std::vector<ko::Value> values;
        std::set<std::string> places;
        for (const data::Row& row : section.rows) {
            values.push_back(ko::Value::Load(type, View(data::ParseBytes(row[0]))).value());
            places.insert(row[1]);
            for (std::size_t i = 0; i < values.size(); ++i) {
                SCOPED_TRACE(section.rows[i].Reason() + " / " + row.Reason());
                const auto order = section.rows[i][1] <=> row[1]; // of one digit
                EXPECT_TRUE((values[i] <=> values.back()) == order);
                EXPECT_TRUE((values.back() <=> values[i]) == (0 <=> order));
                EXPECT_EQ(less(values[i], values.back()), order < 0);
                EXPECT_TRUE(order != 0 || hash(values[i]) == hash(values.back()));
            }
        }
        // Whatever comes first.
        for (std::size_t i = 0; i < values.size(); ++i) {
            std::rotate(values.begin(), values.begin() + 1, values.end());
            const std::set<ko::Value> ordered(values.begin(), values.end());
            const std::unordered_set<ko::Value> hashed(values.begin(), values.end());
            EXPECT_TRUE(ordered.size() == places.size() && hashed.size() == places.size());
        }
    }
}

TEST(Results, TellWhatIsWrong)
{
    const ko::Type date = ko::Type::Find("KoDATE_T").value();
    const auto day = ko::Value::Parse(date, "2024-02-30", "%Y-%m-%d");
    ASSERT_FALSE(day);
    std::ostringstream out;
    out << day.error();
    EXPECT_EQ(out.str(), "the type has no such number or date (at byte 8)");
    EXPECT_THROW((void)day.value(), ko::Failure);
    EXPECT_EQ(day.and_then([](const ko::Value& value) { return value.SortKey(); }).error().status,
              ko::Status::out_of_range);
    const auto year = ko::Value::Parse(date, "2024-02-29", "%Y-%m-%d").transform([](const auto& v) {
        return v.Text("%Y").value();
    });
    EXPECT_EQ(year.value_or("none"), "2024");
    EXPECT_FALSE(ko::Type::Find(std::string(100, 'x')));
    EXPECT_FALSE(ko::Type::Find(std::string_view("KoDate\0", 7)));
    EXPECT_EQ(ko::Type::All().size(), static_cast<std::size_t>(KoTYPE_COUNT - 1));
}

/// Two plugins with settings of their own, and the process beside them, at once in three threads.
TEST(Settings, AreNotSeenByOthers)
{
    struct Plugin {
        const char* nullText; ///< null: the settings of the process
        int language;
        int codeSet;
    };
    static constexpr Plugin kPlugins[] = {{"nil", KoLANG_GERMAN, KoCS_UNICODE},
                                          {"\xC3\xB8", KoLANG_CHINESE, KoCS_WINDOWS_1252},
                                          {nullptr, 0, KoCS_LATIN1}};
    const ko::Type date = ko::Type::Find("KoDate").value();
    const ko::Type string = ko::Type::Find("KoString").value();
    std::atomic<int> faults = 0;
    const auto run = [&](const Plugin& plugin) {
        ko::Settings settings;
        if (plugin.nullText != nullptr)
            settings.NullText(plugin.nullText).Language(plugin.language).CodeSet(plugin.codeSet);
        const std::string own = plugin.nullText != nullptr ? plugin.nullText : "{NULL}";
        for (int i = 0; i < 2000; ++i) {
            const auto null = ko::Value::Parse(date, own, nullptr, settings);
            const auto text = ko::Value::Parse(string, "x", nullptr, settings);
            bool right = null && null->IsNull() && null->Text(nullptr, settings).value() == own;
            // A record: length, code set, language.
            right = right && text && text->Stored()[2] == std::byte(plugin.codeSet) &&
                    text->Stored()[3] == std::byte(plugin.language);
            for (const Plugin& other : kPlugins) {
                if (&other != &plugin && other.nullText != nullptr)
                    right = right && !ko::Value::Parse(date, other.nullText, nullptr, settings);
            }
            faults += right ? 0 : 1;
        }
    };
    std::vector<std::thread> threads;
    for (const Plugin& plugin : kPlugins)
        threads.emplace_back(run, std::cref(plugin));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(faults, 0);
    EXPECT_EQ(KoLanguageContext::GetDefaultLanguage(), 0);
    EXPECT_EQ(KoTypeMgr::GetNullPrintString(), KoString("{NULL}"));
}

} // namespace
