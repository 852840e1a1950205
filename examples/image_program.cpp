// SPDX-License-Identifier: BSD-3-Clause
// Computing an image: a fragment shader runs for every texel of a texture. Here it counts the steps until
// points of the plane escape, as a picture of letters.
#include "LetterPicture.h"
#include "StringRepository.h"
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/Texture.h>

namespace GL = Veltrand::GL;

namespace {

const StringRepository shaders("My", {{"escape.frag", R"(#version 330
in vec3 texCoord; // from 0 to 1 over the image
uniform vec2 corner;
uniform vec2 extent;
uniform int maxSteps;
out float steps;

void main() {
    vec2 c = corner + texCoord.xy * extent;
    vec2 z = vec2(0.0);
    int i = 0;
    for (; i < maxSteps && dot(z, z) < 4.0; ++i)
        z = vec2(z.x * z.x - z.y * z.y, 2.0 * z.x * z.y) + c;
    steps = float(i) / float(maxSteps);
}
)"}});

} // namespace

int main() {
    GL::init();
    {
        GL::Texture image({60, 19, 1}, GL::InternalFormat::R32F);
        GL::ImageProgram program("My/escape.frag");
        program.enable();
        program.setArgument("corner", Eigen::Vector2f(-2.1F, -1.15F));
        program.setArgument("extent", Eigen::Vector2f(2.8F, 2.3F));
        program.setArgument("maxSteps", 40);
        program.compute(image, GL::ImageProgram::Cuboid());
        program.disable();
        printLetters(image);
    }
    GL::deinit();
}
