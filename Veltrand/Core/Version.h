// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Export.h>

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace Veltrand::Utils {

/// A version number. Ordering and equality look at the three numbers alone; the two texts only inform.
struct VELTRAND_CORE_API Version {
    int major = 0;          ///< -1 for a version that is not known
    int minor = 0;          ///< 0 where a text does not have it
    int patch = 0;          ///< 0 where a text does not have it
    std::string preRelease; ///< what follows a '-', such as "rc1"
    std::string build;      ///< what follows a '+', such as a commit

    /// Reads the version at the beginning of @p text: one to three numbers separated by dots, then optionally
    /// "-" + pre-release and "+" + build, each up to the next blank. Nothing when @p text does not begin with
    /// a digit or a number does not fit an int.
    [[nodiscard]] static std::optional<Version> parse(std::string_view text);

    /// "4.5.0", with "-preRelease" and "+build" appended when they are not empty.
    [[nodiscard]] std::string toString() const;

    /// By major, minor and patch.
    [[nodiscard]] friend std::strong_ordering operator<=>(const Version& a, const Version& b) {
        return std::tie(a.major, a.minor, a.patch) <=> std::tie(b.major, b.minor, b.patch);
    }
    /// Versions that differ in their texts alone are equal.
    [[nodiscard]] friend bool operator==(const Version& a, const Version& b) { return std::is_eq(a <=> b); }
};

} // namespace Veltrand::Utils
