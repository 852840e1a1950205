// SPDX-License-Identifier: BSD-3-Clause
#include "scene/BoxPainter.h"

#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Viewport.h>

namespace Veltrand::Apps {

BoxPainter::BoxPainter()
    : m_program(GL::Program::createVertexFragment("VeltrandScene/Panel.vert", "VeltrandScene/Box.frag", "",
                                                  GL::Program::Compilation::ImmediateThrow)) {}

BoxPainter::~BoxPainter() = default;

void BoxPainter::fill(const PixelRect& rect, const Eigen::Vector4f& color) const {
    GL::Viewport{rect.x, rect.y, rect.width, rect.height}.set();
    m_program->enable();
    m_program->setArgument("boxColor", color);
    GL::FullscreenSquare::get()->drawFilled();
    m_program->disable();
}

} // namespace Veltrand::Apps
