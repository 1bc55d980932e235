#include "collation/sort_key_parse.h"

// An order is guessed from the first bytes of a code, and is the one that was written if its code
// is the bytes that stand there.

namespace ko
{

namespace sortkey
{

namespace
{

// Each of these gives the order that would have the code at the beginning of the bytes, if any
// order has. What stands after the lead may be anything, and may be missing.

unsigned GuessDigit(const Bytes& bytes)
{
    const unsigned lead = bytes.Peek() - 2;
    return kDigits + lead / 2 * 10 + (lead % 2 == 0 ? 0 : bytes.Peek(1));
}

unsigned GuessOrder(const Bytes& bytes)
{
    const unsigned lead = bytes.Peek();
    if (lead < 0x15)
        return GuessDigit(bytes);
    const auto letter = [](unsigned base, unsigned marks) { return kLetters | base | marks << 7U; };
    if (lead == 0x15 || lead == 0x7E) {
        const unsigned first = lead == 0x15 ? kLetters - kBehindDigits : 0;
        const unsigned rank = bytes.Word(1);
        if (rank < first)
            return kBehindDigits + rank;
        const unsigned offset = rank - first;
        const unsigned base = lead == 0x15 ? 0 : kBehindBases;
        return letter(base + offset / 128 % 128, offset % 128);
    }
    if (lead >= 0x7F)
        return (lead + 1) << 8U | (bytes.Peek(1) & 0xFFU);
    const unsigned base = kFirstBase + (lead - 0x16) / 4 * 4;
    const unsigned second = bytes.Peek(1);
    switch ((lead - 0x16) % 4) {
    case 0:
        return letter(base, 0);
    case 1:
        return letter(base, second & 0x7FU);
    case 2:
        return letter(base, 32);
    default:
        if (second < 0x20)
            return letter(base, 32 + second);
        const unsigned rank = 64 + bytes.Word(1) - 0x2000;
        return letter(base + rank / 128 % 4, rank % 128);
    }
}

unsigned GuessPlainLetter(const Bytes& bytes, unsigned firstLead, unsigned firstOrder)
{
    const unsigned offset = bytes.Peek() - firstLead;
    return firstOrder + offset / 2 * 4 + (offset % 2 == 0 ? 0 : bytes.Peek(1));
}

unsigned GuessIdeographic(const Bytes& bytes)
{
    const unsigned lead = bytes.Peek();
    const unsigned low = bytes.Peek(1) & 0xFFU;
    if (lead < 0x15)
        return GuessDigit(bytes);
    if (lead == 0x15)
        return kBehindDigits + bytes.Peek(1);
    if (lead < 0x49)
        return GuessPlainLetter(bytes, 0x16, kCapitals);
    if (lead == 0x49 || lead == 0xD0 || lead == 0xFD)
        return bytes.Word(1);
    if (lead < 0x4D)
        return (lead - 0x4A + 0x4E) << 8U | low;
    if (lead < 0x80)
        return GuessPlainLetter(bytes, 0x4D, kSmalls);
    if (lead < 0xD0)
        return (lead - 0x80 + 0x50) << 8U | low;
    return lead == 0xFE ? 0xFF00 | low : (lead - 0xD1 + 0xAC) << 8U | low;
}

} // namespace

o_u2b TakeOrder(Bytes& bytes, unsigned form)
{
    if (bytes.Peek() < 0x02 || bytes.Peek() > 0xFE)
        return 0;
    const bool ideographic = form == kIdeographicForm;
    const unsigned guess = ideographic ? GuessIdeographic(bytes) : GuessOrder(bytes);
    if (guess < KoORDER_DIGIT || guess > 0xFFFF)
        return 0;
    const auto order = static_cast<o_u2b>(guess);
    const Code code = CodeOf(order, form);
    if (!bytes.BeginsWith(code))
        return 0;
    bytes.Skip(BytesOf(code));
    return order;
}

o_u2b TakeElement(Bytes& bytes, o_u2b cmpOp)
{
    const unsigned first = bytes.Peek();
    const unsigned order =
        first < kLongElement ? first - 1 : kLongElements + bytes.Word(0) - kLongElement * 256U;
    if (first < 2 || first > 0xFF || order >= KoORDER_DIGIT)
        return 0;
    const auto element = static_cast<o_u2b>(order);
    const Code code = CodeOfElement(element);
    const bool dropped =
        (cmpOp & (order < KoORDER_SYMBOL ? KoCMP_SKIP_SPACES : KoCMP_SKIP_SYMBOLS)) != 0;
    if (dropped || !bytes.BeginsWith(code))
        return 0;
    bytes.Skip(BytesOf(code));
    return element;
}

} // namespace sortkey

} // namespace ko
