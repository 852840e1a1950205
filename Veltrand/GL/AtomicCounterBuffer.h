// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Span.h>
#include <Veltrand/GL/Buffer.h>

#include <vector>

namespace Veltrand::GL {

/// An array of 32-bit counters that shaders count up or down. Needs OpenGL 4.2.
class VELTRAND_GL_API AtomicCounterBuffer : public Buffer {
public:
    /// Counters of value 0, bound. Below OpenGL 4.2 an error is logged and what follows fails in OpenGL; a
    /// negative count is logged and read as 0. Failure as for `Buffer`. GL: 4.2
    AtomicCounterBuffer(int numCounters, Usage usage);
    ~AtomicCounterBuffer() override;
    /// As for `Buffer`.
    AtomicCounterBuffer(AtomicCounterBuffer&&) noexcept = default;
    AtomicCounterBuffer& operator=(AtomicCounterBuffer&&) noexcept = default;

    /// Binds the counters to an indexed binding point, as in `layout(binding = index)`.
    /// GL: glBindBufferBase, 4.2
    void bindBase(GLuint index);
    /// GL: glBindBuffer, 4.2
    static void unbind();

    /// Replaces the contents of the bound buffer. GL: glBufferData, glBufferSubData, 4.2
    void setData(Utils::Span<const unsigned int> values);
    /// Binds the buffer and sets every counter to @p value. GL: glBufferData, glBufferSubData, 4.2
    void reset(unsigned int value);
    /// Reads every counter from the bound buffer; bind it first. Shader writes need
    /// `memoryBarrier(Barrier::BufferUpdate)` before. GL: glGetBufferSubData, 4.2
    [[nodiscard]] std::vector<unsigned int> getData() const;
};

} // namespace Veltrand::GL
