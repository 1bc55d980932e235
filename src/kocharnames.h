#ifndef KOCHARNAMES_H
#define KOCHARNAMES_H

/// The name of a character of code set 1, in capitals: that of the Unicode character database, or
/// of ISO 6429 for a control.
const char* KoCharName(unsigned char c);

#endif
