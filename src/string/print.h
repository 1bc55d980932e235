#ifndef KO_STRING_PRINT_H
#define KO_STRING_PRINT_H

#include <kostring.h>

/// Strings under a format: literal text around one `%[-][width][.precision]s`, widths in
/// characters, `%%` for a percent sign. Any other format, and null, counts as "%s".
///
/// Under kWholeText a text that is the null print string, or backslashes and then that, has one
/// more backslash in front, which strict reading takes off: so the null print string is read as
/// null, and every other text is itself.

namespace ko
{

/// Appends the string to the text: at most `precision` characters of it, padded with blanks to
/// `width`, on the right under `-`. A null string appears as the null print string of the type
/// manager, whatever the format.
KoString& PrintString(KoString& text, const KoString& value, const char* format);

/// Reads what stands between the literal texts, with its code set and language; at most `width`
/// characters. What follows is not looked at. Where the text does not begin with the literal the
/// value stays. The null print string, and the null string, give null.
void ScanString(KoString& value, const KoString& text, const char* format);

/// The same without a null value. False where the value stays.
bool ScanNonNullString(KoString& value, const KoString& text, const char* format);

/// Reads the whole text, whose beginning and end must be the literal texts: 0, or -1 with `errorAt`
/// and the value unchanged. Every text is a value, the null print string too, but for kWholeText;
/// only the null string is null. `startsAt` receives the position of the value in the text.
int ParseString(KoString& value, const KoString& text, const char* format, unsigned& errorAt,
                unsigned* startsAt = nullptr);

} // namespace ko

#endif
