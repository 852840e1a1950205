// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/FullscreenSquare.h>

#include <Veltrand/GL/VertexBuffer.h>

namespace Veltrand::GL {

FullscreenSquare::FullscreenSquare()
    : m_square(VertexBuffer::createFullscreenSquare()) {}

FullscreenSquare::~FullscreenSquare() = default;

void FullscreenSquare::draw(Primitive mode) const {
    m_square->draw(mode);
}

void FullscreenSquare::drawFilled() const {
    draw(Primitive::TriangleFan);
}

void FullscreenSquare::drawOutline() const {
    draw(Primitive::LineLoop);
}

} // namespace Veltrand::GL
