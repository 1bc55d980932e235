#ifndef KO_ROCKSDB_H
#define KO_ROCKSDB_H

#include <ko.hpp>

#include <rocksdb/comparator.h>
#include <rocksdb/slice.h>

#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

namespace ko
{

/// Keeps the keys of a RocksDB database in the order of a type. A key is the stored bytes of one
/// value, those of ko::Value::Stored or of ko_pack.
///
///     static const ko::RocksDbComparator byDate(ko::Type::Find("KoDate").value());
///     rocksdb::Options options;
///     options.comparator = &byDate; // which must live as long as the database
///
/// - Any bytes have a place: values come first, in the order of the type, and what is no value
/// comes
///   after them, by its bytes. So a damaged key leaves the others where they are.
/// - Texts of two kinds without a common order stand one kind after the other: a KoString without a
///   code set after the others, a KoCaseIString in which accents count after those in which not.
/// - Values that are equal are one key, even where their bytes differ (0 and -0, texts of two code
///   sets, and what the word ignores). A filter (rocksdb::FilterPolicy) looks at bytes and would
///   miss such a key: leave `filter_policy` null unless values are always stored in one way.
/// - The name, which RocksDB compares when it opens a database, holds type, word, byte order and
///   ko_order_version. After a library with another order a database is refused instead of misread.
/// - A comparison has no way to fail. If memory runs out in one, the process is ended: any answer
///   would put a key where nobody finds it.
/// - Keys carry no timestamps. Several threads may compare at once.
class RocksDbComparator final : public ROCKSDB_NAMESPACE::Comparator
{
    using Slice = ROCKSDB_NAMESPACE::Slice;

public:
    /// Wildcards are always off: Word::plain is added to the word.
    explicit RocksDbComparator(ko::Type type, Word word = Word::plain, Order order = Order::big)
        : m_type(type), m_word(static_cast<unsigned>(word | Word::plain)),
          m_order(static_cast<ko_order>(order))
    {
        char digits[9];
        std::snprintf(digits, sizeof digits, "%04x", m_word);
        m_name = "ko." + std::string(type.Name()) + ".word-" + digits +
                 (order == Order::big ? ".big" : ".little") + ".order-" +
                 std::to_string(ko_order_version());
    }

    const char* Name() const override { return m_name.c_str(); }

    int Compare(const Slice& a, const Slice& b) const override
    {
        int result = 0;
        const ko_status status = ko_compare(m_type.Number(), a.data(), a.size(), b.data(), b.size(),
                                            m_word, m_order, &result);
        if (status == KO_OK) {
            const int kinds = KindOf(a) - KindOf(b);
            return kinds != 0 ? kinds : result;
        }
        const int invalid = IsInvalid(a) - IsInvalid(b);
        if (invalid != 0)
            return invalid;
        if (!IsInvalid(a)) // both are values
            End(status);
        return a.compare(b);
    }

    /// Keys are not shortened: what lies between two values need not be a value.
    void FindShortestSeparator(std::string*, const Slice&) const override {}
    void FindShortSuccessor(std::string*) const override {}

private:
    int IsInvalid(const Slice& key) const
    {
        std::size_t length = 0;
        const ko_status status =
            ko_validate(m_type.Number(), key.data(), key.size(), m_order, &length);
        if (status == KO_NO_MEMORY)
            End(status);
        return status == KO_OK && length == key.size() ? 0 : 1;
    }
    int KindOf(const Slice& value) const
    {
        return ko::KindOf(m_type, std::as_bytes(std::span(value.data(), value.size())));
    }
    [[noreturn]] void End(ko_status status) const
    {
        std::fprintf(stderr, "%s: %s\n", m_name.c_str(), ko_status_text(status));
        std::abort();
    }

    ko::Type m_type;
    unsigned m_word;
    ko_order m_order;
    std::string m_name;
};

} // namespace ko

#endif
