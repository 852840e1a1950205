// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/SliceLayout.h"

#include <algorithm>
#include <cmath>

namespace Veltrand::Apps {

namespace {

/// How one kind of slice lies on the picture. The directions say whether patient space grows (1) or falls
/// (-1) towards the picture's right; it always grows upwards.
struct View {
    int normal;
    int horizontal;
    int direction;
    int vertical;
    EdgeLetters letters;
};

constexpr std::array<View, 3> Views{{
    {2, 0, -1, 1, {'R', 'L', 'P', 'A'}}, // axial
    {1, 0, -1, 2, {'R', 'L', 'I', 'S'}}, // coronal
    {0, 1, -1, 2, {'A', 'P', 'I', 'S'}}, // sagittal
}};

SlicePanel makePanel(const View& view, const PixelRect& rect, double pixelsPerMillimetre,
                     const Eigen::AlignedBox3d& bounds, const Eigen::Vector3d& point) {
    // The panel covers whole pixels, so a little more or less than the bounds, evenly on both sides.
    const double width = rect.width / pixelsPerMillimetre;
    const double height = rect.height / pixelsPerMillimetre;
    Eigen::Vector3d lowerLeft = bounds.center();
    lowerLeft[view.normal] = point[view.normal];
    lowerLeft[view.horizontal] -= view.direction * width / 2;
    lowerLeft[view.vertical] -= height / 2;

    Eigen::Matrix4d matrix = Eigen::Matrix4d::Zero();
    matrix(view.horizontal, 0) = view.direction * width;
    matrix(view.vertical, 1) = height;
    matrix(view.normal, 2) = 1;
    matrix.topRightCorner<3, 1>() = lowerLeft;
    matrix(3, 3) = 1;
    return {rect, view.normal, view.horizontal, view.vertical, Eigen::Affine3d(matrix), view.letters};
}

} // namespace

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
    for (const View& view : Views) {
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
    for (std::size_t i = 0; i < Views.size(); ++i) {
        PixelRect& rect = layout.panels[i].rect;
        rect.width = pixels(Views[i].horizontal, freeWidth - 2);
        rect.height = pixels(Views[i].vertical, freeHeight);
        left += rect.width;
    }
    const int gap = std::max(0, freeWidth - left) / 3;
    left = margin + gap / 2;
    for (std::size_t i = 0; i < Views.size(); ++i) {
        PixelRect rect = layout.panels[i].rect;
        rect.x = left;
        rect.y = captionHeight + margin + (freeHeight - rect.height) / 2;
        layout.panels[i] = makePanel(Views[i], rect, layout.pixelsPerMillimetre, bounds, point);
        left += rect.width + 2 * margin + gap;
    }
    return layout;
}

} // namespace Veltrand::Apps
