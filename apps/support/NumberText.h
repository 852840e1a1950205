// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

namespace Veltrand::Apps {

/// A number with one digit behind the point, as lengths and places in millimetres are shown; never "-0.0".
[[nodiscard]] std::string oneDecimal(double number);
/// "12.3 mm"
[[nodiscard]] std::string millimetres(double length);
/// A number with four digits that count, or all of those before the point.
[[nodiscard]] std::string shortNumber(double number);

} // namespace Veltrand::Apps
