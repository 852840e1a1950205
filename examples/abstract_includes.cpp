// SPDX-License-Identifier: BSD-3-Clause
// A shader with a hole that the application fills: one program text, a variant for each colour map, each
// compiled when it is first asked for.
#include "StringRepository.h"
#include <Eigen/Core>
#include <Veltrand/GL/AbstractInclude.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/ProgramCache.h>
#include <Veltrand/GL/Texture.h>
#include <iostream>

namespace GL = Veltrand::GL;

namespace {

const StringRepository
    shaders("My", {{"map.frag", R"(#version 330
#pragma abstract_include "COLOR_MAP"
#ifndef COLOR_MAP
vec3 mapColor(float value) { return vec3(value); }
#endif
out vec4 color;
void main() { color = vec4(mapColor(0.5), 1.0); }
)"},
                   {"heat.glh", "vec3 mapColor(float value) { return vec3(1.0, value, 0.0); }\n"},
                   {"ice.glh", "vec3 mapColor(float value) { return vec3(0.0, value, 1.0); }\n"}});

// Programs are told apart by the class and define name of their includes, so maps have classes of their own.
struct Heat : GL::AbstractInclude {
    Heat()
        : AbstractInclude("COLOR_MAP", "My/heat.glh") {}
};
struct Ice : GL::AbstractInclude {
    Ice()
        : AbstractInclude("COLOR_MAP", "My/ice.glh") {}
};

void print(const char* name, GL::Program* program) {
    GL::Texture texel({1, 1, 1}, GL::InternalFormat::RGBA32F);
    auto& image = dynamic_cast<GL::ImageProgram&>(*program);
    image.enable();
    image.compute(texel, {});
    image.disable();
    std::cout << name << texel.download<Eigen::Vector4f>().front().head<3>().transpose() << '\n';
}

} // namespace

int main() {
    GL::init();
    {
        GL::ProgramCache cache(std::make_unique<GL::ImageProgram>("My/map.frag"), 8);
        const Heat heat;
        const Ice ice;
        print("heat: ", cache.getProgram({&heat}, {}));
        print("ice:  ", cache.getProgram({&ice}, {}));
        print("grey: ", cache.getProgram({}));
    }
    GL::deinit();
}
