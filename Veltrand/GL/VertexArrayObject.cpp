// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/VertexArrayObject.h>

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/InstanceManager.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/detail/DrawCalls.h>
#include <Veltrand/GL/detail/MoveOnly.h>

#include <bit>
#include <string>
#include <string_view>

namespace Veltrand::GL {

static_assert(MoveOnly<VertexArrayObject>);

namespace {

constexpr std::string_view category = "GL.VertexArrayObject";

class GlobalVAO : public InstanceManager<GlobalVAO>, public SharedVertexArray {
public:
    GlobalVAO()
        : GlobalVAO(static_cast<GLuint>(getInt(GL_VERTEX_ARRAY_BINDING))) {}

private:
    // Who asks for it need not draw next.
    explicit GlobalVAO(GLuint previous) { glBindVertexArray(previous); }
};

void describeArray(GLuint location, const VertexBuffer::VertexAttrib& array, std::uint64_t offset) {
    const auto stride = static_cast<GLsizei>(array.elementSize);
    const auto* const pointer = std::bit_cast<const void*>(offset);
    glEnableVertexAttribArray(location);
    if (array.type == GL_UNSIGNED_INT)
        glVertexAttribIPointer(location, array.components, array.type, stride, pointer);
    else
        glVertexAttribPointer(location, array.components, array.type, array.normalized ? GL_TRUE : GL_FALSE,
                              stride, pointer);
}

} // namespace

SharedVertexArray& sharedVertexArray() {
    return *GlobalVAO::get();
}

VertexArrayObject::VertexArrayObject() {
    glGenVertexArrays(1, &m_id);
    bind();
}

VertexArrayObject::~VertexArrayObject() {
    if (m_id != 0)
        glDeleteVertexArrays(1, &m_id);
}

VertexArrayObject::VertexArrayObject(VertexArrayObject&& other) noexcept
    : m_id(std::exchange(other.m_id, 0))
    , m_vertexBuffer(std::exchange(other.m_vertexBuffer, nullptr))
    , m_indexBuffer(std::exchange(other.m_indexBuffer, nullptr))
    , m_enabled(std::exchange(other.m_enabled, {})) {}

VertexArrayObject& VertexArrayObject::operator=(VertexArrayObject&& other) noexcept {
    VertexArrayObject taken(std::move(other));
    std::swap(m_id, taken.m_id);
    m_vertexBuffer = taken.m_vertexBuffer;
    m_indexBuffer = taken.m_indexBuffer;
    m_enabled = taken.m_enabled;
    return *this;
}

void VertexArrayObject::bind() const {
    glBindVertexArray(m_id);
}

void VertexArrayObject::unbind() {
    glBindVertexArray(0);
}

void VertexArrayObject::setAttributes(std::initializer_list<BufferLocations> buffers,
                                      const IndexBuffer* indices) {
    clearAttribs();
    if (m_id == 0 || buffers.size() == 0)
        return;
    m_vertexBuffer = buffers.begin()->first;
    m_indexBuffer = indices;
    if (indices)
        indices->bind();
    else
        IndexBuffer::unbind();
    for (const auto& [buffer, locations] : buffers) {
        if (!buffer)
            break;
        buffer->bind();
        bindAttribs(*buffer, locations);
    }
}

void VertexArrayObject::setAttributes(const VertexBuffer& buffer, const IndexBuffer* indices) {
    setAttributes({{&buffer, {}}}, indices);
}

void VertexArrayObject::bindAttribs(const VertexBuffer& buffer, std::initializer_list<int> locations) {
    if (m_id == 0)
        return;
    std::uint64_t offset = 0;
    std::size_t index = 0;
    for (const auto& array : buffer.attributes()) {
        const std::size_t k = index++;
        if (!array.valid || (locations.size() != 0 && k >= locations.size()))
            continue;
        const auto location =
            locations.size() == 0 ? static_cast<std::int64_t>(k) : std::int64_t{locations.begin()[k]};
        if (location < 0)
            continue;
        if (location >= maxLocations) {
            logMessage(Log::Error, category, [location] {
                return "Binding of vertex attribute to location " + std::to_string(location) +
                       " is not allowed, must be less than 16.";
            });
            continue;
        }
        m_enabled[static_cast<std::size_t>(location)] = true;
        describeArray(static_cast<GLuint>(location), array, offset);
        offset += array.count * array.elementSize;
    }
}

void VertexArrayObject::clearAttribs() {
    for (GLuint location = 0; location < m_enabled.size(); ++location)
        if (m_enabled[location])
            glDisableVertexAttribArray(location);
    m_vertexBuffer = nullptr;
    m_indexBuffer = nullptr;
    m_enabled.fill(false);
}

void VertexArrayObject::draw(Primitive mode) const {
    if (m_indexBuffer) {
        if (const auto count =
                drawCount(static_cast<std::uint64_t>(m_indexBuffer->numElements()), category)) {
            const PrimitiveRestart restart(m_indexBuffer->primitiveRestartIndex());
            glDrawElements(static_cast<GLenum>(mode), *count, m_indexBuffer->type(), nullptr);
        }
    } else if (m_vertexBuffer) {
        if (const auto count = drawCount(m_vertexBuffer->numVertices(), category))
            glDrawArrays(static_cast<GLenum>(mode), 0, *count);
    }
}

void VertexArrayObject::drawInstanced(Primitive mode, int instances) const {
    if (m_indexBuffer) {
        if (const auto count =
                drawCount(static_cast<std::uint64_t>(m_indexBuffer->numElements()), category)) {
            const PrimitiveRestart restart(m_indexBuffer->primitiveRestartIndex());
            glDrawElementsInstanced(static_cast<GLenum>(mode), *count, m_indexBuffer->type(), nullptr,
                                    instances);
        }
    } else if (m_vertexBuffer) {
        if (const auto count = drawCount(m_vertexBuffer->numVertices(), category))
            glDrawArraysInstanced(static_cast<GLenum>(mode), 0, *count, instances);
    }
}

} // namespace Veltrand::GL
