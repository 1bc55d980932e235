#include "require.h"

#include <kotms.h>

#include <cstdint>
#include <cstring>
#include <string>

// UTF-8 from untrusted bytes: the first byte of the input is the code set, the rest is the text.
// What is no UTF-8 changes nothing; what is comes back from a 16-bit string as it was, and from an
// 8-bit one wherever no character was lacking.

namespace
{

std::string Written(const KoString& text)
{
    char* buffer = nullptr;
    int length = 0;
    Require(KoString2MultiByteString(text, buffer, length) == 0, "a text can be written");
    std::string utf8(buffer, static_cast<std::size_t>(length));
    KoFree(buffer);
    Require(KoMBSLength(text, KoString::kToEnd) == length, "its length");
    std::string copy(utf8.size() + 1, '#');
    Require(KoString2KoMBS(text, copy.data(), length) == -1, "no room for the terminator");
    Require(KoString2KoMBS(text, copy.data(), length + 1) == length + 1 && copy.back() == '\0' &&
                copy.compare(0, utf8.size(), utf8) == 0,
            "the same text in a buffer");
    return utf8;
}

/// The longest text that no code set cuts off.
constexpr std::size_t kLongest = 32765;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size > kLongest)
        return 0;
    const unsigned char codeSet = data[0];
    // Nothing after the bytes is there to be read.
    const std::string utf8(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto bytes = static_cast<int>(utf8.size());
    const std::string upToZero = utf8.c_str();

    KoString before("before");
    before.SetCodeSet(codeSet);
    before.SetLanguage(7);
    KoString text(before);
    const int rc = KoMBS2KoString(utf8.data(), text, bytes);
    KoString wide(KoCS_UNICODE, 0);
    const bool valid = KoMBS2KoString(utf8.data(), wide, bytes) == 0;
    const int characters =
        KoMultiByteStr2WCharStr(nullptr, 0, upToZero.data(), static_cast<int>(upToZero.size()));
    Require(!valid || characters >= 0, "valid text consists of characters");
    if (!valid) {
        Require(rc == KoMBS_MALFORMED, "one notion of UTF-8 for all code sets");
        Require(std::strcmp(text.StrGet(), before.StrGet()) == 0 &&
                    text.ByteSize() == before.ByteSize(),
                "a failure changes nothing");
        return 0;
    }
    Require(Written(wide) == upToZero, "valid text is written as it was");
    Require(text.CodeSet() == codeSet && text.Language() == 7, "a target keeps its code set");
    const std::string written = Written(text);
    Require(rc != 0 || written == upToZero, "a text without loss is written as it was");
    if (text.Width() == 1)
        Require(text.Len() == characters, "one byte for each character");
    KoString again(codeSet, 7);
    Require(KoMBS2KoString(written.c_str(), again, -1) == 0, "what is written can be read");
    Require(Written(again) == written, "and is the same text");

    // Case, places and orders of whatever the text holds.
    KoStringIterator at(text);
    unsigned forward = 0;
    while (!at.IsEOS()) {
        ++forward;
        ++at;
    }
    Require(forward == text.Len(), "an iterator meets every character");
    const unsigned length = text.Len();
    text.ToUpper().ToLower();
    Require(text.Len() == length, "case keeps the length");
    KoString words;
    for (KoStringIterator order(text); !order.IsEOS();)
        KoConvertOrderToString(order.GetNextOrder(1), order.Variant(), words);
    text.Trim();
    Require(text.IsEmpty() || !text[0].IsSpace(), "trimmed");
    return 0;
}
