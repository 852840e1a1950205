// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <array>
#include <glad/gl.h>

namespace Veltrand::GL {

/// Which way texels go between memory and textures.
enum class TransferDirection { Upload, Download };

/// Lets pointers be places in memory for a scope, not in a buffer that the caller has bound.
class UnboundPixelBuffer : private Utils::NotCopyable {
public:
    explicit UnboundPixelBuffer(TransferDirection direction);
    ~UnboundPixelBuffer();

private:
    GLenum m_target;
    GLuint m_buffer;
};

/// Lets transfers read or write memory close together, row by row in the processor's byte order, for a scope,
/// whatever the caller has set. What texels of the library's own, or of a size that it has checked, go
/// through. The alignment of rows is up to each transfer; bit order and compressed blocks concern none.
class PlainTransfer : private Utils::NotCopyable {
public:
    explicit PlainTransfer(TransferDirection direction);
    ~PlainTransfer();

    using Parameters = std::array<GLenum, 6>;

private:
    UnboundPixelBuffer m_memory;
    const Parameters& m_parameters;
    std::array<GLint, 6> m_values{};
};

} // namespace Veltrand::GL
