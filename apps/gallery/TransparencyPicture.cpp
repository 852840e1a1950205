// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "scene/DepthOrder.h"
#include "scene/RegionMesh.h"
#include "support/Surface.h"

#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <utility>

namespace Veltrand::Apps {

namespace {

/// A structure of the brain that lies on both sides, and its numbers in the AAL atlas.
struct Structure {
    const char* name;
    int left;
    int right;
    Eigen::Vector3f color;
};

const std::array<Structure, 6> Structures{{
    {"Caudate", 71, 72, {0.25F, 0.55F, 1.0F}},
    {"Putamen", 73, 74, {0.2F, 0.85F, 0.85F}},
    {"Pallidum", 75, 76, {0.95F, 0.9F, 0.3F}},
    {"Thalamus", 77, 78, {1.0F, 0.55F, 0.15F}},
    {"Hippocampus", 37, 38, {0.35F, 0.85F, 0.35F}},
    {"Amygdala", 41, 42, {0.95F, 0.3F, 0.55F}},
}};
constexpr float RegionOpacity = 0.35F;
const Eigen::Vector4f HeadColor(0.85F, 0.8F, 0.78F, 0.1F);
constexpr int HeadSmoothing = 2;
const Eigen::Vector3f TextColor(0.92F, 0.92F, 0.92F);

/// Surfaces that are drawn together.
struct Model {
    std::vector<Eigen::Vector3f> positions;
    std::vector<Eigen::Vector3f> normals;
    std::vector<Eigen::Vector4f> colors;
    std::vector<Eigen::Vector3i> triangles;
    /// Those of which there is a surface.
    std::vector<const Structure*> structures;

    void add(const Surface& surface, const Eigen::Vector4f& color) {
        const auto first = static_cast<int>(positions.size());
        positions.insert(positions.end(), surface.positions.begin(), surface.positions.end());
        normals.insert(normals.end(), surface.normals.begin(), surface.normals.end());
        colors.resize(positions.size(), color);
        for (const Eigen::Vector3i& triangle : surface.triangles)
            triangles.emplace_back(triangle + Eigen::Vector3i::Constant(first));
    }
};

Model makeModel(const Scene& scene) {
    Model model;
    ScalarGrid head = shrink(scene.volume, surfaceDetail(scene.volume));
    const float level = separatingLevel(head);
    smooth(head, HeadSmoothing);
    model.add(extractSurface(head, level), HeadColor);
    if (scene.labels == nullptr)
        return model;
    std::vector<int> regions;
    for (const Structure& structure : Structures)
        regions.insert(regions.end(), {structure.left, structure.right});
    const std::vector<ScalarGrid> fields = regionFields(*scene.labels, regions);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        Eigen::Vector4f color;
        color << Structures[i / 2].color, RegionOpacity;
        const Surface surface = extractSurface(fields[i], 0.5F);
        const Structure* const structure = &Structures[i / 2];
        if (!surface.triangles.empty() && (model.structures.empty() || model.structures.back() != structure))
            model.structures.push_back(structure);
        model.add(surface, color);
    }
    return model;
}

/// A parallel projection that fits a model into a panel, from the patient's left, front and a little above.
class Camera {
public:
    Camera(const Model& model, const PixelRect& panel) {
        const Eigen::Vector3d towardsEye = Eigen::Vector3d(-1, 0.6, 0.45).normalized();
        const Eigen::Vector3d right = Eigen::Vector3d::UnitZ().cross(towardsEye).normalized();
        Eigen::Matrix3d axes;
        axes << right.transpose(), towardsEye.cross(right).transpose(), towardsEye.transpose();
        Eigen::AlignedBox3d box;
        for (const Eigen::Vector3f& position : model.positions)
            box.extend(axes * position.cast<double>());
        if (box.isEmpty()) // nothing to see, so any view will do
            box = Eigen::AlignedBox3d(-Eigen::Vector3d::Ones(), Eigen::Vector3d::Ones());

        m_modelView.linear() = axes;
        m_modelView.translation() = -box.center();
        const Eigen::Vector2d pixels(panel.width, panel.height);
        const double scale = box.sizes().head<2>().cwiseQuotient(pixels).maxCoeff();
        const Eigen::Vector2d reach = scale * pixels / 2;
        // Some air, so that nothing touches the near and far planes.
        const double depth = 0.51 * box.sizes().z();
        m_projection = GL::createOrtho(-reach.x(), reach.x(), -reach.y(), reach.y(), -depth, depth);
    }

