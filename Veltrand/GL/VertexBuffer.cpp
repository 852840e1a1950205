// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/VertexBuffer.h>

#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/VertexArrayObject.h>
#include <Veltrand/GL/detail/DrawCalls.h>
#include <Veltrand/GL/detail/MoveOnly.h>

#include <string_view>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<VertexBuffer>);

namespace {

constexpr std::string_view category = "GL.VertexBuffer";

std::optional<GLsizei> vertexCount(const VertexBuffer& buffer) {
    if (buffer.numVertices() == 0) {
        logMessage(Log::Debug, category, "Trying to render an invalid/empty vertex array.");
        return std::nullopt;
    }
    return drawCount(buffer.numVertices(), category);
}

/// A moved-from vertex buffer draws nothing; one without attributes may, as shaders can number the vertices.
std::optional<GLsizei> indexCount(const VertexBuffer& buffer, const IndexBuffer& indices) {
    if (buffer.id() == 0)
        return vertexCount(buffer);
    if (indices.numElements() == 0) {
        logMessage(Log::Debug, category, "Trying to render from an invalid/empty index buffer.");
        return std::nullopt;
    }
    return drawCount(static_cast<std::uint64_t>(indices.numElements()), category);
}

template<class Draw>
void drawWithSharedVertexArray(const VertexBuffer& buffer, Primitive mode, const IndexBuffer& indices,
                               const Draw& draw) {
    SharedVertexArray& vertexArray = sharedVertexArray();
    if (const std::shared_ptr<DrawObserver> observer = vertexArray.observer.lock())
        observer->noteIndexedDraw(mode);
    vertexArray.bind();
    vertexArray.setAttributes(buffer, &indices);
    draw();
    VertexArrayObject::unbind();
}

template<class Draw>
void drawWithSharedVertexArray(const VertexBuffer& buffer, Primitive mode, std::span<const GLint> starts,
                               const Draw& draw) {
    SharedVertexArray& vertexArray = sharedVertexArray();
    vertexArray.bind();
    const std::shared_ptr<DrawObserver> observer = vertexArray.observer.lock();
    const VertexBuffer* const more = observer ? observer->arraysFor(buffer, mode, starts) : nullptr;
    if (more)
        vertexArray.setAttributes({{more, {DrawObserver::location}}, {&buffer, {}}}, nullptr);
    else
        vertexArray.setAttributes(buffer, nullptr);
    draw();
    VertexArrayObject::unbind();
}

constexpr GLint fromTheFirst[] = {0};

} // namespace

VertexRuns planVertexRuns(GLsizei numVertices, const std::vector<unsigned long>& restarts) {
    VertexRuns runs;
    runs.firsts.reserve(restarts.size() + 1);
    runs.counts.reserve(restarts.size() + 1);
    runs.firsts.push_back(0);
    for (const unsigned long restart : restarts) {
        if (restart > static_cast<unsigned long>(std::numeric_limits<GLint>::max()))
            continue;
        const auto first = static_cast<GLint>(restart);
        if (first <= runs.firsts.back())
            continue;
        runs.counts.push_back(first - runs.firsts.back());
        runs.firsts.push_back(first);
    }
    if (runs.firsts.back() < numVertices)
        runs.counts.push_back(numVertices - runs.firsts.back());
    else
        runs.firsts.pop_back();
    return runs;
}

VertexBuffer::VertexBuffer(Usage usage)
    : Buffer(Target::Array, usage) {}

VertexBuffer::~VertexBuffer() = default;

// By way of a copy, because a vector that is moved onto itself loses its elements.
VertexBuffer& VertexBuffer::operator=(VertexBuffer&& other) noexcept {
    std::vector<VertexAttrib> attributes = std::exchange(other.m_attributes, {});
    Buffer::operator=(std::move(other));
    m_attributes = std::move(attributes);
    return *this;
}

void VertexBuffer::unbind() {
    Buffer::unbind(Target::Array);
}

