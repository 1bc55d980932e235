#include "type_commands.h"

#include "base/visible.h"
#include "output.h"
#include "schema/field_reader.h"
#include "schema/value_type.h"
#include <kostore.h>

#include <kostring.h>
#include <nlohmann/json.hpp>

#include <cctype>
#include <cstdio>
#include <ostream>

namespace kotm
{

using namespace ko::store;
using namespace ko::store::inner;

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

std::string LengthFault(const ValueType& type, std::string_view bytes, unsigned char format)
{
    const std::string given = std::to_string(bytes.size()) + " bytes";
    if (type.FixedSize() != 0)
        return given + " where " + type.Name() + " takes " + std::to_string(type.FixedSize());
    const std::size_t size = type.SizeAt(bytes, format);
    return size == 0 ? given + " do not hold a whole " + type.Name()
                     : given + " where this " + type.Name() + " takes " + std::to_string(size);
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

/// Persistent bytes of a value as `create` makes it; for a fixed-length type, of any value.
unsigned PersistentLength(o_char id)
{
    void* value = Manager().Create(id, 1);
    if (value == nullptr)
        return 0;
    const unsigned length = Manager().DiskLenGet(id, value, kStoreFormat, 1, KoFMT_MEMORY);
    Manager().Delete(id, value, 1);
    return length;
}

std::string NoValue(const std::string& utf8, const std::string& typeName, unsigned errorAt)
{
    return Quoted(utf8) + " is no value of the type " + typeName + " (character " +
           std::to_string(errorAt + 1) + ")";
}

/// Makes `value` what a text says, strictly.
void ReadText(Value& value, const std::string& utf8, const std::string& typeName)
{
    KoString text;
    TextFault fault;
    if (!ToKoString(utf8, 0, text, fault))
        throw Error(ErrorCode::Usage,
                    "text, byte " + std::to_string(fault.offset + 1) + ": " + fault.reason);
    unsigned errorAt = 0;
    const int code =
        Manager().ParseFromKoString(value.Type().Id(), value.Get(), text, nullptr, errorAt);
    if (code == KoRC_NOT_SUPPORTED)
        throw Error(ErrorCode::Usage, "the type " + typeName + " is not read from text");
    if (code != 0)
        throw Error(ErrorCode::Usage, NoValue(utf8, typeName, errorAt));
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
    Value value(ValueType::Named(typeName));
    std::string lines;
    for (const std::string& utf8 : texts) {
        ReadText(value, utf8, typeName);
        std::string bytes;
        value.Store(bytes, persistent);
        lines += ToHex(bytes) + '\n';
    }
    out << lines;
}

void ShowKeys(const std::string& typeName, const std::vector<std::string>& texts,
              unsigned short word, std::ostream& out)
{
    Value value(ValueType::Named(typeName));
    const o_char id = value.Type().Id();
    std::string lines;
    for (const std::string& utf8 : texts) {
        ReadText(value, utf8, typeName);
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
    Value value(ValueType::Named(typeName));
    const std::string key = FromHex(hex);
    const int code = Manager().FromSortKey(value.Type().Id(), value.Get(), key.data(),
                                           static_cast<unsigned>(key.size()), 1, word);
    // Without an order even an empty value has no key.
    if (code == KoRC_NOT_SUPPORTED &&
        Manager().SortKeyLen(value.Type().Id(), value.Get(), KoFMT_MEMORY, 1, word) == 0)
        throw NoOrder(typeName, word);
    if (code == KoRC_NOT_SUPPORTED)
        throw Error(ErrorCode::Usage, "keys of the type " + typeName + " under the word " +
                                          std::to_string(word) + " do not hold the whole value");
    if (code != KoRC_OK)
        throw Error(ErrorCode::Usage, "the bytes are no key of the type " + typeName +
                                          " under the word " + std::to_string(word));
    std::string text;
    value.Print(text, nullptr);
    out << "type    " << typeName << '\n'
        << "key     " << ToHex(key) << '\n'
        << "null    " << (value.Type().HasNull() && value.IsNull() ? "yes" : "no") << '\n'
        << "text    " << Visible(text) << '\n';
}

void InspectForm(const std::string& typeName, const std::string& hex, std::uint64_t format,
                 std::ostream& out)
{
    const unsigned char persistent = PersistentFormat(format);
    const ValueType type = ValueType::Named(typeName);
    const std::string bytes = FromHex(hex);
    if (bytes.empty() || type.SizeAt(bytes, persistent) != bytes.size())
        throw Error(ErrorCode::Usage, LengthFault(type, bytes, persistent));
    Value value(type);
    if (!value.LoadUntrusted(bytes, persistent))
        throw Error(ErrorCode::Usage, "the bytes are no value of the type " + typeName);
    const bool null = type.HasNull() && value.IsNull();
    int status = 0;
    const unsigned hash = Manager().Hash(type.Id(), 0, value.Get(), 1, KoFMT_MEMORY, status);
    char hashText[16];
    std::snprintf(hashText, sizeof hashText, "0x%08x", hash);
    std::string text;
    value.Print(text, nullptr);
    std::string written;
    value.Store(written, persistent);
    out << "type    " << typeName << " (" << Manager().TypeIdNameGet(type.Id()) << ", id "
        << static_cast<int>(type.Id()) << ")\n"
        << "form    " << ToHex(bytes) << '\n'
        << "format  " << format << '\n'
        << "length  " << bytes.size() << '\n'
        << "null    " << (null ? "yes" : "no") << '\n'
        << "hash    " << hashText << '\n'
        << "text    " << Visible(text) << '\n';
    if (written != bytes)
        out << "written " << ToHex(written) << '\n';
}

} // namespace kotm
