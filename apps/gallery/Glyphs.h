// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace Veltrand::Apps {

inline constexpr int GlyphWidth = 5;
inline constexpr int GlyphHeight = 7;

/// Text as a bitmap of dots, for marks that must stay crisp at any size.
struct TextBitmap {
    int width;
    int height;
    std::vector<std::uint8_t> dots; ///< 255 where a dot is set, 0 elsewhere; rows from the bottom up
};

/// Draws @p text in a 5 by 7 dot type, one dot between characters. There are glyphs for the capital
/// letters but K Q V Z, for x y z m, digits, '=', '-', '.' and blank; anything else becomes '?'.
[[nodiscard]] TextBitmap drawText(std::string_view text);

} // namespace Veltrand::Apps
