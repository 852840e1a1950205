// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/SliceCamera.h"

#include <algorithm>
#include <limits>

namespace Veltrand::Apps {

namespace {

constexpr double MinZoom = 0.25;
constexpr double MaxZoom = 64;

} // namespace

SliceCamera::SliceCamera(const Eigen::AlignedBox3d& bounds)
    : m_bounds(bounds)
    , m_center(bounds.center()) {}

void SliceCamera::reset() {
    m_center = m_bounds.center();
    m_zoom = 1;
}

void SliceCamera::zoom(double factor, const Eigen::Vector3d& fixed) {
    const double before = m_zoom;
    m_zoom = std::clamp(m_zoom * factor, MinZoom, MaxZoom);
    m_center = fixed + (m_center - fixed) * (before / m_zoom);
}

void SliceCamera::pan(const Eigen::Vector3d& offset) {
    m_center += offset;
    m_center = m_center.cwiseMax(m_bounds.min()).cwiseMin(m_bounds.max());
}

SlicePanel SliceCamera::panel(Pane pane, const PaneLayout& layout, int margin, double position) const {
    const Eigen::Vector3d extent = m_bounds.sizes();
    double scale = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < SliceOrientations.size(); ++i) {
        const PixelRect& rect = layout.panes[i];
        const SliceOrientation& orientation = SliceOrientations[i];
        scale = std::min({scale, std::max(1, rect.width - 2 * margin) / extent[orientation.horizontal],
                          std::max(1, rect.height - 2 * margin) / extent[orientation.vertical]});
    }
    return makeSlicePanel(SliceOrientations[static_cast<std::size_t>(pane)], layout[pane], scale * m_zoom,
                          m_center, position);
}

Eigen::Vector2d pixelOf(const SlicePanel& panel, const Eigen::Vector3d& point) {
    const Eigen::Vector3d place = panel.panelToPatient.inverse() * point;
    return {panel.rect.x + place.x() * panel.rect.width, panel.rect.y + place.y() * panel.rect.height};
}

Eigen::Vector3d pointOf(const SlicePanel& panel, const Eigen::Vector2d& pixel) {
    return panel.panelToPatient * Eigen::Vector3d((pixel.x() - panel.rect.x) / panel.rect.width,
                                                  (pixel.y() - panel.rect.y) / panel.rect.height, 0);
}

} // namespace Veltrand::Apps
