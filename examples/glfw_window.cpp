// SPDX-License-Identifier: BSD-3-Clause
// Drawing into a window of GLFW: the library adopts its context. An argument is the number of frames to draw,
// after which the colour of the pixel in the middle is printed; without one, the window stays until it is
// closed.
#include "StringRepository.h"
#define GLFW_INCLUDE_NONE
#include <Eigen/Core>
#include <GLFW/glfw3.h>
#include <Veltrand/GL/ContextGLX.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Viewport.h>
#include <array>
#include <cstdlib>
#include <iostream>
#include <utility>

namespace GL = Veltrand::GL;

namespace {

const StringRepository shaders("My", {{"rings.vert", R"(#version 330
layout(location = 0) in vec2 corner;
out vec2 position;
void main() {
    position = corner;
    gl_Position = vec4(corner, 0.0, 1.0);
}
)"},
                                      {"rings.frag", R"(#version 330
in vec2 position;
uniform float phase;
out vec4 color;
void main() { color = vec4(vec3(0.5 + 0.5 * cos(30.0 * length(position) - phase)) * vec3(1.0, 0.5, 0.0), 1.0); }
)"}});

void drawFrame(GLFWwindow* window, GL::Program& program, int frame) {
    GL::Viewport viewport;
    glfwGetFramebufferSize(window, &viewport.width, &viewport.height);
    viewport.set();
    program.enable();
    program.setArgument("phase", 0.1F * static_cast<float>(frame));
    GL::FullscreenSquare::get()->drawFilled();
    program.disable();
}

void printMiddle(GLFWwindow* window) {
    int width = 0;
    int height = 0;
    glfwGetFramebufferSize(window, &width, &height);
    std::array<unsigned char, 4> rgba{};
    const auto readPixels =
        GL::entryPoint<void (*)(int, int, int, int, GL::GLenum, GL::GLenum, void*)>("glReadPixels");
    readPixels(width / 2, height / 2, 1, 1, 0x1908, 0x1401, rgba.data()); // GL_RGBA, GL_UNSIGNED_BYTE
    std::cout << "middle " << int{rgba[0]} << ' ' << int{rgba[1]} << ' ' << int{rgba[2]} << '\n';
}

void drawFrames(GLFWwindow* window, int frames) {
    const auto program = GL::Program::createVertexFragment("My/rings.vert", "My/rings.frag", {},
                                                           GL::Program::Compilation::ImmediateThrow);
    for (int frame = 0; frame != frames && !glfwWindowShouldClose(window); ++frame) {
        drawFrame(window, *program, frame);
        if (frame + 1 == frames)
            printMiddle(window);
        glfwSwapBuffers(window);
        glfwPollEvents();
    }
}

} // namespace

int main(int argc, char** argv) {
    if (!glfwInit())
        return 1;
    glfwWindowHint(GLFW_CONTEXT_VERSION_MAJOR, 3);
    glfwWindowHint(GLFW_CONTEXT_VERSION_MINOR, 3);
    glfwWindowHint(GLFW_OPENGL_PROFILE, GLFW_OPENGL_CORE_PROFILE);
    GLFWwindow* const window = glfwCreateWindow(400, 400, "Rings", nullptr, nullptr);
    glfwMakeContextCurrent(window);
    auto context = GL::ContextGLX::adoptCurrent();
    if (!context)
        return 1; // a null context would make GL::init create a hidden one
    GL::init(std::move(context));
    drawFrames(window, argc > 1 ? std::atoi(argv[1]) : -1);
    GL::deinit(); // before the window goes
    glfwTerminate();
}
