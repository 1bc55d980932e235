#include "type_commands.h"

#include "memory_value.h"
#include "output.h"

#include <kostore.h>

#include <cctype>
#include <cstdio>
#include <ostream>

namespace kotm
{

using ko::store::Error;
using ko::store::ErrorCode;
using ko::store::Visible;

namespace
{

/// The format byte of a persistent form. The memory form holds addresses: it is no persistent form.
unsigned char PersistentFormat(std::uint64_t format)
{
    if (format > 0xFF || (format & KoFMT_MEMORY) != 0)
        throw Error(ErrorCode::Usage, "format " + std::to_string(format) +
                                          " is no persistent form (1 is least, 2 most significant "
                                          "byte first; bit 3 is the memory form)");
    return static_cast<unsigned char>(format);
}

std::string ToHex(std::string_view bytes)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (const char c : bytes) {
        hex.push_back(kDigits[static_cast<unsigned char>(c) >> 4]);
        hex.push_back(kDigits[static_cast<unsigned char>(c) & 0xF]);
    }
    return hex;
}

/// Bytes of hexadecimal digits; blanks between bytes are passed over.
std::string FromHex(const std::string& hex)
{
    std::string bytes;
    int high = -1;
    for (std::size_t i = 0; i < hex.size(); ++i) {
        const auto c = static_cast<unsigned char>(hex[i]);
        if (c == ' ' && high < 0)
            continue;
        if (std::isxdigit(c) == 0)
            throw Error(ErrorCode::Usage,
                        "hex: character " + std::to_string(i + 1) + " is no hexadecimal digit");
        const int digit = std::isdigit(c) != 0 ? c - '0' : std::tolower(c) - 'a' + 10;
        if (high >= 0)
            bytes.push_back(static_cast<char>(high << 4 | digit));
        high = high < 0 ? digit : -1;
    }
    if (high >= 0)
        throw Error(ErrorCode::Usage, "hex: an odd number of digits");
    return bytes;
}

std::string Capabilities(o_char id)
{
    static constexpr struct {
        KoCapability capability;
        const char* name;
    } kNames[] = {
        {KoCAP_NULL, "null"}, {KoCAP_INTEGRAL, "integral"}, {KoCAP_TIMESTAMP, "timestamp"}};
    std::string names;
    for (const auto& row : kNames) {
        if (Manager().SupportsCapability(id, row.capability) != 0)
            names += (names.empty() ? "" : ",") + std::string(row.name);
    }
    return names;
}

Error NoOrder(const std::string& typeName, unsigned short word)
{
    return Error(ErrorCode::Usage, "values of the type " + typeName +
                                       " have no order under the word " + std::to_string(word) +
                                       ": its wildcards are on (16 switches them off)");
}

} // namespace

void ListTypes(bool json, std::ostream& out)
{
    // A column of a table that holds a word as well stands to the left.
    const std::vector<RowWriter::Column> columns = {
        {"id", true},
        {"idName"},
        {"name"},
        {"memoryLength", true},
        {"persistentLength", json},
        {"fixed", true},
        {"printFormat"},
        {"capabilities"},
    };
    const auto writer =
        RowWriter::Make(json ? RowWriter::Kind::Json : RowWriter::Kind::Table, columns, out);
    const KoTypeMgr& manager = Manager();
    // Ids of 100 and more all name the reserved type, which has an id of its own below them.
    for (o_char id = 0; id < 100 && manager.IsValidType(id) != 0; ++id) {
        const bool fixed = manager.IsFixed(id) != 0;
        writer->TextRow(columns,
                        {std::to_string(id), manager.TypeIdNameGet(id), manager.NameGet(id),
                         std::to_string(manager.MemLenGet(id, 1)),
                         fixed ? std::to_string(PersistentLength(id)) : "varies", fixed ? "1" : "0",
                         Manager().ExchangeFormat(id, nullptr), Capabilities(id)});
    }
    writer->Finish();
}

void ConvertTexts(const std::string& typeName, const std::vector<std::string>& texts,
                  std::uint64_t format, std::ostream& out)
{
    const unsigned char persistent = PersistentFormat(format);
    MemoryValue value(typeName);
    std::string lines;
    for (const std::string& utf8 : texts) {
        value.Read(utf8);
        lines += ToHex(value.Store(persistent)) + '\n';
    }
    out << lines;
}

void ShowKeys(const std::string& typeName, const std::vector<std::string>& texts,
              unsigned short word, std::ostream& out)
{
    MemoryValue value(typeName);
    const o_char id = value.Type();
    std::string lines;
    for (const std::string& utf8 : texts) {
        value.Read(utf8);
        const unsigned length = Manager().SortKeyLen(id, value.Get(), KoFMT_MEMORY, 1, word);
        if (length == 0)
            throw NoOrder(typeName, word);
        std::string key(length, '\0');
        Manager().SortKey(id, key.data(), length, value.Get(), KoFMT_MEMORY, 1, word);
        lines += ToHex(key) + '\n';
    }
    out << lines;
}

void InspectKey(const std::string& typeName, const std::string& hex, unsigned short word,
                std::ostream& out)
{
    MemoryValue value(typeName);
    const std::string key = FromHex(hex);
    const int code = Manager().FromSortKey(value.Type(), value.Get(), key.data(),
                                           static_cast<unsigned>(key.size()), 1, word);
    // Without an order even an empty value has no key.
    if (code == KoRC_NOT_SUPPORTED &&
        Manager().SortKeyLen(value.Type(), value.Get(), KoFMT_MEMORY, 1, word) == 0)
        throw NoOrder(typeName, word);
    if (code == KoRC_NOT_SUPPORTED)
        throw Error(ErrorCode::Usage, "keys of the type " + typeName + " under the word " +
                                          std::to_string(word) + " do not hold the whole value");
    if (code != KoRC_OK)
        throw Error(ErrorCode::Usage, "the bytes are no key of the type " + typeName +
                                          " under the word " + std::to_string(word));
    out << "type    " << typeName << '\n'
        << "key     " << ToHex(key) << '\n'
        << "null    " << (value.IsNull() ? "yes" : "no") << '\n'
        << "text    " << Visible(value.Text()) << '\n';
}

void InspectForm(const std::string& typeName, const std::string& hex, std::uint64_t format,
                 std::ostream& out)
{
    const unsigned char persistent = PersistentFormat(format);
    MemoryValue value(typeName);
    const o_char id = value.Type();
    const std::string bytes = FromHex(hex);
    value.Load(bytes, persistent);
    int status = 0;
    const unsigned hash = Manager().Hash(id, 0, value.Get(), 1, KoFMT_MEMORY, status);
    char hashText[16];
    std::snprintf(hashText, sizeof hashText, "0x%08x", hash);
    const std::string written = value.Store(persistent);
    out << "type    " << typeName << " (" << Manager().TypeIdNameGet(id) << ", id "
        << static_cast<int>(id) << ")\n"
        << "form    " << ToHex(bytes) << '\n'
        << "format  " << format << '\n'
        << "length  " << bytes.size() << '\n'
        << "null    " << (value.IsNull() ? "yes" : "no") << '\n'
        << "hash    " << hashText << '\n'
        << "text    " << Visible(value.Text()) << '\n';
    if (written != bytes)
        out << "written " << ToHex(written) << '\n';
}

} // namespace kotm
