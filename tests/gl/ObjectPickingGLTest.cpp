// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/ObjectPicking.h>

namespace Veltrand::GL {

namespace {

using Infos = std::vector<ObjectPicking::PickingInfo>;

const Vector2i size(8, 6);
constexpr int names[3] = {}; // whose addresses stand for objects
const void* const first = &names[0];
const void* const second = &names[1];
const void* const stranger = &names[2];

class ObjectPickingGL : public Testing::GLFixture {
protected:
    ObjectPickingGL() {
        const StateGuard guard = m_framebuffer.guardedBind();
        m_framebuffer.attach(m_color, 0);
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
        FullscreenSquare::get()->drawFilled();
    }

    Testing::MapRepository m_files{"Picking", {{"any.frag", R"(#version 330
#pragma include "VeltrandGL/ObjectPicking.glh"
uniform uint secondId;
void main() { writePickingInfo(secondId); }
)"}}};
    std::unique_ptr<Program> m_program =
        Program::createVertexFragment("VeltrandGL/FixedFunctionPipeline.vert", "Picking/any.frag", "",
                                      Program::Compilation::ImmediateThrow);
    Texture m_color{Texture::Target::Texture2D, Vector3i(16, 16, 1), InternalFormat::RGBA8};
    Framebuffer m_framebuffer;
};

TEST_F(ObjectPickingGL, AnswersForAllPositionsWithOneDownload) {
    ObjectPicking picking;
    picking.reset(m_framebuffer, size, {first});
    for (const void* const object : {second, first, second})
        picking.registerObject(object);
    EXPECT_EQ(picking.objectWithId(1), second);
    EXPECT_EQ(picking.objectWithId(2), nullptr);
    EXPECT_EQ(picking.objectId(stranger), 0xFFFFFFFF);
    draw(picking, m_framebuffer, second, 0, 7);
    draw(picking, m_framebuffer, second, 1, 3);
    draw(picking, m_framebuffer, first, 2, 0xFFFFFFFE);
    draw(picking, m_framebuffer, first, 3, 0xFFFFFFFF);
    draw(picking, m_framebuffer, stranger, 4, 1);
    picking.disable();

    std::vector<Vector2i> all;
    for (int y = -1; y <= size.y(); ++y)
        for (int x = -1; x <= size.x(); ++x)
            all.emplace_back(x, y);
    // A buffer for other downloads does not matter, and stays.
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
    CallCounter<glad_glGetTexImage> downloads;
    EXPECT_EQ(picking.getPickingInfo(all, nullptr), (Infos{{0, 0xFFFFFFFE}, {1, 3}, {1, 7}}));
    EXPECT_EQ(downloads.take(), 1);
    EXPECT_EQ(GLuint(getInt(GL_PIXEL_PACK_BUFFER_BINDING)), buffer);
    EXPECT_EQ(picking.getPickingInfo(all, second), (Infos{{1, 3}, {1, 7}}));
    EXPECT_EQ(picking.getPickingInfo({{7, 1}, {7, 0}, {7, 1}, {7, 5}}, nullptr), (Infos{{1, 3}, {1, 7}}));
    EXPECT_EQ(downloads.take(), 2);
    EXPECT_EQ(picking.getPickingInfo({{8, 0}, {0, 6}, {-1, 0}, {0, -1}}, nullptr), Infos{});
    EXPECT_EQ(picking.getPickingInfo(all, stranger), Infos{});
    EXPECT_EQ(downloads.take(), 0);
    glDeleteBuffers(1, &buffer);
}

struct Reads {
    int calls;
    std::size_t pixels;
} g_reads;

// One pixel in three sees nothing, one an object without a part.
TEST_F(ObjectPickingGL, AnswersPerPositionAndReadsLittleMore) {
    constexpr unsigned width = 300, height = 200;
    ObjectPicking picking;
    picking.reset(m_framebuffer, Vector2i(width, height), {first, second});
    std::vector<unsigned> ids(std::size_t{width} * height * 2);
    for (unsigned i = 0; i < ids.size(); i += 2) {
        ids[i] = i % 3 == 0 ? 0xFFFFFFFF : i / 2 % 2;
        ids[i + 1] = i % 3 == 1 ? 0xFFFFFFFF : i;
    }
    picking.pickingTexture()->bind(0);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, GL_RG_INTEGER, GL_UNSIGNED_INT, ids.data());
    static PFNGLREADPIXELSPROC real = glad_glReadPixels;
    const Testing::ScopedEntryPoint counting(glad_glReadPixels, [](GLint x, GLint y, GLsizei w, GLsizei h,
                                                                   GLenum format, GLenum type, void* data) {
        ++g_reads.calls;
        g_reads.pixels += std::size_t(w) * std::size_t(h);
        real(x, y, w, h, format, type, data);
    });
    // The caller's settings for transfers do not matter, and stay.
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
    glPixelStorei(GL_PACK_ROW_LENGTH, 7);

    // Position i is i * step % modulus + offset, some beside the texture, and how much is read at most.
    const struct {
        int count;
        Vector2i step, modulus, offset;
        Reads reads;
    } cases[]{
        {1, {0, 0}, {1, 1}, {17, 23}, {1, 1}},
        {1, {0, 0}, {1, 1}, {300, 23}, {0, 0}},
        {81, {1, 5}, {9, 9}, {-4, 60}, {1, 81}},
        {5, {74, 49}, {999, 999}, {1, 1}, {5, 5}},
        {100, {97, 61}, {333, 222}, {-9, -9}, {60, 8000}},
        {9000, {1, 7}, {333, 222}, {-9, -9}, {1, 60000}},
    };
    for (const auto& [count, step, modulus, offset, most] : cases)
        for (const void* const object : {static_cast<const void*>(nullptr), second, stranger}) {
            SCOPED_TRACE(count);
            std::vector<Vector2i> positions;
            positions.reserve(std::size_t(count));
            for (int i = 0; i < count; ++i)
                positions.emplace_back(i * step.x() % modulus.x() + offset.x(),
                                       i * step.y() % modulus.y() + offset.y());
            g_reads = {};
            const auto answers = picking.getPickingInfoPerPosition(positions, object);
            EXPECT_LE(g_reads.calls, most.calls);
            EXPECT_LE(g_reads.pixels, most.pixels);
            Infos found;
            for (std::size_t i = 0; i < answers.size(); ++i) {
                if (!answers.at(i))
                    continue;
                EXPECT_EQ(answers[i]->secondId,
                          2 * (unsigned(positions[i].x()) + width * unsigned(positions[i].y())));
                found.push_back(*answers[i]);
            }
            std::ranges::sort(found);
            found.erase(std::unique(found.begin(), found.end()), found.end());
            EXPECT_EQ(found, picking.getPickingInfo(positions, object));
        }
    EXPECT_EQ(getInt(GL_PACK_ROW_LENGTH), 7);
    EXPECT_EQ(GLuint(getInt(GL_PIXEL_PACK_BUFFER_BINDING)), buffer);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glDeleteBuffers(1, &buffer);
}

TEST_F(ObjectPickingGL, AttachesOncePerPassAndFollowsAChangeOfSizeOrFramebuffer) {
    CallCounter<glad_glFramebufferTexture> attachments;
    std::optional<ObjectPicking> picking(std::in_place);
    picking->reset(m_framebuffer, size, {first});
    picking->disable();
    EXPECT_EQ(attachments.take(), 0);
    for (const unsigned part : {1U, 2U})
        draw(*picking, m_framebuffer, first, 0, part);
    const GLuint texture = picking->pickingTexture()->id();

    picking->reset(m_framebuffer, size, {first}); // of the same size: cleared, still attached
    EXPECT_EQ(picking->pickingTexture()->id(), texture);
    draw(*picking, m_framebuffer, first, 1, 5);
    EXPECT_EQ(attachments.take(), 1);
    EXPECT_EQ(picking->getPickingInfo({{0, 0}, {0, 1}}, nullptr), (Infos{{0, 5}}));

    for (const Vector2i& odd : {Vector2i(0, 6), Vector2i(1 << 20, 6)}) { // is drawn without picking
        picking->reset(m_framebuffer, odd, {first});
        picking->reset(m_framebuffer, odd, {first});
        draw(*picking, m_framebuffer, first, 0, 1);
        EXPECT_EQ(picking->pickingTexture(), nullptr);
    }
    expectLine(4, "GL.ObjectPicking", "Cannot pick among 1048576 x 6 pixels, more than OpenGL can draw to.");
    picking->reset(m_framebuffer, Vector2i(4, 16), {first});
    draw(*picking, m_framebuffer, first, 15, 6);
    EXPECT_EQ(picking->getPickingInfo({{3, 15}}, nullptr), (Infos{{0, 6}}));

    Framebuffer other;
    picking->reset(other, Vector2i(4, 16), {first});
    for (const int y : {2, 3}) {
        const StateGuard guard = other.guardedBind();
        other.detachAll(); // behind its back
        other.attach(m_color, 0);
        draw(*picking, other, first, y, 7);
        EXPECT_EQ(picking->getPickingInfo({{3, y}}, nullptr), (Infos{{0, 7}}));
    }
    ObjectPicking moved = std::move(*picking);
    picking.reset();
    EXPECT_EQ(m_framebuffer.colorAttachments()[1], GLenum{GL_NONE});
    EXPECT_EQ(other.colorAttachments()[1], GLenum{GL_COLOR_ATTACHMENT1});
    moved = ObjectPicking();
    EXPECT_EQ(other.colorAttachments()[1], GLenum{GL_NONE});
}

TEST_F(ObjectPickingGL, RefusesSeveralSamplesPerPixel) {
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
    expectLine(4, "GL.ObjectPicking",
               "Cannot pick in a framebuffer with 4 samples per pixel. Draw the pass for "
               "picking into one without multisampling.");
    EXPECT_EQ(picking.getPickingInfo({{0, 0}}, nullptr), Infos{});

    glDeleteRenderbuffers(1, &renderbuffer);
}

} // namespace

} // namespace Veltrand::GL
