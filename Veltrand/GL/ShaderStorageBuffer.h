// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Buffer.h>

namespace Veltrand::GL {

/// Storage that shaders read and write; what it holds is between its user and the shader. Needs OpenGL 4.3.
class VELTRAND_GL_API ShaderStorageBuffer : public Buffer {
public:
    /// A buffer without storage, bound. Below OpenGL 4.3 an error is logged and what follows fails in OpenGL.
    /// Failure as for `Buffer`. GL: 4.3
    explicit ShaderStorageBuffer(Usage usage);
    ~ShaderStorageBuffer() override;
    /// As for `Buffer`.
    ShaderStorageBuffer(ShaderStorageBuffer&&) noexcept = default;
    ShaderStorageBuffer& operator=(ShaderStorageBuffer&&) noexcept = default;

    /// Binds the storage to an indexed binding point, as in `layout(binding = index)`.
    /// GL: glBindBufferBase, 4.3
    void bindBase(GLuint index);
    /// GL: glBindBuffer, 4.3
    static void unbind();
};

} // namespace Veltrand::GL
