// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Export.h>
#include <Veltrand/Core/Flags.h>

#include <string>
#include <string_view>
#include <vector>

/// Text utilities. Upper and lower case are those of ASCII, whatever the locale.
namespace Veltrand::String {

/// What `split` does to pieces; with both, trimming comes first.
enum class SplitOption : unsigned {
    SkipEmpty = 1, ///< leave out pieces without characters
    Trim = 2,      ///< remove white space from both ends of each piece
};
VELTRAND_FLAG_OPERATORS(SplitOption)

/// Cuts @p text at every character of @p delimiters. Without options every cut counts: n delimiters give
/// n + 1 pieces, some of them empty, and an empty text gives one empty piece.
[[nodiscard]] VELTRAND_CORE_API std::vector<std::string>
split(std::string_view text, std::string_view delimiters, Flags<SplitOption> options = {});

/// True for an empty @p prefix.
[[nodiscard]] VELTRAND_CORE_API bool startsWith(std::string_view text, std::string_view prefix);
/// True for an empty @p part.
[[nodiscard]] VELTRAND_CORE_API bool contains(std::string_view text, std::string_view part);

/// @p text without the @p characters at both its ends.
[[nodiscard]] VELTRAND_CORE_API std::string trimCopy(std::string_view text,
                                                     std::string_view characters = " \t\f\v\r\n");

/// Replaces every occurrence of @p from, left to right; what was put in is not searched again. An empty
/// @p from changes nothing.
VELTRAND_CORE_API void replaceAll(std::string& text, std::string_view from, std::string_view to);
/// As `replaceAll`, on a copy.
[[nodiscard]] VELTRAND_CORE_API std::string replaceAllCopy(std::string_view text, std::string_view from,
                                                           std::string_view to);

/// The letters A to Z in lower case; other bytes, and so UTF-8, stay as they are.
[[nodiscard]] VELTRAND_CORE_API std::string toLowerCopy(std::string_view text);
/// The letters a to z in upper case; other bytes stay as they are.
[[nodiscard]] VELTRAND_CORE_API std::string toUpperCopy(std::string_view text);

} // namespace Veltrand::String
