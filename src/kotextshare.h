#ifndef KOTEXTSHARE_H
#define KOTEXTSHARE_H

/// The share of an index that a condition on a text selects, for every kind of text.
///
/// A text is a number in [0, 1): its characters are digits to a base of the number of characters
/// that texts are made of. What all keys of the index begin with is left out, so that the digits
/// tell them apart. A pattern is the range of the texts that begin with its literal prefix.
///
/// A text has the room of two digits, however long it is: texts repeat, and by all its digits the
/// share of one that occurs often would be far too small. Neither has a pattern less, which a text
/// may be all that meets it. Codes repeat less, and have the room of all their digits. The ends of
/// the index and the condition are taken for codes where all have one length, and a common
/// beginning or numerals.

/// The base of texts of letters. The end is 0, then come the ten numerals, the twenty-six letters,
/// and fractions for what stands after them. No digit is above the base less 1: so every text lies
/// in the room of each of its beginnings.
inline constexpr double kLetterBase = 39.0;
inline constexpr double kFirstNumeral = 1.0;
inline constexpr double kFirstLetter = 11.0;
inline constexpr double kAfterLetters = 37.0;

struct KoTextDigits {
    static constexpr unsigned kMost = 160;

    explicit KoTextDigits(double numberBase) : base(numberBase) {}

    /// `code` is what orders the characters of one digit, such as a letter in both cases.
    void Append(double digit, unsigned short code)
    {
        if (count == kMost)
            return;
        digits[count] = digit;
        codes[count++] = code;
    }
    /// The first `kept` digits as a number, of which `skipped` ones are left out.
    double Position(unsigned skipped, unsigned kept) const;
    /// The room of the texts that begin with so many certain digits after those left out.
    double Room(unsigned certain) const;
    bool HasNumeral() const;

    double base;
    double digits[kMost];
    unsigned short codes[kMost];
    unsigned count = 0;
    unsigned char variant = 0; ///< texts of different ones come one after another
    bool isNull = false;       ///< before all others
};

/// The text of a condition. A wildcard follows the digits of a pattern, at the position
/// `charWildPos`.
struct KoTextAsked {
    KoTextDigits digits;
    bool isPattern;
    unsigned charWildPos;
};

/// `low` and `high` are the lowest and the highest key, null where the end is open. In [0, 1].
double KoTextShare(unsigned bits, const KoTextAsked& asked, const KoTextDigits* low,
                   const KoTextDigits* high);

#endif
