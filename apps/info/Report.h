// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Veltrand::Apps {

/// One part of a report: lines of a name and a value.
struct Section {
    std::string title;
    std::vector<std::pair<std::string, std::string>> lines{};

    void add(std::string_view name, std::string_view value) { lines.emplace_back(name, value); }
    /// The title, and the values in one column below it.
    [[nodiscard]] std::string text() const;
};

// These need no OpenGL.

/// Version of the library, operating system, processors.
[[nodiscard]] Section systemSection();
/// The variables that this library, the driver and the window system listen to.
[[nodiscard]] Section environmentSection();

// These need a current context.

/// Versions and names of the driver, kind of the context.
[[nodiscard]] Section driverSection();
/// The window system's side of the context.
[[nodiscard]] Section windowSystemSection();
[[nodiscard]] Section memorySection();
/// The driver's limits that the library's classes run into.
[[nodiscard]] Section limitsSection();
/// What of the library works here, and what the rest lacks.
[[nodiscard]] Section featuresSection();
[[nodiscard]] Section extensionsSection();

} // namespace Veltrand::Apps
