// SPDX-License-Identifier: BSD-3-Clause
#include "viewer/ModelCamera.h"

#include <Veltrand/GL/Functions.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Veltrand::Apps {

namespace {

/// The ball around the bounds fills this much of the pane at first; what is in it is smaller than that.
constexpr double Filled = 1.4;

double radians(double degrees) {
    return degrees * std::numbers::pi / 180;
}

} // namespace

void ModelCamera::rotate(const Eigen::Vector2d& degrees) {
    m_azimuth = std::remainder(m_azimuth + degrees.x(), 360);
    m_elevation = std::clamp(m_elevation + degrees.y(), -90.0, 90.0);
}

void ModelCamera::zoom(double factor) {
    m_zoom = std::clamp(m_zoom * factor, 0.25, 64.0);
}

void ModelCamera::pan(const Eigen::Vector2d& offset) {
    m_offset = (m_offset + offset).cwiseMax(-1).cwiseMin(1);
}

GL::ViewState ModelCamera::view(const PixelRect& rect, const Eigen::AlignedBox3d& bounds) const {
    const double azimuth = radians(m_azimuth);
    const double elevation = radians(m_elevation);
    const Eigen::Vector3d outwards(-std::cos(azimuth), std::sin(azimuth), 0);
    const Eigen::Vector3d towardsEye =
        std::cos(elevation) * outwards + std::sin(elevation) * Eigen::Vector3d::UnitZ();
    const Eigen::Vector3d right = Eigen::Vector3d::UnitZ().cross(outwards);
    const double radius = std::max(bounds.diagonal().norm() / 2, 1e-6);

    Eigen::Affine3d modelView = Eigen::Affine3d::Identity();
    modelView.linear() << right.transpose(), towardsEye.cross(right).transpose(), towardsEye.transpose();
    modelView.translation() = -(modelView.linear() * bounds.center());
    modelView.translation().head<2>() += radius * m_offset;

    const Eigen::Vector2d reach =
        Eigen::Vector2d(rect.width, rect.height) * (partPerPixel(rect) * radius / 2);
    return {{rect.x, rect.y, rect.width, rect.height},
            GL::createOrtho(-reach.x(), reach.x(), -reach.y(), reach.y(), -radius, radius),
            modelView.matrix()};
}

double ModelCamera::partPerPixel(const PixelRect& rect) const {
    return 2 / (Filled * m_zoom * std::min(rect.width, rect.height));
}

} // namespace Veltrand::Apps
