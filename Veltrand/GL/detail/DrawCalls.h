// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/VertexArrayObject.h>
#include <Veltrand/GL/detail/LogMessage.h>

#include <cstdint>
#include <glad/gl.h>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Veltrand::GL {

/// Adds to the arrays that vertex buffers draw in one context.
class DrawObserver {
public:
    /// Where the array that comes on top has its place, beyond those of the buffers.
    static constexpr int location = 15;

    virtual ~DrawObserver() = default;
    /// One array with a value for each of the vertices, or null.
    /// @param starts of the runs of consecutive vertices that are drawn; at least one
    [[nodiscard]] virtual const VertexBuffer* arraysFor(const VertexBuffer& vertices, Primitive mode,
                                                        std::span<const GLint> starts) = 0;
    /// A draw by indices, to which nothing is added.
    virtual void noteIndexedDraw(Primitive mode) = 0;
};

/// The current context's vertex array object that draw calls set up anew each time.
class SharedVertexArray : public VertexArrayObject {
public:
    std::weak_ptr<DrawObserver> observer; ///< told of each draw
};
SharedVertexArray& sharedVertexArray();

/// A vertex or index count as OpenGL takes it; nothing, and an error logged, when it does not fit.
inline std::optional<GLsizei> drawCount(std::uint64_t count, std::string_view category) {
    if (count <= static_cast<std::uint64_t>(std::numeric_limits<GLsizei>::max()))
        return static_cast<GLsizei>(count);
    logMessage(Log::Error, category, [count] {
        return "Refusing to draw " + std::to_string(count) + " vertices, more than one draw call can count.";
    });
    return std::nullopt;
}

/// Primitive restart for the length of a draw call; index 0 leaves it alone.
class PrimitiveRestart {
public:
    explicit PrimitiveRestart(GLuint index)
        : m_active(index != 0) {
        if (m_active) {
            glEnable(GL_PRIMITIVE_RESTART);
            glPrimitiveRestartIndex(index);
        }
    }
    ~PrimitiveRestart() {
        if (m_active)
            glDisable(GL_PRIMITIVE_RESTART);
    }
    PrimitiveRestart(const PrimitiveRestart&) = delete;
    PrimitiveRestart& operator=(const PrimitiveRestart&) = delete;

private:
    bool m_active;
};

/// Runs of consecutive vertices, as glMultiDrawArrays takes them.
struct VertexRuns {
    std::vector<GLint> firsts;
    std::vector<GLsizei> counts;
};

/// Cuts @p numVertices vertices at each restart position that lies beyond the one before it.
VertexRuns planVertexRuns(GLsizei numVertices, const std::vector<unsigned long>& restarts);

} // namespace Veltrand::GL
