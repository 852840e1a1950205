// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

namespace Veltrand::Apps {

/// A number with so many digits behind the point; never "-0.0".
[[nodiscard]] std::string withDecimals(double number, int decimals);

/// How places and lengths in a volume are written: in millimetres, whose last digit stands for a fifth of a
/// voxel at most, so that neighbours are told apart in a brain and under a microscope.
class LengthFormat {
public:
    /// @param voxel the shortest edge of a voxel in millimetres
    explicit LengthFormat(double voxel);

    [[nodiscard]] std::string number(double length) const { return withDecimals(length, m_decimals); }
    /// "12.3 mm"
    [[nodiscard]] std::string millimetres(double length) const { return number(length) + " mm"; }

private:
    int m_decimals;
};

/// A number with four digits that count, or all of those before the point.
[[nodiscard]] std::string shortNumber(double number);

} // namespace Veltrand::Apps
