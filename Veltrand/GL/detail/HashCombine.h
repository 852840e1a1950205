// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>

namespace Veltrand::GL::detail {

/// Mixes @p value into @p hash; the order of calls matters. Boost's 64-bit combination, which is one round of
/// MurmurHash2.
[[nodiscard]] constexpr std::uint64_t hashCombine(std::uint64_t hash, std::uint64_t value) {
    constexpr std::uint64_t multiplier = 0xC6A4A7935BD1E995;
    value *= multiplier;
    value ^= value >> 47;
    value *= multiplier;
    hash ^= value;
    hash *= multiplier;
    return hash + 0xE6546B64;
}

} // namespace Veltrand::GL::detail
