// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Export.h>
#include <Veltrand/Core/Flags.h>

#include <string>
#include <string_view>
#include <vector>

/// Text utilities. Upper and lower case are those of ASCII, whatever the locale.
namespace Veltrand::String {

enum class SplitOption : unsigned {
    SkipEmpty = 1, ///< leave out pieces without characters
    Trim = 2,      ///< remove white space from both ends of each piece
};
VELTRAND_FLAG_OPERATORS(SplitOption)

/// Cuts @p text at every character of @p delimiters. Without options every cut counts: n delimiters give
/// n + 1 pieces, some of them empty, and an empty text gives one empty piece.
[[nodiscard]] VELTRAND_CORE_API std::vector<std::string>
split(std::string_view text, std::string_view delimiters, Flags<SplitOption> options = {});

[[nodiscard]] VELTRAND_CORE_API bool startsWith(std::string_view text, std::string_view prefix);
[[nodiscard]] VELTRAND_CORE_API bool contains(std::string_view text, std::string_view part);

/// @p text without the @p characters at both its ends.
[[nodiscard]] VELTRAND_CORE_API std::string trimCopy(std::string_view text,
                                                     std::string_view characters = " \t\f\v\r\n");

/// Replaces every occurrence of @p from, left to right; what was put in is not searched again. An empty
/// @p from changes nothing.
VELTRAND_CORE_API void replaceAll(std::string& text, std::string_view from, std::string_view to);
[[nodiscard]] VELTRAND_CORE_API std::string replaceAllCopy(std::string_view text, std::string_view from,
                                                           std::string_view to);

[[nodiscard]] VELTRAND_CORE_API std::string toLowerCopy(std::string_view text);
[[nodiscard]] VELTRAND_CORE_API std::string toUpperCopy(std::string_view text);

} // namespace Veltrand::String
