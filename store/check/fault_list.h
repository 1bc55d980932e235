#ifndef KO_STORE_CHECK_FAULT_LIST_H
#define KO_STORE_CHECK_FAULT_LIST_H

#include "base/space.h"
#include <kostore.h>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// Tells of faults as they are found, a line each, the first 100 of them.
class FaultList
{
public:
    explicit FaultList(std::ostream& out) : m_out(out) {}

    void Add(const std::string& what);
    void Add(Space space, std::string_view key, const std::string& how);
    std::uint64_t Count() const { return m_count; }
    /// Says how many were not told.
    void Finish();

    /// Runs something that may throw Error (ErrorCode::Damaged), which becomes a fault; returns
    /// false then.
    template <class Step>
    bool Try(const Step& step)
    {
        try {
            step();
            return true;
        } catch (const Error& failure) {
            if (failure.Code() != ErrorCode::Damaged)
                throw;
            Add(failure.what());
            return false;
        }
    }

private:
    std::ostream& m_out;
    std::uint64_t m_count = 0;
};

} // namespace ko::store::inner

#endif
