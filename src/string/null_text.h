#ifndef KO_STRING_NULL_TEXT_H
#define KO_STRING_NULL_TEXT_H

#include <kostring.h>

/// Texts that mean the null value. The null print string must be the whole text or (`whole` false)
/// begin it, character by character; one that is empty stands for nothing.

namespace ko
{

/// True for a null string and the null print string.
bool MeansNull(const KoString& text, bool whole);

/// True for an empty text also.
bool MeansNullOrIsEmpty(const KoString& text, bool whole);

/// While it lives, the thread that made it has a null print string of its own. Scopes of a thread
/// stand inside one another, and the innermost counts.
class NullTextScope
{
public:
    /// `text` stays where it is for as long; null keeps what holds outside.
    explicit NullTextScope(const KoString* text) noexcept;
    ~NullTextScope();
    NullTextScope(const NullTextScope&) = delete;
    NullTextScope& operator=(const NullTextScope&) = delete;

private:
    const KoString* m_outer;
    bool m_isUsed;
};

} // namespace ko

#endif
