// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/Context.h>
#include <Veltrand/GL/FixedFunctionPipeline.h>
#include <Veltrand/GL/IndexBuffer.h>

namespace Veltrand::GL {

namespace {

using Color = Eigen::Vector4i;
using Picture = std::vector<Color>; // of edge x edge pixels
using Selection = FixedFunctionPipeline::ShaderSelection;

constexpr int edge = 64;
const Vector3d texCoordScaling(0.8, 1.2, 0.5);
const Vector3d texCoordOffset(0.1, -0.1, 0.3);

struct Drawing {
    const char* name;
    Primitive primitive;
    int dimensions = 0; // of the texture
    float pointSize = 1;
    bool smooth = false;
};

constexpr Drawing drawings[] = {
    {"points", Primitive::Points},
    {"odd points", Primitive::Points, 0, 7},
    {"smooth points", Primitive::Points, 0, 9, true},
    {"textured points", Primitive::Points, 2, 8},
    {"line loop", Primitive::LineLoop},
    {"triangles beside smooth points", Primitive::TriangleFan, 0, 9, true},
    {"1D texture", Primitive::TriangleFan, 1},
    {"2D texture", Primitive::TriangleFan, 2},
    {"3D texture", Primitive::TriangleFan, 3},
};

struct Vertices {
    explicit Vertices(const Drawing& drawing) {
        for (int i = 0; i < 10; ++i) {
            const float angle = float(i) * 0.7F;
            positions.emplace_back(0.9F * std::cos(angle), 0.8F * std::sin(angle), 0.05F * float(i));
            // The driver gets the edges of faint smooth points wrong.
            colors.emplace_back(float(i % 2), float(i % 3) / 2, float(i % 5) / 4,
                                drawing.smooth ? 1 : 1 - float(i) / 20);
        }
    }
    std::vector<Vector3f> positions;
    std::vector<Vector4f> colors;
};

const ViewState pixelView({0, 0, edge, edge}, createOrtho2d(edge, edge), Matrix4d::Identity());
const ViewState perspective({0, 0, edge, edge}, createPerspective(1, 1, 1, 20), Matrix4d::Identity());

// Seen from above and to the side, so that depth matters.
ViewState perspectiveView() {
    Eigen::Affine3d camera = Eigen::Affine3d::Identity();
    camera.translate(Vector3d(0.1, 0, -3)).rotate(Eigen::AngleAxisd(-0.9, Vector3d(1, 0.4, 0).normalized()));
    return {{0, 0, edge, edge}, createPerspective(0.9, 1, 1, 10), camera.matrix()};
}

Texture makeTexture(int dimensions) {
    Texture texture(Vector3i(8, dimensions > 1 ? 8 : 1, dimensions > 2 ? 8 : 1), InternalFormat::RGBA8);
    std::vector<Vector4f> texels;
    for (std::size_t i = 0; i < texture.numTexels(); ++i) // x, y and z are red, green and blue
        texels.emplace_back(float(i % 8) / 7, 1 - float(i / 8 % 8) / 7, float(i / 64 % 8) / 7,
                            1 - float(i % 3) / 4);
    texture.upload(texels);
    return texture;
}

Picture render(const std::function<void()>& draw) {
    const RenderTarget target(edge, edge);
    clearColorBuffer(Vector4f(0, 0, 0, 1));
    draw();
    Picture picture;
    for (const auto& texel : target.texture().download<Eigen::Matrix<unsigned char, 4, 1>>())
        picture.push_back(texel.cast<int>());
    return picture;
}

Picture renderBlended(const std::function<void()>& draw) {
    return render([&draw] {
        glEnable(GL_BLEND);
        glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        draw();
    });
}

void drawOurs(const Drawing& drawing, const OrderIndependentTransparency* transparency) {
    const Texture texture = makeTexture(drawing.dimensions);
    auto& pipeline = *FixedFunctionPipeline::get();
    pipeline.enable(perspectiveView(), Selection::Plain, transparency);
    pipeline.setPointSize(double(drawing.pointSize));
    if (drawing.smooth)
        pipeline.enablePointSmoothing();
    if (drawing.dimensions > 0)
        pipeline.enableTexturing(texture);
    pipeline.setTexCoordTransform(texCoordScaling, texCoordOffset);
    const Vertices vertices(drawing);
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    buffer.setData(vertices.positions, vertices.positions, vertices.colors);
    buffer.draw(drawing.primitive);
    pipeline.disable();
}

// A call of the driver's own pipeline, which the loader does not know.
template<class... Args>
void legacy(const char* name, Args... args) {
    reinterpret_cast<void (*)(Args...)>(entryPoint(name))(args...);
}

void drawTheirs(const Drawing& drawing) {
    constexpr GLenum textureMatrix = 0x1702; // GL_TEXTURE
    constexpr GLenum pointSmooth = 0x0B10;   // GL_POINT_SMOOTH
    const Texture texture = makeTexture(drawing.dimensions);
    EXPECT_TRUE(perspectiveView().setLegacyGlMatrixStack());
    legacy("glMatrixMode", textureMatrix);
    legacy("glLoadIdentity");
    legacy("glTranslated", texCoordOffset.x(), texCoordOffset.y(), texCoordOffset.z());
    legacy("glScaled", texCoordScaling.x(), texCoordScaling.y(), texCoordScaling.z());
    glPointSize(drawing.pointSize);
    (drawing.smooth ? glEnable : glDisable)(pointSmooth);
    (drawing.dimensions > 0 ? glEnable : glDisable)(GLenum(texture.target()));
    legacy("glBegin", GLenum(drawing.primitive));
    const Vertices vertices(drawing);
    for (std::size_t i = 0; i < vertices.positions.size(); ++i) {
        legacy("glTexCoord3fv", vertices.positions[i].data());
        legacy("glColor4fv", vertices.colors[i].data());
        legacy("glVertex3fv", vertices.positions[i].data());
    }
    legacy("glEnd");
    glDisable(GLenum(texture.target()));
}

// Equal to 2/255 where the second picture is smooth around a pixel; at its edges, within what is there.
void expectAlike(const Picture& ours, const Picture& theirs, const char* name) {
    EXPECT_NE(theirs, Picture(theirs.size(), Color(0, 0, 0, 255))) << name;
    for (std::size_t i = edge + 1; i < theirs.size() - edge - 1; ++i) {
        Color low = theirs[i];
        Color high = theirs[i];
        for (const std::size_t row : {i - edge, i, i + edge})
            for (const std::size_t pixel : {row - 1, row, row + 1}) {
                low = low.cwiseMin(theirs[pixel]);
                high = high.cwiseMax(theirs[pixel]);
            }
        if ((high - low).maxCoeff() < 40)
            low = high = theirs[i];
        EXPECT_LE(std::max((low - ours[i]).maxCoeff(), (ours[i] - high).maxCoeff()), 2)
            << name << " at " << i % edge << ", " << i / edge << ": " << ours[i].transpose() << " for "
            << theirs[i].transpose();
    }
}

// Run in the core profile and, with an environment of its own, in the compatibility profile.
class FixedFunctionPipelineGL : public GLFixture {};

TEST_F(FixedFunctionPipelineGL, DrawsWhatTheDriversOwnPipelineDraws) {
    auto context = Context::create({.version = {}, .compatibility = true});
    const bool hasPipeline =
        context && (getInt(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT) != 0;
    for (const Drawing& drawing : drawings) {
        if (!hasPipeline)
            break;
        context->makeCurrent();
        const Picture theirs = renderBlended([&drawing] { drawTheirs(drawing); });
        EXPECT_EQ(Debug::check(false), Debug::Error::NoError);
        ASSERT_TRUE(ContextManager::makeCurrent());
        expectAlike(renderBlended([&drawing] { drawOurs(drawing, nullptr); }), theirs, drawing.name);
    }
    context.reset();
    ASSERT_TRUE(ContextManager::makeCurrent());
    if (!hasPipeline)
        GTEST_SKIP() << "there is no compatibility context";
}

TEST_F(FixedFunctionPipelineGL, BuildsProgramsWhenNeededAndTriesAgain) {
    FixedFunctionPipeline pipeline; // the context's own may have built them for another test
    const auto enable = [&] { pipeline.enableWithoutReset(Selection::WideLinesAdjacency, nullptr); };
    {
        const ScopedEntryPoint broken(glad_glCompileShader, [](GLuint) {});
        EXPECT_THROW(enable(), std::runtime_error);
        (void)log().take("GL.Program");
    }
    CallCounter<glad_glLinkProgram> links;
    enable();
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    buffer.setData(std::vector<Vector3f>(4, Vector3f::Zero()));
    buffer.draw(Primitive::LinesAdjacency); // before any reset, and still no error
    enable();
    EXPECT_EQ(links.take(), 1);
    pipeline.disable();
}

TEST_F(FixedFunctionPipelineGL, SettersAndResetReachTheContext) {
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
    auto& pipeline = *FixedFunctionPipeline::get();
    setDpiScale(1.5);
    for (int again = 0; again < 2; ++again) {
        pipeline.enable(perspectiveView(), Selection::WideLines, nullptr);
        EXPECT_EQ(uniform("u_lineWidth"), 1);
        EXPECT_EQ(uniform("u_stipplePattern"), 0xFFFF);
        EXPECT_EQ(color(), Vector4f(0, 0, 0, 1));
        pipeline.setLineWidth(2);
        EXPECT_EQ(uniform("u_lineWidth"), 3);
        pipeline.setStipplePattern(7);
        pipeline.setDefaultColor(Vector3d(1, 0, 0));
        EXPECT_EQ(color(), Vector4f(1, 0, 0, 1));
    }
    pipeline.enable(perspectiveView(), Selection::Plain, nullptr);
    pipeline.setPointSize(2);
    EXPECT_EQ(uniform("u_pointSize"), 3);
    setDpiScale(1);
    CallCounter<glad_glEnable> enabled;
    pipeline.enablePointSmoothing();
    EXPECT_EQ(enabled.take(), ContextManager::useCoreContext() ? 0 : 1);
    pipeline.enableTexturing(
        Texture(Texture::Target::TextureRectangle, Vector3i::Ones(), InternalFormat::R8));
    EXPECT_EQ(uniform("u_texType"), 0);
    pipeline.disable();
}

// The opacities of its pixels add up to the area of the disc, wherever it lies.
TEST_F(FixedFunctionPipelineGL, SmoothPointsCoverTheAreaOfTheirDisc) {
    for (const double size : {0.5, 1.0, 1.5, 2.0, 2.7, 3.0, 5.0, 20.0})
        for (const Vector3f& at :
             {Vector3f(32, 32, 0), Vector3f(31.5F, 20.5F, 0), Vector3f(31.75F, 20.4F, 0)}) {
            const RenderTarget target(edge, edge, InternalFormat::RGBA32F);
            auto& pipeline = *FixedFunctionPipeline::get();
            pipeline.enable(pixelView, Selection::Plain, nullptr);
            pipeline.setPointSize(size);
            pipeline.enablePointSmoothing();
            VertexBuffer buffer(Buffer::Usage::StaticDraw);
            buffer.setData(std::vector<Vector3f>{at});
            buffer.draw(Primitive::Points);
            pipeline.disable();
            double sum = 0;
            for (const auto& texel : target.texture().download<Vector4f>())
                sum += double{texel.w()};
            const double area = std::numbers::pi * size * size / 4;
            EXPECT_NEAR(sum, area, 0.015 * area) << size << " at " << at.transpose();
        }
}

// Additive, so that a pixel that is drawn twice shows it.
Picture drawLine(const ViewState& view, Primitive primitive, float width, const std::vector<Vector3f>& points,
                 unsigned short pattern = 0xFFFF) {
    return render([&] {
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE);
        auto& pipeline = *FixedFunctionPipeline::get();
        pipeline.enable(view,
                        primitive == Primitive::LineStripAdjacency ? Selection::WideLinesAdjacency
                                                                   : Selection::WideLines,
                        nullptr);
        pipeline.setDefaultColor(Vector3d(0.4, 0.4, 0.4)); // 102 of 255
        pipeline.setLineWidth(double(width));
        pipeline.setStippleFactor(3);
        pipeline.setStipplePattern(pattern);
        VertexBuffer buffer(Buffer::Usage::StaticDraw);
        buffer.setData(points);
        buffer.draw(primitive);
        pipeline.disable();
    });
}

// The centre of a pixel.
Vector3f centre(std::size_t pixel) {
    return Vector3i(int(pixel % edge), int(pixel / edge), 0).cast<float>() + Vector3f(0.5F, 0.5F, 0);
}

TEST_F(FixedFunctionPipelineGL, WideLinesHaveTheirWidthAndStipple) {
    const Picture picture = drawLine(pixelView, Primitive::Lines, 5, {{8, 32.5F, 0}, {60, 32.5F, 0}}, 0x0005);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        const Vector3f at = centre(i) - Vector3f(8, 32.5F, 0);
        const bool set =
            std::abs(at.y()) < 2.5F && at.x() > 0 && at.x() < 52 && (5 >> int(at.x()) / 3 % 16 & 1) != 0;
        EXPECT_EQ(picture[i].x(), set ? 102 : 0) << centre(i).transpose();
    }
}

// Whether a line is cut into short segments does not show; each pair of points for itself begins anew.
TEST_F(FixedFunctionPipelineGL, StippleRunsOnThroughStripsAndLoops) {
    const Vector3f a(4, 20.5F, 0);
    const Vector3f b(60, 20.5F, 0);
    std::vector<Vector3f> shortSteps;
    for (int i = 0; i <= 56; i += i % 3 + 2)
        shortSteps.push_back(a + Vector3f(float(i), 0, 0));
    shortSteps.push_back(b);
    std::vector<Vector3f> withNeighbours = shortSteps;
    withNeighbours.insert(withNeighbours.begin(), a);
    withNeighbours.push_back(b);
    for (const unsigned short pattern : std::initializer_list<unsigned short>{0x00FF, 0xFF00, 0x0F0F}) {
        const Picture whole = drawLine(pixelView, Primitive::Lines, 5, {a, b}, pattern);
        EXPECT_EQ(drawLine(pixelView, Primitive::LineStrip, 5, shortSteps, pattern), whole) << pattern;
        EXPECT_EQ(drawLine(pixelView, Primitive::LineStripAdjacency, 5, withNeighbours, pattern), whole);
        EXPECT_NE(drawLine(pixelView, Primitive::Lines, 5, shortSteps, pattern), whole);
        // The last segment of a loop goes back over the line, from where the pattern is at its end.
        const Picture loop = drawLine(pixelView, Primitive::LineLoop, 5, {a, b}, pattern);
        const Picture backAndForth = drawLine(pixelView, Primitive::LineStrip, 5, {a, b, a}, pattern);
        EXPECT_EQ(loop, backAndForth);
        // What lies behind the eye has no length.
        const Vector3f seen(0.5F, 0.5F, -3);
        const Vector3f behind(-0.5F, -0.7F, 1);
        EXPECT_EQ(drawLine(perspective, Primitive::LineStrip, 5, {behind, seen, {0.2F, -0.9F, -2}}, pattern),
                  drawLine(perspective, Primitive::LineStrip, 5,
                           {seen + 0.5F * (behind - seen), seen, {0.2F, -0.9F, -2}}, pattern));
    }
    // By indices it cannot, which is told once.
    FixedFunctionPipeline pipeline;
    pipeline.enable(pixelView, Selection::WideLines, nullptr);
    pipeline.setStipplePattern(0x00FF);
    VertexBuffer buffer(Buffer::Usage::StaticDraw);
    buffer.setData(shortSteps);
    IndexBuffer indices(Buffer::Usage::StaticDraw);
    indices.setData(std::vector<unsigned char>{0, 1, 2});
    for (const Primitive mode : {Primitive::Lines, Primitive::LineStrip, Primitive::LineLoop})
        buffer.draw(mode, indices);
    IndexBuffer::unbind();
    pipeline.disable();
    EXPECT_EQ(log().take("GL.FixedFunctionPipeline").size(), 1U);
}

// A strip with right, blunt and very sharp turns: all of its segments are covered, and no pixel twice.
TEST_F(FixedFunctionPipelineGL, NeighboursJoinWithoutGapOrOverlap) {
    const float half = 3.5F;
    const std::vector<Vector3f> points{{6, 6, 0},  {6, 6, 0},   {6, 56, 0},  {30, 44, 0},
                                       {35, 8, 0}, {42, 58, 0}, {58, 12, 0}, {58, 12, 0}};
    const Picture picture = drawLine(pixelView, Primitive::LineStripAdjacency, 2 * half, points);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        bool covered = false;
        for (std::size_t k = 1; k + 2 < points.size(); ++k) {
            const Vector3f line = points[k + 1] - points[k];
            const float along = (centre(i) - points[k]).dot(line) / line.squaredNorm();
            const float nearest = (centre(i) - points[k] - std::clamp(along, 0.F, 1.F) * line).norm();
            covered = covered || (along > 0.01F && along < 0.99F && nearest < half - 0.1F);
        }
        const int value = picture[i].x();
        EXPECT_TRUE(value == 102 || (value == 0 && !covered)) << value << " at " << centre(i).transpose();
    }
}

