// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/IndexBuffer.h>

#include <Veltrand/GL/detail/MoveOnly.h>

namespace Veltrand::GL {

static_assert(MoveOnly<IndexBuffer>);

IndexBuffer::IndexBuffer(Usage usage)
    : Buffer(Target::ElementArray, usage) {}

IndexBuffer::~IndexBuffer() = default;

void IndexBuffer::unbind() {
    Buffer::unbind(Target::ElementArray);
}

void IndexBuffer::setDataImpl(const void* data, std::int64_t count, std::int64_t indexSize, GLenum type) {
    allocateBuffer(count * indexSize);
    if (count > 0)
        glBufferSubDataImpl(Target::ElementArray, 0, count * indexSize, data);
    m_numElements = count;
    m_type = type;
}

} // namespace Veltrand::GL
