// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the tests of OpenGL classes share.

#include "support/CallCounter.h"
#include "support/Canvas.h"
#include "support/GLFixture.h"
#include "support/MapRepository.h"
#include "support/RenderTarget.h"
#include "support/ScopedEntryPoint.h"
#include "support/Thrown.h"

#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <glad/gl.h>
#include <map>
#include <memory>
#include <numbers>
#include <optional>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Veltrand::GL {

using namespace Testing;
using Eigen::Matrix4d;
using Eigen::Vector2f;
using Eigen::Vector2i;
using Eigen::Vector3d;
using Eigen::Vector3f;
using Eigen::Vector3i;
using Eigen::Vector4d;
using Eigen::Vector4f;
using Compilation = Program::Compilation;

/// The text that the driver was given for a stage.
inline std::string sourceOf(const Program& program, Program::Stage stage) {
    std::array<GLuint, 8> shaders{};
    GLsizei count = 0;
    glGetAttachedShaders(program.id(), 8, &count, shaders.data());
    for (const GLuint shader : std::span(shaders).first(static_cast<std::size_t>(count))) {
        GLint type = 0;
        glGetShaderiv(shader, GL_SHADER_TYPE, &type);
        std::string text(4096, '\0');
        glGetShaderSource(shader, 4096, nullptr, text.data());
        if (static_cast<GLenum>(type) == static_cast<GLenum>(stage))
            return text.c_str();
    }
    return {};
}

} // namespace Veltrand::GL
