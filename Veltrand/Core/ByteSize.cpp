// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/ByteSize.h>

#include <array>
#include <string_view>

namespace Veltrand {

std::string ByteSize::toString() const {
    constexpr std::array<std::string_view, 6> units{"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    if (m_bytes < 1024)
        return std::to_string(m_bytes) + " B";

    std::size_t unit = 0;
    while (unit + 1 < units.size() && (m_bytes >> (10 * (unit + 2))) != 0)
        ++unit;
    const unsigned shift = 10 * (static_cast<unsigned>(unit) + 1);
    // Hundredths are truncated, so a size never reads as one that it has not reached.
    const std::uint64_t whole = m_bytes >> shift;
    const std::uint64_t rest = m_bytes & ((std::uint64_t{1} << shift) - 1);
    const std::uint64_t hundredths = ((rest >> (shift - 10)) * 100) >> 10;
    return std::to_string(whole) + (hundredths < 10 ? ".0" : ".") + std::to_string(hundredths) + ' ' +
           std::string(units[unit]);
}

} // namespace Veltrand
