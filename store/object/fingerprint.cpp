#include "object/fingerprint.h"

#include "base/bytes.h"
#include "block/checksum.h"
#include "schema/field_reader.h"

#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace ko::store::inner
{

namespace
{

/// Words under which texts, dates and times differ in what counts.
constexpr unsigned short kWords[] = {kPlainOperator, kPlainOperator | kIgnoreCase,
                                     kPlainOperator | kIgnoreAccents,
                                     kPlainOperator | kIgnoreCase | kIgnoreAccents};

/// What the types of texts, and others whose values vary in size, read as a value each.
constexpr const char* kTexts[] = {
    "0", "1", "10", "127", "256", "2024-02-29",
    // texts: case, accents, ligatures, marks, digits, scripts and what stands beside them
    " ", "-", "_", "a", "A", "\xC3\xA1", "\xC3\x81", "\xC3\xA4", "\xC3\x84", "\xC3\xA6", "\xC3\x86",
    "ab", "Ab", "aB", "a b", "a-b", "a_b", "ae", "b", "B", "c", "\xC3\xA7", "co-op", "coop", "e",
    "\xC3\xA9", "\xC3\xA8", "\xC3\xAA", "cote", "cot\xC3\xA9", "c\xC3\xB4te", "c\xC3\xB4t\xC3\xA9",
    "i", "\xC4\xB1", "\xC4\xB0", "n", "\xC3\xB1", "o", "\xC3\xB6", "\xC3\xB8", "\xC5\x93", "ss",
    "\xC3\x9F", "\xE1\xBA\x9E", "ue", "\xC3\xBC", "z", "Z", "\xC3\xA5", "\xC3\x85", "a1", "a2",
    "a10", "a\xCC\x81", "\xCE\xB1", "\xCE\x91", "\xCE\xA9", "\xD0\x90", "\xD0\xB1", "\xD0\xAF",
    "\xD7\x90", "\xD8\xA7", "\xE0\xA4\x85", "\xE0\xB8\x81", "\xE3\x81\x82", "\xE3\x82\xA2",
    "\xE4\xB8\x80", "\xE6\x97\xA5", "\xEA\xB0\x80", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
    "\xEF\xAC\x81", "\xEF\xBC\xA1", "\xE2\x80\x94"};

/// Bytes of the forms of types of one size: so the fingerprint does not depend on how texts are
/// read. Types that do not take a form leave it out.
constexpr unsigned char kPatterns[] = {0x00, 0x01, 0x02, 0x05, 0x7F, 0x80, 0xFE, 0xFF};

/// The XXH3 of an order's keys, as checksums have it.
std::uint64_t Hash(std::string keys)
{
    Seal(Space::Description, "order", keys);
    return GetLittle<std::uint64_t>(keys.data() + keys.size() - kSealBytes);
}

void AddForm(std::string& keys, o_char id, const std::string& form)
{
    for (const unsigned short word : kWords) {
        const unsigned size = Manager().SortKeyLen(id, form.data(), kStoreFormat, 1, word);
        AppendLittle(keys, std::uint16_t{word});
        AppendLittle(keys, std::uint32_t{size});
        const std::size_t at = keys.size();
        keys.resize(at + size);
        Manager().SortKey(id, keys.data() + at, size, form.data(), kStoreFormat, 1, word);
    }
}

void AddIfSound(std::string& keys, o_char id, const std::string& form)
{
    std::size_t at = 0;
    if (!form.empty() && Manager().Validate(id, form.data(), form.size(), kStoreFormat, 1, at) == 0)
        AddForm(keys, id, form);
}

void AddTexts(std::string& keys, const ValueType& type)
{
    FieldReader reader(Attribute{"", "", type, {}, false, 0});
    std::string form;
    TextFault fault;
    for (const char* text : kTexts) {
        form.clear();
        if (reader.Read(text, form, fault) == FieldReader::Result::Present)
            AddForm(keys, type.Id(), form);
    }
}

std::uint64_t OfType(const ValueType& type)
{
    std::string keys;
    if (type.FixedSize() == 0)
        AddTexts(keys, type);
    for (const unsigned char pattern : kPatterns) {
        std::string form(type.FixedSize(), static_cast<char>(pattern));
        AddIfSound(keys, type.Id(), form);
        for (std::size_t i = 0; i < form.size(); ++i)
            form[i] = static_cast<char>(pattern + i);
        AddIfSound(keys, type.Id(), form);
        // One byte at a time, which tells what weight each has.
        form.assign(type.FixedSize(), 5);
        for (char& byte : form) {
            byte = static_cast<char>(pattern);
            AddIfSound(keys, type.Id(), form);
            byte = 5;
        }
    }
    return Hash(std::move(keys));
}

} // namespace

std::uint64_t FingerprintOfOrder(const Schema& schema)
{
    // An order is a matter of the program: it is found out once.
    static std::mutex mutex;
    static std::map<o_char, std::uint64_t> known;
    const std::lock_guard guard(mutex);
    std::map<o_char, std::uint64_t> types;
    for (const Attribute& attribute : schema.attributes) {
        const o_char id = attribute.type.Id();
        const auto found = known.find(id);
        types[id] = found != known.end() ? found->second : (known[id] = OfType(attribute.type));
    }
    std::string order;
    for (const auto& [id, fingerprint] : types) {
        order += static_cast<char>(id);
        AppendLittle(order, fingerprint);
    }
    return Hash(std::move(order));
}

} // namespace ko::store::inner
