// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <array>
#include <initializer_list>
#include <utility>

namespace Veltrand::GL {

/// Owns a vertex array object and describes the arrays of vertex buffers to it: which array goes to which
/// attribute location, from which offset, of what type.
///
/// Everything that changes the vertex array works on the one that is bound; call `bind()` first. Vertex array
/// objects are not shared between contexts: make, use and destroy each in one context.
class VELTRAND_GL_API VertexArrayObject : private Utils::NotCopyable {
public:
    /// What every driver has; the library uses no more.
    static constexpr int maxLocations = 16;

    /// A new object, bound. GL: glGenVertexArrays, 3.0
    VertexArrayObject();
    ~VertexArrayObject();
    /// The source then owns nothing: it binds no vertex array, takes no attributes and draws nothing.
    VertexArrayObject(VertexArrayObject&& other) noexcept;
    VertexArrayObject& operator=(VertexArrayObject&& other) noexcept;

    /// GL: glBindVertexArray, 3.0
    void bind() const;
    /// GL: glBindVertexArray, 3.0
    static void unbind();

    /// A buffer and the attribute location of each of its arrays, in their order; no locations at all stand
    /// for 0, 1, 2 and so on.
    using BufferLocations = std::pair<const VertexBuffer*, std::initializer_list<int>>;

    /// Replaces the whole set-up. The first buffer supplies the vertex count for `draw`; the buffers are
    /// remembered as pointers only and must live as long as the set-up is used. An empty list clears the
    /// set-up and leaves the index buffer's binding alone; a null buffer ends the list.
    /// @param indices bound to the vertex array; null for none
    void setAttributes(std::initializer_list<BufferLocations> buffers, const IndexBuffer* indices);
    /// One buffer, with array k at location k.
    void setAttributes(const VertexBuffer& buffer, const IndexBuffer* indices);

    /// Describes one buffer's arrays; the buffer must be bound. Arrays without elements, without a location
    /// or with a negative one are skipped; a location of 16 or more is logged as an error and skipped.
    ///
    /// The arrays after a skipped one that has elements are described at the skipped one's offset, so give
    /// every array a location, or place the skipped ones last.
    /// GL: glVertexAttribPointer, 3.0; glVertexAttribIPointer for GL_UNSIGNED_INT
    void bindAttribs(const VertexBuffer& buffer, std::initializer_list<int> locations);

    /// Disables what this object has enabled and forgets the buffers. GL: glDisableVertexAttribArray, 3.0
    void clearAttribs();

    /// Draws the remembered buffers, by index if there is an index buffer, with primitive restart if that has
    /// a restart index. Without buffers nothing is drawn. GL: glDrawArrays, glDrawElements, 3.1
    void draw(Primitive mode) const;
    /// GL: glDrawArraysInstanced, glDrawElementsInstanced, 3.1
    void drawInstanced(Primitive mode, int instances) const;

    /// The OpenGL name, 0 after a move.
    [[nodiscard]] GLuint id() const { return m_id; }

private:
    GLuint m_id = 0;
    const VertexBuffer* m_vertexBuffer = nullptr;
    const IndexBuffer* m_indexBuffer = nullptr;
    std::array<bool, maxLocations> m_enabled{};
};

} // namespace Veltrand::GL
