// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/SliceLayout.h"

#include <algorithm>
#include <cmath>

namespace Veltrand::Apps {

SliceLayout layoutSlices(const Eigen::Vector2i& pictureSize, const Eigen::AlignedBox3d& bounds,
                         const Eigen::Vector3d& point) {
    const int letterScale = std::max(1, std::min(pictureSize.y() / 240, pictureSize.x() / 400));
    // Around each slice: a letter and half a letter's height of air on both sides of it.
    const int margin = 2 * LetterHeight * letterScale;
    // Below the letters at the bottom stands the slice's caption.
    const int captionHeight = 2 * LetterHeight * letterScale;

    const Eigen::Vector3d extent = bounds.sizes();
    double widths = 0;
    double tallest = 0;
    for (const SliceOrientation& view : SliceOrientations) {
        widths += extent[view.horizontal];
        tallest = std::max(tallest, extent[view.vertical]);
    }
    const int freeWidth = std::max(3, pictureSize.x() - 6 * margin);
    const int freeHeight = std::max(1, pictureSize.y() - 2 * margin - captionHeight);

    SliceLayout layout{};
    layout.letterScale = letterScale;
    layout.margin = margin;
    layout.pixelsPerMillimetre = std::min(freeWidth / widths, freeHeight / tallest);
    const auto pixels = [&](int axis, int limit) {
        return std::clamp(static_cast<int>(extent[axis] * layout.pixelsPerMillimetre), 1, limit);
    };
    // A slice that is next to nothing still gets a pixel, which the others leave it.
    int left = 0;
    for (std::size_t i = 0; i < SliceOrientations.size(); ++i) {
        PixelRect& rect = layout.panels[i].rect;
        rect.width = pixels(SliceOrientations[i].horizontal, freeWidth - 2);
        rect.height = pixels(SliceOrientations[i].vertical, freeHeight);
        left += rect.width;
    }
    const int gap = std::max(0, freeWidth - left) / 3;
    left = margin + gap / 2;
    for (std::size_t i = 0; i < SliceOrientations.size(); ++i) {
        PixelRect rect = layout.panels[i].rect;
        rect.x = left;
        rect.y = captionHeight + margin + (freeHeight - rect.height) / 2;
        layout.panels[i] = makeSlicePanel(SliceOrientations[i], rect, layout.pixelsPerMillimetre,
                                          bounds.center(), point[SliceOrientations[i].normal]);
        left += rect.width + 2 * margin + gap;
    }
    return layout;
}

} // namespace Veltrand::Apps
