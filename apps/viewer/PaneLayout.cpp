// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/PaneLayout.h"

#include <algorithm>

namespace Veltrand::Apps {

namespace {

constexpr int Gap = 2; // pixels between panes

bool contains(const PixelRect& rect, const Eigen::Vector2d& pixel) {
    return pixel.x() >= rect.x && pixel.x() < rect.x + rect.width && pixel.y() >= rect.y &&
           pixel.y() < rect.y + rect.height;
}

} // namespace

std::optional<Pane> PaneLayout::paneAt(const Eigen::Vector2d& pixel) const {
    for (const Pane pane : AllPanes)
        if (contains((*this)[pane], pixel))
            return pane;
    return std::nullopt;
}

PaneLayout layoutPanes(const Eigen::Vector2i& windowSize, int statusHeight) {
    PaneLayout layout;
    layout.status = {0, 0, std::max(1, windowSize.x()), std::max(1, statusHeight)};
    const int width = std::max(1, (windowSize.x() - Gap) / 2);
    const int height = std::max(1, (windowSize.y() - statusHeight - Gap) / 2);
    const PixelRect coronal{0, layout.status.height, width, height};
    const PixelRect sagittal{width + Gap, coronal.y, std::max(1, windowSize.x() - width - Gap), height};
    const int above = coronal.y + height + Gap;
    const int rest = std::max(1, windowSize.y() - above);
    layout.panes = {{{coronal.x, above, coronal.width, rest},
                     coronal,
                     sagittal,
                     {sagittal.x, above, sagittal.width, rest}}};
    return layout;
}

} // namespace Veltrand::Apps