void VertexBuffer::setVertexAttribNormalization(int index, bool normalized) {
    if (index >= 0 && static_cast<std::size_t>(index) < m_attributes.size())
        m_attributes[static_cast<std::size_t>(index)].normalized = normalized;
}

std::uint64_t VertexBuffer::numVertices() const {
    return m_attributes.empty() ? 0 : m_attributes.front().count;
}

void VertexBuffer::setDataImpl(std::span<const Array> arrays) {
    if (id() == 0)
        return;
    m_attributes.clear();
    m_attributes.reserve(arrays.size());
    std::uint64_t bytes = 0;
    for (const Array& array : arrays)
        bytes += array.count * array.elementSize;
    allocateBuffer(static_cast<std::int64_t>(bytes));

    std::int64_t offset = 0;
    for (const Array& array : arrays) {
        const auto arrayBytes = static_cast<std::int64_t>(array.count * array.elementSize);
        if (arrayBytes > 0)
            glBufferSubDataImpl(Target::Array, offset, arrayBytes, array.data);
        offset += arrayBytes;
        m_attributes.push_back({.count = array.count,
                                .components = array.components,
                                .type = static_cast<GLenum>(array.type),
                                .elementSize = array.elementSize,
                                .normalized = false,
                                .valid = array.count != 0});
    }
}

void VertexBuffer::draw(Primitive mode) const {
    if (const auto count = vertexCount(*this))
        drawWithSharedVertexArray(*this, mode, fromTheFirst,
                                  [&] { glDrawArrays(static_cast<GLenum>(mode), 0, *count); });
}

void VertexBuffer::drawInstanced(Primitive mode, int instances) const {
    if (const auto count = vertexCount(*this))
        drawWithSharedVertexArray(*this, mode, fromTheFirst, [&] {
            glDrawArraysInstanced(static_cast<GLenum>(mode), 0, *count, instances);
        });
}

void VertexBuffer::draw(Primitive mode, const IndexBuffer& indices) const {
    const auto count = indexCount(*this, indices);
    if (!count)
        return;
    const PrimitiveRestart restart(indices.primitiveRestartIndex());
    drawWithSharedVertexArray(*this, mode, indices, [&] {
        glDrawElements(static_cast<GLenum>(mode), *count, indices.type(), nullptr);
    });
}

void VertexBuffer::drawInstanced(Primitive mode, int instances, const IndexBuffer& indices) const {
    const auto count = indexCount(*this, indices);
    if (!count)
        return;
    const PrimitiveRestart restart(indices.primitiveRestartIndex());
    drawWithSharedVertexArray(*this, mode, indices, [&] {
        glDrawElementsInstanced(static_cast<GLenum>(mode), *count, indices.type(), nullptr, instances);
    });
}

void VertexBuffer::drawMultiRestart(Primitive mode, const std::vector<unsigned long>& restarts) const {
    const auto count = vertexCount(*this);
    if (!count)
        return;
    const VertexRuns runs = planVertexRuns(*count, restarts);
    drawWithSharedVertexArray(*this, mode, runs.firsts, [&] {
        glMultiDrawArrays(static_cast<GLenum>(mode), runs.firsts.data(), runs.counts.data(),
                          static_cast<GLsizei>(runs.firsts.size()));
    });
}

std::unique_ptr<VertexBuffer> VertexBuffer::createFullscreenSquare() {
    static constexpr float positions[] = {-1, -1, 1, -1, 1, 1, -1, 1};
    static constexpr float texCoords[] = {0, 0, 1, 0, 1, 1, 0, 1};
    auto square = std::make_unique<VertexBuffer>(Usage::StaticDraw);
    const Array arrays[] = {{positions, 4, 2, PixelType::Float, 2 * sizeof(float)},
                            {texCoords, 4, 2, PixelType::Float, 2 * sizeof(float)}};
    square->setDataImpl(arrays);
    unbind();
    return square;
}

} // namespace Veltrand::GL
