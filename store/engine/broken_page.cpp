#include "engine/broken_page.h"

#include <kostore.h>

#include <unistd.h>

#include <atomic>
#include <cstdlib>

namespace ko::store::inner::lmdb
{

namespace
{

std::atomic<BrokenPageHandler> s_handler{nullptr};

void Tell() noexcept
{
    constexpr char kMessage[] =
        "kotm: reading the store went wrong: it is damaged if \"kotm check\" finds a fault in it\n";
    [[maybe_unused]] const ssize_t put = write(STDERR_FILENO, kMessage, sizeof kMessage - 1);
}

} // namespace

void SetBrokenPageHandler(BrokenPageHandler handler)
{
    s_handler = handler;
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
