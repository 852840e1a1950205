// SPDX-License-Identifier: BSD-3-Clause
#include "shadercheck/StageCompiler.h"

#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>

#include <algorithm>

namespace Veltrand::Apps {

namespace {

using GL::entryPoint;
using GL::GLenum;
using GL::GLint;
using GL::GLuint;

constexpr GLenum CompileStatus = 0x8B81; // GL_COMPILE_STATUS
constexpr GLenum InfoLogLength = 0x8B84; // GL_INFO_LOG_LENGTH

// The version of OpenGL that has the stage.
int versionOf(GL::Program::Stage stage) {
    switch (stage) {
    case GL::Program::Stage::Compute:
        return 43;
    case GL::Program::Stage::TessellationControl:
    case GL::Program::Stage::TessellationEvaluation:
        return 40;
    default:
        return 33;
    }
}

GLint parameterOf(GLuint shader, GLenum name) {
    static const auto get = entryPoint<void (*)(GLuint, GLenum, GLint*)>("glGetShaderiv");
    GLint value = 0;
    get(shader, name, &value);
    return value;
}

std::string logOf(GLuint shader) {
    static const auto get = entryPoint<void (*)(GLuint, GLint, GLint*, char*)>("glGetShaderInfoLog");
    std::string log(static_cast<std::size_t>(std::max(parameterOf(shader, InfoLogLength), 1)), '\0');
    GLint length = 0;
    get(shader, static_cast<GLint>(log.size()), &length, log.data());
    log.resize(static_cast<std::size_t>(length));
    return log;
}

} // namespace

StageResult compileStage(GL::Program::Stage stage, const std::string& source) {
    static const auto create = entryPoint<GLuint (*)(GLenum)>("glCreateShader");
    static const auto setSource =
        entryPoint<void (*)(GLuint, GLint, const char* const*, const GLint*)>("glShaderSource");
    static const auto compile = entryPoint<void (*)(GLuint)>("glCompileShader");
    static const auto destroy = entryPoint<void (*)(GLuint)>("glDeleteShader");

    const auto version = GL::versionInfo();
    if (10 * version.major + version.minor < versionOf(stage))
        return {false, "0:1(1): error: OpenGL " + std::to_string(version.major) + "." +
                           std::to_string(version.minor) + " does not have this stage\n"};
    const GLuint shader = create(static_cast<GLenum>(stage));
    const char* const text = source.c_str();
    setSource(shader, 1, &text, nullptr);
    compile(shader);
    StageResult result{parameterOf(shader, CompileStatus) != 0, logOf(shader)};
    destroy(shader);
    return result;
}

} // namespace Veltrand::Apps
