// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Buffer.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>

#include <glad/gl.h>
#include <stdexcept>
#include <string>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<Buffer>);
static_assert(GLenum(Buffer::Target::Parameter) == GL_PARAMETER_BUFFER &&
              GLenum(Buffer::Target::Array) == GL_ARRAY_BUFFER &&
              GLenum(Buffer::Target::ElementArray) == GL_ELEMENT_ARRAY_BUFFER &&
              GLenum(Buffer::Target::PixelPack) == GL_PIXEL_PACK_BUFFER &&
              GLenum(Buffer::Target::PixelUnpack) == GL_PIXEL_UNPACK_BUFFER &&
              GLenum(Buffer::Target::Uniform) == GL_UNIFORM_BUFFER &&
              GLenum(Buffer::Target::Texture) == GL_TEXTURE_BUFFER &&
              GLenum(Buffer::Target::TransformFeedback) == GL_TRANSFORM_FEEDBACK_BUFFER &&
              GLenum(Buffer::Target::CopyRead) == GL_COPY_READ_BUFFER &&
              GLenum(Buffer::Target::CopyWrite) == GL_COPY_WRITE_BUFFER &&
              GLenum(Buffer::Target::DrawIndirect) == GL_DRAW_INDIRECT_BUFFER &&
              GLenum(Buffer::Target::ShaderStorage) == GL_SHADER_STORAGE_BUFFER &&
              GLenum(Buffer::Target::DispatchIndirect) == GL_DISPATCH_INDIRECT_BUFFER &&
              GLenum(Buffer::Target::Query) == GL_QUERY_BUFFER &&
              GLenum(Buffer::Target::AtomicCounter) == GL_ATOMIC_COUNTER_BUFFER);
static_assert(GLenum(Buffer::Usage::StreamDraw) == GL_STREAM_DRAW &&
              GLenum(Buffer::Usage::StreamRead) == GL_STREAM_READ &&
              GLenum(Buffer::Usage::StreamCopy) == GL_STREAM_COPY &&
              GLenum(Buffer::Usage::StaticDraw) == GL_STATIC_DRAW &&
              GLenum(Buffer::Usage::StaticRead) == GL_STATIC_READ &&
              GLenum(Buffer::Usage::StaticCopy) == GL_STATIC_COPY &&
              GLenum(Buffer::Usage::DynamicDraw) == GL_DYNAMIC_DRAW &&
              GLenum(Buffer::Usage::DynamicRead) == GL_DYNAMIC_READ &&
              GLenum(Buffer::Usage::DynamicCopy) == GL_DYNAMIC_COPY);

Buffer::Buffer(Target target, Usage usage)
    : m_target(target)
    , m_usage(usage) {
    glGenBuffers(1, &m_id);
    if (m_id == 0)
        throw std::runtime_error("Could not generate Buffer.");
    bind();
}

Buffer::~Buffer() {
    if (m_id != 0)
        glDeleteBuffers(1, &m_id);
}

Buffer::Buffer(Buffer&& other) noexcept
    : m_target(other.m_target)
    , m_usage(other.m_usage)
    , m_id(std::exchange(other.m_id, 0))
    , m_size(std::exchange(other.m_size, 0)) {}

Buffer& Buffer::operator=(Buffer&& other) noexcept {
    Buffer taken(std::move(other));
    m_target = taken.m_target;
    m_usage = taken.m_usage;
    std::swap(m_id, taken.m_id);
    m_size = taken.m_size;
    return *this;
}

void Buffer::bind() const {
    glBindBuffer(static_cast<GLenum>(m_target), m_id);
}

void Buffer::unbind(Target target) {
    glBindBuffer(static_cast<GLenum>(target), 0);
}

void Buffer::allocateBuffer(std::int64_t bytes) {
    if (m_id == 0)
        return;
    if (bytes < 0) {
        logMessage(Log::Error, "GL.Buffer",
                   [bytes] { return "Refusing to allocate " + std::to_string(bytes) + " bytes."; });
        return;
    }
    glBufferData(static_cast<GLenum>(m_target), bytes, nullptr, static_cast<GLenum>(m_usage));
    m_size = bytes;
}

void Buffer::glBufferSubDataImpl(Target target, std::int64_t offset, std::int64_t bytes, const void* data) {
    glBufferSubData(static_cast<GLenum>(target), offset, bytes, data);
}

void Buffer::glGetBufferSubDataImpl(Target target, std::int64_t offset, std::int64_t bytes, void* data) {
    glGetBufferSubData(static_cast<GLenum>(target), offset, bytes, data);
}

} // namespace Veltrand::GL
