// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/SlicePanel.h"

#include <Eigen/Core>
#include <array>
#include <optional>

namespace Veltrand::Apps {

/// The parts of the window; the slices count as `SliceOrientations` does.
enum class Pane { Axial, Coronal, Sagittal, Model };

inline constexpr std::array AllPanes{Pane::Axial, Pane::Coronal, Pane::Sagittal, Pane::Model};

/// Where the panes lie: axial and surfaces above, coronal and sagittal below, and a line of text at the
/// bottom. So the patient's left and right agree in the left column, feet and head in the lower row.
struct PaneLayout {
    std::array<PixelRect, 4> panes{};
    PixelRect status{};

    [[nodiscard]] const PixelRect& operator[](Pane pane) const {
        return panes[static_cast<std::size_t>(pane)];
    }
    /// The pane that holds a pixel, counted from the window's lower left corner.
    [[nodiscard]] std::optional<Pane> paneAt(const Eigen::Vector2d& pixel) const;
};

/// In a window that is too small for them, panes have one pixel.
[[nodiscard]] PaneLayout layoutPanes(const Eigen::Vector2i& windowSize, int statusHeight);

} // namespace Veltrand::Apps
