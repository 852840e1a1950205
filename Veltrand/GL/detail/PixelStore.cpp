// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/PixelStore.h>

#include <Veltrand/GL/Functions.h>

#include <cstddef>

namespace Veltrand::GL {

namespace {

// All of them are 0 at first.
constexpr PlainTransfer::Parameters unpacking = {GL_UNPACK_SWAP_BYTES,  GL_UNPACK_ROW_LENGTH,
                                                 GL_UNPACK_SKIP_ROWS,   GL_UNPACK_SKIP_PIXELS,
                                                 GL_UNPACK_SKIP_IMAGES, GL_UNPACK_IMAGE_HEIGHT};
constexpr PlainTransfer::Parameters packing = {GL_PACK_SWAP_BYTES,  GL_PACK_ROW_LENGTH,
                                               GL_PACK_SKIP_ROWS,   GL_PACK_SKIP_PIXELS,
                                               GL_PACK_SKIP_IMAGES, GL_PACK_IMAGE_HEIGHT};

GLuint boundPixelBuffer(TransferDirection direction) {
    return static_cast<GLuint>(getInt(direction == TransferDirection::Upload ? GL_PIXEL_UNPACK_BUFFER_BINDING
                                                                             : GL_PIXEL_PACK_BUFFER_BINDING));
}

} // namespace

UnboundPixelBuffer::UnboundPixelBuffer(TransferDirection direction)
    : m_target(direction == TransferDirection::Upload ? GL_PIXEL_UNPACK_BUFFER : GL_PIXEL_PACK_BUFFER)
    , m_buffer(boundPixelBuffer(direction)) {
    if (m_buffer != 0)
        glBindBuffer(m_target, 0);
}

UnboundPixelBuffer::~UnboundPixelBuffer() {
    if (m_buffer != 0)
        glBindBuffer(m_target, m_buffer);
}

PlainTransfer::PlainTransfer(TransferDirection direction)
    : m_memory(direction)
    , m_parameters(direction == TransferDirection::Upload ? unpacking : packing) {
    for (std::size_t i = 0; i < m_values.size(); ++i) {
        m_values[i] = getInt(m_parameters[i]);
        if (m_values[i] != 0)
            glPixelStorei(m_parameters[i], 0);
    }
}

PlainTransfer::~PlainTransfer() {
    for (std::size_t i = 0; i < m_values.size(); ++i)
        if (m_values[i] != 0)
            glPixelStorei(m_parameters[i], m_values[i]);
}

} // namespace Veltrand::GL
