// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/LineRenderer.h>

namespace Veltrand::GL {

namespace {

using Options = LineRenderer::Options;
using Points = std::vector<Vector3d>;
constexpr int edge = 64;

ViewState perspective(double aspect) {
    return {{0, 0, edge, edge}, createPerspective(1, aspect, 1, 100), Eigen::Matrix4d::Identity()};
}

// Positions are pixels of a small black square, unless a test says otherwise.
class LineRendererGL : public Testing::GLFixture {
protected:
    // How much of each pixel is covered; sums up where the line covers itself.
    void draw(const Points& points, Primitive primitive, double width, unsigned short pattern = 0xFFFF,
              double factor = 1) {
        clearColorBuffer(Vector4f::Zero());
        Blending blending(Blending::Preset::Alpha);
        blending.setFunction(Blending::Function::SrcAlpha, Blending::Function::One);
        const Options options(Vector3d(1, 1, 1), width, Eigen::Matrix4d::Identity(), pattern, factor);
        VertexBuffer buffer(Buffer::Usage::StaticDraw);
        const auto colors = points.size() == m_colors.size() ? m_colors : std::vector<Eigen::Vector4d>();
        if (LineRenderer::makeVertexData(points, colors, primitive, buffer))
            LineRenderer::get()->render(buffer, primitive, options, m_view);
        read();
    }
    void read() { m_pixels = m_target.texture().download<Vector4f>(); }

    [[nodiscard]] double at(int x, int y) const {
        const int pixel = y * edge + x;
        return double{m_pixels[static_cast<std::size_t>(pixel)].x()};
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
        return std::ranges::count_if(m_pixels, [](const auto& pixel) { return pixel.x() > 0; });
    }
    [[nodiscard]] double largestDifference(const std::vector<Vector4f>& other) const {
        float largest = 0;
        for (std::size_t i = 0; i < other.size(); ++i)
            largest = std::max(largest, std::abs(other[i].x() - m_pixels[i].x()));
        return double{largest};
    }

    void expectAlike(double width, Primitive primitive, const Points& points, Primitive otherPrimitive,
                     const Points& otherPoints, unsigned short pattern = 0xFFFF) {
        draw(points, primitive, width, pattern, 1.3);
        const auto expected = m_pixels;
        EXPECT_GT(numCovered(), 100);
        draw(otherPoints, otherPrimitive, width, pattern, 1.3);
        EXPECT_LT(largestDifference(expected), 0.01);
    }
    // Half of the pattern is drawn; @p factor is pixels for each of its 16 bits.
    void expectStipple(const Points& points, Primitive primitive, double factor, int x, int y,
                       const std::string& expected) {
        onEveryDriver([&] {
            draw(points, primitive, 2, 0x00FF, factor);
            EXPECT_EQ(pixels(x, y, expected.size()), expected);
        });
    }
    // Lengths are summed up on the GPU where it can do it, otherwise on the CPU.
    static void onEveryDriver(const std::function<void()>& test) {
        test();
        const Testing::ScopedEntryPoint old(GLAD_GL_VERSION_4_3, 0);
        test();
    }

