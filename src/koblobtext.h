#ifndef KOBLOBTEXT_H
#define KOBLOBTEXT_H

#include <koblob.h>
#include <kostring.h>

/// Blobs under a format: literal text around directives.
///
// clang-format off
/// | directive | printed                                   | read                            |
/// |-----------|-------------------------------------------|---------------------------------|
/// | `%X`      | the bytes as pairs of hexadecimal digits, | pairs of hexadecimal digits of  |
/// |           | in capitals                               | either case                     |
/// | `%x`      | the same in small letters                 | the same                        |
/// | `%L`      | the number of bytes, decimal              | a decimal number                |
/// | `%%`      | a percent sign                            | a percent sign                  |
// clang-format on
///
/// Any other directive, and a second one for the bytes, makes a foreign format, which counts as
/// the type's own. A format without the bytes, as the type's own is, counts as "%X" in reading.

/// The longest blob whose digits fit a text.
inline constexpr int kBlobMostInText = 32765;

/// Appends the blob to the text; what exceeds a string's limit is cut off. Null appears as the null
/// print string of the type manager.
void KoPrintBlob(KoString& text, const KoBlob& blob, const char* format);

/// Reads leniently: white space may stand before what is read and between pairs of digits, the
/// number of `%L` may be any, what follows the bytes is not looked at. The blob stays where no
/// bytes can be read and the text does not end in their place. The null print string gives null.
void KoScanBlob(KoBlob& blob, const KoString& text, const char* format);

/// Reads the whole text: 0, or -1 with `errorAt` and the blob unchanged. The number of `%L` is that
/// of the bytes.
int KoParseBlob(KoBlob& blob, const KoString& text, const char* format, unsigned& errorAt);

#endif
