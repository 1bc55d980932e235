#ifndef KO_ENGINE_POSTGRES_LIMITS_H
#define KO_ENGINE_POSTGRES_LIMITS_H

#include <chrono>

namespace ko::store::inner::postgres
{

/// How long things may take.
struct Limits {
    std::chrono::milliseconds silence{90'000};   ///< of a server that is asked something
    std::chrono::milliseconds reconnect{30'000}; ///< to connect again
    std::chrono::milliseconds lease{60'000};     ///< of a loader that says nothing
    std::chrono::milliseconds replaced{60'000};  ///< that a replaced generation stays
};
/// Those in force. Tests shorten them, before anything is opened.
inline Limits& LimitsInForce()
{
    static Limits limits;
    return limits;
}

} // namespace ko::store::inner::postgres

#endif
