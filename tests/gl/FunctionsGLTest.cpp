// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Functions.h>

#include "support/GLFixture.h"

#include <Eigen/Core>
#include <array>
#include <glad/gl.h>

namespace Veltrand::GL {

using FunctionsGL = Testing::GLFixture;

TEST_F(FunctionsGL, MemoryIsReadFromTheExtensionThatIsThere) {
    const auto previousNvx = GLAD_GL_NVX_gpu_memory_info;
    const auto previousAti = GLAD_GL_ATI_meminfo;
    const auto previousGet = glad_glGetIntegerv;
    glad_glGetIntegerv = [](GLenum name, GLint* data) {
        switch (name) {
        case GL_GPU_MEMORY_INFO_TOTAL_AVAILABLE_MEMORY_NVX:
            *data = 4;
            break;
        case GL_GPU_MEMORY_INFO_DEDICATED_VIDMEM_NVX:
            *data = 3;
            break;
        case GL_GPU_MEMORY_INFO_CURRENT_AVAILABLE_VIDMEM_NVX:
            *data = 2;
            break;
        case GL_TEXTURE_FREE_MEMORY_ATI:
            for (int i = 0; i < 4; ++i)
                data[i] = 10 + i;
            break;
        default:
            break;
        }
    };

    GLAD_GL_NVX_gpu_memory_info = 1;
    GLAD_GL_ATI_meminfo = 1;
    MemoryInfo info = memoryInfo();
    EXPECT_EQ(info.totalAvailable, ByteSize::fromKB(4));
    EXPECT_EQ(info.dedicated, ByteSize::fromKB(3));
    EXPECT_EQ(info.currentAvailable, ByteSize::fromKB(2));

    GLAD_GL_NVX_gpu_memory_info = 0;
    info = memoryInfo();
    EXPECT_EQ(info.currentAvailable, ByteSize::fromKB(13));
    EXPECT_EQ(info.totalAvailable, ByteSize());
    EXPECT_TRUE(log().takeLine(
        {Log::Warning, "GL",
         "GL_NVX_gpu_memory_info extension not available, can not query total available GPU memory"}));

    GLAD_GL_ATI_meminfo = 0;
    for (int call = 0; call < 2; ++call) {
        EXPECT_EQ(memoryInfo().currentAvailable, ByteSize());
        EXPECT_TRUE(log().takeLine({Log::Warning, "GL",
                                    "Neither GL_NVX_gpu_memory_info nor GL_ATI_meminfo extensions available, "
                                    "can not query total GPU memory information."}));
    }
    glad_glGetIntegerv = previousGet;
    GLAD_GL_NVX_gpu_memory_info = previousNvx;
    GLAD_GL_ATI_meminfo = previousAti;
}

TEST_F(FunctionsGL, ClearsReachThePixels) {
    GLuint framebuffer = 0;
    std::array<GLuint, 2> buffers{};
    glGenFramebuffers(1, &framebuffer);
    glGenRenderbuffers(2, buffers.data());
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, buffers[0]);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, 2, 2);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, buffers[0]);
    glBindRenderbuffer(GL_RENDERBUFFER, buffers[1]);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT32F, 2, 2);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, buffers[1]);

    clearColorBuffer({1.0F, 0.0F, 0.2F, 0.4F});
    clearDepthBuffer(0.25);
    std::array<GLubyte, 4> color{};
    GLfloat depth = 0;
    glReadPixels(1, 1, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, color.data());
    glReadPixels(1, 1, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    EXPECT_EQ(color, (std::array<GLubyte, 4>{255, 0, 51, 102}));
    EXPECT_EQ(depth, 0.25F);

    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &framebuffer);
    glDeleteRenderbuffers(2, buffers.data());
    glClearDepthf(1);
}

TEST_F(FunctionsGL, DriverIsDescribed) {
    const PlatformInfo info = platformInfo();
    EXPECT_FALSE(info.vendorString.empty());
    EXPECT_FALSE(info.rendererString.empty());
    EXPECT_FALSE(info.glslVersionString.empty());
    EXPECT_EQ(static_cast<int>(info.extensionList.size()), getInt(GL_NUM_EXTENSIONS));
    EXPECT_TRUE(hasVersion(3, 3));
    EXPECT_EQ(getGraphicsResetStatus(), GLenum{GL_NO_ERROR});
}

TEST_F(FunctionsGL, BarriersNeedTheirEntryPoint) {
    const auto previous = glad_glMemoryBarrier;
    static GLbitfield received = 0;
    glad_glMemoryBarrier = [](GLbitfield bits) { received = bits; };
    memoryBarrier(Barrier::ShaderStorage | Barrier::TextureFetch);
    EXPECT_EQ(received, GLbitfield{GL_SHADER_STORAGE_BARRIER_BIT | GL_TEXTURE_FETCH_BARRIER_BIT});
    glad_glMemoryBarrier = nullptr;
    memoryBarrier(Barrier::All);
    EXPECT_TRUE(log().takeLine({Log::Error, "GL", "Memory barriers require at least OpenGL 4.2."}));
    glad_glMemoryBarrier = previous;
}

} // namespace Veltrand::GL
