// SPDX-License-Identifier: BSD-3-Clause
#include "support/NumberText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace Veltrand::Apps {

namespace {

std::string print(const char* format, double number) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

} // namespace

std::string withDecimals(double number, int decimals) {
    const double scale = std::pow(10, decimals);
    // Adding 0 turns -0 into 0.
    return print(("%." + std::to_string(decimals) + "f").c_str(), std::round(number * scale) / scale + 0.0);
}

LengthFormat::LengthFormat(double voxel)
    // Edges of half a millimetre and their like are seldom exact.
    : m_decimals(static_cast<int>(std::clamp(std::ceil(-std::log10(voxel / 5) - 1e-3), 0.0, 12.0))) {}

std::string shortNumber(double number) {
    const double size = std::abs(number);
    return print(size >= 1e4 && size < 1e9 ? "%.0f" : "%.4g", number + 0.0);
}

} // namespace Veltrand::Apps
