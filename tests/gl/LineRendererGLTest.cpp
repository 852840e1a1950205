// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLFixture.h"
#include "support/ScopedEntryPoint.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <algorithm>
#include <cmath>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <memory>
#include <numbers>
#include <optional>

namespace Veltrand::GL {

namespace {

using Eigen::Vector3d;
using Eigen::Vector4d;
using Options = LineRenderer::Options;
using Points = std::vector<Vector3d>;
constexpr int edge = 64;

// Positions are pixels of a small black square, unless a test says otherwise.
class LineRendererGL : public Testing::GLFixture {
protected:
    void SetUp() override {
        GLFixture::SetUp();
        m_guard.emplace(StateGuard::SaveFlags::Framebuffer | StateGuard::SaveFlags::Viewport);
        m_target.emplace(Texture::Target::Texture2D, Eigen::Vector3i(edge, edge, 1), InternalFormat::RGBA32F);
        m_framebuffer.emplace();
        m_framebuffer->bind();
        m_framebuffer->attach(*m_target, 0);
        m_framebuffer->setDrawBuffers();
        m_view.viewport().set();
    }
    void TearDown() override {
        m_guard.reset();
        m_framebuffer.reset();
        GLFixture::TearDown();
    }

    // How much of each pixel is covered; sums up where the line covers itself.
    void draw(const Points& points, Primitive primitive, double width, unsigned short pattern = 0xFFFF,
              double factor = 1) {
        clearColorBuffer(Eigen::Vector4f::Zero());
        Blending blending(Blending::Preset::Alpha);
        blending.setFunction(Blending::Function::SrcAlpha, Blending::Function::One);
        const Options options(Vector3d(1, 1, 1), width, Eigen::Matrix4d::Identity(), pattern, factor);
        VertexBuffer buffer(Buffer::Usage::StaticDraw);
        if (LineRenderer::makeVertexData(points, primitive, buffer))
            LineRenderer::get()->render(buffer, primitive, options, m_view);
        m_pixels = m_target->download<Eigen::Vector4f>();
    }

    [[nodiscard]] double at(int x, int y) const {
        return double{m_pixels[static_cast<std::size_t>(y) * edge + static_cast<std::size_t>(x)].x()};
    }
    // A digit for each of some pixels of a column, '9' for those that are covered.
    [[nodiscard]] std::string pixels(int x, int y, std::size_t count) const {
        std::string digits;
        while (digits.size() < count)
            digits += at(x, y++) > 0.5 ? '9' : '0';
        return digits;
    }
    [[nodiscard]] double column(int x) const {
        double sum = 0;
        for (int y = 0; y < edge; ++y)
            sum += at(x, y);
        return sum;
    }
    [[nodiscard]] auto numCovered() const {
        return std::count_if(m_pixels.begin(), m_pixels.end(),
                             [](const auto& pixel) { return pixel.x() > 0; });
    }
    [[nodiscard]] double largestDifference(const std::vector<Eigen::Vector4f>& other) const {
        float largest = 0;
        for (std::size_t i = 0; i < other.size(); ++i)
            largest = std::max(largest, std::abs(other[i].x() - m_pixels[i].x()));
        return double{largest};
    }

