// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/Viewport.h>

#include <Eigen/Core>

namespace Veltrand::GL {

/// One view of a scene: where in the window it lies and how world points get there.
///
/// Window coordinates are pixels from the window's lower left corner, with a depth from 0 (near) to 1 (far).
/// A value: copies are independent, and `const` operations may be called from any thread. Nothing is checked:
/// an empty viewport or a singular matrix gives infinities or NaNs.
class VELTRAND_GL_API ViewState {
public:
    /// @p modelView leads from the world to the eye, @p projection from there to clip space.
    ViewState(const Viewport& viewport, const Eigen::Matrix4d& projection, const Eigen::Matrix4d& modelView);
    /// With an empty viewport, for views that are set before the window is known.
    ViewState(const Eigen::Matrix4d& projection, const Eigen::Matrix4d& modelView);

    /// In pixels of the window.
    [[nodiscard]] const Viewport& viewport() const { return m_viewport; }
    /// From the eye to clip space.
    [[nodiscard]] const Eigen::Matrix4d& projectionMatrix() const { return m_projection; }
    /// From the world to the eye.
    [[nodiscard]] const Eigen::Matrix4d& modelViewMatrix() const { return m_modelView; }
    /// Projection times model-view.
    [[nodiscard]] const Eigen::Matrix4d& modelViewProjectionMatrix() const { return m_modelViewProjection; }
    /// From clip space to the world.
    [[nodiscard]] const Eigen::Matrix4d& inverseModelViewProjectionMatrix() const { return m_inverse; }

    /// Makes no OpenGL call: `viewport().set()` sets the context's.
    void setViewport(const Viewport& viewport) { m_viewport = viewport; }
    /// See `projectionMatrix`.
    void setProjectionMatrix(const Eigen::Matrix4d& projection);
    /// See `modelViewMatrix`.
    void setModelViewMatrix(const Eigen::Matrix4d& modelView);
    /// Derives the product and its inverse anew; the setters do so themselves.
    void updateMatrices();

    /// The window coordinates of a world point.
    /// @param behindCamera set to whether the point lies exactly in the plane of the eye, where it has no
    ///        image, and (0, 0, 0) is returned. A point behind that plane is projected through the eye, and
    ///        is not reported.
    [[nodiscard]] Eigen::Vector3d project(const Eigen::Vector3d& world, bool* behindCamera = nullptr) const;
    /// The world point at window coordinates.
    [[nodiscard]] Eigen::Vector3d unproject(const Eigen::Vector3d& window) const;

    /// What one pixel in x, one in y and one unit of window depth are in the world at @p world, as columns;
    /// which of the following two, follows from the matrices.
    [[nodiscard]] Eigen::Matrix3d unprojectPixelIncrement(const Eigen::Vector3d& world) const;
    /// For parallel projections, where it is the same everywhere. The third column is one unit of normalised
    /// device depth, which is half the window's.
    [[nodiscard]] Eigen::Matrix3d unprojectPixelIncrementOrtho() const;
    /// For perspective projections, where it grows with the distance.
    [[nodiscard]] Eigen::Matrix3d unprojectPixelIncrementPerspective(const Eigen::Vector3d& world) const;

    /// The world directions of the window's x, y and depth axes, of length 1; zero where there is none.
    [[nodiscard]] Eigen::Vector3d xDir() const;
    /// Upwards in the window.
    [[nodiscard]] Eigen::Vector3d yDir() const;
    /// Away from the eye.
    [[nodiscard]] Eigen::Vector3d zDir() const;

    /// Loads projection and model-view into the matrix stacks of a compatibility context; the model-view
    /// stack is the current one afterwards. Needs a current context.
    /// @return false, and nothing is done, in a core context
    /// GL: glMatrixMode, glLoadMatrixd, 1.0 (compatibility)
    bool setLegacyGlMatrixStack() const;

private:
    [[nodiscard]] Eigen::Vector3d direction(int column) const;

    Viewport m_viewport;
    Eigen::Matrix4d m_projection;
    Eigen::Matrix4d m_modelView;
    Eigen::Matrix4d m_modelViewProjection;
    Eigen::Matrix4d m_inverse;
};

} // namespace Veltrand::GL
