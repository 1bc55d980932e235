#ifndef KOVERSION_H
#define KOVERSION_H

#include "kotypemgr.h"

/// The version of something, "12.0.2": the persistent type KoVERSION_T. It is three numbers of 16
/// bits, and the first that differs orders. There is no null version.
///
/// The persistent form is the three numbers, each in the byte order of the format: 6 bytes.
class KoVersion
{
public:
    constexpr KoVersion() = default; ///< 0.0.0
    constexpr KoVersion(o_u2b first, o_u2b second, o_u2b third) : m_numbers{first, second, third} {}

    /// Number 0, 1 or 2.
    constexpr o_u2b Number(unsigned index) const { return m_numbers[index]; }
    constexpr bool operator==(const KoVersion&) const = default;

private:
    o_u2b m_numbers[3] = {};
};

static_assert(sizeof(KoVersion) == 6);

#endif
