#include "statistics/hyper_log_log.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace ko::store::inner
{

namespace
{

constexpr unsigned kRankBits = 64 - HyperLogLog::kIndexBits;

// The two series of Ertl's estimate, for registers that are empty and for those that are full.

double OfEmpty(double share)
{
    if (share == 1.0)
        return std::numeric_limits<double>::infinity();
    double sum = share;
    double before = 0.0;
    for (double factor = 1.0; sum != before; factor += factor) {
        share *= share;
        before = sum;
        sum += share * factor;
    }
    return sum;
}

double OfFull(double share)
{
    if (share == 0.0 || share == 1.0)
        return 0.0;
    double sum = 1.0 - share;
    double before = 0.0;
    for (double factor = 0.5; sum != before; factor *= 0.5) {
        share = std::sqrt(share);
        before = sum;
        sum -= (1.0 - share) * (1.0 - share) * factor;
    }
    return sum / 3.0;
}

} // namespace

void HyperLogLog::Add(std::string_view form)
{
    const std::uint64_t hash = XXH3_64bits(form.data(), form.size());
    std::uint8_t& known = m_registers[hash >> kRankBits];
    const auto rank = static_cast<std::uint8_t>(
        std::min<unsigned>(static_cast<unsigned>(std::countl_zero(hash << kIndexBits)), kRankBits) +
        1);
    known = std::max(known, rank);
}

double HyperLogLog::Count() const
{
    constexpr auto kCount = static_cast<double>(kRegisters);
    std::array<unsigned, kRankBits + 2> of{};
    for (const std::uint8_t rank : m_registers)
        ++of[rank];
    double sum = kCount * OfFull(1.0 - of[kRankBits + 1] / kCount);
    for (unsigned rank = kRankBits; rank >= 1; --rank)
        sum = 0.5 * (sum + of[rank]);
    sum += kCount * OfEmpty(of[0] / kCount);
    return kCount * kCount / (2.0 * std::log(2.0)) / sum;
}

void HyperLogLog::Merge(std::string_view registers)
{
    for (std::size_t i = 0; i < std::min(registers.size(), kRegisters); ++i) {
        const auto rank = static_cast<std::uint8_t>(registers[i]);
        m_registers[i] = std::max(m_registers[i], std::min<std::uint8_t>(rank, kRankBits + 1));
    }
}

} // namespace ko::store::inner
