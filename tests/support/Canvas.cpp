// SPDX-License-Identifier: BSD-3-Clause
#include "support/Canvas.h"

#include "support/MapRepository.h"

#include <Eigen/Core>
#include <glad/gl.h>
#include <gtest/gtest.h>

namespace Veltrand::Testing {

namespace {

std::unique_ptr<GL::Program> makeProgram() {
    const MapRepository files("Canvas", {{"vert", R"(#version 330
layout(location = 0) in vec2 position;
layout(location = 1) in vec4 color;
uniform vec4 transform;
out vec4 vertexColor;
void main() {
    vertexColor = color;
    gl_Position = vec4(position * transform.xy + transform.zw, 0.0, 1.0);
})"},
                                         {"frag", R"(#version 330
in vec4 vertexColor;
out vec4 color;
void main() { color = vertexColor; })"}});
    return GL::Program::createVertexFragment("Canvas/vert", "Canvas/frag", "",
                                             GL::Program::Compilation::ImmediateThrow);
}

} // namespace

Canvas::Canvas(int width, int height)
    : m_target(width, height)
    , m_program(makeProgram()) {
    m_program->enable();
    m_program->setArgument("transform", Eigen::Vector4f(2.0F / static_cast<float>(width),
                                                        2.0F / static_cast<float>(height), -1.0F, -1.0F));
    glVertexAttrib4f(1, 1.0F, 1.0F, 1.0F, 1.0F);
}

Canvas::~Canvas() = default;

void Canvas::clear() {
    GL::clearColorBuffer(Eigen::Vector4f::Zero());
}

std::string Canvas::row(int y) const {
    const auto texels = texture().download<Eigen::Vector<unsigned char, 4>>();
    std::string digits;
    for (int x = 0; x < texture().width(); ++x) {
        const int pixel = y * texture().width() + x;
        const auto& texel = texels[static_cast<std::size_t>(pixel)];
        digits += static_cast<char>('0' + (texel[0] > 127) + 2 * (texel[1] > 127) + 4 * (texel[2] > 127));
    }
    return digits;
}

} // namespace Veltrand::Testing
