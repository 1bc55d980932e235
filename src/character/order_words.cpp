#include <koorder.h>
#include <kostring.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

// Collation orders as words and as plain characters.

namespace ko
{

namespace
{

/// The names of the characters of code set 1, in capitals: those of the Unicode character database,
/// or of ISO 6429 for a control.
constexpr const char* kCharacterNames[] = {
#include "character/tables/char_names.inc"
};
static_assert(sizeof kCharacterNames / sizeof kCharacterNames[0] == 256);

constexpr unsigned char kVariantFlag = 0x80;
constexpr unsigned char kNoPlainCharacter = 7;
constexpr unsigned char kIdeograph = 127;

struct Symbol {
    o_u2b order;
    unsigned char plain;
    const char* name;
};

// The system's own texts, odd spellings and plain characters included.
constexpr Symbol kSymbols[] = {
    {112, '_', "_"},
    {114, '.', "macron sign"},
    {115, '.', "soft hyphen"},
    {116, '-', "-"},
    {117, ',', ","},
    {118, ';', ";"},
    {119, ':', ":"},
    {120, '!', "!"},
    {121, '.', "inverted exclamation mark"},
    {122, '?', "?"},
    {124, '/', "solidus"},
    {126, '.', "full stop"},
    {129, '.', "middle dot"},
    {130, '.', "cedilla"},
    {132, '\'', "apostrophe"},
    {135, '"', "\""},
    {138, '.', "left pointing o_double angle quotation mark"},
    {139, '.', "right pointing o_double angle quotation mark"},
    {140, '(', "("},
    {142, ')', ")"},
    {144, '[', "["},
    {145, ']', "]"},
    {146, '{', "{"},
    {147, '}', "}"},
    {148, '.', "section sign"},
    {149, '.', "pilcrow sign"},
    {150, '.', "copyright sign"},
    {151, '.', "registered sign"},
    {153, '@', "@"},
    {154, '.', "currency sign"},
    {155, '.', "cent sign"},
    {156, '$', "$"},
    {157, '.', "pound sign"},
    {158, '.', "yen sign"},
    {159, '*', "*"},
    {160, '.', "reverse solidus"},
    {161, '&', "&"},
    {162, '#', "#"},
    {163, '%', "%"},
    {165, '+', "+"},
    {167, '.', "plus minus sign"},
    {168, '\'', "'"},
    {169, '`', "`"},
    {171, '^', "^"},
    {174, '.', "diaeresis"},
    {176, '~', "~"},
    {178, '.', "division sign"},
    {179, '.', "multiplication sign"},
    {181, '<', "<"},
    {183, '=', "="},
    {185, '>', ">"},
    {186, '.', "not sign"},
    {187, '|', "|"},
    {188, '.', "broken bar"},
    {189, '.', "degree sign"},
    {190, '.', "micron sign"},
    {219, '.', "inverted question mark"},
};
static_assert(std::is_sorted(std::begin(kSymbols), std::end(kSymbols),
                             [](const Symbol& a, const Symbol& b) { return a.order < b.order; }));

/// Null where a symbol has neither a name nor a plain character.
const Symbol* FindSymbol(o_u2b order)
{
    const Symbol* symbol =
        std::lower_bound(std::begin(kSymbols), std::end(kSymbols), order,
                         [](const Symbol& row, o_u2b wanted) { return row.order < wanted; });
    return symbol != std::end(kSymbols) && symbol->order == order ? symbol : nullptr;
}

constexpr const char* kAccents[] = {
    "", // no accent
    "cedilla",
    "accent acute",
    "accent grave",
    "accent circumflex",
    "tilde",
    "diaeresis",
    "ring above",
    "stroke",
    "accent caron",
    "accent macron",
    "accent breve",
    "dot above",
    "ogonek",
    "accent o_double acute",
};

/// The parts of a letter's order.
struct Letter {
    explicit Letter(o_u2b order)
        : upper((order & 0x3000) == 0), extended((order & 3) != 0), accent(order >> 7 & 0x1F),
          plain(static_cast<unsigned char>((order >> 2 & 0x1F) + (upper ? 62 : 94)))
    {
    }
    bool upper, extended;
    unsigned accent;
    unsigned char plain; ///< without its accent
};

/// Whether every order counts as a number of its own.
bool IsIdeographic(o_u2b order, unsigned char variant)
{
    return order >= KoORDER_IDEOGRAPH || (variant & ~kVariantFlag) >= KoVARIANT_IDEOGRAPHIC;
}

unsigned DigitValue(o_u2b order)
{
    return ((order & ~1U) - KoORDER_DIGIT) / 10;
}

/// The first character of the upper half of code set 1 that has the order, or 0.
unsigned char ExactCharacter(o_u2b order)
{
    const o_u2b* orders = KoLanguageContext::QueryCodeSet(KoCS_LATIN1)->Orders();
    const o_u2b* found = std::find(orders + 128, orders + 256, order);
    return static_cast<unsigned char>(found == orders + 256 ? 0 : found - orders);
}

} // namespace

} // namespace ko

