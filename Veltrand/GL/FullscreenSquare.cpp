// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/FullscreenSquare.h>

#include <Veltrand/GL/VertexBuffer.h>

#include <type_traits>

namespace Veltrand::GL {

static_assert(std::is_nothrow_move_constructible_v<FullscreenSquare> &&
              std::is_nothrow_move_assignable_v<FullscreenSquare> &&
              !std::is_copy_constructible_v<FullscreenSquare>);

FullscreenSquare::FullscreenSquare()
    : m_square(VertexBuffer::createFullscreenSquare()) {}

FullscreenSquare::~FullscreenSquare() = default;
FullscreenSquare::FullscreenSquare(FullscreenSquare&&) noexcept = default;
FullscreenSquare& FullscreenSquare::operator=(FullscreenSquare&&) noexcept = default;

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
