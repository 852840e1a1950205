// SPDX-License-Identifier: BSD-3-Clause
#include "support/CallCounter.h"
#include "support/GLFixture.h"
#include "support/MapRepository.h"

#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>

#include <Eigen/Core>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <optional>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace {

using Eigen::Vector2i;
using Eigen::Vector3i;
using Testing::CallCounter;
using Testing::LogLine;
using Infos = std::vector<ObjectPicking::PickingInfo>;

const Vector2i size(8, 6);
constexpr int names[3] = {}; // whose addresses stand for objects
const void* const first = &names[0];
const void* const second = &names[1];
const void* const stranger = &names[2];

class ObjectPickingGL : public Testing::GLFixture {
protected:
    void SetUp() override {
        GLFixture::SetUp();
        m_program = Program::createVertexFragment("VeltrandGL/FixedFunctionPipeline.vert", "Picking/any.frag",
                                                  "", Program::Compilation::ImmediateThrow);
        m_color.emplace(Texture::Target::Texture2D, Vector3i(16, 16, 1), InternalFormat::RGBA8);
        m_framebuffer.emplace();
        const StateGuard guard = m_framebuffer->guardedBind();
        m_framebuffer->attach(*m_color, 0);
    }

    // Draws an object on one row; its picture is where it is, picked or not.
    void draw(const ObjectPicking& picking, Framebuffer& framebuffer, const void* object, int y,
              unsigned secondId) {
        const StateGuard guard(StateGuard::SaveFlags::All);
        m_program->enable();
        picking.enable(*m_program, object);
        m_program->setArgument("secondId", secondId);
        framebuffer.bind();
        glViewport(0, y, 8, 1);
        m_square.drawFilled();
    }

    Testing::MapRepository m_files{"Picking",
                                   {{"any.frag", "#version 330\n"
                                                 "#pragma include \"VeltrandGL/ObjectPicking.glh\"\n"
                                                 "uniform uint secondId;\n"
                                                 "layout(location = 0) out vec4 color;\n"
                                                 "void main() {\n"
                                                 "    color = vec4(1);\n"
                                                 "    writePickingInfo(secondId);\n"
                                                 "}\n"}}};
    FullscreenSquare m_square;
    std::unique_ptr<Program> m_program;
    std::optional<Texture> m_color;
    std::optional<Framebuffer> m_framebuffer;
};

TEST_F(ObjectPickingGL, AnswersForAllPositionsWithOneDownload) {
    ObjectPicking picking;
    picking.reset(*m_framebuffer, size, {first});
    picking.registerObject(second);
    picking.registerObject(first);
    draw(picking, *m_framebuffer, second, 0, 7);
    draw(picking, *m_framebuffer, second, 1, 3);
    draw(picking, *m_framebuffer, first, 2, 0xFFFFFFFE);
    draw(picking, *m_framebuffer, first, 3, 0xFFFFFFFF);
    draw(picking, *m_framebuffer, stranger, 4, 1);
    picking.disable();

    std::vector<Vector2i> all;
    for (int y = -1; y <= size.y(); ++y)
        for (int x = -1; x <= size.x(); ++x)
            all.emplace_back(x, y);
    // What else is set up for downloads does not matter, and stays.
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
    glPixelStorei(GL_PACK_ROW_LENGTH, 100);
    CallCounter<glad_glGetTexImage> downloads;
    EXPECT_EQ(picking.getPickingInfo(all, nullptr), (Infos{{0, 0xFFFFFFFE}, {1, 3}, {1, 7}}));
    EXPECT_EQ(downloads.take(), 1);
    EXPECT_EQ(picking.getPickingInfo(all, second), (Infos{{1, 3}, {1, 7}}));
    EXPECT_EQ(picking.getPickingInfo({{7, 1}, {7, 0}, {7, 1}}, nullptr), (Infos{{1, 3}, {1, 7}}));
    EXPECT_EQ(picking.getPickingInfo({{0, 5}, {7, 4}, {3, 3}}, nullptr), Infos{});
    EXPECT_EQ(downloads.take(), 3);
    EXPECT_EQ(picking.getPickingInfo({{8, 0}, {0, 6}, {-1, 0}, {0, -1}}, nullptr), Infos{});
    EXPECT_EQ(picking.getPickingInfo(all, stranger), Infos{});
    EXPECT_EQ(downloads.take(), 0);
    GLint value = 0;
    glGetIntegerv(GL_PACK_ROW_LENGTH, &value);
    EXPECT_EQ(value, 100);
    glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &value);
    EXPECT_EQ(GLuint(value), buffer);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    glDeleteBuffers(1, &buffer);

    EXPECT_EQ(picking.objectWithId(1), second);
    EXPECT_EQ(picking.objectWithId(2), nullptr);
    EXPECT_EQ(picking.objectId(stranger), 0xFFFFFFFF);
}

