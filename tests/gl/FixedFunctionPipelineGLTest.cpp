// SPDX-License-Identifier: BSD-3-Clause
#include "support/CallCounter.h"
#include "support/GLFixture.h"

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

} // namespace

} // namespace Veltrand::GL
