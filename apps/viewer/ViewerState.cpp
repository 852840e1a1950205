// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/ViewerState.h"

#include <cmath>

namespace Veltrand::Apps {

ViewerState::ViewerState(const Study& shownStudy)
    : study(shownStudy)
    , bounds(study.volume.bounds())
    , point(bounds.center())
    , window(percentileWindow(study.volume, 1, 99.5))
    , slices(bounds) {}

void ViewerState::reset() {
    point = bounds.center();
    window = percentileWindow(study.volume, 1, 99.5);
    slices.reset();
    model.reset();
    isMeasuring = false;
    region = 0;
    measurements.clear();
    answer.reset();
}

void ViewerState::moveTo(const Eigen::Vector3d& target) {
    point = target.cwiseMax(bounds.min()).cwiseMin(bounds.max());
}

void ViewerState::choose(Pane pane, const Eigen::Vector3d& target, unsigned chosen) {
    moveTo(target);
    region = chosen;
    answer = Answer{pane, point, study.describe(point, chosen)};
}

bool ViewerState::isShown(const Measurement& measurement) const {
    const int normal = SliceOrientations[static_cast<std::size_t>(measurement.pane)].normal;
    return std::abs(measurement.from[normal] - point[normal]) <= study.sliceDistance(normal) / 2;
}

} // namespace Veltrand::Apps
