// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/ContextManager.h>

#include <cstdio>
#include <exception>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    Veltrand::Log::setGlobalLevel(Veltrand::Log::Error);
    try {
        Veltrand::GL::init();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "These tests need OpenGL: %s\n", exception.what());
        return 1;
    }
    const int result = RUN_ALL_TESTS();
    Veltrand::GL::deinit();
    return result;
}
