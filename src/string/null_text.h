#ifndef KO_STRING_NULL_TEXT_H
#define KO_STRING_NULL_TEXT_H

class KoString;

/// Texts that mean the null value. The null print string must be the whole text or (`whole` false)
/// begin it, character by character; one that is empty stands for nothing.

namespace ko
{

/// True for a null string and the null print string.
bool MeansNull(const KoString& text, bool whole);

/// True for an empty text also.
bool MeansNullOrIsEmpty(const KoString& text, bool whole);

} // namespace ko

#endif
