// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <initializer_list>
#include <type_traits>

namespace Veltrand {

/// A set of bits over an enumeration whose enumerators are single bits (or unions of bits).
///
/// `VELTRAND_FLAG_OPERATORS(Enum)` after the enumeration lets two enumerators be combined with `|`.
template<class Enum>
class Flags {
    static_assert(std::is_enum_v<Enum>);

public:
    /// As wide as the enumeration, unsigned.
    using Value = std::make_unsigned_t<std::underlying_type_t<Enum>>;

    constexpr Flags() = default;
    /// Implicit, so that a single enumerator serves where a set is asked for.
    constexpr Flags(Enum flag)
        : m_value(static_cast<Value>(flag)) {}
    /// The union of all of them.
    constexpr Flags(std::initializer_list<Enum> flags) {
        for (Enum flag : flags)
            m_value |= static_cast<Value>(flag);
    }
    /// The bits as they are, also those that no enumerator names.
    [[nodiscard]] static constexpr Flags fromValue(Value value) {
        Flags flags;
        flags.m_value = value;
        return flags;
    }

    /// The bits as a number.
    [[nodiscard]] constexpr Value value() const { return m_value; }
    /// Whether any bit is set.
    [[nodiscard]] constexpr explicit operator bool() const { return m_value != 0; }
    /// Whether every bit of @p flag is set; false for a flag without bits.
    [[nodiscard]] constexpr bool test(Enum flag) const {
        const auto bits = static_cast<Value>(flag);
        return bits != 0 && (m_value & bits) == bits;
    }

    /// Adds the bits of @p other.
    constexpr Flags& operator|=(Flags other) {
        m_value |= other.m_value;
        return *this;
    }
    /// Keeps the bits that are in both.
    constexpr Flags& operator&=(Flags other) {
        m_value &= other.m_value;
        return *this;
    }
    /// Every other bit of the type, also those that no enumerator names.
    [[nodiscard]] constexpr Flags operator~() const { return fromValue(static_cast<Value>(~m_value)); }
    /// The bits of either.
    [[nodiscard]] friend constexpr Flags operator|(Flags a, Flags b) { return a |= b; }
    /// The bits of both.
    [[nodiscard]] friend constexpr Flags operator&(Flags a, Flags b) { return a &= b; }
    [[nodiscard]] friend constexpr bool operator==(Flags, Flags) = default;

private:
    Value m_value = 0;
};

} // namespace Veltrand

// NOLINTBEGIN(bugprone-macro-parentheses): the parameter is a type
#define VELTRAND_FLAG_OPERATORS(Enum)                                                                        \
    [[nodiscard]] constexpr ::Veltrand::Flags<Enum> operator|(Enum a, Enum b) {                              \
        return ::Veltrand::Flags<Enum>(a) | ::Veltrand::Flags<Enum>(b);                                      \
    }
// NOLINTEND(bugprone-macro-parentheses)