TEST_F(ObjectPickingGL, AttachesOncePerPassAndFollowsAChangeOfSizeOrFramebuffer) {
    const auto attached = [](const Framebuffer& framebuffer) {
        const auto& points = framebuffer.colorAttachments();
        return points.size() > 1 && points[1] == GL_COLOR_ATTACHMENT1;
    };
    CallCounter<glad_glFramebufferTexture> attachments;
    std::optional<ObjectPicking> picking(std::in_place);
    picking->reset(*m_framebuffer, size, {first});
    picking->disable();
    EXPECT_EQ(attachments.take(), 0);
    for (const unsigned part : {1U, 2U})
        draw(*picking, *m_framebuffer, first, 0, part);
    EXPECT_EQ(attachments.take(), 1);
    const GLuint texture = picking->pickingTexture()->id();

    picking->reset(*m_framebuffer, size, {first}); // of the same size: cleared, still attached
    EXPECT_EQ(picking->pickingTexture()->id(), texture);
    EXPECT_EQ(picking->getPickingInfo({{0, 0}}, nullptr), Infos{});
    draw(*picking, *m_framebuffer, first, 1, 5);
    EXPECT_EQ(attachments.take(), 0);
    EXPECT_EQ(picking->getPickingInfo({{0, 0}, {0, 1}}, nullptr), (Infos{{0, 5}}));

    picking->reset(*m_framebuffer, Vector2i(4, 16), {first}); // of another size, while attached
    EXPECT_FALSE(attached(*m_framebuffer));
    draw(*picking, *m_framebuffer, first, 15, 6);
    EXPECT_EQ(picking->getPickingInfo({{3, 15}}, nullptr), (Infos{{0, 6}}));

    Framebuffer other;
    const auto attachColorOnly = [&] {
        const StateGuard guard = other.guardedBind();
        other.detachAll();
        other.attach(*m_color, 0);
    };
    attachColorOnly();
    picking->reset(other, Vector2i(4, 16), {first});
    EXPECT_FALSE(attached(*m_framebuffer));
    draw(*picking, other, first, 2, 7);
    EXPECT_EQ(picking->getPickingInfo({{3, 2}}, nullptr), (Infos{{0, 7}}));
    attachColorOnly(); // behind its back
    draw(*picking, other, first, 3, 8);
    EXPECT_EQ(picking->getPickingInfo({{3, 3}}, nullptr), (Infos{{0, 8}}));
    ObjectPicking moved = std::move(*picking);
    picking.reset();
    EXPECT_TRUE(attached(other));
    moved = ObjectPicking();
    EXPECT_FALSE(attached(other));
}

TEST_F(ObjectPickingGL, ASizeWithoutPixelsOrBeyondTheLimitIsDrawnWithoutPicking) {
    ObjectPicking picking;
    for (const Vector2i& odd : {Vector2i(0, 6), Vector2i(8, -1), Vector2i(1 << 20, 6)}) {
        picking.reset(*m_framebuffer, odd, {first});
        picking.reset(*m_framebuffer, odd, {first});
        draw(picking, *m_framebuffer, first, 0, 1);
        EXPECT_EQ(picking.pickingTexture(), nullptr);
        EXPECT_EQ(picking.getPickingInfo({{0, 0}}, nullptr), Infos{});
    }
    EXPECT_EQ(
        log().take("GL.ObjectPicking"),
        (std::vector<LogLine>{
            {4, "GL.ObjectPicking", "Cannot pick among 1048576 x 6 pixels, more than OpenGL can draw to."}}));
    picking.reset(*m_framebuffer, size, {first});
    draw(picking, *m_framebuffer, first, 0, 1);
    EXPECT_EQ(picking.getPickingInfo({{0, 0}}, nullptr), (Infos{{0, 1}}));
}

TEST_F(ObjectPickingGL, RefusesSeveralSamplesPerPixelAndPicksInALentBuffer) {
    GLuint renderbuffer = 0;
    glGenRenderbuffers(1, &renderbuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, 4, GL_RGBA8, size.x(), size.y());
    Framebuffer multisampled;
    {
        const StateGuard guard = multisampled.guardedBind();
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer);
    }
    ObjectPicking picking;
    picking.reset(multisampled, size, {first});
    for (int object = 0; object < 2; ++object)
        draw(picking, multisampled, first, 0, 1);
    EXPECT_TRUE(log().takeLine({4, "GL.ObjectPicking",
                                "Cannot pick in a framebuffer with 4 samples per pixel. Draw the pass for "
                                "picking into one without multisampling."}));
    EXPECT_EQ(picking.getPickingInfo({{0, 0}}, nullptr), Infos{});

    OffscreenRenderHelper helper;
    {
        const auto buffer = helper.create(size, InternalFormat::RGBA8, InternalFormat::DepthComponent24);
        picking.reset(buffer.framebuffer(), size, {first});
        draw(picking, buffer.framebuffer(), first, 0, 1);
        picking.disable();
    }
    EXPECT_EQ(picking.getPickingInfo({{0, 0}}, nullptr), (Infos{{0, 1}}));
    glDeleteRenderbuffers(1, &renderbuffer);
}

} // namespace

} // namespace Veltrand::GL
