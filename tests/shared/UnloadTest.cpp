// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Resource.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

// The path of the library is a definition of the build.

namespace {

bool isMapped() {
    void* const handle = dlopen(VELTRAND_GL_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

// Whether the shaders and fonts that the library carries are known.
struct Repositories {
    bool shaders = Veltrand::Resource::query("VeltrandGL", "FontAtlas.vert").has_value();
    bool fonts = Veltrand::Resource::query("VeltrandGLFonts", "DejaVuSans-Bold.ttf").has_value();
    friend bool operator==(const Repositories&, const Repositories&) = default;
};
constexpr Repositories none{false, false};
constexpr Repositories both{true, true};

} // namespace

TEST(SharedLibrary, LoadsAndUnloadsAgainAndAgain) {
    ASSERT_FALSE(isMapped());
    EXPECT_EQ(Repositories(), none);
    for (int time = 0; time < 3; ++time) {
        void* const handle = dlopen(VELTRAND_GL_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_TRUE(handle) << dlerror();
        // void Veltrand::GL::deinit(): does nothing before init, but makes the manager.
        const auto deinit = reinterpret_cast<void (*)()>(dlsym(handle, "_ZN8Veltrand2GL6deinitEv"));
        ASSERT_TRUE(deinit) << dlerror();
        deinit();
        EXPECT_EQ(Repositories(), both);
        dlclose(handle);
#ifndef __SANITIZE_ADDRESS__ // there the driver is kept mapped, and everything with it
        EXPECT_FALSE(isMapped());
        EXPECT_EQ(Repositories(), none);
#endif
    }
}
