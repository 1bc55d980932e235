#ifndef KO_STORE_STATISTICS_HYPER_LOG_LOG_H
#define KO_STORE_STATISTICS_HYPER_LOG_LOG_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ko::store::inner
{

/// Counts distinct forms in 4,096 bytes, with a standard error of 1.6 %: HyperLogLog (Flajolet,
/// Fusy, Gandouet, Meunier, 2007) with the estimate of Ertl (2017), which has no bias for few
/// values.
class HyperLogLog
{
public:
    static constexpr unsigned kIndexBits = 12;
    static constexpr std::size_t kRegisters = std::size_t{1} << kIndexBits;

    /// The hash is XXH3 of 64 bits over the form: equal values that have several forms, as 0 and
    /// -0, count more than once. The sort key would give them one hash at ten times the cost.
    void Add(std::string_view form);
    double Count() const;

    /// Takes in what another one counted, by its registers.
    void Merge(std::string_view registers);
    std::string_view Registers() const
    {
        return {reinterpret_cast<const char*>(m_registers.data()), m_registers.size()};
    }

private:
    std::array<std::uint8_t, kRegisters> m_registers{};
};

} // namespace ko::store::inner

#endif