    /// @param panel where the panel lies in the window
    [[nodiscard]] GL::ViewState view(const PixelRect& panel) const {
        return {{panel.x, panel.y, panel.width, panel.height}, m_projection, m_modelView.matrix()};
    }

private:
    Eigen::Affine3d m_modelView = Eigen::Affine3d::Identity();
    Eigen::Matrix4d m_projection;
};

class ModelPainter {
public:
    ModelPainter(const Model& model, const std::vector<Eigen::Vector3i>& triangles, const char* defines)
        : m_program(GL::Program::createVertexFragment("VeltrandGallery/Surface.vert",
                                                      "VeltrandGallery/Surface.frag", defines,
                                                      GL::Program::Compilation::ImmediateThrow))
        , m_vertices(GL::Buffer::Usage::StaticDraw)
        , m_indices(GL::Buffer::Usage::StaticDraw) {
        m_vertices.bind();
        m_vertices.setData(model.positions, model.normals, model.colors);
        GL::VertexBuffer::unbind();
        m_indices.bind();
        m_indices.setData(triangles);
        GL::IndexBuffer::unbind();
    }

    /// @param transparency where the fragments go; the framebuffer if null
    // [snippet]
    void draw(const GL::ViewState& view, const GL::OrderIndependentTransparency* transparency) const {
        view.viewport().set();
        m_program->enable();
        m_program->setArgument("modelView", view.modelViewMatrix());
        m_program->setArgument("projection", view.projectionMatrix());
        if (transparency != nullptr)
            transparency->setIncludeArguments(*m_program);
        m_vertices.draw(GL::Primitive::Triangles, m_indices);
        m_program->disable();
    }
    // [/snippet]

private:
    std::unique_ptr<GL::Program> m_program;
    GL::VertexBuffer m_vertices;
    GL::IndexBuffer m_indices;
};

/// Draws through lists per pixel, in whatever order the triangles have.
class UnsortedPainter {
public:
    explicit UnsortedPainter(const Model& model)
        : m_model(model, model.triangles, "#define WITH_OIT\n") {}

    void operator()(const GL::ViewState& view, const Eigen::Vector2i& size) {
        GL::Texture color = background(size, GL::InternalFormat::RGBA8);
        color.clear<float>({0, 0, 0, 1});
        GL::Texture depth = background(size, GL::InternalFormat::DepthComponent32F);
        depth.clear<float>({1, 0, 0, 0});
        // [snippet]
        m_transparency.reset(size, false);
        unsigned room = 0;
        // Where fragments were missing, the next frame has more room.
        while (m_transparency.numNodesTotal() > room) {
            room = m_transparency.numNodesTotal();
            m_model.draw(view, &m_transparency);
            m_transparency.renderBlendedFragments(color, depth);
            m_transparency.reset(size, false);
        }
        // [/snippet]
    }

private:
    static GL::Texture background(const Eigen::Vector2i& size, GL::InternalFormat format) {
        return {GL::Texture::Target::Texture2D, Eigen::Vector3i(size.x(), size.y(), 1), format};
    }

    ModelPainter m_model;
    GL::OrderIndependentTransparency m_transparency;
};

/// Draws by ordinary blending, from back to front.
class SortedPainter {
public:
    SortedPainter(const Model& model, const Camera& camera)
        : m_model(model, fromBackToFront(model.positions, model.triangles, camera.view({})), "") {}

    void operator()(const GL::ViewState& view, const Eigen::Vector2i&) {
        const GL::Blending blending(GL::Blending::Preset::Alpha);
        m_model.draw(view, nullptr);
    }

private:
    ModelPainter m_model;
};

/// Draws a panel in tiles, each larger than on the picture and then averaged, which smooths the edges.
/// However large the picture is, a tile's lists stay small.
class TilePainter {
public:
    TilePainter()
        : m_show(GL::Program::createVertexFragment("VeltrandScene/Panel.vert", "VeltrandScene/Image.frag", "",
                                                   GL::Program::Compilation::ImmediateThrow))
        , m_square(GL::VertexBuffer::createFullscreenSquare()) {}

    template<class Painter>
    void draw(const PixelRect& panel, const Camera& camera, Painter painter) const {
        constexpr int Tile = 256;
        for (int y = 0; y < panel.height; y += Tile)
            for (int x = 0; x < panel.width; x += Tile) {
                const Eigen::Vector2i size(std::min(Tile, panel.width - x), std::min(Tile, panel.height - y));
                GL::Texture image(GL::Texture::Target::Texture2D,
                                  Eigen::Vector3i(Samples * size.x(), Samples * size.y(), 1),
                                  GL::InternalFormat::RGBA8);
                {
                    GL::Framebuffer framebuffer;
                    const GL::StateGuard guard = framebuffer.guardedBind();
                    framebuffer.attach(image, 0);
                    framebuffer.setDrawBuffers();
                    GL::clearColorBuffer(Eigen::Vector4f(0, 0, 0, 1));
                    painter(camera.view(
                                {-Samples * x, -Samples * y, Samples * panel.width, Samples * panel.height}),
                            Samples * size);
                }
                setViewport({panel.x + x, panel.y + y, size.x(), size.y()});
                m_show->enable();
                m_show->setArgument("image", image);
                m_square->draw(GL::Primitive::TriangleFan);
                m_show->disable();
                m_show->unbindSamplers("image");
            }
    }

private:
    static constexpr int Samples = 2; // per pixel and direction

