// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <numeric>

namespace Veltrand::GL {

using FunctionsGL = Testing::GLFixture;

TEST_F(FunctionsGL, MemoryIsReadFromTheExtensionThatIsThere) {
    const Testing::ScopedEntryPoint answers(glad_glGetIntegerv, [](GLenum name, GLint* data) {
        switch (name) {
        case GL_GPU_MEMORY_INFO_TOTAL_AVAILABLE_MEMORY_NVX:
        case GL_GPU_MEMORY_INFO_DEDICATED_VIDMEM_NVX:
        case GL_GPU_MEMORY_INFO_CURRENT_AVAILABLE_VIDMEM_NVX:
            *data = static_cast<GLint>(name);
            break;
        case GL_TEXTURE_FREE_MEMORY_ATI:
            std::iota(data, data + 4, 10);
            break;
        default:
            break;
        }
    });
    const auto expectMemory = [](std::uint64_t total, std::uint64_t dedicated, std::uint64_t current) {
        const MemoryInfo info = memoryInfo();
        EXPECT_EQ(info.totalAvailable, ByteSize::fromKB(total));
        EXPECT_EQ(info.dedicated, ByteSize::fromKB(dedicated));
        EXPECT_EQ(info.currentAvailable, ByteSize::fromKB(current));
    };
    const Testing::ScopedEntryPoint ati(GLAD_GL_ATI_meminfo, 1);
    {
        const Testing::ScopedEntryPoint nvx(GLAD_GL_NVX_gpu_memory_info, 1);
        expectMemory(GL_GPU_MEMORY_INFO_TOTAL_AVAILABLE_MEMORY_NVX, GL_GPU_MEMORY_INFO_DEDICATED_VIDMEM_NVX,
                     GL_GPU_MEMORY_INFO_CURRENT_AVAILABLE_VIDMEM_NVX);
    }
    const Testing::ScopedEntryPoint noNvx(GLAD_GL_NVX_gpu_memory_info, 0);
    expectMemory(0, 0, 13);
    EXPECT_TRUE(log().takeLine(
        {Log::Warning, "GL",
         "GL_NVX_gpu_memory_info extension not available, can not query total available GPU memory"}));
    const Testing::ScopedEntryPoint neither(GLAD_GL_ATI_meminfo, 0);
    expectMemory(0, 0, 0);
    EXPECT_TRUE(log().takeLine({Log::Warning, "GL",
                                "Neither GL_NVX_gpu_memory_info nor GL_ATI_meminfo extensions available, "
                                "can not query total GPU memory information."}));
}

TEST_F(FunctionsGL, DriverIsDescribed) {
    const PlatformInfo info = platformInfo();
    EXPECT_FALSE(info.vendorString.empty());
    EXPECT_FALSE(info.glslVersionString.empty());
    EXPECT_EQ(static_cast<int>(info.extensionList.size()), getInt(GL_NUM_EXTENSIONS));
    EXPECT_TRUE(hasVersion(3, 3));
    EXPECT_EQ(getGraphicsResetStatus(), GLenum{GL_NO_ERROR});
}

TEST_F(FunctionsGL, BarriersNeedTheirEntryPoint) {
    static GLbitfield received = 0;
    const Testing::ScopedEntryPoint present(glad_glMemoryBarrier, [](GLbitfield bits) { received = bits; });
    memoryBarrier(Barrier::ShaderStorage | Barrier::TextureFetch);
    EXPECT_EQ(received, GLbitfield{GL_SHADER_STORAGE_BARRIER_BIT | GL_TEXTURE_FETCH_BARRIER_BIT});
    const Testing::ScopedEntryPoint missing(glad_glMemoryBarrier, nullptr);
    memoryBarrier(Barrier::All);
    EXPECT_TRUE(log().takeLine({Log::Error, "GL", "Memory barriers require at least OpenGL 4.2."}));
}

} // namespace Veltrand::GL
