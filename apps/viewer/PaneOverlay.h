// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "scene/Annotator.h"
#include "viewer/SurfaceWorker.h"
#include "viewer/ViewerState.h"

namespace Veltrand::Apps {

/// Points of the text in the window.
inline constexpr int TextPoints = 10;

/// What is drawn over the picture of a slice: cross-hair, sides, measurements, an answer.
/// @param panel as it lies in the window
void drawSliceOverlay(const ViewerState& state, Pane pane, const SlicePanel& panel);

/// What is drawn over the surfaces: sides, the cross-hair's place, an answer, how far the surfaces are.
/// @param view as it lies in the window
void drawModelOverlay(const ViewerState& state, const GL::ViewState& view, const Eigen::AlignedBox3d& bounds,
                      const SurfaceWorker::Progress& progress);

/// The line of text below the panes.
void drawStatus(const ViewerState& state, const PixelRect& rect);

} // namespace Veltrand::Apps