    std::unique_ptr<GL::Program> m_show;
    std::unique_ptr<GL::VertexBuffer> m_square;
};

/// Beside the model, in the direction of each side of the patient, its letter.
void drawSides(const Scene& scene, const LabelPainter& labels, const Model& model, const GL::ViewState& view,
               const SliceLayout& layout) {
    std::vector<Eigen::Vector2d> outline;
    for (const Eigen::Vector3f& position : model.positions)
        outline.emplace_back(view.project(position.cast<double>()).head<2>());
    const GL::Viewport& panel = view.viewport();
    const Eigen::Vector2d center(panel.x + panel.width / 2, panel.y + panel.height / 2);
    for (std::size_t side = 0; side < 6; ++side) {
        const int axis = static_cast<int>(side / 2);
        const Eigen::Vector3d sideways = Eigen::Vector3d::Unit(axis) * (side % 2 == 0 ? 1 : -1);
        const Eigen::Vector2d direction =
            (view.modelViewMatrix().topLeftCorner<2, 3>() * sideways).normalized();
        double reach = 0;
        for (const Eigen::Vector2d& point : outline)
            reach = std::max(reach, direction.dot(point - center));
        const Eigen::Vector2d place = center + (reach + layout.margin * 0.5) * direction;
        const char letter = scene.volume.orientationKnown ? "RLAPSI"[side] : '?';
        labels.drawText(std::string(1, letter), static_cast<int>(place.x()), static_cast<int>(place.y()),
                        layout.letterScale, TextColor);
    }
}

/// The names of the structures in their colours, in a row.
void drawLegend(const LabelPainter& labels, const std::vector<const Structure*>& structures, int width,
                int centerY, int scale) {
    const int gap = LabelPainter::textWidth("mmm", scale);
    int length = -gap;
    for (const Structure* structure : structures)
        length += gap + LabelPainter::textWidth(structure->name, scale);
    int left = (width - length) / 2;
    if (left < 0)
        return;
    for (const Structure* structure : structures) {
        const int nameLength = LabelPainter::textWidth(structure->name, scale);
        labels.drawText(structure->name, left + nameLength / 2, centerY, scale, structure->color);
        left += nameLength + gap;
    }
}

std::string describe(const Scene& scene, const Model& model) {
    std::string text = "The surface of " + scene.name + " like glass";
    for (const Structure* structure : model.structures)
        text += (structure == model.structures.front() ? ", with coloured structures in its midst: " : ", ") +
                std::string(structure->name);
    return text +
           (GL::OrderIndependentTransparency::isSupported()
                ? "; twice and alike, unsorted and order-independent on the left, sorted and blended on the "
                  "right."
                : "; sorted and blended on the right, while the left half needs a newer OpenGL.");
}

} // namespace

std::string drawTransparency(const Scene& scene, const Canvas& canvas) {
    const Model model = makeModel(scene);
    const SliceLayout layout = layoutSlices(canvas.size(), scene.volume.bounds(), scene.point);
    const int margin = layout.margin;
    const int half = canvas.size().x() / 2;
    PixelRect panel{margin, 3 * margin, std::max(1, half - 2 * margin),
                    std::max(1, canvas.size().y() - 4 * margin)};
    const Camera camera(model, panel);
    const TilePainter tiles;
    const LabelPainter labels(canvas);
    const auto label = [&](const std::string& caption) {
        drawSides(scene, labels, model, camera.view(panel), layout);
        if (LabelPainter::textWidth(caption, layout.letterScale) <= half)
            labels.drawText(caption, panel.x + panel.width / 2, margin * 3 / 2, layout.letterScale,
                            TextColor);
    };

    if (GL::OrderIndependentTransparency::isSupported()) {
        tiles.draw(panel, camera, UnsortedPainter(model));
        label("Unsorted, order-independent");
    } else {
        label("Needs OpenGL 4.4");
    }
    panel.x += half;
    tiles.draw(panel, camera, SortedPainter(model, camera));
    label("Sorted triangles, blended");
    if (!model.structures.empty())
        drawLegend(labels, model.structures, canvas.size().x(), margin / 2,
                   std::max(1, layout.letterScale * 2 / 3));
    return describe(scene, model);
}

} // namespace Veltrand::Apps
