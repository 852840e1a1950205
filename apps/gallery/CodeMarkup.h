// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Veltrand::Apps {

/// A text as HTML, also for the values of attributes.
[[nodiscard]] std::string escapedHtml(std::string_view text);

/// C++ as HTML. Spans of the classes "comment", "literal", "keyword" and "library" mark what is one.
[[nodiscard]] std::string codeAsHtml(std::string_view code);

/// The names "GL::..." in C++, each once and in their order, without those in comments and literals.
[[nodiscard]] std::vector<std::string_view> libraryNames(std::string_view code);

} // namespace Veltrand::Apps
