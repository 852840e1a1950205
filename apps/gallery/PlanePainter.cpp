// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/PlanePainter.h"

#include "gallery/LabelPainter.h"

#include <Veltrand/GL/Texture.h>

namespace Veltrand::Apps {

PlanePainter::PlanePainter()
    : m_program(GL::Program::createVertexFragment("VeltrandScene/Panel.vert", "VeltrandGallery/Slice.frag",
                                                  "", GL::Program::Compilation::ImmediateThrow))
    , m_square(GL::VertexBuffer::createFullscreenSquare()) {}

void PlanePainter::draw(const GL::Texture& volume, const PixelRect& panel,
                        const Eigen::Affine3d& panelToTexture, const Window& window) const {
    setViewport(panel);
    m_program->enable();
    m_program->setArgument("volume", volume);
    m_program->setArgument("panelToTexture", panelToTexture.matrix());
    m_program->setArgument("window", Eigen::Vector2d(window.low, window.high));
    // No lines of other planes.
    m_program->setArgument("gap", 1e9);
    m_square->draw(GL::Primitive::TriangleFan);
    m_program->disable();
    m_program->unbindSamplers("volume");
}

} // namespace Veltrand::Apps