using namespace ko;

int KoConvertOrderToString(unsigned short order, unsigned char variant, KoString& text)
{
    char words[96] = "unknown";
    const auto put = [&words](const char* format, auto... parts) {
        std::snprintf(words, sizeof words, format, parts...);
    };
    if (IsIdeographic(order, variant)) {
        put("HAN character 0x%04x\n", unsigned{order});
    } else {
        switch (KoClassOfOrder(order)) {
        case KoORDER_END:
        case KoORDER_SPACE:
            put("%s", order == KoORDER_UNDEFINED ? "undefined ordering indicator" : "space");
            break;
        case KoORDER_SYMBOL: {
            const Symbol* symbol = FindSymbol(order);
            put("symbol %s", symbol == nullptr ? "" : symbol->name);
            break;
        }
        case KoORDER_DIGIT:
            put("digit %u%s", DigitValue(order), (order & 1) != 0 ? " with expand" : "");
            break;
        default: {
            const Letter letter(order);
            put("%s letter %c%s%s%s", letter.upper ? "upper" : "lower", letter.plain,
                letter.accent != 0 ? " with " : "",
                letter.accent < std::size(kAccents) ? kAccents[letter.accent] : "",
                letter.extended ? " with extension" : "");
        }
        }
    }
    text = words;
    return KoRC_OK;
}

int KoConvertOrderToChar(unsigned short order, unsigned char variant, unsigned char& ch, int exact,
                         const char** name)
{
    ch = kNoPlainCharacter;
    if (IsIdeographic(order, variant)) {
        ch = kIdeograph;
    } else {
        switch (KoClassOfOrder(order)) {
        case KoORDER_END:
        case KoORDER_SPACE:
            ch = ' ';
            break;
        case KoORDER_SYMBOL:
            if (const Symbol* symbol = FindSymbol(order); symbol != nullptr)
                ch = symbol->plain;
            break;
        case KoORDER_DIGIT:
            ch = static_cast<unsigned char>('0' + DigitValue(order));
            break;
        default: {
            const Letter letter(order);
            ch = letter.plain;
            if (letter.accent != 0 && exact != 0) {
                if (const unsigned char found = ExactCharacter(order); found != 0)
                    ch = found;
            }
        }
        }
    }
    if (name != nullptr)
        *name = kCharacterNames[ch];
    return KoRC_OK;
}

int KoExtractSymbolFromOrder(unsigned short order, unsigned short& symbol)
{
    if (KoClassOfOrder(order) != KoORDER_SYMBOL)
        return KoRC_REFUSED;
    symbol = static_cast<unsigned short>(order - KoORDER_SYMBOL);
    return KoRC_OK;
}

int KoExtractDigitFromOrder(unsigned short order, unsigned short& digit, unsigned short& expanded)
{
    if (KoClassOfOrder(order) != KoORDER_DIGIT)
        return KoRC_REFUSED;
    digit = static_cast<unsigned short>(DigitValue(order));
    expanded = order & 1;
    return KoRC_OK;
}
