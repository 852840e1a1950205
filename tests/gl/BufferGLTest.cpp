// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/AtomicCounterBuffer.h>
#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>
#include <Veltrand/GL/VertexBuffer.h>

#include "support/Canvas.h"
#include "support/GLFixture.h"
#include "support/ScopedEntryPoint.h"

#include <Eigen/Core>
#include <cstring>
#include <glad/gl.h>
#include <stdexcept>
#include <utility>

namespace Veltrand::GL {

using BufferGL = Testing::GLFixture;
using Testing::Canvas;
using Testing::LogLine;
using Testing::ScopedEntryPoint;
using Usage = Buffer::Usage;

namespace {

int g_calls = 0;
std::vector<unsigned int> g_restartCalls;

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

TEST_F(BufferGL, ANameThatOpenGLRefusesThrows) {
    const ScopedEntryPoint none(glad_glGenBuffers, [](GLsizei, GLuint* ids) { *ids = 0; });
    const ScopedEntryPoint deletes(glad_glDeleteBuffers, [](GLsizei, const GLuint*) { ++g_calls; });
    g_calls = 0;
    try {
        const VertexBuffer buffer(Usage::StaticDraw);
        ADD_FAILURE() << "nothing thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Could not generate Buffer.");
    }
    EXPECT_EQ(g_calls, 0);
}

TEST_F(BufferGL, AMovedBufferIsDeletedOnce) {
    static const PFNGLDELETEBUFFERSPROC real = glad_glDeleteBuffers;
    const ScopedEntryPoint counting(glad_glDeleteBuffers, [](GLsizei n, const GLuint* ids) {
        ++g_calls;
        real(n, ids);
    });
    g_calls = 0;
    {
        VertexBuffer first(Usage::StaticDraw);
        first.setData(rowOfPoints(3));
        const GLuint id = first.id();
        VertexBuffer second(std::move(first));
        EXPECT_EQ(second.id(), id);
        EXPECT_EQ(second.size(), 24);
        EXPECT_EQ(second.numVertices(), 3U);
        VertexBuffer third(Usage::StaticDraw);
        third = std::move(second);
        EXPECT_EQ(g_calls, 1);
        EXPECT_EQ(third.id(), id);
    }
    EXPECT_EQ(g_calls, 2);
}

TEST_F(BufferGL, VertexArraysLieOneAfterTheOther) {
    VertexBuffer buffer(Usage::StaticDraw);
    EXPECT_EQ(buffer.numVertices(), 0U);
    const std::vector<Eigen::Vector3f> positions(3, Eigen::Vector3f(1, 2, 3));
    buffer.setData(positions, std::vector<Eigen::Vector2f>{});
    EXPECT_EQ(buffer.size(), 36);
    ASSERT_EQ(buffer.attributes().size(), 2U);
    EXPECT_TRUE(buffer.attributes()[0].valid);
    EXPECT_FALSE(buffer.attributes()[1].valid);
    EXPECT_EQ(buffer.attributes()[1].elementSize, 8U);

    const std::vector<float> weights{4, 5};
    const std::vector<Eigen::Vector<unsigned char, 4>> colors(2, {9, 8, 7, 6});
    buffer.setData(Utils::Span<const float>(weights), colors);
    const auto bytes = contents(GL_ARRAY_BUFFER);
    ASSERT_EQ(bytes.size(), 16U);
    float second = 0;
    std::memcpy(&second, bytes.data() + 4, sizeof(second));
    EXPECT_EQ(second, 5.0F);
    EXPECT_EQ(bytes[12], 9);
    const auto& attribute = buffer.attributes()[1];
    EXPECT_EQ(attribute.components, 4);
    EXPECT_EQ(attribute.type, static_cast<GLenum>(GL_UNSIGNED_BYTE));
    for (const int index : {-1, 1, 2})
        buffer.setVertexAttribNormalization(index, true);
    EXPECT_FALSE(buffer.attributes()[0].normalized);
    EXPECT_TRUE(buffer.attributes()[1].normalized);

    buffer.allocateBuffer(-1);
    EXPECT_TRUE(log().takeLine({Log::Error, "GL.Buffer", "Refusing to allocate -1 bytes."}));
    EXPECT_EQ(buffer.size(), 16);
}

TEST_F(BufferGL, IndicesKeepTheirWidthAndTheRestartIndex) {
    IndexBuffer buffer(Usage::StaticDraw);
    EXPECT_EQ(buffer.type(), static_cast<GLenum>(GL_UNSIGNED_BYTE));
    buffer.setPrimitiveRestartIndex(7);
    const auto expect = [&buffer](std::int64_t elements, GLenum type, std::int64_t bytes) {
        EXPECT_EQ(buffer.numElements(), elements);
        EXPECT_EQ(buffer.type(), type);
        EXPECT_EQ(buffer.size(), bytes);
        EXPECT_EQ(contents(GL_ELEMENT_ARRAY_BUFFER).size(), static_cast<std::size_t>(bytes));
    };
    buffer.setData(std::vector<Eigen::Vector3i>(5, {1, 2, 3}));
    expect(15, GL_UNSIGNED_INT, 60);
    buffer.setData(std::vector<unsigned short>{1, 2, 3});
    expect(3, GL_UNSIGNED_SHORT, 6);
    EXPECT_EQ(contents(GL_ELEMENT_ARRAY_BUFFER)[4], 3);
    buffer.setData(std::vector<unsigned int>{1, 2});
    expect(2, GL_UNSIGNED_INT, 8);
    buffer.setData(std::vector<unsigned char>{});
    expect(0, GL_UNSIGNED_BYTE, 0);
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
    points.drawInstanced(Primitive::Points, 2, indices);
    EXPECT_EQ(canvas.row(0), "0207");
    canvas.clear();
    points.drawInstanced(Primitive::Points, 0);
    EXPECT_EQ(canvas.row(0), "0000");
    points.drawInstanced(Primitive::Points, 3);
    EXPECT_EQ(canvas.row(0), "1247");
}

TEST_F(BufferGL, TheFullscreenSquareCoversEveryPixel) {
    const auto square = VertexBuffer::createFullscreenSquare();
    EXPECT_EQ(square->size(), 64);
    GLint bound = 1;
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &bound);
    EXPECT_EQ(bound, 0);
    square->bind();
    std::vector<float> values(16);
    glGetBufferSubData(GL_ARRAY_BUFFER, 0, 64, values.data());
    EXPECT_EQ(values, (std::vector<float>{-1, -1, 1, -1, 1, 1, -1, 1, 0, 0, 1, 0, 1, 1, 0, 1}));

