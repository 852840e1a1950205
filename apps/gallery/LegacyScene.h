// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "gallery/Pictures.h"

#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Core>
#include <vector>

namespace Veltrand::Apps {

/// A vertex as glVertex takes it.
struct LegacyVertex {
    Eigen::Vector3f position;
    Eigen::Vector4f color = Eigen::Vector4f::Ones();
    Eigen::Vector3f texCoord = Eigen::Vector3f::Zero();
};

/// What one pair of glBegin and glEnd draws, and the state that it is drawn with.
struct LegacyFigure {
    GL::Primitive primitive;
    std::vector<LegacyVertex> vertices;
    float size = 1; ///< of points and lines, in pixels
    bool smoothPoints = false;
    int stippleFactor = 1;
    unsigned short stipplePattern = 0xFFFF;
    const GL::Texture* texture = nullptr;
};

/// Figures that are seen through one view.
struct LegacyView {
    GL::ViewState view;
    std::vector<LegacyFigure> figures;
};

/// A drawing in the style of fixed-function OpenGL, with blending: points, lines, stipples, joins, vertex
/// colours, textures, and a slice of the volume in a box of lines.
class LegacyScene {
public:
    LegacyScene(const Scene& scene, const Eigen::Vector2i& size);

    /// In the order in which they are drawn; viewports count from the lower left corner of the scene.
    [[nodiscard]] const std::vector<LegacyView>& views() const { return m_views; }

private:
    [[nodiscard]] GL::Viewport viewportOf(const Eigen::Vector2f& origin, const Eigen::Vector2f& size) const;
    [[nodiscard]] LegacyView flatView() const;
    [[nodiscard]] LegacyView spaceView() const;
    void addPoints(std::vector<LegacyFigure>& figures) const;
    void addLines(std::vector<LegacyFigure>& figures) const;
    void addJoins(std::vector<LegacyFigure>& figures) const;
    void addSurfaces(std::vector<LegacyFigure>& figures) const;

    const Scene& m_scene;
    Eigen::Vector2i m_size;
    float m_scale; ///< pixels per unit of the flat figures
    GL::Texture m_pattern;
    GL::Texture m_volume;
    std::vector<LegacyView> m_views;
};

} // namespace Veltrand::Apps
