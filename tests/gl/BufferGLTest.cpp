// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/AtomicCounterBuffer.h>
#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>

namespace Veltrand::GL {

using BufferGL = Testing::GLFixture;
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
std::vector<Eigen::Vector2f> rowOfPoints(std::size_t count) {
    std::vector<Eigen::Vector2f> points(count, {0.5F, 0.5F});
    for (std::size_t x = 0; x < count; ++x)
        points[x].x() += static_cast<float>(x);
    return points;
}

} // namespace

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
    expectLine(Log::Error, "GL.Buffer", "Refusing to allocate -1 bytes.");
    EXPECT_EQ(buffer.size(), 10);
}

TEST_F(BufferGL, DrawsArraysIndicesInstancesAndRuns) {
    Canvas canvas(10, 1);
    VertexBuffer colored(Usage::StaticDraw);
    using Color = Eigen::Vector<unsigned char, 4>;
    colored.setData(
        rowOfPoints(4),
        std::vector<Color>{{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {255, 255, 255, 255}});
    colored.setVertexAttribNormalization(1, true);
    VertexBuffer white(Usage::StaticDraw);
    white.setData(rowOfPoints(10));
    IndexBuffer bytes(Usage::StaticDraw);
    bytes.setData(std::vector<unsigned char>{3, 1});
    IndexBuffer withRestart(Usage::StaticDraw);
    withRestart.setPrimitiveRestartIndex(0xFFFFFFFF);
    withRestart.setData(std::vector<unsigned char>{1});
    withRestart.setData(std::vector<Eigen::Vector3i>{{0, 1, 2}, {-1, 5, 6}});
    constexpr auto points = Primitive::Points;
    constexpr auto strip = Primitive::LineStrip;
    const std::vector<unsigned long> restarts{4, 4, 7};
    const std::vector<unsigned long> backwards{4, 2, 10};
    const struct {
        const char* what;
        std::function<void()> draw;
        const char* row;
    } cases[] = {
        {"colours", [&] { colored.draw(points); }, "1247000000"},
        {"indices", [&] { colored.draw(points, bytes); }, "0207000000"},
        {"no instance", [&] { colored.drawInstanced(points, 0); }, "0000000000"},
        {"instances", [&] { colored.drawInstanced(points, 3); }, "1247000000"},
        {"no instance of indices", [&] { colored.drawInstanced(points, 0, bytes); }, "0000000000"},
        {"one run", [&] { white.draw(strip); }, "7777777770"},
        {"runs", [&] { white.drawMultiRestart(strip, restarts); }, "7770770770"},
        {"a run too early", [&] { white.drawMultiRestart(strip, backwards); }, "7770777770"},
        {"a restart index", [&] { white.draw(strip, withRestart); }, "7700070000"},
    };
    for (const auto& [what, draw, row] : cases) {
        canvas.clear();
        draw();
        EXPECT_EQ(canvas.row(0), row) << what;
        EXPECT_FALSE(glIsEnabled(GL_PRIMITIVE_RESTART)) << what;
    }
}

TEST_F(BufferGL, EmptyBuffersOnlyLog) {
    const auto debug = [](const char* text) { return Testing::LogLine{Log::Debug, "GL.VertexBuffer", text}; };
    const auto noVertices = debug("Trying to render an invalid/empty vertex array.");
    const auto noIndices = debug("Trying to render from an invalid/empty index buffer.");
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
    AtomicCounterBuffer::unbind();
    counters.reset(7);
    EXPECT_EQ(counters.getData(), (std::vector<unsigned int>{7, 7, 7}));
    // Half a counter is neither read nor reset.
    counters.allocateBuffer(10);
    EXPECT_EQ(counters.getData().size(), 2U);
    counters.reset(1);
    EXPECT_EQ(counters.getData(), (std::vector<unsigned int>{1, 1}));

    AtomicCounterBuffer none(-2, Usage::DynamicRead);
    expectLine(Log::Error, "GL.AtomicCounterBuffer", "A buffer cannot have -2 counters; it is left empty.");
    EXPECT_TRUE(none.getData().empty());
}

TEST_F(BufferGL, OldVersionsAreReportedAndTheBufferIsMadeAllTheSame) {
    const ScopedEntryPoint no42(GLAD_GL_VERSION_4_2, 0);
    const ScopedEntryPoint no43(GLAD_GL_VERSION_4_3, 0);
    const AtomicCounterBuffer counters(1, Usage::DynamicRead);
    const ShaderStorageBuffer storage(Usage::DynamicCopy);
    EXPECT_NE(storage.id(), 0U);
    for (const auto& [name, version] :
         {std::pair("AtomicCounterBuffer", "4.2"), {"ShaderStorageBuffer", "4.3"}})
        expectLine(Log::Error, std::string("GL.") + name,
                   std::string("Trying to instantiate a ") + name +
                       " on unsupported hardware. Requires at least OpenGL " + version + ".");
    while (!hasVersion(4, 3) && glGetError() != GL_NO_ERROR) {
    }
}

} // namespace Veltrand::GL
