// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/AlignedBox.h>
#include <Veltrand/GL/TextRenderer.h>

#include <cmath>

namespace Veltrand::GL {

using LineBox = Geometry::AlignedBox<float, 2>;

/// Where the pen of a line starts, from the anchor.
[[nodiscard]] inline double horizontalOffset(TextRenderer::AlignmentH align, const LineBox& line) {
    switch (align) {
    case TextRenderer::AlignmentH::Center:
        return -0.5 * double{line.max().x()};
    case TextRenderer::AlignmentH::Right:
        return -double{line.max().x()};
    case TextRenderer::AlignmentH::Left:
        break;
    }
    return 0;
}

/// Where the first baseline lies above the anchor, in whole pixels.
/// @param lineHeight whole pixels from one baseline to the next
[[nodiscard]] inline double verticalOffset(TextRenderer::AlignmentV align, const LineBox& first,
                                           const LineBox& last, double lineHeight, std::size_t numLines) {
    const double height = lineHeight * static_cast<double>(numLines - 1);
    switch (align) {
    case TextRenderer::AlignmentV::Top:
        return std::trunc(-double{first.max().y()});
    case TextRenderer::AlignmentV::Center:
        return std::trunc(0.5 * (height - double{first.max().y()} - double{first.min().y()}));
    case TextRenderer::AlignmentV::Bottom:
        return std::trunc(height - double{last.min().y()});
    case TextRenderer::AlignmentV::Baseline:
        break;
    }
    return 0;
}

/// The middle of an underline; a line of odd width then covers whole pixels.
/// @param reference the box of "Tj", from the lowest descender to the height of capitals
[[nodiscard]] inline double underlineY(double baseline, const LineBox& reference) {
    return std::floor(baseline + 0.75 * double{reference.min().y()}) + 0.5;
}
[[nodiscard]] inline double strikeThroughY(double baseline, const LineBox& reference) {
    return std::floor(baseline + 0.5 * double{reference.max().y()}) - 0.5;
}

/// A font's size in pixels, from points that have been scaled for the display.
[[nodiscard]] inline int fontPixelSize(int points) {
    constexpr int defaultPixels = 16;
    constexpr int fewestPixels = 2;
    if (points == -1)
        return defaultPixels;
    const double pixels = points * 4.0 / 3.0;
    // What FreeType takes at most.
    return pixels >= 0xFFFF ? 0xFFFF : pixels > fewestPixels ? static_cast<int>(pixels) : fewestPixels;
}

/// Points scaled for the display; those of the default size are a mark and not a length.
[[nodiscard]] inline int effectiveSize(int points, double dpiScale) {
    if (points == -1)
        return points;
    const double scaled = points * dpiScale + 0.5;
    constexpr double most = 0xFFFF;
    return scaled >= most ? 0xFFFF : scaled > -most ? static_cast<int>(scaled) : -0xFFFF;
}

} // namespace Veltrand::GL
