#include "string/null_text.h"

#include <kochar.h>
#include <kostring.h>
#include <kotypemgr.h>

#include <atomic>
#include <cstring>

namespace ko
{

namespace
{

KoString& NullPrintString()
{
    static KoString text("{NULL}");
    return text;
}

// It is asked for while the library is loaded: it is then complete before any static object of an
// application, and outlives it. Another file's start-up that needs it earlier still gets it built.
[[maybe_unused]] const KoString& builtWithLibrary = NullPrintString();

/// That of the innermost scope of this thread, and the scopes of all threads.
constinit thread_local const KoString* t_text = nullptr;
constinit std::atomic<unsigned> g_scopes = 0;

const KoString& CurrentNullText()
{
    if (g_scopes.load(std::memory_order_relaxed) != 0 && t_text != nullptr) [[unlikely]]
        return *t_text;
    return NullPrintString();
}

/// The whole comparison. Apart from MeansNull, which every reading of a value begins with
/// and which nearly always has its answer before.
[[gnu::noinline]] bool IsOrBeginsWith(const KoString& text, const KoString& nullText, bool whole)
{
    if (nullText.IsEmpty())
        return false;
    const unsigned short length = text.Len();
    const unsigned short nullLength = nullText.Len();
    if (whole ? length != nullLength : length < nullLength)
        return false;
    KoString mapped;
    const KoString* start = &text;
    // What has no code set is bytes.
    const bool bytes = text.CodeSet() == KoCS_NONE || nullText.CodeSet() == KoCS_NONE;
    if (text.CodeSet() != nullText.CodeSet() && !(bytes && text.Width() == nullText.Width())) {
        const unsigned char codeSet = nullText.CodeSet() == KoCS_NONE
                                          ? KoLanguageContext::GetNativeCodeSet()
                                          : nullText.CodeSet();
        // A character that the other code set lacks becomes "?", which must not pass for one.
        if (mapped.CopyMapped(text, codeSet, static_cast<short>(nullLength)) != 0)
            return false;
        start = &mapped;
    }
    return std::memcmp(start->StrGet(), nullText.StrGet(),
                       std::size_t{nullLength} * nullText.Width()) == 0;
}

} // namespace

NullTextScope::NullTextScope(const KoString* text) noexcept
    : m_outer(text != nullptr ? t_text : nullptr), m_isUsed(text != nullptr)
{
    if (!m_isUsed)
        return;
    t_text = text;
    g_scopes.fetch_add(1, std::memory_order_relaxed);
}

NullTextScope::~NullTextScope()
{
    if (!m_isUsed)
        return;
    g_scopes.fetch_sub(1, std::memory_order_relaxed);
    t_text = m_outer;
}

bool MeansNullOrIsEmpty(const KoString& text, bool whole)
{
    return text.IsEmpty() || MeansNull(text, whole);
}

bool MeansNull(const KoString& text, bool whole)
{
    if (text.IsNullValue())
        return true;
    const KoString& nullText = CurrentNullText();
    // Nearly every text that is not null differs in its first character already.
    if (text.CodeSet() == nullText.CodeSet() && *text.StrGet() != *nullText.StrGet())
        return false;
    return IsOrBeginsWith(text, nullText, whole);
}

} // namespace ko

using namespace ko;

const KoString& KoTypeMgr::GetNullPrintString()
{
    return CurrentNullText();
}

void KoTypeMgr::SetNullPrintString(const KoString& text)
{
    NullPrintString() = text;
}
