#include "check/fault_list.h"

#include "base/visible.h"
#include "block/checksum.h"

#include <ostream>

namespace ko::store::inner
{

namespace
{

constexpr std::uint64_t kShown = 100;

} // namespace

void FaultList::Add(const std::string& what)
{
    if (++m_count <= kShown)
        m_out << "fault: " << Visible(what) << '\n';
}

void FaultList::Add(Space space, std::string_view key, const std::string& how)
{
    Try([&] { FailDamaged(space, key, how); });
}

void FaultList::Finish()
{
    if (m_count > kShown)
        m_out << m_count - kShown << " further faults are not shown\n";
}

} // namespace ko::store::inner
