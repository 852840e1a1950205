// SPDX-License-Identifier: BSD-3-Clause
#include "toolkits/OurDrawing.h"

#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

using namespace Veltrand;

// The application's drawing rests on state that it set before the library came: clear colour and scissor
// test.
TEST(GlfwWindow, SharesItsContextWithTheLibrary) {
    ASSERT_TRUE(glfwInit());
    GLFWwindow* const window = glfwCreateWindow(64, 64, "window", nullptr, nullptr);
    ASSERT_TRUE(window);
    glfwMakeContextCurrent(window);
    const auto enable = reinterpret_cast<void (*)(GL::GLenum)>(glfwGetProcAddress("glEnable"));
    const auto scissor = reinterpret_cast<void (*)(int, int, int, int)>(glfwGetProcAddress("glScissor"));
    const auto clear = reinterpret_cast<void (*)(unsigned int)>(glfwGetProcAddress("glClear"));
    const auto clearColor =
        reinterpret_cast<void (*)(float, float, float, float)>(glfwGetProcAddress("glClearColor"));
    const auto drawRow = [&](int y) {
        scissor(0, y, 48, 16);
        clear(0x4000); // GL_COLOR_BUFFER_BIT
    };
    enable(0x0C11); // GL_SCISSOR_TEST
    clearColor(0.0F, 1.0F, 0.0F, 1.0F);
    for (int life = 0; life < 2; ++life) {
        drawRow(0);
        GL::init(GL::ContextGLX::adoptCurrent());
        Testing::drawOurs(64, 64);
        drawRow(32);
        EXPECT_EQ(Testing::pixel(8, 8) + Testing::pixel(40, 8) + Testing::pixel(40, 40), "0f000f0f0");
        GL::deinit();
        drawRow(48);
        EXPECT_EQ(Testing::pixel(40, 50) + Testing::pixel(56, 50), "0f000f");
        glfwSwapBuffers(window);
    }
    glfwTerminate();
}
