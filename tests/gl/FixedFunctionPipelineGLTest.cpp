// SPDX-License-Identifier: BSD-3-Clause
#include "support/CallCounter.h"
#include "support/GLFixture.h"
#include "support/ScopedEntryPoint.h"

#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/FixedFunctionPipeline.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <functional>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <optional>

namespace Veltrand::GL {

namespace {

using Eigen::Matrix4d;
using Eigen::Vector3d;
using Eigen::Vector3f;
using Eigen::Vector3i;
using Eigen::Vector4f;
using Color = Eigen::Matrix<unsigned char, 4, 1>;
using Picture = std::vector<Color>;
using Testing::ScopedEntryPoint;
using Selection = FixedFunctionPipeline::ShaderSelection;

constexpr int edge = 64;

struct Vertex {
    Vector3f position;
    Vector4f color;
    Vector3f texCoord = Vector3f::Zero();
};

struct Drawing {
    const char* name;
    Primitive primitive;
    std::vector<Vertex> vertices;
    int dimensions = 0; // of the texture
    float pointSize = 1;
    bool smooth = false;
};

// A call of the fixed-function pipeline, which the loader does not know.
template<class... Args>
void legacy(const char* name, Args... args) {
    reinterpret_cast<void (*)(Args...)>(entryPoint(name))(args...);
}

// Seen from above and to the side, so that depth matters.
ViewState perspectiveView() {
    Eigen::Affine3d camera = Eigen::Affine3d::Identity();
    camera.translate(Vector3d(0.1, 0, -3)).rotate(Eigen::AngleAxisd(-0.9, Vector3d(1, 0.4, 0).normalized()));
    return {{0, 0, edge, edge}, createPerspective(0.9, 1, 1, 10), camera.matrix()};
}

Texture makeTexture(int dimensions) {
    const int size = 8;
    Texture texture(Vector3i(size, dimensions > 1 ? size : 1, dimensions > 2 ? size : 1),
                    InternalFormat::RGBA8);
    std::vector<Color> texels(texture.numTexels());
    for (std::size_t i = 0; i < texels.size(); ++i) // x, y and z are red, green and blue
        texels[i] << Color::Scalar(i % 8 * 36), Color::Scalar(255 - i / 8 % 8 * 36),
            Color::Scalar(i / 64 % 8 * 36), Color::Scalar(255 - i % 3 * 60);
    texture.upload(texels);
    return texture;
}

const Vector3d texCoordScaling(0.8, 1.2, 0.5);
const Vector3d texCoordOffset(0.1, -0.1, 0.3);

template<class Draw>
Picture render(const Draw& draw) {
    Texture target(Vector3i(edge, edge, 1), InternalFormat::RGBA8);
    Framebuffer framebuffer;
    const StateGuard guard(StateGuard::SaveFlags::All);
    framebuffer.bind();
    framebuffer.attach(target, 0);
    framebuffer.setDrawBuffers();
    glViewport(0, 0, edge, edge);
    clearColorBuffer(Vector4f(0, 0, 0, 1));
    draw();
    return target.download<Color>();
}

void drawOurs(const Drawing& drawing) {
    const Texture texture = makeTexture(drawing.dimensions);
    auto& pipeline = *FixedFunctionPipeline::get();
    pipeline.enable(perspectiveView(), Selection::Plain, nullptr);
    pipeline.setPointSize(drawing.pointSize);
    if (drawing.smooth)
        pipeline.enablePointSmoothing();
    if (drawing.dimensions > 0)
        pipeline.enableTexturing(texture);
    pipeline.setTexCoordTransform(texCoordScaling, texCoordOffset);
    std::vector<Vector3f> positions;
    std::vector<Vector3f> texCoords;
    std::vector<Vector4f> colors;
    for (const Vertex& vertex : drawing.vertices) {
        positions.push_back(vertex.position);
        texCoords.push_back(vertex.texCoord);
        colors.push_back(vertex.color);
    }
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    buffer.setData(positions, texCoords, colors);
    buffer.draw(drawing.primitive);
    pipeline.disable();
}

void drawTheirs(const Drawing& drawing) {
    constexpr GLenum textureMatrix = 0x1702; // GL_TEXTURE
    constexpr GLenum pointSmooth = 0x0B10;   // GL_POINT_SMOOTH
    constexpr std::array targets = {GL_TEXTURE_1D, GL_TEXTURE_2D, GL_TEXTURE_3D};
    const Texture texture = makeTexture(drawing.dimensions);
    const GLenum target =
        drawing.dimensions > 0 ? GLenum(targets.at(std::size_t(drawing.dimensions) - 1)) : GLenum(GL_BLEND);
    EXPECT_TRUE(perspectiveView().setLegacyGlMatrixStack());
    legacy("glMatrixMode", textureMatrix);
    const Matrix4d transform =
        (Eigen::Translation3d(texCoordOffset) * Eigen::Scaling(texCoordScaling)).matrix();
    legacy("glLoadMatrixd", transform.data());
    glPointSize(drawing.pointSize);
    if (drawing.smooth)
        glEnable(pointSmooth);
    glEnable(target); // blending is on in any case
    legacy("glBegin", GLenum(drawing.primitive));
    for (const Vertex& vertex : drawing.vertices) {
        legacy("glTexCoord3fv", vertex.texCoord.data());
        legacy("glColor4fv", vertex.color.data());
        legacy("glVertex3fv", vertex.position.data());
    }
    legacy("glEnd");
    glDisable(target);
    glDisable(pointSmooth);
}

// Equal to 2/255 where the other picture is smooth around a pixel; at its edges, within what is there.
void expectAlike(const Picture& ours, const Picture& theirs, const char* name) {
    EXPECT_FALSE(
        std::ranges::all_of(theirs, [](const Color& color) { return color == Color(0, 0, 0, 255); }));
    for (int y = 1; y < edge - 1; ++y) {
        for (int x = 1; x < edge - 1; ++x) {
            const auto at = [](int column, int row) { return std::size_t(row * edge + column); };
            Color low = Color::Constant(255);
            Color high = Color::Zero();
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    low = low.cwiseMin(theirs[at(x + dx, y + dy)]);
                    high = high.cwiseMax(theirs[at(x + dx, y + dy)]);
                }
            const Eigen::Vector4i color = ours[at(x, y)].cast<int>();
            const bool isInside = (high - low).maxCoeff() < 40;
            const Color& lowest = isInside ? theirs[at(x, y)] : low;
            const Color& highest = isInside ? theirs[at(x, y)] : high;
            EXPECT_TRUE(((color.array() >= lowest.cast<int>().array() - 2) &&
                         (color.array() <= highest.cast<int>().array() + 2))
                            .all())
                << name << " at " << x << ", " << y << ": " << color.transpose() << " instead of "
                << theirs[at(x, y)].cast<int>().transpose();
        }
    }
}

std::vector<Drawing> drawings() {
    std::vector<Vertex> fan;
    std::vector<Vertex> square;
    std::vector<Vertex> opaqueFan;
    for (int i = 0; i < 10; ++i) {
        const float angle = float(i) * 0.7F;
        fan.push_back({Vector3f(0.9F * std::cos(angle), 0.8F * std::sin(angle), 0.05F * float(i)),
                       Vector4f(float(i % 2), float(i % 3) / 2, float(i % 5) / 4, 1 - float(i) / 20)});
    }
    for (Vertex vertex : fan) {
        vertex.color.w() = 1;
        opaqueFan.push_back(vertex);
    }
    for (const auto& [x, y] : {std::pair(-1, -1), {1, -1}, {1, 1}, {-1, 1}})
        square.push_back({Vector3f(float(x), float(y), 0.3F), Vector4f(1, 0.8F, 0.5F, 0.8F),
                          Vector3f(float(x), float(y), float(x + y) * 0.5F)});
    return {
        {"points", Primitive::Points, fan},
        {"large_points", Primitive::Points, fan, 0, 8},
        {"odd_points", Primitive::Points, fan, 0, 7},
        {"smooth_points", Primitive::Points, opaqueFan, 0, 9, true},
        {"lines", Primitive::Lines, fan},
        {"line_loop", Primitive::LineLoop, fan},
        {"triangles", Primitive::TriangleFan, fan},
        {"triangles_beside_smooth_points", Primitive::TriangleFan, fan, 0, 9, true},
        {"texture_1d", Primitive::TriangleFan, square, 1},
        {"texture_2d", Primitive::TriangleFan, square, 2},
        {"texture_3d", Primitive::TriangleFan, square, 3},
        {"textured_points", Primitive::Points, square, 2, 12},
    };
}

// Run in the core profile and, with an environment of its own, in the compatibility profile.
class FixedFunctionPipelineGL : public Testing::GLFixture {};

TEST_F(FixedFunctionPipelineGL, DrawsWhatTheDriversOwnPipelineDraws) {
    auto compatibility = Context::create({.version = {}, .compatibility = true});
    const bool hasPipeline =
        compatibility && (getInt(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT) != 0;
    for (const Drawing& drawing : drawings()) {
        if (!hasPipeline)
            break;
        const auto blended = [&drawing](auto& draw) {
            glEnable(GL_BLEND);
            glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
            draw(drawing);
        };
        compatibility->makeCurrent();
        const Picture theirs = render([&] { blended(drawTheirs); });
        EXPECT_EQ(Debug::check(false), Debug::Error::NoError);
        ASSERT_TRUE(ContextManager::makeCurrent());
        expectAlike(render([&] { blended(drawOurs); }), theirs, drawing.name);
    }
    compatibility.reset();
    ASSERT_TRUE(ContextManager::makeCurrent());
    if (!hasPipeline)
        GTEST_SKIP() << "there is no compatibility context";
}

// A line over the target, in pixels; additive, so that a pixel that is drawn twice shows it.
Picture drawLine(Selection selection, Primitive primitive, const std::vector<Vector3f>& points,
                 const std::function<void(FixedFunctionPipeline&)>& configure,
                 const ViewState& view = ViewState({0, 0, edge, edge}, createOrtho2d(edge, edge),
                                                   Matrix4d::Identity())) {
    return render([&] {
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE);
        auto& pipeline = *FixedFunctionPipeline::get();
        pipeline.enable(view, selection, nullptr);
        pipeline.setDefaultColor(Vector3d(0.4, 0.4, 0.4));
        configure(pipeline);
        VertexBuffer buffer(Buffer::Usage::StaticDraw);
        buffer.setData(points);
        buffer.draw(primitive);
        pipeline.disable();
    });
}

TEST_F(FixedFunctionPipelineGL, BuildsProgramsWhenNeededAndTriesAgain) {
    auto& pipeline = *FixedFunctionPipeline::get();
    const auto enable = [&] { pipeline.enableWithoutReset(Selection::WideLinesAdjacency, nullptr); };
    {
        const ScopedEntryPoint broken(glad_glCompileShader, [](GLuint) {});
        EXPECT_THROW(enable(), std::runtime_error);
        (void)log().take("GL.Program");
    }
    Testing::CallCounter<glad_glLinkProgram> links;
    enable();
    EXPECT_EQ(links.take(), 1);
    (void)render([] { // the samplers of a program that was never reset must not contradict each other
        VertexBuffer buffer(Buffer::Usage::StaticDraw);
        buffer.setData(std::vector<Vector3f>(4, Vector3f::Zero()));
        buffer.draw(Primitive::LinesAdjacency);
    });
    enable();
    EXPECT_EQ(links.take(), 0);
    pipeline.disable();
}

TEST_F(FixedFunctionPipelineGL, SizesFollowTheScaleAndColorsTheContext) {
    auto& pipeline = *FixedFunctionPipeline::get();
    const auto uniform = [](const char* name) {
        const auto program = GLuint(getInt(GL_CURRENT_PROGRAM));
        float value = -1;
        glGetUniformfv(program, glGetUniformLocation(program, name), &value);
        return value;
    };
    const auto color = [] {
        Vector4f value;
        glGetVertexAttribfv(2, GL_CURRENT_VERTEX_ATTRIB, value.data());
        return value;
    };
    Testing::CallCounter<glad_glEnable> enabled;
    setDpiScale(1.5);
    pipeline.enable(perspectiveView(), Selection::WideLines, nullptr);
    EXPECT_EQ(uniform("u_lineWidth"), 1);
    EXPECT_EQ(color(), Vector4f(0, 0, 0, 1));
    pipeline.setLineWidth(2);
    pipeline.setStippleFactor(4);
    pipeline.setDefaultColor(Vector3d(1, 0, 0));
    EXPECT_EQ(uniform("u_lineWidth"), 3);
    EXPECT_EQ(uniform("u_stippleFactor"), 6);
    EXPECT_EQ(color(), Vector4f(1, 0, 0, 1));
    pipeline.enable(perspectiveView(), Selection::Plain, nullptr);
    EXPECT_EQ(uniform("u_pointSize"), 1);
    EXPECT_EQ(color(), Vector4f(0, 0, 0, 1));
    pipeline.setPointSize(3);
    EXPECT_EQ(uniform("u_pointSize"), 4.5F);
    (void)enabled.take();
    pipeline.enablePointSmoothing();
    EXPECT_EQ(enabled.take(), ContextManager::useCoreContext() ? 0 : 1);
    pipeline.enableTexturing(makeTexture(2));
    EXPECT_EQ(uniform("u_texType"), 2);
    pipeline.enableTexturing(
        Texture(Texture::Target::TextureRectangle, Vector3i::Ones(), InternalFormat::R8));
    EXPECT_EQ(uniform("u_texType"), 0);
    pipeline.disable();
    setDpiScale(1);
}

TEST_F(FixedFunctionPipelineGL, WideLinesHaveTheirWidthAndStipple) {
    const Picture picture =
        drawLine(Selection::WideLines, Primitive::Lines, {{8, 32.5F, 0}, {60, 32.5F, 0}}, [](auto& pipeline) {
            pipeline.setLineWidth(5);
            pipeline.setStippleFactor(3);
            pipeline.setStipplePattern(0x0005);
        });
    for (int i = 0; i < edge * edge; ++i) {
        const int x = i % edge - 8;
        const bool set = std::abs(i / edge - 32) <= 2 && x >= 0 && x < 52 && (0x5 >> x / 3 % 16 & 1) != 0;
        EXPECT_EQ(int(picture[std::size_t(i)].x()), set ? 102 : 0) << i % edge << ", " << i / edge;
    }
}

// A strip with a right, a blunt and a very sharp turn: all of its segments are covered, no pixel twice, and
// nothing that is farther away than a mitre reaches.
TEST_F(FixedFunctionPipelineGL, NeighboursJoinWithoutGapOrOverlap) {
    const std::vector<Vector3f> points{{6, 6, 0},  {6, 6, 0},   {6, 56, 0},  {30, 44, 0},
                                       {35, 8, 0}, {42, 58, 0}, {58, 12, 0}, {58, 12, 0}};
    const float half = 3.5F;
    const Picture picture = drawLine(Selection::WideLinesAdjacency, Primitive::LineStripAdjacency, points,
                                     [](auto& pipeline) { pipeline.setLineWidth(7); });
    for (int i = 0; i < edge * edge; ++i) {
        const Vector3f pixel(float(i % edge) + 0.5F, float(i / edge) + 0.5F, 0);
        bool covered = false;
        float distance = edge;
        for (std::size_t k = 1; k + 2 < points.size(); ++k) {
            const Vector3f line = points[k + 1] - points[k];
            const float along = (pixel - points[k]).dot(line) / line.squaredNorm();
            const float nearest = (pixel - points[k] - std::clamp(along, 0.F, 1.F) * line).norm();
            covered = covered || (along > 0.01F && along < 0.99F && nearest < half - 0.1F);
            distance = std::min(distance, nearest);
        }
        const int value = picture[std::size_t(i)].x();
        EXPECT_TRUE(value == 102 || (value == 0 && !covered)) << value << " at " << pixel.transpose();
        EXPECT_TRUE(value == 0 || distance < 4 * half) << pixel.transpose();
    }
}

TEST_F(FixedFunctionPipelineGL, LinesAreClippedAtTheNearPlane) {
    const ViewState view({0, 0, edge, edge}, createPerspective(1, 1, 1, 20), Matrix4d::Identity());
    const auto wide = [](auto& pipeline) { pipeline.setLineWidth(6); };
    const Vector3f far(-0.8F, 0.9F, -4);
    const Vector3f near(0.1F, -0.3F, -1);
    const Vector3f behind = near + (near - far);
    const Picture expected = drawLine(Selection::WideLines, Primitive::Lines, {far, near}, wide, view);
    EXPECT_EQ(drawLine(Selection::WideLines, Primitive::Lines, {far, behind}, wide, view), expected);
    EXPECT_EQ(drawLine(Selection::WideLinesAdjacency, Primitive::LineStripAdjacency,
                       {far, far, behind, behind + Vector3f(1, 1, 1), behind}, wide, view),
              expected);
}

TEST_F(FixedFunctionPipelineGL, TransparencyTakesTheFragmentsOfEachProgram) {
    if (!OrderIndependentTransparency::isSupported())
        GTEST_SKIP() << "needs OpenGL 4.4";
    OrderIndependentTransparency transparency;
    Texture background(Vector3i(edge, edge, 1), InternalFormat::RGBA8);
    Texture depth(Vector3i(edge, edge, 1), InternalFormat::DepthComponent32F);
    background.clear(Vector4f(0, 0, 0, 1));
    depth.clear(Vector4f(1, 1, 1, 1));
    const std::vector<Vector3f> points{
        {-0.9F, -0.6F, 0.5F}, {-0.9F, -0.6F, 0.5F}, {0, 0.8F, 0}, {0.9F, -0.6F, -0.5F}, {0.9F, -0.6F, -0.5F}};
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    buffer.setData(points);
    const ViewState view({0, 0, edge, edge}, Matrix4d::Identity(), Matrix4d::Identity());
    auto& pipeline = *FixedFunctionPipeline::get();
    for (const auto& [selection, primitive] :
         {std::pair(Selection::Plain, Primitive::Points),
          {Selection::WideLines, Primitive::LineStrip},
          {Selection::WideLinesAdjacency, Primitive::LineStripAdjacency}}) {
        const auto draw = [&, s = selection, p = primitive](const OrderIndependentTransparency* target) {
            pipeline.enable(view, s, target);
            pipeline.setDefaultColor(Eigen::Vector4d(1, 0.5, 0.2, 0.4));
            pipeline.setPointSize(9);
            pipeline.setLineWidth(9);
            pipeline.setStipplePattern(0x0FFF);
            pipeline.enablePointSmoothing();
            buffer.draw(p);
            pipeline.disable();
        };
        transparency.reset({edge, edge}, false);
        const Picture gathered = render([&] {
            draw(&transparency);
            EXPECT_FALSE(GL::getBool(GL_BLEND));
            transparency.renderBlendedFragments(background, depth);
        });
        expectAlike(gathered, render([&] {
                        glEnable(GL_BLEND);
                        glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE,
                                            GL_ONE_MINUS_SRC_ALPHA);
                        draw(nullptr);
                    }),
                    "transparency");
    }
}

} // namespace

} // namespace Veltrand::GL
