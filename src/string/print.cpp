#include "string/print.h"

#include "collation/text.h"
#include "core/memory_watch.h"
#include "core/whole_text.h"
#include "number/format.h"
#include "string/null_text.h"

#include <kotypemgr.h>

#include <algorithm>
#include <utility>

namespace ko
{

namespace
{

/// The literal text from `s` to `end`, with its percent signs single.
KoString Literal(const char* s, const char* end)
{
    KoString text(KoString::GetDefault8CodeSet(), KoString::GetDefaultLanguage());
    while (s < end) {
        // A percent sign is the last character of its run and the other of the pair is skipped.
        const char* percent = std::find(s, end, '%');
        const char* run = percent == end ? end : percent + 1;
        text += KoString(
            s, static_cast<unsigned short>(std::min<std::ptrdiff_t>(run - s, kNumMaxField)));
        s = percent == end ? end : percent + 2;
    }
    return text;
}

NumFormat ParseStringFormat(const char* format)
{
    NumFormat parsed;
    if (format == nullptr || !parsed.Parse(format, "s"))
        parsed.Parse("%s", "s");
    return parsed;
}

/// The number of characters at `pos` of the text that are those of `literal`, by Unicode value.
unsigned Matching(const KoString& text, unsigned pos, const KoString& literal)
{
    const KoText from = StringAccess::Get(text);
    const KoText to = StringAccess::Get(literal);
    const auto meaning = [](const KoText& of, unsigned index) {
        const auto character = static_cast<o_u2b>(of.At(index));
        o_u2b unicode = 0;
        return KoLanguageContext::QueryCodeSet(of.codeSet)->ToUnicode(character, unicode)
                   ? unicode
                   : 0x10000U + character;
    };
    unsigned i = 0;
    while (pos + i < from.units && i < to.units && meaning(from, pos + i) == meaning(to, i))
        ++i;
    return i;
}

KoString Part(const KoString& text, unsigned pos, unsigned count)
{
    return text.Copy(static_cast<unsigned short>(pos), static_cast<short>(count));
}

/// True for the null print string and for backslashes before it.
bool IsEscapedNull(const KoString& text)
{
    const KoText units = StringAccess::Get(text);
    unsigned at = 0;
    while (at < units.units && units.At(at) == '\\')
        ++at;
    return MeansNull(at == 0 ? text : Part(text, at, units.units - at), true);
}

} // namespace

KoString& PrintString(KoString& text, const KoString& value, const char* format)
{
    if (value.IsNullValue())
        return text += KoTypeMgr::GetNullPrintString();
    if (IsWholeText(format)) {
        if (IsEscapedNull(value))
            text << '\\';
        return text += value;
    }
    const NumFormat parsed = ParseStringFormat(format);
    const unsigned length = value.Len();
    const unsigned shown =
        parsed.precision < 0 ? length : std::min(length, static_cast<unsigned>(parsed.precision));
    const unsigned padding = parsed.width > shown ? parsed.width - shown : 0;
    KoString blanks;
    blanks.Fill(static_cast<unsigned short>(padding), ' ');
    if (parsed.prefix != parsed.prefixEnd)
        text += Literal(parsed.prefix, parsed.prefixEnd);
    if (!parsed.Has(kNumLeft))
        text += blanks;
    text += shown == length ? value : Part(value, 0, shown);
    if (parsed.Has(kNumLeft))
        text += blanks;
    if (parsed.suffix != parsed.suffixEnd)
        text += Literal(parsed.suffix, parsed.suffixEnd);
    return text;
}

void ScanString(KoString& value, const KoString& text, const char* format)
{
    const MemoryWatch memory;
    const bool isNull = MeansNull(text, true);
    if (memory.HasRunOut()) // whether it is cannot be told
        return;
    if (isNull) {
        value.SetNullValue();
        return;
    }
    ScanNonNullString(value, text, format);
}

bool ScanNonNullString(KoString& value, const KoString& text, const char* format)
{
    const MemoryWatch memory;
    const NumFormat parsed = ParseStringFormat(format);
    const KoString prefix = Literal(parsed.prefix, parsed.prefixEnd);
    const KoString suffix = Literal(parsed.suffix, parsed.suffixEnd);
    const unsigned begin = prefix.Len();
    if (begin > text.Len() || Matching(text, 0, prefix) < begin)
        return false;
    unsigned count = text.Len() - begin;
    const unsigned ending = suffix.Len();
    if (ending <= count && Matching(text, begin + count - ending, suffix) == ending)
        count -= ending;
    if (parsed.width != 0)
        count = std::min(count, parsed.width);
    KoString part = Part(text, begin, count);
    if (memory.HasRunOut())
        return false;
    value = std::move(part);
    return true;
}

int ParseString(KoString& value, const KoString& text, const char* format, unsigned& errorAt,
                unsigned* startsAt)
{
    const MemoryWatch memory;
    // The value stays as it was where memory ran out on the way to the new one.
    const auto become = [&value, &memory](auto&& made) {
        if (!memory.HasRunOut())
            value = std::forward<decltype(made)>(made);
        return memory.HasRunOut() ? +KoRC_NO_MEMORY : 0;
    };
    const bool whole = IsWholeText(format);
    if (text.IsNullValue() || (whole && MeansNull(text, true))) {
        value.SetNullValue();
        return 0;
    }
    if (whole)
        return IsEscapedNull(text) ? become(Part(text, 1, text.Len() - 1U)) : become(text);
    const NumFormat parsed = ParseStringFormat(format);
    const KoString prefix = Literal(parsed.prefix, parsed.prefixEnd);
    const KoString suffix = Literal(parsed.suffix, parsed.suffixEnd);
    const unsigned length = text.Len();
    const unsigned begin = prefix.Len();
    const unsigned ending = suffix.Len();
    const auto fail = [&errorAt](unsigned at) {
        errorAt = at;
        return -1;
    };
    if (const unsigned matching = Matching(text, 0, prefix); matching < begin)
        return fail(matching);
    if (begin + ending > length)
        return fail(length);
    const unsigned end = length - ending;
    if (const unsigned matching = Matching(text, end, suffix); matching < ending)
        return fail(end + matching);
    if (parsed.precision >= 0 &&
        end - begin > std::max(parsed.width, static_cast<unsigned>(parsed.precision)))
        return fail(begin + std::max(parsed.width, static_cast<unsigned>(parsed.precision)));
    if (startsAt != nullptr)
        *startsAt = begin;
    return become(Part(text, begin, end - begin));
}

} // namespace ko
