#include "object/description.h"

#include "base/object_number.h"
#include "base/version.h"
#include "block/checksum.h"
#include <kostore.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdio>

namespace ko::store::inner
{

namespace
{

using nlohmann::json;

[[noreturn]] void FailUnreadable(const std::string& store, std::string_view row)
{
    throw Error(ErrorCode::Damaged, store + ": is damaged (the row \"" + std::string(row) +
                                        "\" of its description is unreadable)");
}

std::string Sealed(std::string_view key, const json& object)
{
    std::string value = object.dump();
    Seal(Space::Description, key, value);
    return value;
}

json Unsealed(std::string_view key, std::string_view sealed, const std::string& store)
{
    json object = json::parse(Unseal(Space::Description, key, sealed), nullptr, false);
    if (!object.is_object())
        FailUnreadable(store, key);
    return object;
}

std::string ToHex(std::uint64_t number)
{
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(number));
    return text;
}

} // namespace

std::string Description::Write() const
{
    return Sealed(kKey, {{"magic", kStoreMagic},
                         {"format", kStoreFormatVersion},
                         {"library", LibraryVersion()},
                         {"order", ToHex(order)},
                         {"slots", slotsOfBlock},
                         {"schema", schema.ToJson()}});
}

Description Description::Read(std::string_view sealed, const std::string& store)
try {
    const json object = Unsealed(kKey, sealed, store);
    if (object.value("magic", "") != kStoreMagic)
        throw Error(ErrorCode::Damaged, store + ": is no store of this program");
    if (object.value("format", 0) != kStoreFormatVersion)
        throw Error(ErrorCode::Damaged,
                    store + ": has store format " + std::to_string(object.value("format", 0)) +
                        ", this program reads " + std::to_string(kStoreFormatVersion));
    Description description;
    const std::string order = object.value("order", "");
    const auto read =
        std::from_chars(order.data(), order.data() + order.size(), description.order, 16);
    description.slotsOfBlock = object.value("slots", 0U);
    if (order.size() != 16 || read.ptr != order.data() + order.size() ||
        !std::has_single_bit(description.slotsOfBlock) || description.slotsOfBlock < kFewestSlots ||
        description.slotsOfBlock > kMostSlots)
        FailUnreadable(store, kKey);
    description.schema = Schema::FromJson(object.value("schema", ""),
                                          store + ": is damaged: schema", ErrorCode::Damaged);
    return description;
} catch (const json::exception&) {
    FailUnreadable(store, kKey);
}

std::string Counts::Write() const
{
    return Sealed(kKey, {{"objects", objects}, {"next", nextNumber}, {"texts", texts}});
}

Counts Counts::Read(std::string_view sealed, std::size_t attributes, const std::string& store)
try {
    const json object = Unsealed(kKey, sealed, store);
    Counts counts;
    const auto read = [&](const char* name, std::uint64_t& number) {
        const json& value = object.at(name);
        if (!value.is_number_unsigned())
            FailUnreadable(store, kKey);
        number = value.get<std::uint64_t>();
    };
    read("objects", counts.objects);
    read("next", counts.nextNumber);
    for (const json& size : object.at("texts")) {
        if (!size.is_number_unsigned() || size.get<std::uint64_t>() > kMostEntries)
            FailUnreadable(store, kKey);
        counts.texts.push_back(size.get<std::uint32_t>());
    }
    // A number that was given out already would be one for two objects.
    if (counts.texts.size() != attributes || counts.nextNumber == 0 ||
        counts.nextNumber > kMaxObjectNumber + 1 || counts.objects >= counts.nextNumber)
        FailUnreadable(store, kKey);
    return counts;
} catch (const json::exception&) {
    FailUnreadable(store, kKey);
}

} // namespace ko::store::inner
