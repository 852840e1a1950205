// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/IndexBuffer.h>

#include <Veltrand/GL/detail/MoveOnly.h>

#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<IndexBuffer>);

IndexBuffer::IndexBuffer(Usage usage)
    : Buffer(Target::ElementArray, usage) {}

IndexBuffer::~IndexBuffer() = default;

IndexBuffer::IndexBuffer(IndexBuffer&& other) noexcept
    : Buffer(std::move(other))
    , m_indices(std::exchange(other.m_indices, {})) {}

IndexBuffer& IndexBuffer::operator=(IndexBuffer&& other) noexcept {
    const Indices indices = std::exchange(other.m_indices, {});
    Buffer::operator=(std::move(other));
    m_indices = indices;
    return *this;
}

void IndexBuffer::unbind() {
    Buffer::unbind(Target::ElementArray);
}

void IndexBuffer::setDataImpl(const void* data, std::int64_t count, std::int64_t indexSize, GLenum type) {
    if (id() == 0)
        return;
    allocateBuffer(count * indexSize);
    if (count > 0)
        glBufferSubDataImpl(Target::ElementArray, 0, count * indexSize, data);
    m_indices.count = count;
    m_indices.type = type;
}

} // namespace Veltrand::GL
