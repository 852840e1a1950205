// SPDX-License-Identifier: BSD-3-Clause
#include "support/NumberText.h"

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

std::string oneDecimal(double number) {
    // Adding 0 turns -0 into 0.
    return print("%.1f", std::round(number * 10) / 10 + 0.0);
}

std::string millimetres(double length) {
    return oneDecimal(length) + " mm";
}

std::string shortNumber(double number) {
    const double size = std::abs(number);
    return print(size >= 1e4 && size < 1e9 ? "%.0f" : "%.4g", number + 0.0);
}

} // namespace Veltrand::Apps
