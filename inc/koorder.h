#ifndef KOORDER_H
#define KOORDER_H

#include "kobasic.h"

// What a collation order (kocollate.h) stands for, as words, as a plain character and as a number.
// `variant` is the collation variant of the language: from 20 on (bit 7 does not count) every order
// is an ideograph. No function depends on what characters really have the order.

class KoString;

/// Describes an order in English; always returns 0. `text` is replaced, in the default 8-bit code
/// set and language; it stays as it was when memory runs out.
///
// clang-format off
/// | order           | text                                                                   |
/// |-----------------|------------------------------------------------------------------------|
/// | ideograph       | "HAN character 0x8001" and a line feed, in lower-case hexadecimal      |
/// | 13              | "undefined ordering indicator"                                         |
/// | others below 80 | "space"                                                                |
/// | symbol          | "symbol " and its name; "symbol " alone where it has none              |
/// | digit           | "digit 7", with " with expand" after it for an odd order               |
/// | letter          | "lower letter a with accent acute", or also " with extension" after it |
// clang-format on
///
/// An accent without a name gives " with ".
KOTMS_API int KoConvertOrderToString(unsigned short order, unsigned char variant, KoString& text);

/// The plain character that comes nearest; always returns 0. `ch` becomes 127 for an ideograph, a
/// blank for a space, 7 for a symbol without a character and "." for many that have only a name,
/// "0" plus its value for a digit, the letter without its accent for a letter. With `exact` a
/// letter with an accent becomes the first character above 127 of code set 1 whose (first) order it
/// is, where there is one. `name`, where it is not null, is set to the name of `ch` as a character
/// of code set 1: constant text in ASCII.
KOTMS_API int KoConvertOrderToChar(unsigned short order, unsigned char variant, unsigned char& ch,
                                   int exact, const char** name);

/// The number of a symbol, order - 80. Returns 0, or KoRC_REFUSED (unchanged) for any other order.
KOTMS_API int KoExtractSymbolFromOrder(unsigned short order, unsigned short& symbol);

/// The value of a digit, and 1 in `expanded` for the odd orders of its expanded form. Returns 0, or
/// KoRC_REFUSED (both unchanged) for any other order. Orders after the nines give values above 9.
KOTMS_API int KoExtractDigitFromOrder(unsigned short order, unsigned short& digit,
                                      unsigned short& expanded);

#endif
