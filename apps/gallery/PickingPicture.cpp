// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "scene/Annotator.h"
#include "scene/RegionModel.h"
#include "scene/RegionNames.h"
#include "scene/VolumeTexture.h"
#include "support/OutputFile.h"

#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/TextRenderer.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Veltrand::Apps {

namespace {

using RenderBuffer = GL::OffscreenRenderHelper::RenderBuffer;

/// Pixels that are drawn and picked in, per pixel of the picture and direction, as on a dense screen with
/// this many pixels per point.
constexpr int Scale = 2;

/// A place where the user clicks, in points from the picture's upper left corner, and what is seen there.
struct Click {
    const char* panel;
    Eigen::Vector2i point;
    std::optional<unsigned> region;
};

/// A slice with its regions.
class RegionSlice {
public:
    explicit RegionSlice(const Scene& scene)
        : m_scene(scene)
        , m_program(GL::Program::createVertexFragment("VeltrandScene/Panel.vert",
                                                      "VeltrandGallery/RegionSlice.frag", "",
                                                      GL::Program::Compilation::ImmediateThrow)) {
        if (scene.labels != nullptr)
            m_labels = std::make_unique<GL::Texture>(uploadVolume(*scene.labels));
    }

    void draw(const PixelRect& rect, const Eigen::Affine3d& panelToPatient, const GL::ObjectPicking& picking,
              const void* object) const {
        const Volume& labels = m_scene.labels != nullptr ? *m_scene.labels : m_scene.volume;
        const Window window = textureWindow(m_scene.volume, m_scene.window);
        const Window numbers = textureWindow(labels, {0, 1});
        // Without regions, numbers beyond every value leave the volume alone as the labels.
        const double one = m_labels ? numbers.high : 1e9;
        setViewport(rect);
        // [snippet]
        m_program->enable();
        picking.enable(*m_program, object);
        // [/snippet]
        m_program->setArgument("volume", m_scene.texture);
        m_program->setArgument("labels", m_labels ? *m_labels : m_scene.texture);
        m_program->setArgument("panelToTexture",
                               (patientToTexture(m_scene.volume) * panelToPatient).matrix().eval());
        m_program->setArgument("panelToLabels", (patientToTexture(labels) * panelToPatient).matrix().eval());
        m_program->setArgument("window", Eigen::Vector2d(window.low, window.high));
        m_program->setArgument("labelWindow", Eigen::Vector2d(numbers.low, one));
        GL::FullscreenSquare::get()->drawFilled();
        m_program->disable();
    }

private:
    const Scene& m_scene;
    std::unique_ptr<GL::Program> m_program;
    std::unique_ptr<GL::Texture> m_labels;
};

PixelRect scaled(const PixelRect& rect) {
    return {Scale * rect.x, Scale * rect.y, Scale * rect.width, Scale * rect.height};
}

/// The largest rectangle of the shape of @p shape in the middle of @p room.
PixelRect fitted(const PixelRect& shape, const PixelRect& room) {
    const double scale = std::min(static_cast<double>(room.width) / shape.width,
                                  static_cast<double>(room.height) / shape.height);
    const int width = std::max(1, static_cast<int>(shape.width * scale));
    const int height = std::max(1, static_cast<int>(shape.height * scale));
    return {room.x + (room.width - width) / 2, room.y + (room.height - height) / 2, width, height};
}

/// Rows of clicks over a panel, every second one shifted by half a step.
void addClicks(std::vector<Click>& clicks, const char* panel, const PixelRect& rect, int pictureHeight) {
    constexpr int Columns = 4;
    constexpr int Rows = 13;
    for (int row = 0; row < Rows; ++row)
        for (int column = 0; column < Columns; ++column) {
            const int x = rect.width * (4 * column + 1 + 2 * (row % 2)) / (4 * Columns);
            const int y = rect.height * (2 * row + 1) / (2 * Rows);
            clicks.push_back({panel, {rect.x + x, pictureHeight - 1 - (rect.y + y)}, std::nullopt});
        }
}

/// Marks clicks and writes on the framebuffer that is bound, at pixels from its lower left corner.
class Marker {
public:
    explicit Marker(const Eigen::Vector2i& size)
        : m_size(size) {}

    void text(const std::string& text, const Eigen::Vector2d& topCenter, int points) const {
        label(text, topCenter, points, GL::TextRenderer::AlignmentV::Top);
    }

