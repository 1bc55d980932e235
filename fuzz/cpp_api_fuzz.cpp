#include "require.h"

#include <ko.hpp>

#include <sstream>

// ko.hpp with whatever strangers hand it: the first four bytes of the input choose type, word,
// language and code set, then stand a text for null, a format and two texts, each up to a zero. The
// same texts are taken for stored bytes and for keys.

namespace
{

ko::BytesView AsBytes(const std::string& text)
{
    return std::as_bytes(std::span(text));
}

/// What has to hold of one value, wherever it came from.
void Use(const ko::Value& value, const char* format, ko::Word word, const ko::Settings& settings)
{
    (void)value.Text(format, settings);
    std::ostringstream out;
    out << value;
    const auto back = value.Store(ko::Order::little).and_then([&](const ko::Bytes& little) {
        return ko::Value::Load(value.Type(), little, ko::Order::little);
    });
    Require(back && *back == value && back->IsNull() == value.IsNull() &&
                std::hash<ko::Value>()(*back) == std::hash<ko::Value>()(value),
            "a value can be stored and loaded");
    const ko::Value copy = *back;
    Require(copy == value && !ko::ValueLess{word}(copy, value), "a copy is equal");
    const auto key = value.SortKey(word);
    Require(key || key.error().status == ko::Status::no_order, "a key or no order");
    if (!key)
        return;
    const auto again = ko::Value::FromKey(value.Type(), *key, word, settings);
    const bool areSettings = ko::Collate("", "", word, settings).has_value();
    Require(again ? value.Compare(*again, word).value() == 0
                  : again.error().status ==
                        (areSettings ? ko::Status::not_supported : ko::Status::bad_argument),
            "a value from its key");
}

/// The two texts as texts: their order is that of the strings made of them.
void Collate(const std::string& a, const std::string& b, ko::Word word,
             const ko::Settings& settings)
{
    const auto order = ko::Collate(a, b, word, settings);
    const auto reverse = ko::Collate(b, a, word, settings);
    Require(order.has_value() == reverse.has_value(), "both ways or none");
    if (!order || (word & (ko::Word::plain | ko::Word::no_wildcards)) == ko::Word::wildcards)
        return;
    Require(0 <=> *order == *reverse, "the other way round");
    static const ko::Type string = ko::Type::Find("KoString").value();
    const auto first = ko::Value::Parse(string, a, nullptr, settings);
    const auto second = ko::Value::Parse(string, b, nullptr, settings);
    if (first && second && !first->IsNull() && !second->IsNull())
        Require(first->Compare(*second, word).value() == *order, "as strings");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 4)
        return 0;
    static const std::vector<ko::Type> types = ko::Type::All();
    const ko::Type type = types[data[0] % types.size()];
    const auto word = static_cast<ko::Word>((data[1] << 4) & 0x3F0);
    ko::Settings settings;
    // What nobody has is asked for as well.
    settings.Language(data[2] - 1).CodeSet(data[3] - 1);
    const std::uint8_t* at = data + 4;
    const std::uint8_t* const end = data + size;
    settings.NullText(Next(at, end));
    const std::string format = Next(at, end);
    const std::string a = Next(at, end);
    const std::string b(at, end);

    for (const std::string& text : {a, b}) {
        for (const char* const chosen : {format.c_str(), static_cast<const char*>(nullptr)}) {
            const auto value = ko::Value::Parse(type, text, chosen, settings);
            if (!value) {
                Require(value.error().position <= text.size(), "an error within the text");
                continue;
            }
            Use(*value, format.c_str(), word, settings);
        }
        if (const auto value = ko::Value::Load(type, AsBytes(text)))
            Use(*value, format.c_str(), word, settings);
        if (const auto value = ko::Value::FromKey(type, AsBytes(text), word, settings))
            Use(*value, format.c_str(), word, settings);
    }
    Collate(a, b, word, settings);
    return 0;
}
