// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "gallery/LegacyScene.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/FixedFunctionPipeline.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace Veltrand::Apps {

namespace {

using GL::Primitive;
using Selection = GL::FixedFunctionPipeline::ShaderSelection;

const Eigen::Vector3f TextColor(0.92F, 0.92F, 0.92F);

/// Calls a function that only compatibility contexts have.
template<class... Args>
void legacy(const char* name, Args... args) {
    reinterpret_cast<void (*)(Args...)>(GL::entryPoint(name))(args...);
}

constexpr GL::GLenum PointSmooth = 0x0B10; // GL_POINT_SMOOTH
constexpr GL::GLenum LineStipple = 0x0B24; // GL_LINE_STIPPLE

bool hasLegacyPipeline() {
    constexpr GL::GLenum contextProfileMask = 0x9126; // GL_CONTEXT_PROFILE_MASK
    constexpr int compatibilityProfile = 0x2;         // GL_CONTEXT_COMPATIBILITY_PROFILE_BIT
    return (GL::getInt(contextProfileMask) & compatibilityProfile) != 0;
}

void drawByDriver(const LegacyFigure& figure) {
    const auto target = figure.texture ? static_cast<GL::GLenum>(figure.texture->target()) : 0;
    if (figure.texture) {
        figure.texture->bind(0);
        legacy("glEnable", target);
    }
    legacy("glPointSize", figure.size);
    legacy("glLineWidth", figure.size);
    legacy(figure.smoothPoints ? "glEnable" : "glDisable", PointSmooth);
    legacy(figure.stipplePattern != 0xFFFF ? "glEnable" : "glDisable", LineStipple);
    legacy("glLineStipple", figure.stippleFactor, figure.stipplePattern);
    legacy("glBegin", static_cast<GL::GLenum>(figure.primitive));
    for (const LegacyVertex& vertex : figure.vertices) {
        legacy("glColor4fv", vertex.color.data());
        legacy("glTexCoord3fv", vertex.texCoord.data());
        legacy("glVertex3fv", vertex.position.data());
    }
    legacy("glEnd");
    if (figure.texture)
        legacy("glDisable", target);
}

void drawByDriver(const LegacyScene& scene) {
    const GL::Blending blending(GL::Blending::Preset::Alpha);
    for (const LegacyView& part : scene.views()) {
        part.view.viewport().set();
        (void)part.view.setLegacyGlMatrixStack();
        for (const LegacyFigure& figure : part.figures)
            drawByDriver(figure);
    }
}

bool isLine(Primitive primitive) {
    return primitive == Primitive::Lines || primitive == Primitive::LineStrip ||
           primitive == Primitive::LineLoop;
}

/// The vertices of a strip or a loop with the neighbours of its ends.
std::vector<LegacyVertex> withNeighbours(const LegacyFigure& figure) {
    std::vector<LegacyVertex> vertices = figure.vertices;
    const bool loop = figure.primitive == Primitive::LineLoop;
    const LegacyVertex first = vertices.front();
    const LegacyVertex second = vertices.at(1);
    const LegacyVertex last = vertices.back();
    vertices.insert(vertices.begin(), loop ? last : first);
    if (loop)
        vertices.insert(vertices.end(), {first, second});
    else
        vertices.push_back(last);
    return vertices;
}

void draw(const LegacyFigure& figure, const GL::ViewState& view) {
    // [snippet]
    const bool joined = figure.primitive == Primitive::LineStrip || figure.primitive == Primitive::LineLoop;
    const Selection lines = joined ? Selection::WideLinesAdjacency : Selection::WideLines;
    GL::FixedFunctionPipeline& pipeline = *GL::FixedFunctionPipeline::get();
    pipeline.enable(view, isLine(figure.primitive) ? lines : Selection::Plain, nullptr);
    pipeline.setPointSize(static_cast<double>(figure.size));
    pipeline.setLineWidth(static_cast<double>(figure.size));
    pipeline.setStippleFactor(figure.stippleFactor);
    pipeline.setStipplePattern(figure.stipplePattern);
    if (figure.smoothPoints)
        pipeline.enablePointSmoothing();
    if (figure.texture)
        pipeline.enableTexturing(*figure.texture);
    // [/snippet]
    std::vector<Eigen::Vector3f> positions;
    std::vector<Eigen::Vector3f> texCoords;
    std::vector<Eigen::Vector4f> colors;
    for (const LegacyVertex& vertex : joined ? withNeighbours(figure) : figure.vertices) {
        positions.push_back(vertex.position);
        texCoords.push_back(vertex.texCoord);
        colors.push_back(vertex.color);
    }
    // [snippet]
    GL::VertexBuffer buffer(GL::Buffer::Usage::StreamDraw);
    buffer.setData(positions, texCoords, colors);
    buffer.draw(joined ? Primitive::LineStripAdjacency : figure.primitive);
    pipeline.disable();
    // [/snippet]
}

/// Draws the scene into an image of its own.
template<class Draw>
GL::Texture render(const Eigen::Vector2i& size, const Draw& draw) {
    GL::Texture image(Eigen::Vector3i(size.x(), size.y(), 1), GL::InternalFormat::RGBA8);
    GL::Framebuffer framebuffer;
    const GL::StateGuard guard = framebuffer.guardedBind();
    framebuffer.attach(image, 0);
    framebuffer.setDrawBuffers();
    GL::clearColorBuffer(Eigen::Vector4f(0.08F, 0.08F, 0.1F, 1));
    draw();
    return image;
}

GL::Texture renderByPipeline(const Eigen::Vector2i& size, const LegacyScene& scene) {
    return render(size, [&scene] {
        const GL::Blending blending(GL::Blending::Preset::Alpha);
        for (const LegacyView& part : scene.views()) {
            part.view.viewport().set();
            for (const LegacyFigure& figure : part.figures)
                draw(figure, part.view);
        }
    });
}

/// Makes a compatibility context for it; null where there is none.
std::unique_ptr<GL::Texture> renderByDriver(const Eigen::Vector2i& size, const LegacyScene& scene) {
    GL::Context::CreateInfo wanted;
    wanted.compatibility = true;
    wanted.sharedContext = GL::ContextManager::get().mainContext()->internalHandle();
    std::unique_ptr<GL::Context> context = GL::Context::create(wanted);
    std::unique_ptr<GL::Texture> image;
    bool failed = false;
    if (context && hasLegacyPipeline()) {
        image = std::make_unique<GL::Texture>(render(size, [&scene] { drawByDriver(scene); }));
        failed = GL::Debug::check() != GL::Debug::Error::NoError;
        GL::finish();
    }
    context.reset();
    GL::ContextManager::makeCurrent();
    if (failed)
        throw std::runtime_error("the driver's own pipeline reports errors.");
    return image;
}

void showImage(const GL::Texture& image, int x, int y) {
    const Eigen::Matrix4d identity = Eigen::Matrix4d::Identity();
    const GL::ViewState view({x, y, image.width(), image.height()}, identity, identity);
    view.viewport().set();
    const std::vector<Eigen::Vector2f> corners{{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
    GL::FixedFunctionPipeline& pipeline = *GL::FixedFunctionPipeline::get();
    pipeline.enable(view, Selection::Plain, nullptr);
    pipeline.setDefaultColor(Eigen::Vector3d(1, 1, 1));
    pipeline.enableTexturing(image);
    pipeline.setTexCoordTransform({0.5, 0.5, 1}, {0.5, 0.5, 0});
    GL::VertexBuffer square(GL::Buffer::Usage::StreamDraw);
    square.setData(corners, corners);
    square.draw(Primitive::TriangleFan);
    pipeline.disable();
}

} // namespace

std::string drawFixedFunction(const Scene& scene, const Canvas& canvas) {
    constexpr int gap = 8;
    constexpr int captionHeight = 40;
    const Eigen::Vector2i size(canvas.size().x() / 2 - 2 * gap, canvas.size().y() - captionHeight - gap);
    const LegacyScene drawing(scene, size);
    const int rightHalf = canvas.size().x() / 2;
    const int captionScale = std::clamp(rightHalf / 400, 1, 4);
    const LabelPainter labels(canvas);
    const auto show = [&](const GL::Texture& image, int left, const std::string& caption) {
        showImage(image, left + gap, captionHeight);
        labels.drawText(caption, left + rightHalf / 2, captionHeight / 2, captionScale, TextColor);
    };
    show(renderByPipeline(size, drawing), 0, "Core context");
    const auto theirs = renderByDriver(size, drawing);
    if (theirs)
        show(*theirs, rightHalf, "Fixed function");
    else
        labels.drawText("No fixed function", rightHalf * 3 / 2, canvas.size().y() / 2, captionScale,
                        TextColor);
    return "Points, lines, dashes, a colour cube and a slice through " + scene.name + " in a box, " +
           (theirs ? "twice: as the library draws them on the left, and as the driver does on the right."
                   : "as the library draws them; the driver has no fixed function of its own.");
}

} // namespace Veltrand::Apps
