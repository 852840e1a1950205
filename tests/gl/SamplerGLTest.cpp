// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/Sampler.h>
#include <Veltrand/GL/SyncObject.h>

#include "support/GLTest.h"

namespace Veltrand::GL {

using SamplerGL = Testing::GLFixture;
using SyncObjectGL = Testing::GLFixture;

TEST_F(SamplerGL, StartsWithItsDefaultsTakesWhatIsSetAndBindsToAUnit) {
    Sampler sampler;
    const auto parameters = [&sampler] {
        constexpr std::array names{GL_TEXTURE_MIN_FILTER,   GL_TEXTURE_MAG_FILTER,  GL_TEXTURE_WRAP_S,
                                   GL_TEXTURE_WRAP_T,       GL_TEXTURE_WRAP_R,      GL_TEXTURE_COMPARE_MODE,
                                   GL_TEXTURE_COMPARE_FUNC, GL_TEXTURE_MIN_LOD,     GL_TEXTURE_MAX_LOD,
                                   GL_TEXTURE_LOD_BIAS,     GL_TEXTURE_BORDER_COLOR};
        std::vector<float> values(names.size() + 3);
        for (std::size_t i = 0; i < names.size(); ++i)
            glGetSamplerParameterfv(sampler.id(), static_cast<GLenum>(names[i]), &values[i]);
        return values;
    };
    using Values = std::vector<float>;
    EXPECT_EQ(parameters(), (Values{GL_LINEAR, GL_LINEAR, GL_CLAMP_TO_EDGE, GL_CLAMP_TO_EDGE,
                                    GL_CLAMP_TO_EDGE, GL_NONE, GL_LEQUAL, -1000, 1000, 0, 0, 0, 0, 0}));
    sampler.setFiltering(Sampler::MinFilter::NearestMipmapLinear, Sampler::MagFilter::Nearest);
    sampler.setWrapping(Sampler::Wrap::Repeat, Sampler::Wrap::ClampToBorder, Sampler::Wrap::MirroredRepeat);
    sampler.setCompareMode(Sampler::CompareMode::CompareRefToTexture, Sampler::CompareFunc::Greater);
    sampler.setLOD(1.0F, 2.0F, 0.5F);
    sampler.setBorderColor({0.25F, 0.5F, 0.75F, 1.0F});
    EXPECT_EQ(parameters(),
              (Values{GL_NEAREST_MIPMAP_LINEAR, GL_NEAREST, GL_REPEAT, GL_CLAMP_TO_BORDER, GL_MIRRORED_REPEAT,
                      GL_COMPARE_REF_TO_TEXTURE, GL_GREATER, 1, 2, 0.5F, 0.25F, 0.5F, 0.75F, 1}));
    for (const bool binds : {true, false}) {
        binds ? sampler.bind(3) : Sampler::unbind(3);
        glActiveTexture(GL_TEXTURE3);
        EXPECT_EQ(static_cast<GLuint>(getInt(GL_SAMPLER_BINDING)), binds ? sampler.id() : 0);
    }
}

TEST_F(SyncObjectGL, AnotherContextWaitsToo) {
    const SyncObject sync;
    glFlush();
    auto there = SyncObject::WaitResult::WaitFailed;
    ContextManager::get().runWithOpenGL(
        [&] {
            sync.wait();
            there = sync.waitClient(std::chrono::seconds(10));
        },
        true);
    EXPECT_TRUE(there == SyncObject::WaitResult::ConditionSatisfied ||
                there == SyncObject::WaitResult::AlreadySignaled);
    EXPECT_EQ(sync.waitClient(std::chrono::nanoseconds(0)), SyncObject::WaitResult::AlreadySignaled);
}

TEST_F(SyncObjectGL, TimeoutsReachOpenGL) {
    static GLuint64 timeout = 0;
    const Testing::ScopedEntryPoint waits(
        glad_glClientWaitSync, [](GLsync, GLbitfield flags, GLuint64 t) -> GLenum {
            timeout = t;
            EXPECT_EQ(flags, static_cast<GLbitfield>(GL_SYNC_FLUSH_COMMANDS_BIT));
            return GL_TIMEOUT_EXPIRED;
        });
    const SyncObject sync;
    EXPECT_EQ(sync.waitClient(std::chrono::milliseconds(3)), SyncObject::WaitResult::TimeoutExpired);
    EXPECT_EQ(timeout, 3000000U);
    static_cast<void>(sync.waitClient(std::chrono::nanoseconds(-1)));
    EXPECT_EQ(timeout, 0U);
}

} // namespace Veltrand::GL
