// SPDX-License-Identifier: BSD-3-Clause
#include "support/Canvas.h"
#include "support/GLTest.h"

#include <Veltrand/GL/AtomicCounterBuffer.h>
#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>
#include <Veltrand/GL/VertexBuffer.h>

namespace Veltrand::GL {

using BufferGL = Testing::GLFixture;
using Testing::Canvas;
using Testing::ScopedEntryPoint;
using Usage = Buffer::Usage;

namespace {

std::vector<unsigned char> contents(GLenum target) {
    GLint64 size = 0;
    glGetBufferParameteri64v(target, GL_BUFFER_SIZE, &size);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    glGetBufferSubData(target, 0, size, bytes.data());
    return bytes;
}

/// Pixel centres of a row.
std::vector<Eigen::Vector2f> rowOfPoints(int count, float y = 0.5F) {
    std::vector<Eigen::Vector2f> points;
    points.reserve(static_cast<std::size_t>(count));
    for (int x = 0; x < count; ++x)
        points.emplace_back(static_cast<float>(x) + 0.5F, y);
    return points;
}

} // namespace

TEST_F(BufferGL, NamesAreDeletedOnce) {
    Testing::CallCounter<glad_glDeleteBuffers> deleted;
    {
        VertexBuffer first(Usage::StaticDraw);
        first.setData(rowOfPoints(3));
        const GLuint id = first.id();
        VertexBuffer second(std::move(first));
        EXPECT_EQ(second.size(), 24);
        EXPECT_EQ(second.numVertices(), 3U);
        VertexBuffer third(Usage::StaticDraw);
        third = std::move(second);
        EXPECT_EQ(deleted.take(), 1);
        EXPECT_EQ(third.id(), id);
    }
    EXPECT_EQ(deleted.take(), 1);
    const ScopedEntryPoint none(glad_glGenBuffers, [](GLsizei, GLuint* ids) { *ids = 0; });
    EXPECT_EQ(Testing::thrown([] { const VertexBuffer buffer(Usage::StaticDraw); }),
              "Could not generate Buffer.");
    EXPECT_EQ(deleted.take(), 0);
}

TEST_F(BufferGL, VertexArraysLieOneAfterTheOther) {
    VertexBuffer buffer(Usage::StaticDraw);
    buffer.setData(std::vector<Eigen::Vector3f>(3), std::vector<Eigen::Vector2f>{});
    EXPECT_EQ(buffer.size(), 36);
    EXPECT_FALSE(buffer.attributes()[1].valid);
    const std::vector<float> weights{4, 5};
    const std::vector<unsigned char> colors{9, 8};
    buffer.setData(Utils::Span<const float>(weights), colors);
    EXPECT_EQ(contents(GL_ARRAY_BUFFER),
              (std::vector<unsigned char>{0, 0, 0x80, 0x40, 0, 0, 0xA0, 0x40, 9, 8}));
    for (const int index : {-1, 1, 2})
        buffer.setVertexAttribNormalization(index, true);
    EXPECT_FALSE(buffer.attributes()[0].normalized);
    EXPECT_TRUE(buffer.attributes()[1].normalized);
    buffer.allocateBuffer(-1);
    EXPECT_TRUE(log().takeLine({Log::Error, "GL.Buffer", "Refusing to allocate -1 bytes."}));
    EXPECT_EQ(buffer.size(), 10);
}

TEST_F(BufferGL, IndicesKeepTheirWidthAndTheRestartIndex) {
    IndexBuffer buffer(Usage::StaticDraw);
    buffer.setPrimitiveRestartIndex(7);
    buffer.setData(std::vector<Eigen::Vector3i>(5, {1, 2, 3}));
    EXPECT_EQ(buffer.numElements(), 15);
    EXPECT_EQ(buffer.type(), static_cast<GLenum>(GL_UNSIGNED_INT));
    EXPECT_EQ(contents(GL_ELEMENT_ARRAY_BUFFER).size(), 60U);
    buffer.setData(std::vector<unsigned short>{1, 2, 3});
    EXPECT_EQ(buffer.type(), static_cast<GLenum>(GL_UNSIGNED_SHORT));
    EXPECT_EQ(contents(GL_ELEMENT_ARRAY_BUFFER).size(), 6U);
    EXPECT_EQ(buffer.primitiveRestartIndex(), 7U);
    IndexBuffer::unbind();
}

TEST_F(BufferGL, DrawsArraysIndicesAndInstances) {
    Canvas canvas(4, 2);
    VertexBuffer points(Usage::StaticDraw);
    using Color = Eigen::Vector<unsigned char, 4>;
    points.setData(
        rowOfPoints(4),
        std::vector<Color>{{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {255, 255, 255, 255}});
    points.setVertexAttribNormalization(1, true);
    points.draw(Primitive::Points);
    EXPECT_EQ(canvas.row(0), "1247");
    EXPECT_EQ(canvas.row(1), "0000");

    IndexBuffer indices(Usage::StaticDraw);
    indices.setData(std::vector<unsigned char>{3, 1});
    canvas.clear();
    points.draw(Primitive::Points, indices);
    EXPECT_EQ(canvas.row(0), "0207");
    canvas.clear();
    points.drawInstanced(Primitive::Points, 0);
    EXPECT_EQ(canvas.row(0), "0000");
    points.drawInstanced(Primitive::Points, 3);
    EXPECT_EQ(canvas.row(0), "1247");
}

TEST_F(BufferGL, RestartsSeparateTheRuns) {
    Canvas canvas(10, 1);
    VertexBuffer points(Usage::StaticDraw);
    points.setData(rowOfPoints(10));
    points.draw(Primitive::LineStrip);
    EXPECT_EQ(canvas.row(0), "7777777770");
    canvas.clear();
    points.drawMultiRestart(Primitive::LineStrip, {4, 4, 7});
    EXPECT_EQ(canvas.row(0), "7770770770");

    IndexBuffer indices(Usage::StaticDraw);
    indices.setData(std::vector<unsigned int>{0, 1, 2, 0xFFFFFFFF, 5, 6, 7});
    indices.setPrimitiveRestartIndex(0xFFFFFFFF);
    canvas.clear();
    points.draw(Primitive::LineStrip, indices);
    EXPECT_EQ(canvas.row(0), "7700077000");
    EXPECT_FALSE(glIsEnabled(GL_PRIMITIVE_RESTART));
}

TEST_F(BufferGL, EmptyBuffersOnlyLog) {
    const Testing::LogLine noVertices{Log::Debug, "GL.VertexBuffer",
                                      "Trying to render an invalid/empty vertex array."};
    const Testing::LogLine noIndices{Log::Debug, "GL.VertexBuffer",
                                     "Trying to render from an invalid/empty index buffer."};
    const VertexBuffer vertices(Usage::StaticDraw);
    vertices.draw(Primitive::Points);
    vertices.drawMultiRestart(Primitive::Points, {});
    vertices.drawInstanced(Primitive::Points, 1, IndexBuffer(Usage::StaticDraw));
    EXPECT_EQ(log().take(), (std::vector{noVertices, noVertices, noIndices}));
    IndexBuffer::unbind();
}

TEST_F(BufferGL, AtomicCountersResetAndReadBack) {
    if (!hasVersion(4, 2))
        GTEST_SKIP() << "needs OpenGL 4.2";
    AtomicCounterBuffer counters(3, Usage::DynamicRead);
    EXPECT_EQ(counters.getData(), (std::vector<unsigned int>{0, 0, 0}));
    AtomicCounterBuffer::unbind();
    counters.reset(7);
    EXPECT_EQ(counters.getData(), (std::vector<unsigned int>{7, 7, 7}));
    // Half a counter is neither reset nor read.
    counters.allocateBuffer(10);
    counters.reset(1);
    EXPECT_EQ(counters.getData(), (std::vector<unsigned int>{1, 1}));

    AtomicCounterBuffer none(-2, Usage::DynamicRead);
    EXPECT_TRUE(log().takeLine(
        {Log::Error, "GL.AtomicCounterBuffer", "A buffer cannot have -2 counters; it is left empty."}));
    EXPECT_TRUE(none.getData().empty());
}

TEST_F(BufferGL, OldVersionsAreReportedAndTheBufferIsMadeAllTheSame) {
    const ScopedEntryPoint no42(GLAD_GL_VERSION_4_2, 0);
    const ScopedEntryPoint no43(GLAD_GL_VERSION_4_3, 0);
    const AtomicCounterBuffer counters(1, Usage::DynamicRead);
    const ShaderStorageBuffer storage(Usage::DynamicCopy);
    EXPECT_NE(storage.id(), 0U);
    EXPECT_TRUE(
        log().takeLine({Log::Error, "GL.AtomicCounterBuffer",
                        "Trying to instantiate a AtomicCounterBuffer on unsupported hardware. Requires "
                        "at least OpenGL 4.2."}));
    EXPECT_TRUE(
        log().takeLine({Log::Error, "GL.ShaderStorageBuffer",
                        "Trying to instantiate a ShaderStorageBuffer on unsupported hardware. Requires "
                        "at least OpenGL 4.3."}));
    while (!hasVersion(4, 3) && glGetError() != GL_NO_ERROR) {
    }
}

} // namespace Veltrand::GL
