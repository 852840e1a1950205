// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

namespace Veltrand::GL {

using FunctionsGL = Testing::GLFixture;

TEST_F(FunctionsGL, MemoryIsReadFromTheExtensionThatIsThere) {
    // Each name is its own answer; the free memory of ATI comes as four numbers, the last of which counts.
    const Testing::ScopedEntryPoint answers(glad_glGetIntegerv, [](GLenum name, GLint* data) {
        data[name == GL_TEXTURE_FREE_MEMORY_ATI ? 3 : 0] = static_cast<GLint>(name);
    });
    using Kilobytes = std::array<std::uint64_t, 3>;
    const auto memory = [] {
        const MemoryInfo info = memoryInfo();
        return Kilobytes{info.totalAvailable.bytes() / 1024, info.dedicated.bytes() / 1024,
                         info.currentAvailable.bytes() / 1024};
    };
    const Testing::ScopedEntryPoint ati(GLAD_GL_ATI_meminfo, 1);
    {
        const Testing::ScopedEntryPoint nvx(GLAD_GL_NVX_gpu_memory_info, 1);
        EXPECT_EQ(memory(), (Kilobytes{GL_GPU_MEMORY_INFO_TOTAL_AVAILABLE_MEMORY_NVX,
                                       GL_GPU_MEMORY_INFO_DEDICATED_VIDMEM_NVX,
                                       GL_GPU_MEMORY_INFO_CURRENT_AVAILABLE_VIDMEM_NVX}));
    }
    const Testing::ScopedEntryPoint noNvx(GLAD_GL_NVX_gpu_memory_info, 0);
    EXPECT_EQ(memory(), (Kilobytes{0, 0, GL_TEXTURE_FREE_MEMORY_ATI}));
    expectLine(Log::Warning, "GL",
               "GL_NVX_gpu_memory_info extension not available, can not query total available GPU memory");
    const Testing::ScopedEntryPoint neither(GLAD_GL_ATI_meminfo, 0);
    EXPECT_EQ(memory(), Kilobytes{});
    expectLine(Log::Warning, "GL",
               "Neither GL_NVX_gpu_memory_info nor GL_ATI_meminfo extensions available, "
               "can not query total GPU memory information.");
}

TEST_F(FunctionsGL, DriverIsDescribed) {
    const PlatformInfo info = platformInfo();
    EXPECT_FALSE(info.vendorString.empty());
    EXPECT_FALSE(info.glslVersionString.empty());
    EXPECT_EQ(static_cast<int>(info.extensionList.size()), getInt(GL_NUM_EXTENSIONS));
    EXPECT_EQ(getGraphicsResetStatus(), GLenum{GL_NO_ERROR});
}

TEST_F(FunctionsGL, OfListsTheFirstNumberIsReadHoweverLongTheyAre) {
    static GLint length = 0;
    const auto answer = []<class T>(GLenum name, T* numbers) {
        if (name == GL_NUM_COMPRESSED_TEXTURE_FORMATS || name == GL_NUM_SHADER_BINARY_FORMATS)
            *numbers = static_cast<T>(length);
        else
            std::fill_n(numbers, length, T{7});
    };
    const Testing::ScopedEntryPoint ints(glad_glGetIntegerv, answer);
    const Testing::ScopedEntryPoint floats(glad_glGetFloatv, answer);
    for (const GLint formats : {0, 1, 5000}) {
        length = formats;
        EXPECT_EQ(getInt(GL_COMPRESSED_TEXTURE_FORMATS), formats > 0 ? 7 : 0);
        EXPECT_EQ(getFloat(GL_SHADER_BINARY_FORMATS), formats > 0 ? 7.F : 0.F);
    }
}

TEST_F(FunctionsGL, BarriersNeedTheirEntryPoint) {
    static GLbitfield received = 0;
    const Testing::ScopedEntryPoint present(glad_glMemoryBarrier, [](GLbitfield bits) { received = bits; });
    memoryBarrier(Barrier::ShaderStorage | Barrier::TextureFetch);
    EXPECT_EQ(received, GLbitfield{GL_SHADER_STORAGE_BARRIER_BIT | GL_TEXTURE_FETCH_BARRIER_BIT});
    const Testing::ScopedEntryPoint missing(glad_glMemoryBarrier, nullptr);
    memoryBarrier(Barrier::All);
    expectLine(Log::Error, "GL", "Memory barriers require at least OpenGL 4.2.");
}

} // namespace Veltrand::GL