TEST_F(FixedFunctionPipelineGL, LinesAreClippedAtTheNearPlane) {
    const Vector3f far(-0.8F, 0.9F, -4);
    const Vector3f near(0.1F, -0.3F, -1);
    const Vector3f behind = near + (near - far);
    const Picture expected = drawLine(perspective, Primitive::Lines, 6, {far, near});
    EXPECT_EQ(drawLine(perspective, Primitive::Lines, 6, {far, behind}), expected);
    EXPECT_EQ(drawLine(perspective, Primitive::LineStripAdjacency, 6,
                       {far, far, behind, behind + Vector3f(1, 1, 1), behind}),
              expected);
}

TEST_F(FixedFunctionPipelineGL, TransparencyTakesTheFragments) {
    if (!OrderIndependentTransparency::isSupported())
        GTEST_SKIP() << "needs OpenGL 4.4";
    OrderIndependentTransparency transparency;
    Texture background({edge, edge, 1}, InternalFormat::RGBA8);
    Texture depth({edge, edge, 1}, InternalFormat::DepthComponent32F);
    background.clear(Vector4f(0, 0, 0, 1));
    depth.clear(Vector4f(1, 1, 1, 1));
    for (const Drawing& drawing : drawings) {
        transparency.reset({edge, edge}, false);
        const Picture gathered = render([&] {
            drawOurs(drawing, &transparency);
            transparency.renderBlendedFragments(background, depth);
        });
        expectAlike(gathered, renderBlended([&] { drawOurs(drawing, nullptr); }), drawing.name);
    }
}

} // namespace

} // namespace Veltrand::GL
