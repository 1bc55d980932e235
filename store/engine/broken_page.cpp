#include "engine/broken_page.h"

#include <kostore.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace ko::store::inner::lmdb
{

namespace
{

std::atomic<BrokenPageHandler> s_handler{nullptr};
char s_prefix[32] = ""; // a copy: a handler of signals calls nothing that takes memory

void Tell() noexcept
{
    constexpr char kMessage[] =
        "reading the store went wrong: it is damaged if a check of it finds a fault\n";
    char line[sizeof s_prefix + sizeof kMessage];
    const std::size_t size = std::strlen(s_prefix);
    std::copy_n(s_prefix, size, line);
    std::copy_n(kMessage, sizeof kMessage - 1, line + size);
    [[maybe_unused]] const ssize_t put = write(STDERR_FILENO, line, size + sizeof kMessage - 1);
}

} // namespace

void SetBrokenPageHandler(BrokenPageHandler handler)
{
    s_handler = handler;
}

void SetBrokenPagePrefix(const char* prefix) noexcept
{
    std::strncpy(s_prefix, prefix, sizeof s_prefix - 1);
}

void MeetBrokenPage() noexcept
{
    if (const BrokenPageHandler handler = s_handler)
        handler();
    Tell();
    std::abort();
}

void EndOnBrokenPage() noexcept
{
    Tell();
    _exit(static_cast<int>(ErrorCode::Damaged));
}

} // namespace ko::store::inner::lmdb
