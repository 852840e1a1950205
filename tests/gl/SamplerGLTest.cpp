// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Sampler.h>
#include <Veltrand/GL/SyncObject.h>

#include "support/GLFixture.h"
#include "support/ScopedEntryPoint.h"

#include <Eigen/Core>
#include <array>
#include <glad/gl.h>
#include <stdexcept>
#include <utility>

namespace Veltrand::GL {

using SamplerGL = Testing::GLFixture;
using SyncObjectGL = Testing::GLFixture;
using Testing::ScopedEntryPoint;

namespace {

int g_deleted = 0;

float parameter(const Sampler& sampler, GLenum name) {
    float value = 0.0F;
    glGetSamplerParameterfv(sampler.id(), name, &value);
    return value;
}

} // namespace

TEST_F(SamplerGL, StartsWithItsDefaultsAndTakesWhatIsSet) {
    Sampler sampler;
    const std::pair<GLenum, float> defaults[] = {
        {GL_TEXTURE_MIN_FILTER, GL_LINEAR},    {GL_TEXTURE_MAG_FILTER, GL_LINEAR},
        {GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE}, {GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE},
        {GL_TEXTURE_WRAP_R, GL_CLAMP_TO_EDGE}, {GL_TEXTURE_MIN_LOD, -1000.0F},
        {GL_TEXTURE_MAX_LOD, 1000.0F},         {GL_TEXTURE_LOD_BIAS, 0.0F},
        {GL_TEXTURE_COMPARE_MODE, GL_NONE}};
    for (const auto& [name, value] : defaults)
        EXPECT_EQ(parameter(sampler, name), value) << std::hex << name;

    sampler.setFiltering(Sampler::MinFilter::NearestMipmapLinear, Sampler::MagFilter::Nearest);
    sampler.setWrapping(Sampler::Wrap::Repeat, Sampler::Wrap::ClampToBorder, Sampler::Wrap::MirroredRepeat);
    sampler.setCompareMode(Sampler::CompareMode::CompareRefToTexture, Sampler::CompareFunc::Greater);
    sampler.setLOD(1.0F, 2.0F, 0.5F);
    const std::pair<GLenum, float> changed[] = {{GL_TEXTURE_MIN_FILTER, GL_NEAREST_MIPMAP_LINEAR},
                                                {GL_TEXTURE_MAG_FILTER, GL_NEAREST},
                                                {GL_TEXTURE_WRAP_S, GL_REPEAT},
                                                {GL_TEXTURE_WRAP_T, GL_CLAMP_TO_BORDER},
                                                {GL_TEXTURE_WRAP_R, GL_MIRRORED_REPEAT},
                                                {GL_TEXTURE_COMPARE_MODE, GL_COMPARE_REF_TO_TEXTURE},
                                                {GL_TEXTURE_COMPARE_FUNC, GL_GREATER},
                                                {GL_TEXTURE_MIN_LOD, 1.0F},
                                                {GL_TEXTURE_MAX_LOD, 2.0F},
                                                {GL_TEXTURE_LOD_BIAS, 0.5F}};
    for (const auto& [name, value] : changed)
        EXPECT_EQ(parameter(sampler, name), value) << std::hex << name;
    sampler.setBorderColor({0.25F, 0.5F, 0.75F, 1.0F});
    std::array<float, 4> border{};
    glGetSamplerParameterfv(sampler.id(), GL_TEXTURE_BORDER_COLOR, border.data());
    EXPECT_EQ(border, (std::array<float, 4>{0.25F, 0.5F, 0.75F, 1.0F}));
}

TEST_F(SamplerGL, BindsToAUnitAndIsDeletedOnce) {
    const auto bound = [] {
        glActiveTexture(GL_TEXTURE3);
        GLint id = 0;
        glGetIntegerv(GL_SAMPLER_BINDING, &id);
        return static_cast<GLuint>(id);
    };
    static const PFNGLDELETESAMPLERSPROC real = glad_glDeleteSamplers;
    const ScopedEntryPoint counting(glad_glDeleteSamplers, [](GLsizei n, const GLuint* ids) {
        ++g_deleted;
        real(n, ids);
    });
    g_deleted = 0;
    {
        Sampler sampler;
        const GLuint id = sampler.id();
        const Sampler moved(std::move(sampler));
        moved.bind(3);
        EXPECT_EQ(bound(), id);
        Sampler::unbind(3);
        EXPECT_EQ(bound(), 0U);
    }
    EXPECT_EQ(g_deleted, 1);
    const ScopedEntryPoint none(glad_glGenSamplers, [](GLsizei, GLuint* ids) { *ids = 0; });
    try {
        const Sampler sampler;
        ADD_FAILURE() << "nothing thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Could not create OpenGL Sampler object");
    }
}

TEST_F(SyncObjectGL, WaitsOnItsOwnAndOnAnotherContext) {
    const auto passed = [](const SyncObject& sync) {
        const auto result = sync.waitClient(std::chrono::seconds(10));
        return result == SyncObject::WaitResult::ConditionSatisfied ||
               result == SyncObject::WaitResult::AlreadySignaled;
    };
    SyncObject sync;
    EXPECT_TRUE(passed(sync));
    EXPECT_EQ(sync.waitClient(std::chrono::nanoseconds(0)), SyncObject::WaitResult::AlreadySignaled);
    sync = SyncObject();
    glFlush();
    bool passedThere = false;
    ContextManager::get().runWithOpenGL(
        [&] {
            sync.wait();
            passedThere = passed(sync);
        },
        true);
    EXPECT_TRUE(passedThere);
}

TEST_F(SyncObjectGL, TimeoutsReachOpenGLAndMovedFencesAreDeletedOnce) {
    static GLuint64 timeout = 0;
    static GLbitfield flags = 0;
    const ScopedEntryPoint waits(glad_glClientWaitSync, [](GLsync, GLbitfield f, GLuint64 t) -> GLenum {
        timeout = t;
        flags = f;
        return GL_TIMEOUT_EXPIRED;
    });
    static const PFNGLDELETESYNCPROC real = glad_glDeleteSync;
    const ScopedEntryPoint counting(glad_glDeleteSync, [](GLsync sync) {
        ++g_deleted;
        real(sync);
    });
    g_deleted = 0;
    {
        SyncObject first;
        EXPECT_EQ(first.waitClient(std::chrono::milliseconds(3)), SyncObject::WaitResult::TimeoutExpired);
        EXPECT_EQ(timeout, 3000000U);
        EXPECT_EQ(flags, static_cast<GLbitfield>(GL_SYNC_FLUSH_COMMANDS_BIT));
        static_cast<void>(first.waitClient(std::chrono::nanoseconds(-1)));
        EXPECT_EQ(timeout, 0U);
        SyncObject second(std::move(first));
        SyncObject third;
        third = std::move(second);
        EXPECT_EQ(g_deleted, 1);
    }
    EXPECT_EQ(g_deleted, 2);
}

} // namespace Veltrand::GL
