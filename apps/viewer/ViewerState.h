// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "viewer/ModelCamera.h"
#include "viewer/PaneLayout.h"
#include "viewer/SliceCamera.h"
#include "viewer/Study.h"

#include <optional>
#include <string>
#include <vector>

namespace Veltrand::Apps {

/// A line in a slice whose length is told.
struct Measurement {
    Pane pane;
    Eigen::Vector3d from;
    Eigen::Vector3d to;

    /// In millimetres.
    [[nodiscard]] double length() const { return (to - from).norm(); }
};

/// What a click is answered with, beside the point that it hit.
struct Answer {
    Pane pane;
    Eigen::Vector3d point;
    std::string text;
};

/// What the window shows, as far as the user decides it.
struct ViewerState {
    explicit ViewerState(const Study& shownStudy);

    /// Back to the first view; regions, help and transparency stay as they are.
    void reset();
    /// Moves the cross-hair, which stays inside the volume.
    void moveTo(const Eigen::Vector3d& target);
    /// Moves the cross-hair, chooses the region there and says what it is.
    void choose(Pane pane, const Eigen::Vector3d& target, unsigned region);
    /// Whether a measurement lies in the slice that its pane shows.
    [[nodiscard]] bool isShown(const Measurement& measurement) const;

    const Study& study;
    /// What the volume reaches in patient space.
    Eigen::AlignedBox3d bounds;

    /// The cross-hair, where the slices meet.
    Eigen::Vector3d point;
    Window window;
    SliceCamera slices;
    ModelCamera model{};
    bool isTransparent = false;
    bool showsRegions = true;
    bool showsHelp = false;
    bool isMeasuring = false;
    /// The region chosen by a click; 0 for none.
    unsigned region = 0;
    std::vector<Measurement> measurements{};
    std::optional<Answer> answer{};
};

} // namespace Veltrand::Apps
