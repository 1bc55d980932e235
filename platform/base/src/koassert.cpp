#include "koassert.h"

#include <cstdio>

namespace
{

void ReportOnStandardError(const char* text, const char* file, int line)
{
    std::fprintf(stderr, "assertion failed: %s (%s, line %d)\n", text ? text : "",
                 file ? file : "unknown file", line);
}

constinit KoAssertHandler g_handler = ReportOnStandardError;

} // namespace

void KORA_assert(const char* text, const char* file, int line)
{
    g_handler(text, file, line);
}

KoAssertHandler KoSetAssertHandler(KoAssertHandler handler)
{
    const KoAssertHandler previous = g_handler;
    g_handler = handler ? handler : ReportOnStandardError;
    return previous;
}
