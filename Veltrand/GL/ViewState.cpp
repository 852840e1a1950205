// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ViewState.h>

#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>

#include <Eigen/Geometry>
#include <Eigen/LU>
#include <cmath>
#include <glad/gl.h>

namespace Veltrand::GL {

namespace {

using Eigen::Matrix3d;
using Eigen::Matrix4d;
using Eigen::Vector3d;
using Eigen::Vector4d;

// The loader knows the core profile alone.
constexpr GLenum legacyModelView = 0x1700;  // GL_MODELVIEW
constexpr GLenum legacyProjection = 0x1701; // GL_PROJECTION

// A lookup answers for the legacy names in a core context too, where calling them is an error.
bool hasMatrixStack() {
    return (getInt(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_CORE_PROFILE_BIT) == 0;
}

} // namespace

ViewState::ViewState(const Viewport& viewport, const Matrix4d& projection, const Matrix4d& modelView)
    : m_viewport(viewport)
    , m_projection(projection)
    , m_modelView(modelView) {
    updateMatrices();
}

ViewState::ViewState(const Matrix4d& projection, const Matrix4d& modelView)
    : ViewState(Viewport{}, projection, modelView) {}

void ViewState::setProjectionMatrix(const Matrix4d& projection) {
    m_projection = projection;
    updateMatrices();
}

void ViewState::setModelViewMatrix(const Matrix4d& modelView) {
    m_modelView = modelView;
    updateMatrices();
}

void ViewState::updateMatrices() {
    m_modelViewProjection = m_projection * m_modelView;
    m_inverse = m_modelViewProjection.inverse();
}

Vector3d ViewState::project(const Vector3d& world, bool* behindCamera) const {
    const Vector4d clip = m_modelViewProjection * world.homogeneous();
    if (behindCamera)
        *behindCamera = clip.w() == 0.0;
    if (clip.w() == 0.0)
        return Vector3d::Zero();
    return {(clip.x() / clip.w() * 0.5 + 0.5) * m_viewport.width + m_viewport.x,
            (clip.y() / clip.w() * 0.5 + 0.5) * m_viewport.height + m_viewport.y,
            clip.z() / clip.w() * 0.5 + 0.5};
}

Vector3d ViewState::unproject(const Vector3d& window) const {
    const Vector4d device(2.0 * (window.x() - m_viewport.x) / m_viewport.width - 1.0,
                          2.0 * (window.y() - m_viewport.y) / m_viewport.height - 1.0, 2.0 * window.z() - 1.0,
                          1.0);
    return (m_inverse * device).hnormalized();
}

Matrix3d ViewState::unprojectPixelIncrement(const Vector3d& world) const {
    const bool affine = m_inverse(3, 0) == 0.0 && m_inverse(3, 1) == 0.0 && m_inverse(3, 2) == 0.0;
    return affine ? unprojectPixelIncrementOrtho() : unprojectPixelIncrementPerspective(world);
}

Matrix3d ViewState::unprojectPixelIncrementOrtho() const {
    Matrix3d increment = m_inverse.topLeftCorner<3, 3>();
    increment.col(0) *= 2.0 / m_viewport.width;
    increment.col(1) *= 2.0 / m_viewport.height;
    return increment;
}

Matrix3d ViewState::unprojectPixelIncrementPerspective(const Vector3d& world) const {
    const Vector3d window = project(world);
    Matrix3d increment;
    for (int axis = 0; axis < 3; ++axis)
        increment.col(axis) = unproject(window + Vector3d::Unit(axis)) - world;
    return increment;
}

Vector3d ViewState::direction(int column) const {
    const Vector3d axis = m_inverse.block<3, 1>(0, column);
    const double squaredLength = axis.squaredNorm();
    return squaredLength > 0.0 ? Vector3d(axis / std::sqrt(squaredLength)) : axis;
}

Vector3d ViewState::xDir() const {
    return direction(0);
}

Vector3d ViewState::yDir() const {
    return direction(1);
}

Vector3d ViewState::zDir() const {
    return direction(2);
}

bool ViewState::setLegacyGlMatrixStack() const {
    static const auto matrixMode = reinterpret_cast<void (*)(GLenum)>(entryPoint("glMatrixMode"));
    static const auto loadMatrix = reinterpret_cast<void (*)(const double*)>(entryPoint("glLoadMatrixd"));
    if (!matrixMode || !loadMatrix || !hasMatrixStack())
        return false;
    matrixMode(legacyProjection);
    loadMatrix(m_projection.data());
    matrixMode(legacyModelView);
    loadMatrix(m_modelView.data());
    return true;
}

} // namespace Veltrand::GL