    Canvas canvas(2, 2);
    canvas.takeClipCoordinates();
    square->draw(Primitive::TriangleFan);
    EXPECT_EQ(canvas.row(0) + canvas.row(1), "0123");
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

TEST_F(BufferGL, RestartIndexZeroLeavesPrimitiveRestartAlone) {
    Canvas canvas(2, 1);
    VertexBuffer points(Usage::StaticDraw);
    points.setData(rowOfPoints(2));
    IndexBuffer indices(Usage::StaticDraw);
    indices.setData(std::vector<unsigned char>{0, 1});
    const ScopedEntryPoint enable(glad_glEnable, [](GLenum c) { g_restartCalls.push_back(c); });
    const ScopedEntryPoint disable(glad_glDisable, [](GLenum c) { g_restartCalls.push_back(c); });
    g_restartCalls.clear();
    points.draw(Primitive::Points, indices);
    EXPECT_TRUE(g_restartCalls.empty());
    indices.setPrimitiveRestartIndex(9);
    points.draw(Primitive::Points, indices);
    EXPECT_EQ(g_restartCalls, (std::vector<unsigned int>{GL_PRIMITIVE_RESTART, GL_PRIMITIVE_RESTART}));
}

TEST_F(BufferGL, EmptyBuffersOnlyLog) {
    const LogLine noVertices{Log::Debug, "GL.VertexBuffer",
                             "Trying to render an invalid/empty vertex array."};
    const LogLine noIndices{Log::Debug, "GL.VertexBuffer",
                            "Trying to render from an invalid/empty index buffer."};
    const VertexBuffer vertices(Usage::StaticDraw);
    const IndexBuffer indices(Usage::StaticDraw);
    vertices.draw(Primitive::Points);
    vertices.drawInstanced(Primitive::Points, 1);
    vertices.drawMultiRestart(Primitive::Points, {});
    vertices.draw(Primitive::Points, indices);
    vertices.drawInstanced(Primitive::Points, 1, indices);
    EXPECT_EQ(log().take(), (std::vector<LogLine>{noVertices, noVertices, noVertices, noIndices, noIndices}));
    IndexBuffer::unbind();
}

TEST_F(BufferGL, AtomicCountersResetAndReadBack) {
    if (!hasVersion(4, 2))
        GTEST_SKIP() << "needs OpenGL 4.2";
    AtomicCounterBuffer counters(3, Usage::DynamicRead);
    EXPECT_EQ(counters.size(), 12);
    EXPECT_EQ(counters.getData(), (std::vector<unsigned int>{0, 0, 0}));
    AtomicCounterBuffer::unbind();
    counters.reset(7);
    EXPECT_EQ(counters.getData(), (std::vector<unsigned int>{7, 7, 7}));
    // Half a counter is neither reset nor read.
    counters.allocateBuffer(10);
    counters.reset(1);
    EXPECT_EQ(counters.getData(), (std::vector<unsigned int>{1, 1}));
    counters.bindBase(2);
    GLint bound = 0;
    glGetIntegeri_v(GL_ATOMIC_COUNTER_BUFFER_BINDING, 2, &bound);
    EXPECT_EQ(static_cast<GLuint>(bound), counters.id());

    AtomicCounterBuffer none(-2, Usage::DynamicRead);
    EXPECT_TRUE(log().takeLine(
        {Log::Error, "GL.AtomicCounterBuffer", "A buffer cannot have -2 counters; it is left empty."}));
    const ScopedEntryPoint read(glad_glGetBufferSubData,
                                [](GLenum, GLintptr, GLsizeiptr, void*) { ++g_calls; });
    g_calls = 0;
    EXPECT_TRUE(none.getData().empty());
    EXPECT_EQ(g_calls, 0);
}

TEST_F(BufferGL, OldVersionsAreReportedAndTheBufferIsMadeAllTheSame) {
    const ScopedEntryPoint no42(GLAD_GL_VERSION_4_2, 0);
    const ScopedEntryPoint no43(GLAD_GL_VERSION_4_3, 0);
    const AtomicCounterBuffer counters(1, Usage::DynamicRead);
    const ShaderStorageBuffer storage(Usage::DynamicCopy);
    EXPECT_NE(counters.id(), 0U);
    EXPECT_NE(storage.id(), 0U);
    EXPECT_EQ(storage.size(), 0);
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
