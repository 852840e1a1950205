// SPDX-License-Identifier: BSD-3-Clause
// Shaders made of several files: what a fragment shader includes, and what it includes only if a define asks
// for it.
#include "StringRepository.h"
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/Texture.h>
#include <iostream>

namespace GL = Veltrand::GL;

namespace {

const StringRepository shaders("My", {{"shade.frag", R"(#version 330
#pragma include "My/light.glh"
#pragma conditional_include WITH_SHADOW "My/shadow.glh"
out vec4 color;
void main() {
    color = vec4(light(), 1.0);
#ifdef WITH_SHADOW
    color.rgb *= shadow();
#endif
}
)"},
                                      {"light.glh", "vec3 light() { return LIGHT; }\n"},
                                      {"shadow.glh", "float shadow() { return 0.25; }\n"}});

// Runs the shader for one texel. The defines go in front of every stage.
Eigen::Vector4f shade(const std::string& defines) {
    GL::ImageProgram program("My/shade.frag", defines);
    GL::Texture texel({1, 1, 1}, GL::InternalFormat::RGBA32F);
    program.enable();
    program.compute(texel, {});
    program.disable();
    return texel.download<Eigen::Vector4f>().front();
}

} // namespace

int main() {
    GL::init();
    const std::string light = "#define LIGHT vec3(0.5, 1.0, 2.0)\n";
    std::cout << "plain:       " << shade(light).transpose() << '\n';
    std::cout << "with shadow: " << shade(light + "#define WITH_SHADOW\n").transpose() << '\n';
    GL::deinit();

    // The text that a driver gets can be looked at without OpenGL.
    GL::Program::ShaderInfo info;
    info.stage = GL::Program::Stage::Fragment;
    info.name = "My/shade.frag";
    std::cout << GL::Program::loadShaderSource(info, false, {}, light, {});
}
