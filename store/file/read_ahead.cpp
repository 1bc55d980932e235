#include "file/read_ahead.h"

#include <cmath>
#include <cstdlib>

namespace ko::store
{

namespace
{

constexpr std::uintptr_t kPage = 4096; // LMDB's on every machine that it is fast on
constexpr std::uintptr_t kLine = 64;
constexpr double kFurthest = 1e15; // no map is larger

/// LMDB fills its pages from the end: turns an address into one that grows with the number of the
/// object there, and back.
std::uintptr_t Turned(std::uintptr_t address)
{
    return address ^ (kPage - 1);
}

void FetchLine(std::uintptr_t address)
{
    // A guess that may lie outside every object: no arithmetic on pointers could arrive at it.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    __builtin_prefetch(reinterpret_cast<const void*>(address));
}

} // namespace

void ReadAhead::Found(std::uint64_t number, const char* record)
{
    m_last = {static_cast<std::int64_t>(number),
              static_cast<std::int64_t>(Turned(reinterpret_cast<std::uintptr_t>(record)))};
    if (m_first.position == 0)
        m_first = m_last;
}

void ReadAhead::Fetch(std::uint64_t number) const
{
    if (m_first.number == m_last.number)
        return;
    const double each = static_cast<double>(m_last.position - m_first.position) /
                        static_cast<double>(m_last.number - m_first.number);
    const double step =
        each * static_cast<double>(static_cast<std::int64_t>(number) - m_last.number);
    if (std::abs(step) > kFurthest)
        return;
    const auto position =
        static_cast<std::uintptr_t>(m_last.position + static_cast<std::int64_t>(step));
    const std::uintptr_t record = Turned(position);
    for (unsigned line = 0; line < 5; ++line)
        FetchLine(record + line * kLine - 2 * kLine);
    if (step < static_cast<double>(kPage))
        return; // on the page that is at hand, or the next

    // The head of the page and its table of offsets, then the entries that halving it meets, which
    // begin somewhere about there.
    std::uintptr_t low = record & ~(kPage - 1);
    std::uintptr_t high = low + kPage;
    for (unsigned line = 0; line < 3; ++line)
        FetchLine(low + line * kLine);
    for (unsigned half = 0; half < 3; ++half) {
        const std::uintptr_t middle = low + (high - low) / 2;
        FetchLine(middle - kLine / 2);
        FetchLine(middle + kLine / 2);
        (record < middle ? high : low) = middle;
    }
}

} // namespace ko::store
