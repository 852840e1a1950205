// SPDX-License-Identifier: BSD-3-Clause
#include "RawProgram.h"

#include <array>
#include <stdexcept>

namespace Veltrand::GL {

RawProgram::RawProgram(const std::vector<std::pair<GLenum, std::string>>& stages)
    : m_id(glCreateProgram()) {
    std::string messages;
    std::array<char, 4096> log{};
    for (const auto& [stage, source] : stages) {
        const GLuint shader = glCreateShader(stage);
        const char* const text = source.c_str();
        glShaderSource(shader, 1, &text, nullptr);
        glCompileShader(shader);
        glGetShaderInfoLog(shader, log.size(), nullptr, log.data());
        messages += log.data();
        glAttachShader(m_id, shader);
        glDeleteShader(shader);
    }
    glLinkProgram(m_id);
    GLint linked = GL_FALSE;
    glGetProgramiv(m_id, GL_LINK_STATUS, &linked);
    if (linked != GL_TRUE) {
        glGetProgramInfoLog(m_id, log.size(), nullptr, log.data());
        glDeleteProgram(m_id);
        throw std::runtime_error(messages + log.data());
    }
}

RawProgram::~RawProgram() {
    glDeleteProgram(m_id);
}

} // namespace Veltrand::GL
