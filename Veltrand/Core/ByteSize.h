// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Export.h>

#include <compare>
#include <cstdint>
#include <string>

namespace Veltrand {

/// A number of bytes. The factories count in powers of 1024.
class VELTRAND_CORE_API ByteSize {
public:
    constexpr ByteSize() = default;
    /// Explicit, because a number says nothing about its unit.
    constexpr explicit ByteSize(std::uint64_t bytes)
        : m_bytes(bytes) {}

    /// 1024 bytes each.
    [[nodiscard]] static constexpr ByteSize fromKB(std::uint64_t count) { return ByteSize(count << 10); }
    /// 1024² bytes each.
    [[nodiscard]] static constexpr ByteSize fromMB(std::uint64_t count) { return ByteSize(count << 20); }
    /// 1024³ bytes each; 2³⁴ and more do not fit.
    [[nodiscard]] static constexpr ByteSize fromGB(std::uint64_t count) { return ByteSize(count << 30); }

    /// The number itself.
    [[nodiscard]] constexpr std::uint64_t bytes() const { return m_bytes; }

    /// The size in the largest unit that keeps the number at 1 or above, with two decimals from KiB upward:
    /// "0 B", "1023 B", "1.00 KiB", "3.50 GiB". Independent of the locale.
    [[nodiscard]] std::string toString() const;

    /// The sum has to fit 64 bits.
    constexpr ByteSize& operator+=(ByteSize other) {
        m_bytes += other.m_bytes;
        return *this;
    }
    /// @p other must not be larger than this size.
    constexpr ByteSize& operator-=(ByteSize other) {
        m_bytes -= other.m_bytes;
        return *this;
    }
    /// As `+=`.
    [[nodiscard]] friend constexpr ByteSize operator+(ByteSize a, ByteSize b) { return a += b; }
    /// As `-=`.
    [[nodiscard]] friend constexpr ByteSize operator-(ByteSize a, ByteSize b) { return a -= b; }
    [[nodiscard]] friend constexpr bool operator==(ByteSize, ByteSize) = default;
    /// By number of bytes.
    [[nodiscard]] friend constexpr std::strong_ordering operator<=>(ByteSize a, ByteSize b) {
        return a.m_bytes <=> b.m_bytes;
    }

private:
    std::uint64_t m_bytes = 0;
};

} // namespace Veltrand
