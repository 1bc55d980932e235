#ifndef KONULLTEXT_H
#define KONULLTEXT_H

class KoString;

/// Texts that mean the null value. The null print string must be the whole text or (`whole` false)
/// begin it, character by character; one that is empty stands for nothing.

/// True for a null string and the null print string.
bool KoIsNullPrint(const KoString& text, bool whole);

/// True for an empty text also.
bool KoIsNullText(const KoString& text, bool whole);

#endif
