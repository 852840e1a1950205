// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ShaderStorageBuffer.h>

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/GL/detail/MoveOnly.h>

#include <glad/gl.h>

namespace Veltrand::GL {

static_assert(MoveOnly<ShaderStorageBuffer>);

ShaderStorageBuffer::ShaderStorageBuffer(Usage usage)
    : Buffer(Target::ShaderStorage, usage) {
    if (!GLAD_GL_VERSION_4_3)
        logMessage(Log::Error, "GL.ShaderStorageBuffer",
                   "Trying to instantiate a ShaderStorageBuffer on unsupported hardware. Requires at least "
                   "OpenGL 4.3.");
}

ShaderStorageBuffer::~ShaderStorageBuffer() = default;

void ShaderStorageBuffer::bindBase(GLuint index) {
    glBindBufferBase(GL_SHADER_STORAGE_BUFFER, index, id());
}

void ShaderStorageBuffer::unbind() {
    Buffer::unbind(Target::ShaderStorage);
}

} // namespace Veltrand::GL