    /// A dot where the click was, and below it the answer, or above it at the lower edge.
    void answer(const Scene& scene, const Click& click) const {
        const int x = click.point.x();
        const int y = m_size.y() - 1 - click.point.y();
        const int radius = click.region ? 2 : 1;
        LabelPainter::fill({x - radius - 1, y - radius - 1, 2 * radius + 3, 2 * radius + 3}, {0, 0, 0});
        LabelPainter::fill({x - radius, y - radius, 2 * radius + 1, 2 * radius + 1}, {1, 1, 1});
        if (!click.region)
            return;
        const int points = std::min(m_size.y() / 90, m_size.x() / 200);
        const bool fits = y > 2 * points + 4 * radius;
        label(shownRegionName(scene.regionNames, *click.region),
              Eigen::Vector2d(x, fits ? y - radius - 5 : y + radius + 5), points,
              fits ? GL::TextRenderer::AlignmentV::Top : GL::TextRenderer::AlignmentV::Bottom);
    }

private:
    void label(const std::string& text, const Eigen::Vector2d& place, int points,
               GL::TextRenderer::AlignmentV alignment) const {
        const Annotator annotator({0, 0, m_size.x(), m_size.y()}, std::max(5, points));
        annotator.label(text, place, annotator.font({1, 1, 1, 1}), GL::TextRenderer::AlignmentH::Center,
                        alignment);
    }

    Eigen::Vector2i m_size;
};

void writeAnswers(const Scene& scene, const std::vector<Click>& clicks) {
    std::ostringstream text;
    text << "[\n";
    for (std::size_t i = 0; i < clicks.size(); ++i) {
        const Click& click = clicks[i];
        text << "  {\"panel\": \"" << click.panel << "\", \"point\": [" << click.point.x() << ", "
             << click.point.y() << "], \"region\": ";
        if (click.region)
            text << *click.region << ", \"name\": \"" << regionName(scene.regionNames, *click.region)
                 << "\"}";
        else
            text << "null, \"name\": null}";
        text << (i + 1 < clicks.size() ? ",\n" : "\n");
    }
    text << "]\n";
    writeText(scene.directory / "picking.json", text.str());
}

} // namespace

std::string drawPicking(const Scene& scene, const Canvas& canvas) {
    const SliceLayout layout = layoutSlices(canvas.size(), scene.volume.bounds(), scene.point);
    const SlicePanel& axial = layout.panels.front();
    const int margin = layout.margin;
    const int half = canvas.size().x() / 2;
    const PixelRect left{margin, 2 * margin, std::max(1, half - 2 * margin),
                         std::max(1, canvas.size().y() - 3 * margin)};
    const PixelRect slicePanel = fitted(axial.rect, left);
    const PixelRect surfacePanel{left.x + half, left.y, left.width, left.height};
    std::vector<Click> clicks;
    addClicks(clicks, "slice", slicePanel, canvas.size().y());
    addClicks(clicks, "surfaces", surfacePanel, canvas.size().y());

    const RegionSlice slice(scene);
    const RegionModel surfaces(makeRegionMesh(scene.volume, scene.labels), scene.volume.bounds());
    const Eigen::Vector2i pixels = Scale * canvas.size();
    const Marker marker(canvas.size());
    // [snippet]
    GL::OffscreenRenderHelper helper;
    GL::ObjectPicking picking;
    {
        RenderBuffer buffer =
            helper.create(pixels, GL::InternalFormat::RGBA8, GL::InternalFormat::DepthComponent24);
        if (buffer.isEmpty())
            throw std::runtime_error("the driver cannot draw a picture of twice the size.");
        picking.reset(buffer.framebuffer(), pixels, {&slice, &surfaces});
        slice.draw(scaled(slicePanel), axial.panelToPatient, picking, &slice);
        surfaces.draw(surfaces.view(scaled(surfacePanel)), &picking, &surfaces);
        picking.disable();
        buffer.blendToParent();
    }
    std::vector<Eigen::Vector2i> clicked;
    clicked.reserve(clicks.size());
    for (const Click& click : clicks)
        // From points below the window's upper edge to pixels above the framebuffer's lower one.
        clicked.emplace_back(Scale * click.point.x(), pixels.y() - 1 - Scale * click.point.y());
    const auto seen = picking.getPickingInfoPerPosition(clicked, nullptr);
    for (std::size_t i = 0; i < clicks.size(); ++i)
        if (seen[i])
            clicks[i].region = seen[i]->secondId;
    // [/snippet]
    for (const Click& click : clicks)
        marker.answer(scene, click);
    const int captionSize = std::min(canvas.size().y() / 45, canvas.size().x() / 100);
    marker.text("Picked on a slice", Eigen::Vector2d(half / 2, 1.5 * margin), captionSize);
    marker.text("Picked on surfaces", Eigen::Vector2d(half + half / 2, 1.5 * margin), captionSize);
    writeAnswers(scene, clicks);
    const auto named =
        std::ranges::count_if(clicks, [](const Click& click) { return click.region.has_value(); });
    return "A slice through " + scene.name + " and the surface" +
           (scene.labels != nullptr ? "s of its regions, coloured by region" : " of it") + ", with " +
           std::to_string(clicks.size()) + " dots in a grid, " + std::to_string(named) +
           " of which have the region there beside them.";
}

} // namespace Veltrand::Apps