    ViewState m_view{{0, 0, edge, edge}, createOrtho2d(edge, edge), Eigen::Matrix4d::Identity()};
    Testing::RenderTarget m_target{edge, edge, InternalFormat::RGBA32F};
    std::vector<Vector4f> m_pixels;
    std::vector<Eigen::Vector4d> m_colors; // of lines of as many points
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
    m_view = perspective(3);
    const Points receding{{-3, 0, -2}, {60, 0, -50}};
    setDpiScale(2);
    draw(receding, Primitive::LineStrip, 3);
    setDpiScale(1);
    for (const int x : {20, 32, 50})
        EXPECT_NEAR(column(x), 6, 1e-3);
    // A line that goes straight back ends there as if it had ended, and covers itself.
    m_view = {{0, 0, edge, edge}, createOrtho2d(edge, edge), Eigen::Matrix4d::Identity()};
    draw({{8, 30, 0}, {40.3, 32, 0}}, Primitive::LineStrip, 5);
    auto twice = m_pixels;
    for (Vector4f& pixel : twice)
        pixel *= 2;
    draw({{8, 30, 0}, {40.3, 32, 0}, {8, 30, 0}}, Primitive::LineStrip, 5);
    EXPECT_LT(largestDifference(twice), 0.05);
    m_view = perspective(3);
    // Without blending, edges are hard.
    clearColorBuffer(Vector4f::Zero());
    LineRenderer::get()->renderLines(receding, Options(Eigen::Vector4d(1, 1, 1, 0.5), 5), m_view);
    read();
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
            EXPECT_NEAR(area, 2 * arm * width - (std::abs(degrees) > 150 ? tip : 0), width > 3 ? 1.2 : 3.6)
                << degrees << ' ' << start;
        }
}

TEST_F(LineRendererGL, TheSameLineLooksTheSameHoweverItIsGiven) {
    constexpr auto loop = Primitive::LineLoop;
    constexpr auto strip = Primitive::LineStrip;
    // A loop, one of whose corners is bevelled, may begin with any of its points.
    expectAlike(4, loop, {{32, 8, 0}, {37, 56, 0}, {27, 56, 0}}, loop,
                {{37, 56, 0}, {27, 56, 0}, {32, 8, 0}});
    // Points that are repeated, also at the seam, are one corner, mitred or bevelled.
    for (const Vector3d& last : {Vector3d(20, 50, 0), Vector3d(54, 12, 0)}) {
        const Vector3d p(10, 10, 0), q(56, 16, 0), near(1e-5, 0, 0), same(1e-7, 0, 0);
        expectAlike(8, loop, {p, q, last}, loop, {p, q, last, p});
        expectAlike(8, loop, {p, q, last}, loop, {p, p + near, p, q, q + same, last, p, p + near, p});
        expectAlike(8, loop, {p, q, last}, loop, {p, q, q + near, last, p - near});
        expectAlike(8, strip, {p, q, last}, strip, {p, p + same, q, q + same, q, last, last + same});
        m_colors = {{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 0, 0, 1}, {1, 0, 0, 1}};
        expectAlike(8, strip, {p, q, last}, strip, {p, q, q, last});
        m_colors.clear();
    }
    // A segment whose ends are the same as floats hides nothing.
    const Vector3d almost(0, 1e-7, 0);
    const Vector3d a(8, 32, 0), b(30.5, 32, 0), c(56, 32, 0);
    expectAlike(9, strip, {a, c}, strip, {a, b, b + almost, b + 2 * almost, c});

    m_view = perspective(1);
    // What lies behind the near plane is cut off.
    const Vector3d d(0.3, 0.2, -3), e(0.6, -0.5, -3), behind(-3, -0.4, 2);
    const Points visibleParts{d, d + 0.4 * (behind - d), e, e + 0.4 * (behind - e)};
    expectAlike(9, Primitive::Lines, visibleParts, strip, {d, behind, e});
    // A segment in the plane of the eye leaves the stipple alone.
    const Vector3d f(0.3, 0.2, 0), g(-1, 1, -3), h(-1, -1, -3);
    expectAlike(3, loop, {f, g, h}, loop, {f - Vector3d(1e-6, 0, 0), f, g, h}, 0x00FF);

    for (const Points& nowhere : {Points{e, e}, Points{behind, behind + Vector3d(1, 1, 1)}}) {
        draw(nowhere, Primitive::Lines, 9);
        EXPECT_EQ(numCovered(), 0);
    }
}

// Many of the lines leave the view through a corner, where clippers go wrong.
TEST_F(LineRendererGL, PerspectiveDoesNotChangeALineOnTheScreen) {
    const auto random = [](int i) { return std::sin(i * i * 0.37); };
    for (int i = 0; i < 300; i += 6) {
        Points ends{{3 * random(i), 3 * random(i + 1), -1.3 - random(i + 2)},
                    {12 * random(i + 3), 12 * random(i + 4), -21.5 + 20 * random(i + 5)}};
        const double lineWidth = 1.5 + std::floor(i / 50.0);
        const unsigned short pattern = i % 4 == 0 ? 0x0F33 : 0xFFFF;
        m_view = {{0, 0, edge, edge}, createPerspective(1.2, 1, 0.1, 100), Eigen::Matrix4d::Identity()};
        draw(ends, Primitive::Lines, lineWidth, pattern, 3);
        const auto inPerspective = m_pixels;
        for (Vector3d& end : ends)
            end = Vector3d(m_view.project(end).x(), m_view.project(end).y(), 0);
        m_view = {{0, 0, edge, edge}, createOrtho2d(edge, edge), Eigen::Matrix4d::Identity()};
        draw(ends, Primitive::Lines, lineWidth, pattern, 3);
        EXPECT_LT(largestDifference(inPerspective), 0.1) << i;
    }
}

TEST_F(LineRendererGL, NoiseOfShortSegmentsDoesNotSpike) {
    Points points;
    for (int i = 0; i <= 40000; ++i)
        points.emplace_back(12 + 1e-3 * (i + std::sin(i * i)), 32 + 1e-3 * std::cos(i * 7), 0);
    draw(points, Primitive::LineStrip, 9);
    EXPECT_LT(numCovered(), 52 * 10);
}

TEST_F(LineRendererGL, StippleRunsOnAroundTheLine) {
    const std::string on(12, '9');
    const std::string off(12, '0');
    expectStipple({{4, 10, 0}, {50, 10, 0}, {50, 60, 0}}, Primitive::LineStrip, 1.5, 50, 12,
                  on + off + on + off);
    Points million; // pixels, which end 16 pixels into a pattern of 24
    for (int i = 0; i <= 20000; ++i)
        million.emplace_back(i % 2 == 0 ? 4 : 54, 4, 0);
    million.emplace_back(4, 54, 0);
    expectStipple(million, Primitive::LineStrip, 1.5, 4, 6, off.substr(6) + on + off + on + off.substr(6));
    // Of the 9.52 patterns that go round the square, the renderer makes 10, so that the last one closes.
    for (const int x : {12, 51})
        expectStipple({{12, 12, 0}, {52, 12, 0}, {52, 52, 0}, {12, 52, 0}}, Primitive::LineLoop, 1.05, x, 14,
                      "0000009999999900000000999999990000000");
}

TEST_F(LineRendererGL, StippleBeginsWithEachPairOfPoints) {
    const std::string bits = "9999999900000000";
    expectStipple({{10, 4, 0}, {10, 20, 0}, {10, 24, 0}, {10, 40, 0}}, Primitive::Lines, 1, 10, 0,
                  "0000" + bits + "0000" + bits + "0000");
}

// The line comes from above, turns sharply near the bottom and goes back up; the bevel fills the column.
TEST_F(LineRendererGL, StippleGoesOnFromOneSegmentToTheOtherAtBevels) {
    const Vector3d corner(32, 6, 0);
    const Vector3d up(0, std::cos(std::numbers::pi / 18), 0);
    for (const double side : {-1.0, 1.0}) {
        const Vector3d aside(side * std::sin(std::numbers::pi / 18), 0, 0);
        const Points points{corner + 200 * (up + aside), corner, corner + 200 * (up - aside)};
        onEveryDriver([&] {
            draw(points, Primitive::LineStrip, 20, 0x00FF, 4); // 200 pixels are 3 patterns and 2 bits
            EXPECT_EQ(pixels(32, 6, 40), std::string(23, '9') + std::string(17, '0'));
        });
    }
}

TEST_F(LineRendererGL, FragmentsGoToTheTransparencyPass) {
    if (!OrderIndependentTransparency::isSupported())
        GTEST_SKIP() << "needs OpenGL 4.4";
    Texture depth({edge, edge, 1}, InternalFormat::DepthComponent32F);
    depth.clear(Vector4f(1, 1, 1, 1));
    Texture black({edge, edge, 1}, InternalFormat::RGBA32F);
    black.clear(Vector4f(0, 0, 0, 1));
    const Points points{{8, 10, 0}, {50, 20, 0}, {12, 50, 0}};
    draw(points, Primitive::LineStrip, 6, 0x0F0F, 2);
    const auto expected = m_pixels;
    OrderIndependentTransparency oit;
    oit.reset({edge, edge}, false);
    const Options options(Vector3d(1, 1, 1), 6, Eigen::Matrix4d::Identity(), 0x0F0F, 2);
    LineRenderer::get()->renderLineStrip(points, options, m_view, &oit);
    oit.renderBlendedFragments(black, depth);
    read();
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
