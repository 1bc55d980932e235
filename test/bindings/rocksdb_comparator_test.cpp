#include "support/fixtures.h"

#include <ko_rocksdb.h>

#include <rocksdb/options.h>

#include <map>
#include <tuple>

/// The comparator of RocksDB over stored values of every type, whole and damaged.

namespace
{

using rocksdb::Slice;

/// Values of the corpus in both byte orders, by type.
std::map<std::string, std::vector<std::string>> Corpus(unsigned column)
{
    std::map<std::string, std::vector<std::string>> found;
    data::ForEachRow("golden", 6, [&](const auto& head, const data::Row& row) {
        const Bytes bytes = data::ParseBytes(row[column]);
        if (bytes.size() < 300)
            found[head[0]].emplace_back(bytes.begin(), bytes.end());
    });
    return found;
}

/// Another key like these: bytes that changed, more of them or fewer, two keys in one.
std::string Damaged(Random& random, const std::vector<std::string>& keys)
{
    static constexpr unsigned char kBytes[] = {0, 1, 0x20, 0x7F, 0x80, 0xFD, 0xFE, 0xFF};
    const auto any = [&]() -> const std::string& {
        return keys[random.Below(static_cast<unsigned>(keys.size()))];
    };
    std::string key = any();
    const auto place = [&] { return random.Below(static_cast<unsigned>(key.size()) + 1); };
    switch (random.Below(6)) {
    case 0:
        key.resize(place());
        break;
    case 1:
        key.append(1 + random.Below(3), static_cast<char>(kBytes[random.Below(8)]));
        break;
    case 2:
        key = key.substr(0, place()) + any();
        break;
    case 3: // texts of the other kind: without a code set, or in which accents count
        if (key.size() > 4)
            key[2] = static_cast<char>(key[2] ^ (random.Below(2) == 0 ? key[2] : 0x20));
        break;
    default:
        for (unsigned changes = 1 + random.Below(2); changes > 0 && !key.empty(); --changes) {
            const auto size = static_cast<unsigned>(key.size());
            key[random.Below(size)] = static_cast<char>(
                random.Below(2) == 0 ? kBytes[random.Below(8)] : random.Below(256));
        }
    }
    return key;
}

/// The place of a key in a total order that is known to be one: whether it is a value, which kind
/// of texts it is of, and its sort key or its bytes.
std::tuple<bool, bool, std::string> PlaceOf(ko::Type type, const std::string& key, ko::Word word,
                                            ko::Order order)
{
    const auto bytes = std::as_bytes(std::span(key));
    const auto length = ko::Validate(type, bytes, order);
    if (!length || *length != key.size())
        return {true, false, key};
    const ko::Bytes sorted = ko::SortKey(type, bytes, word, order).value();
    const bool accents = type.IdName() == "KoCASEISTRING_T" && (key[2] & 0x20) != 0;
    return {false, accents,
            std::string(reinterpret_cast<const char*>(sorted.data()), sorted.size())};
}

/// Compare is the order of the places for every pair, which makes it total and transitive.
TEST(RocksDbComparator, OrdersAllBytes)
{
    Random random(77);
    std::size_t values = 0;
    std::size_t damaged = 0;
    for (const ko::Order order : {ko::Order::big, ko::Order::little}) {
        for (auto& [name, corpus] : Corpus(order == ko::Order::big ? 1 : 0)) {
            const ko::Type type = ko::Type::Find(name).value();
            for (const ko::Word word :
                 {ko::Word::plain, ko::Word::ignore_case | ko::Word::ignore_accents,
                  ko::Word::skip_spaces | ko::Word::skip_symbols}) {
                const ko::RocksDbComparator comparator(type, word, order);
                std::vector<std::string> keys = {"", corpus[0]};
                for (unsigned i = 0; i < 25; ++i) {
                    keys.push_back(corpus[random.Below(static_cast<unsigned>(corpus.size()))]);
                    keys.push_back(Damaged(random, corpus));
                    keys.push_back(Damaged(random, keys));
                }
                std::vector<std::tuple<bool, bool, std::string>> places;
                for (const std::string& key : keys) {
                    places.push_back(PlaceOf(type, key, word | ko::Word::plain, order));
                    ++(std::get<0>(places.back()) ? damaged : values);
                }
                for (std::size_t i = 0; i < keys.size(); ++i) {
                    for (std::size_t j = 0; j < keys.size(); ++j) {
                        ASSERT_EQ(Sign(comparator.Compare(keys[i], keys[j])),
                                  Sign(places[i] <=> places[j]))
                            << comparator.Name() << ": " << Slice(keys[i]).ToString(true) << " and "
                            << Slice(keys[j]).ToString(true);
                    }
                }
            }
        }
    }
    EXPECT_GT(values, 3000U);
    EXPECT_GT(damaged, 3000U);
}

/// As the header shows it.
TEST(RocksDbComparator, IsAnOption)
{
    static const ko::RocksDbComparator byDate(ko::Type::Find("KoDate").value());
    rocksdb::Options options;
    options.comparator = &byDate; // which must live as long as the database
    EXPECT_EQ(options.comparator->GetRootComparator(), &byDate);
}

/// What makes two comparators order differently is in their names.
TEST(RocksDbComparator, IsNamedByWhatItOrders)
{
    const ko::Type string = ko::Type::Find("KoString").value();
    const ko::RocksDbComparator plain(string);
    EXPECT_EQ(plain.Name(),
              "ko.KoString.word-0010.big.order-" + std::to_string(ko_order_version()));
    EXPECT_STREQ(ko::RocksDbComparator(string, ko::Word::wildcards).Name(), plain.Name());
    const ko::RocksDbComparator others[] = {
        ko::RocksDbComparator(ko::Type::Find("KoIString").value()),
        ko::RocksDbComparator(string, ko::Word::ignore_case),
        ko::RocksDbComparator(string, ko::Word::plain, ko::Order::little)};
    for (const auto& other : others)
        EXPECT_STRNE(other.Name(), plain.Name());
    EXPECT_EQ(plain.timestamp_size(), 0U);
    std::string start = "a";
    plain.FindShortestSeparator(&start, "c");
    plain.FindShortSuccessor(&start);
    EXPECT_EQ(start, "a");
}

} // namespace
