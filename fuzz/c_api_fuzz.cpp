#include "require.h"
#include "support/page_end.h"

#include <ko.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

// ko.h with whatever strangers hand it: type, order and word are the first four bytes of the input,
// then comes a format up to a zero, then two operands with the length of the first one before them.
// Each operand is taken for stored bytes, for a key and for a text. No call may read beyond it, and
// what the calls say has to agree.

namespace
{

using Bytes = std::vector<unsigned char>;

struct Input {
    int type;
    ko_order order;
    unsigned word;
    const char* format;
};

/// Strings without a code set, and those of the older layout, compare as plain bytes: beside texts
/// they have no order, and loading makes text of the latter.
bool IsPlainBytes(const Input& in, const Bytes& bytes)
{
    static const int s_string = ko_type("KoString");
    return in.type == s_string && (bytes[2] == 0 || bytes.back() == 0);
}

/// A result of unknown length: without room the size is told, with exactly that room it is made.
template <class Call>
ko_status Make(Bytes& result, Call call)
{
    std::size_t needed = 0;
    const ko_status sized = call(nullptr, &needed);
    Require(sized == KO_NO_ROOM || sized == KO_OK || needed == 0, "a failure has no size");
    if (sized != KO_NO_ROOM && sized != KO_OK)
        return sized;
    result.assign(needed, 0);
    std::size_t size = needed;
    const ko_status made = call(result.data(), &size);
    Require(made == KO_OK && size == needed, "the room that was asked for is enough");
    return KO_OK;
}

ko_status Key(const Input& in, const Bytes& bytes, Bytes& key)
{
    return Make(key, [&](void* out, std::size_t* size) {
        return ko_key(in.type, bytes.data(), bytes.size(), in.word, in.order, out, size);
    });
}

ko_status Text(const Input& in, const Bytes& bytes, const char* format, Bytes& text)
{
    return Make(text, [&](void* out, std::size_t* size) {
        return ko_text(in.type, bytes.data(), bytes.size(), in.order, format,
                       static_cast<char*>(out), size);
    });
}

ko_status Pack(const Input& in, const Bytes& text, const char* format, Bytes& bytes)
{
    std::size_t errorAt = 0;
    const ko_status status = Make(bytes, [&](void* out, std::size_t* size) {
        return ko_pack(in.type, reinterpret_cast<const char*>(text.data()), text.size(), format,
                       in.order, out, size, &errorAt);
    });
    Require(errorAt <= text.size(), "the place of an error is in the text");
    const bool hasPlace = status == KO_UNREADABLE || status == KO_NO_CHARACTER;
    Require(!hasPlace || errorAt == text.size() || (text[errorAt] & 0xC0) != 0x80,
            "a character begins at the place of an error");
    return status;
}

ko_status FromKey(const Input& in, const Bytes& key, Bytes& bytes)
{
    const PageEnd page(key.data(), key.size());
    return Make(bytes, [&](void* out, std::size_t* size) {
        return ko_from_key(in.type, page.Bytes(), key.size(), in.word, in.order, out, size);
    });
}

/// The value in the other order.
Bytes Turned(const Input& in, const Bytes& bytes, ko_order order)
{
    Bytes turned;
    const ko_status status = Make(turned, [&](void* out, std::size_t* size) {
        return ko_convert(in.type, bytes.data(), bytes.size(), in.order, order, out, size);
    });
    Require(status == KO_OK, "every value has both orders");
    return turned;
}

int Compare(const Input& in, const Bytes& a, const Bytes& b)
{
    int order = 2;
    const ko_status status =
        ko_compare(in.type, a.data(), a.size(), b.data(), b.size(), in.word, in.order, &order);
    Require(status == KO_OK && order >= -1 && order <= 1, "whole values can be compared");
    return order;
}

bool IsNull(const Input& in, const Bytes& bytes)
{
    int isNull = 2;
    const ko_status status = ko_is_null(in.type, bytes.data(), bytes.size(), in.order, &isNull);
    Require(status == KO_OK && isNull <= ko_has_null(in.type), "null or not");
    return isNull == 1;
}

/// What has to hold of one value.
void UseValue(const Input& in, const Bytes& bytes)
{
    Bytes text;
    IsNull(in, bytes);
    Text(in, bytes, in.format, text);
    const ko_status shown = Text(in, bytes, nullptr, text);
    Require(shown == KO_OK || shown == KO_TOO_LONG, "every value has a text");
    Input turned = in;
    turned.order = in.order == KO_BIG ? KO_LITTLE : KO_BIG;
    const Bytes other = Turned(in, bytes, turned.order);
    Bytes back = Turned(turned, other, in.order);
    Bytes keys[2];
    const ko_status keyed = Key(in, bytes, keys[0]);
    if ((in.word & ~0x3F0U) != 0) {
        Require(keyed == KO_BAD_ARGUMENT, "a word of bits that have no meaning");
        return;
    }
    Require(keyed == KO_OK || (keyed == KO_NO_ORDER && (in.word & KO_PLAIN) == 0),
            "plain values have an order");
    std::uint64_t hashes[2] = {};
    const ko_status hashed =
        ko_hash(in.type, bytes.data(), bytes.size(), in.word, in.order, &hashes[0]);
    Require(hashed == keyed, "what has a key has a hash");
    if (keyed != KO_OK)
        return;
    if (IsPlainBytes(in, bytes))
        return;
    Require(Compare(in, bytes, back) == 0, "an order turned twice");
    Require(Key(turned, other, keys[1]) == KO_OK && keys[0] == keys[1], "a key for all orders");
    Require(ko_hash(in.type, other.data(), other.size(), in.word, turned.order, &hashes[1]) ==
                    KO_OK &&
                hashes[0] == hashes[1],
            "a hash for all orders");
    const ko_status made = FromKey(in, keys[0], back);
    Require(made == KO_NOT_SUPPORTED || (made == KO_OK && Compare(in, bytes, back) == 0),
            "a value from its key");
}

/// Stored bytes; true for a value.
bool UseBytes(const Input& in, const Bytes& bytes)
{
    const PageEnd page(bytes.data(), bytes.size());
    std::size_t at = bytes.size() + 1;
    const ko_status status = ko_validate(in.type, page.Bytes(), bytes.size(), in.order, &at);
    if (status == KO_NO_TYPE || status == KO_BAD_ARGUMENT)
        return false;
    Require(status == KO_OK || status == KO_TRUNCATED || status == KO_DAMAGED, "what bytes can be");
    Require(at <= bytes.size(), "a place within the bytes");
    int isNull = 0;
    const ko_status whole = ko_is_null(in.type, page.Bytes(), bytes.size(), in.order, &isNull);
    Require(whole == (status == KO_OK && at < bytes.size() ? KO_TRAILING : status),
            "every call looks at the bytes alike");
    if (whole == KO_OK)
        UseValue(in, bytes);
    return whole == KO_OK;
}

/// Texts, and what is read of them; true where it is a value, of the type's own format in `bytes`.
bool UseText(const Input& in, const Bytes& text, Bytes& bytes)
{
    if (Pack(in, text, in.format, bytes) == KO_OK)
        Require(UseBytes(in, bytes), "what is read is a value");
    if (Pack(in, text, nullptr, bytes) != KO_OK)
        return false;
    Bytes printed;
    Bytes again;
    Require(Text(in, bytes, nullptr, printed) == KO_OK, "what is read has a text");
    Require(Pack(in, printed, nullptr, again) == KO_OK, "a text is read back");
    // Nulls of one type may hold different bytes and have one text.
    Require(again == bytes || (IsNull(in, again) && IsNull(in, bytes)),
            "a text gives its value back");
    return true;
}

void UsePair(const Input& in, const Bytes& a, const Bytes& b)
{
    if ((in.word & ~0x3F0U) != 0)
        return;
    Bytes keys[2];
    const int order = Compare(in, a, b);
    if (IsPlainBytes(in, a) != IsPlainBytes(in, b))
        return;
    if (Key(in, a, keys[0]) != KO_OK || Key(in, b, keys[1]) != KO_OK)
        return;
    Require(Compare(in, b, a) == -order, "the other way round");
    const auto keyOrder = keys[0] <=> keys[1];
    Require(keyOrder == (order <=> 0), "keys have the order of the values");
    const std::size_t both = std::min(keys[0].size(), keys[1].size());
    Require(order == 0 || std::memcmp(keys[0].data(), keys[1].data(), both) != 0,
            "no key begins another");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 5)
        return 0;
    const std::uint8_t* const end = data + size;
    // A type beyond all types and an order that is none come as well.
    Input in{data[0] % (ko_type_count() + 2) - 1, data[1] % 4, 0, nullptr};
    in.word = static_cast<unsigned>(data[2] << 4 | (data[3] & 3) << 8);
    if (data[3] < 0xF0)
        in.word &= 0x3F0;
    const std::uint8_t* at = data + 4;
    const std::string format = Next(at, end);
    in.format = format.c_str();
    if (at == end)
        return 0;
    const std::uint8_t* const split = at + 1 + std::min<std::ptrdiff_t>(*at, end - at - 1);
    const Bytes a(at + 1, split);
    const Bytes b(split, end);

    if (UseBytes(in, a) && UseBytes(in, b))
        UsePair(in, a, b);
    Bytes packed[2];
    const bool first = UseText(in, a, packed[0]);
    if (UseText(in, b, packed[1]) && first)
        UsePair(in, packed[0], packed[1]);
    Bytes value;
    Bytes key;
    if (FromKey(in, b, value) == KO_OK)
        Require(Key(in, value, key) == KO_OK && key == b,
                "a key that is read is the key of its value");
    int order = 0;
    ko_collate(reinterpret_cast<const char*>(a.data()), a.size(),
               reinterpret_cast<const char*>(b.data()), b.size(), in.word, &order);
    return 0;
}
