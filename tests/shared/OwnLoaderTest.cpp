// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/Functions.h>

#include <Eigen/Core>
#include <array>
#include <glad/gl.h>
#include <gtest/gtest.h>

namespace Veltrand::GL {

// This executable exports a loader of its own, with the same names as the library's. Were the library's
// exported too, the dynamic linker would make one of the two.
TEST(SharedLibrary, LoaderOfTheApplicationIsItsOwn) {
    Log::setGlobalLevel(Log::Error);
    init();
    EXPECT_EQ(glad_glClear, nullptr) << "the library has filled the application's loader";
    ASSERT_TRUE(gladLoadGL(&entryPoint));
    EXPECT_NE(glad_glClear, nullptr);

    // What the application does to its entry points does not reach the library.
    glad_glClear = nullptr;
    glad_glClearColor = nullptr;
    clearColorBuffer({0.0F, 1.0F, 0.0F, 1.0F});
    std::array<GLubyte, 4> pixel{};
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
    EXPECT_EQ(pixel[1], 255);
    EXPECT_EQ(Debug::check(), Debug::Error::NoError);
    deinit();
}

} // namespace Veltrand::GL
