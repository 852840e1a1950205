// SPDX-License-Identifier: BSD-3-Clause
#include "shadercheck/StageCompiler.h"

#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Functions.h>

#include <algorithm>
#include <utility>

namespace Veltrand::Apps {

namespace {

using GL::entryPoint;
using GL::GLenum;
using GL::GLint;
using GL::GLuint;

constexpr GLenum CompileStatus = 0x8B81; // GL_COMPILE_STATUS
constexpr GLenum LinkStatus = 0x8B82;    // GL_LINK_STATUS
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

// The functions that ask an object for its state: of shaders or of programs.
struct Queries {
    void (*parameter)(GLuint, GLenum, GLint*);
    void (*log)(GLuint, GLint, GLint*, char*);
};

GLint parameterOf(const Queries& queries, GLuint object, GLenum name) {
    GLint value = 0;
    queries.parameter(object, name, &value);
    return value;
}

std::string logOf(const Queries& queries, GLuint object) {
    std::string log(static_cast<std::size_t>(std::max(parameterOf(queries, object, InfoLogLength), 1)), '\0');
    GLint length = 0;
    queries.log(object, static_cast<GLint>(log.size()), &length, log.data());
    log.resize(static_cast<std::size_t>(length));
    return log;
}

} // namespace

CompiledStage::CompiledStage(GL::Program::Stage stage, const std::string& text) {
    static const auto create = entryPoint<GLuint (*)(GLenum)>("glCreateShader");
    static const auto setSource =
        entryPoint<void (*)(GLuint, GLint, const char* const*, const GLint*)>("glShaderSource");
    static const auto compile = entryPoint<void (*)(GLuint)>("glCompileShader");
    static const Queries queries{entryPoint<void (*)(GLuint, GLenum, GLint*)>("glGetShaderiv"),
                                 entryPoint<void (*)(GLuint, GLint, GLint*, char*)>("glGetShaderInfoLog")};

    const auto version = GL::versionInfo();
    if (10 * version.major + version.minor < versionOf(stage)) {
        m_log = "0:1(1): error: OpenGL " + std::to_string(version.major) + "." +
                std::to_string(version.minor) + " does not have this stage\n";
        return;
    }
    m_id = create(static_cast<GLenum>(stage));
    const char* const source = text.c_str();
    setSource(m_id, 1, &source, nullptr);
    compile(m_id);
    m_isCompiled = parameterOf(queries, m_id, CompileStatus) != 0;
    m_log = logOf(queries, m_id);
}

CompiledStage::CompiledStage(CompiledStage&& other) noexcept
    : m_id(std::exchange(other.m_id, 0))
    , m_isCompiled(other.m_isCompiled)
    , m_log(std::move(other.m_log)) {}

CompiledStage::~CompiledStage() {
    if (m_id != 0)
        entryPoint<void (*)(GLuint)>("glDeleteShader")(m_id);
}

LinkResult linkStages(Utils::Span<const CompiledStage* const> stages) {
    static const auto create = entryPoint<GLuint (*)()>("glCreateProgram");
    static const auto attach = entryPoint<void (*)(GLuint, GLuint)>("glAttachShader");
    static const auto link = entryPoint<void (*)(GLuint)>("glLinkProgram");
    static const auto destroy = entryPoint<void (*)(GLuint)>("glDeleteProgram");
    static const Queries queries{entryPoint<void (*)(GLuint, GLenum, GLint*)>("glGetProgramiv"),
                                 entryPoint<void (*)(GLuint, GLint, GLint*, char*)>("glGetProgramInfoLog")};

    const GLuint program = create();
    for (const CompiledStage* const stage : stages)
        attach(program, stage->id());
    link(program);
    LinkResult result{parameterOf(queries, program, LinkStatus) != 0, logOf(queries, program)};
    destroy(program);
    return result;
}

} // namespace Veltrand::Apps
