// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ContextGLX.h>
#include <Veltrand/GL/Functions.h>

#include "support/LogCapture.h"
#include "support/ScopedEntryPoint.h"

#include <Eigen/Core>
#include <Eigen/LU>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <map>
#include <stdexcept>

namespace Veltrand::GL {

namespace {

// A driver that answers glGetString from a table, without a context.
std::map<GLenum, const char*> g_strings;

const GLubyte* GLAD_API_PTR fakeGetString(GLenum name) {
    const auto found = g_strings.find(name);
    return found == g_strings.end() ? nullptr : reinterpret_cast<const GLubyte*>(found->second);
}

struct FakeDriver : ::testing::Test {
    const Testing::ScopedEntryPoint<PFNGLGETSTRINGPROC> answers{glad_glGetString, &fakeGetString};
    Testing::LogCapture log;
};

} // namespace

TEST_F(FakeDriver, VersionTextsOfAllForms) {
    const struct {
        const char* text;
        int major, minor;
        std::vector<Testing::LogLine> lines;
    } cases[] = {
        {"4.6.0 NVIDIA 535.54", 4, 6, {}},
        {"OpenGL ES 3.2 Mesa 22.3.6", 3, 2, {}},
        {"10", 10, -1, {}},
        {"", -1, -1, {{4, "GL", "OpenGL returned an empty GL_VERSION string, missing GL context?"}}},
        {"  ", -1, -1, {{4, "GL", "Unable to read OpenGl version"}}},
    };
    for (const auto& [text, major, minor, lines] : cases) {
        g_strings = {{GL_VERSION, text}};
        const Utils::Version version = versionInfo();
        EXPECT_EQ(std::pair(version.major, version.minor), std::pair(major, minor)) << text;
        EXPECT_EQ(log.take(), lines);
    }
    g_strings[GL_VERSION] = "banana";
    EXPECT_THROW(static_cast<void>(versionInfo()), std::invalid_argument);
}

TEST_F(FakeDriver, VendorsAreRecognisedInOrder) {
    const struct {
        const char *vendor, *renderer, *version;
        GpuVendor expected;
    } cases[] = {
        {"NVIDIA Corporation", "Radeon", "4.6.0", GpuVendor::Nvidia},
        {"X.Org", "AMD Radeon RX", "4.6 Mesa", GpuVendor::Amd},
        {"Intel Open Source", "Mesa DRI", "4.6 Mesa", GpuVendor::Intel},
        {"Mesa/X.org", "llvmpipe", "4.5 Mesa 22", GpuVendor::Mesa},
        {"X.org", "llvmpipe", "4.5", GpuVendor::Unknown},
        {"Microsoft Corporation", "D3D12", "4.2", GpuVendor::Microsoft},
    };
    // Nothing is remembered from one to the next, since no context is current.
    for (const auto& [vendor, renderer, version, expected] : cases) {
        g_strings = {{GL_VENDOR, vendor}, {GL_RENDERER, renderer}, {GL_VERSION, version}};
        EXPECT_EQ(platformInfo().vendor, expected) << vendor;
    }
}

TEST(Projection, MapsTheBoxAndTheFrustumToClipSpace) {
    using Eigen::Vector4d;
    const Eigen::Matrix4d box = createOrtho(-3, 5, 2, 4, 1, 9);
    EXPECT_TRUE((box * Vector4d(-3, 4, -1, 1)).isApprox(Vector4d(-1, 1, -1, 1)));
    EXPECT_TRUE((box * Vector4d(5, 2, -9, 1)).isApprox(Vector4d(1, -1, 1, 1)));
    EXPECT_TRUE((createOrtho2d(800, 600) * Vector4d(800, 0, 0, 1)).isApprox(Vector4d(1, -1, 0, 1)));
    const Eigen::Matrix4d frustum = createPerspective(1.0, 2.0, 0.5, 8);
    const double top = 8 * std::tan(0.5);
    EXPECT_TRUE((frustum * Vector4d(0, 0, -0.5, 1)).isApprox(Vector4d(0, 0, -0.5, 0.5)));
    EXPECT_TRUE((frustum * Vector4d(2 * top, top, -8, 1)).isApprox(8 * Vector4d::Ones()));
}

TEST(ContextGLX, ExtensionsAreWholeWords) {
    constexpr const char* name = "GLX_ARB_create_context";
    const std::pair<const char*, bool> cases[] = {
        {"GLX_ARB_create_context_profile", false},
        {"GLX_ARB_create_context_profile GLX_ARB_create_context", true},
        {"XGLX_ARB_create_context", false},
        {"", false},
    };
    for (const auto& [list, supported] : cases)
        EXPECT_EQ(ContextGLX::isExtensionSupported(list, name), supported) << list;
    EXPECT_FALSE(ContextGLX::isExtensionSupported("a b", ""));
}

} // namespace Veltrand::GL