    ViewState m_view{{0, 0, edge, edge}, createOrtho2d(edge, edge), Eigen::Matrix4d::Identity()};
    std::optional<Texture> m_target;
    std::optional<Framebuffer> m_framebuffer;
    std::optional<StateGuard> m_guard;
    std::vector<Eigen::Vector4f> m_pixels;
};

} // namespace

TEST_F(LineRendererGL, WidthIsInPixels) {
    for (const double width : {0.5, 1.0, 1.3, 5.0, 12.0})
        for (const double y : {32.0, 32.5, 32.7}) {
            draw({{8, y, 0}, {56, y, 0}}, Primitive::Lines, width);
            EXPECT_NEAR(column(30), width, 1e-4) << y;
            EXPECT_NEAR(column(8), width, 1e-4);
            EXPECT_EQ(column(7), 0);
            draw({{8, 8, 0}, {56, y, 0}}, Primitive::LineStrip, width);
            EXPECT_NEAR(column(30), width / std::cos(std::atan((y - 8) / 48)), 0.1) << y;
        }
    m_view = ViewState({0, 0, edge, edge}, createPerspective(1, 3, 0.1, 100), Eigen::Matrix4d::Identity());
    setDpiScale(2);
    draw({{-3, 0, -2}, {60, 0, -50}}, Primitive::LineStrip, 3);
    setDpiScale(1);
    for (const int x : {20, 32, 50})
        EXPECT_NEAR(column(x), 6, 1e-3);
    // Without blending, edges are hard.
    clearColorBuffer(Eigen::Vector4f::Zero());
    LineRenderer::get()->renderLines({{-3, 0, -2}, {60, 0, -50}}, Options(Vector4d(1, 1, 1, 0.5), 5), m_view);
    m_pixels = m_target->download<Eigen::Vector4f>();
    EXPECT_EQ(column(30), 5);
}

// A mitred line has the area of its axis times its width, a bevelled one that without the tip. Gaps take from
// it, spikes and parts that are drawn twice add to it.
TEST_F(LineRendererGL, JoinsNeitherGapNorSpikeNorOverlap) {
    constexpr double arm = 28;
    for (int degrees = -170; degrees <= 170; degrees += 5)
        for (const double start : {0.1, 1.0, 2.5}) {
            const double turn = degrees * std::numbers::pi / 180;
            const double width = std::abs(degrees) > 155 ? 3 : 9;
            const Vector3d first(-std::cos(start), -std::sin(start), 0);
            const Vector3d last(std::cos(start + turn), std::sin(start + turn), 0);
            const Vector3d corner(32, 32, 0);
            draw({corner + arm * first, corner, corner + arm * last}, Primitive::LineStrip, width);
            const double tip =
                width * width / 4 * std::pow(std::sin(std::abs(turn) / 2), 3) / std::cos(turn / 2);
            double area = 0;
            for (int x = 0; x < edge; ++x)
                area += column(x);
            EXPECT_NEAR(area, 2 * arm * width - (std::abs(degrees) > 150 ? tip : 0), 3)
                << degrees << ' ' << start;
        }
}

TEST_F(LineRendererGL, ALoopLooksTheSameFromWhereverItBegins) {
    Points points{{32, 8, 0}, {37, 56, 0}, {27, 56, 0}}; // one of the corners is bevelled
    draw(points, Primitive::LineLoop, 4);
    const auto expected = m_pixels;
    std::rotate(points.begin(), points.begin() + 1, points.end());
    draw(points, Primitive::LineLoop, 4);
    EXPECT_LT(largestDifference(expected), 1e-3);
}

TEST_F(LineRendererGL, WhatLiesBehindTheNearPlaneIsCutOff) {
    m_view = ViewState({0, 0, edge, edge}, createPerspective(1, 1, 1, 100), Eigen::Matrix4d::Identity());
    const Vector3d a(0.3, 0.2, -3);
    const Vector3d b(0.6, -0.5, -3);
    const Vector3d behind(-3, -0.4, 2);
    draw({a, a + 0.4 * (behind - a), b, b + 0.4 * (behind - b)}, Primitive::Lines, 9);
    const auto expected = m_pixels;
    EXPECT_GT(numCovered(), 100);
    draw({a, behind, b}, Primitive::LineStrip, 9);
    EXPECT_LT(largestDifference(expected), 0.01);
    draw({behind, behind + Vector3d(1, 1, 1)}, Primitive::LineStrip, 9);
    EXPECT_EQ(numCovered(), 0);
}

TEST_F(LineRendererGL, SegmentsWithoutLengthDrawNothingAndHideNothing) {
    const Vector3d a(8, 32, 0);
    const Vector3d b(30.5, 32, 0);
    const Vector3d c(56, 32, 0);
    draw({a, a}, Primitive::Lines, 9);
    EXPECT_EQ(numCovered(), 0);
    draw({a, c}, Primitive::LineStrip, 9);
    const auto expected = m_pixels;
    const Vector3d almost(0, 1e-7, 0); // different, but not as floats
    draw({a, b, b + almost, b + 2 * almost, c}, Primitive::LineStrip, 9);
    EXPECT_LT(largestDifference(expected), 1e-4);
}

TEST_F(LineRendererGL, NoiseOfShortSegmentsDoesNotSpike) {
    Points points;
    for (int i = 0; i <= 40000; ++i)
        points.emplace_back(12 + 1e-3 * (i + std::sin(i * i)), 32 + 1e-3 * std::cos(i * 7), 0);
    draw(points, Primitive::LineStrip, 9);
    EXPECT_LT(numCovered(), 52 * 10);
}

TEST_F(LineRendererGL, StippleRunsOnAroundTheLine) {
    if (!hasVersion(4, 3))
        GTEST_SKIP() << "needs OpenGL 4.3";
    Points million; // pixels, which end 16 pixels into a pattern of 24
    for (int i = 0; i <= 20000; ++i)
        million.emplace_back(i % 2 == 0 ? 4 : 54, 4, 0);
    million.emplace_back(4, 54, 0);
    const Points square{{12, 12, 0}, {52, 12, 0}, {52, 52, 0}, {12, 52, 0}};
    const std::string on(12, '9');
    const std::string off(12, '0');
    struct Case {
        Points points;
        Primitive primitive;
        double factor; // pixels per bit of 16, of which the first half is drawn
        int x, y;
        std::string expected;
    };
    const Case cases[] = {
        {{{4, 10, 0}, {50, 10, 0}, {50, 60, 0}}, Primitive::LineStrip, 1.5, 50, 12, on + off + on + off},
        {million, Primitive::LineStrip, 1.5, 4, 6, off.substr(6) + on + off + on + off.substr(6)},
        // Of the 9.52 patterns that go round the square, the renderer makes 10, so that the last one closes.
        {square, Primitive::LineLoop, 1.05, 12, 14, "0000009999999900000000999999990000000"},
        {square, Primitive::LineLoop, 1.05, 51, 14, "0000009999999900000000999999990000000"},
    };
    for (const Case& c : cases) {
        draw(c.points, c.primitive, 2, 0x00FF, c.factor);
        EXPECT_EQ(pixels(c.x, c.y, c.expected.size()), c.expected);
    }
}

TEST_F(LineRendererGL, StippleBeginsWithEachSegmentWhereNothingIsAccumulated) {
    const std::string segment = "9999000099990000";
    draw({{10, 4, 0}, {10, 20, 0}, {10, 24, 0}, {10, 40, 0}}, Primitive::Lines, 2, 0x0F0F);
    EXPECT_EQ(pixels(10, 0, 44), "0000" + segment + "0000" + segment + "0000");
    const Testing::ScopedEntryPoint old(GLAD_GL_VERSION_4_3, 0);
    draw({{10, 4, 0}, {10, 14, 0}, {10, 30, 0}}, Primitive::LineStrip, 2, 0x0F0F);
    EXPECT_EQ(pixels(10, 0, 34), "0000" + segment.substr(0, 10) + segment + "0000");
}

TEST_F(LineRendererGL, SegmentsInTheEyePlaneLeaveTheStippleAlone) {
    m_view = ViewState({0, 0, edge, edge}, createPerspective(1, 1, 1, 100), Eigen::Matrix4d::Identity());
    const Vector3d inEyePlane(0.3, 0.2, 0);
    const Points seen{inEyePlane, {-1, 1, -3}, {-1, -1, -3}};
    draw(seen, Primitive::LineLoop, 3, 0x00FF, 1.3);
    const auto expected = m_pixels;
    draw({inEyePlane - Vector3d(1e-6, 0, 0), seen[0], seen[1], seen[2]}, Primitive::LineLoop, 3, 0x00FF, 1.3);
    EXPECT_LT(largestDifference(expected), 0.01);
}

// The line comes from above, turns sharply near the bottom and goes back up; the bevel fills the column.
TEST_F(LineRendererGL, StippleGoesOnFromOneSegmentToTheOtherAtBevels) {
    const Vector3d corner(32, 6, 0);
    const Vector3d up(0, std::cos(std::numbers::pi / 18), 0);
    for (const double side : {-1.0, 1.0}) {
        const Vector3d aside(side * std::sin(std::numbers::pi / 18), 0, 0);
        const Points points{corner + 200 * (up + aside), corner, corner + 200 * (up - aside)};
        if (hasVersion(4, 3)) {
            draw(points, Primitive::LineStrip, 20, 0x00FF, 4); // 200 pixels are 3 patterns and 2 bits
            EXPECT_EQ(pixels(32, 6, 40), std::string(23, '9') + std::string(17, '0'));
        }
        const Testing::ScopedEntryPoint old(GLAD_GL_VERSION_4_3, 0);
        draw(points, Primitive::LineStrip, 20, 0x00FF, 4);
        EXPECT_EQ(pixels(32, 6, 40), std::string(32, '9') + std::string(8, '0'));
    }
}

TEST_F(LineRendererGL, FragmentsGoToTheTransparencyPass) {
    if (!OrderIndependentTransparency::isSupported())
        GTEST_SKIP() << "needs OpenGL 4.4";
    const Eigen::Vector3i size(edge, edge, 1);
    Texture depth(Texture::Target::Texture2D, size, InternalFormat::DepthComponent32F);
    depth.upload(std::vector<float>(std::size_t{edge} * edge, 1.0F));
    Texture black(Texture::Target::Texture2D, size, InternalFormat::RGBA32F);
    black.upload(std::vector<Eigen::Vector4f>(std::size_t{edge} * edge, Eigen::Vector4f(0, 0, 0, 1)));
    const Points points{{8, 10, 0}, {50, 20, 0}, {12, 50, 0}};
    draw(points, Primitive::LineStrip, 6, 0x0F0F, 2);
    const auto expected = m_pixels;
    OrderIndependentTransparency oit;
    oit.reset({edge, edge}, false);
    const Options options(Vector3d(1, 1, 1), 6, Eigen::Matrix4d::Identity(), 0x0F0F, 2);
    LineRenderer::get()->renderLineStrip(points, options, m_view, &oit);
    oit.renderBlendedFragments(black, depth);
    m_pixels = m_target->download<Eigen::Vector4f>();
    EXPECT_LT(largestDifference(expected), 0.01);
    // Earlier passes take up no binding points.
    std::vector<std::unique_ptr<OrderIndependentTransparency>> passes;
    while (passes.size() <= static_cast<std::size_t>(getInt(GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS))) {
        passes.push_back(std::make_unique<OrderIndependentTransparency>());
        LineRenderer::get()->renderLineStrip(points, options, m_view, passes.back().get());
    }
}

TEST_F(LineRendererGL, RefusesWhatIsNoLine) {
    const Points points{{1, 1, 0}, {2, 1, 0}};
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    EXPECT_TRUE(LineRenderer::makeVertexData(points, {{1, 0, 0, 1}, {0, 1, 0, 1}}, Primitive::Lines, buffer));
    EXPECT_FALSE(LineRenderer::makeVertexData(points, Primitive::Triangles, buffer));
    EXPECT_FALSE(LineRenderer::makeVertexData(points, {{1, 0, 0, 1}}, Primitive::Lines, buffer));
    EXPECT_FALSE(
        LineRenderer::makeVertexData({{1, NAN, 0}, {2, 1, 0}, {1e300, 1, 0}}, Primitive::LineStrip, buffer));
    EXPECT_EQ(buffer.numVertices(), 8);
    EXPECT_EQ(buffer.attributes()[3].components, 4);
    const std::vector<Testing::LogLine> lines{
        {4, "", "Primitive must be Lines, LineLoop or LineStrip."},
        {4, "", "The list of colors must be empty or have the same size as the list of vertices"},
        {3, "GL.LineRenderer", "2 of 3 points are not finite and are left out, with their segments."}};
    EXPECT_EQ(log().take(), lines);
}

} // namespace Veltrand::GL
