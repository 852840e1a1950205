// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "gallery/PlanePainter.h"
#include "scene/Annotator.h"
#include "scene/RegionMesh.h"
#include "scene/RegionNames.h"
#include "scene/VolumeTexture.h"
#include "support/Surface.h"

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/TextRenderer.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace Veltrand::Apps {

namespace {

using Eigen::Vector2d;
using Eigen::Vector3d;
using Eigen::Vector4d;
using GL::TextRenderer;
using AlignmentH = TextRenderer::AlignmentH;
using AlignmentV = TextRenderer::AlignmentV;
using Decoration = TextRenderer::Decoration;
using Style = TextRenderer::Style;
using Loop = std::vector<Vector3d>;

const Vector4d White(0.92, 0.92, 0.92, 1);
const Vector4d RegionColor(0.35, 0.95, 0.45, 1);
const Vector4d DistanceColor(1, 0.85, 0.25, 1);

/// What is annotated: its surface, its name and where the slices meet.
struct Region {
    Surface surface;
    std::string name;
    Vector3d center;
};

/// The left hippocampus by its number in the AAL atlas, unless that is another region by name, or, without
/// it, all that parts from the background.
Region findRegion(const Scene& scene) {
    constexpr int LeftHippocampus = 37;
    if (scene.labels != nullptr) {
        const ScalarGrid field = regionFields(*scene.labels, std::array{LeftHippocampus}).front();
        const bool isNamed = scene.regionNames.size() > LeftHippocampus;
        Region region{extractSurface(field, 0.5F),
                      isNamed ? shownRegionName(scene.regionNames, LeftHippocampus) : "Left hippocampus",
                      Vector3d::Zero()};
        for (const Eigen::Vector3f& position : region.surface.positions)
            region.center += position.cast<double>() / static_cast<double>(region.surface.positions.size());
        if (scene.volume.bounds().contains(region.center) && !region.surface.positions.empty())
            return region;
    }
    const ScalarGrid grid = shrink(scene.volume, surfaceDetail(scene.volume));
    return {extractSurface(grid, separatingLevel(grid)), "Surface", scene.point};
}

/// A cube around the region with some room for what is beside it, as far as the volume reaches.
Eigen::AlignedBox3d surroundings(const Scene& scene, const Region& region) {
    Eigen::AlignedBox3d box(region.center);
    for (const Eigen::Vector3f& position : region.surface.positions)
        box.extend(position.cast<double>());
    const Vector3d reach = Vector3d::Constant(box.sizes().maxCoeff());
    const Eigen::AlignedBox3d cube(region.center - reach, region.center + reach);
    return scene.volume.bounds().intersection(cube);
}

/// A contour and those two of its points that are farthest apart; without points if there is none.
struct Contour {
    Loop loop;
    Vector3d first = Vector3d::Zero();
    Vector3d last = Vector3d::Zero();

    [[nodiscard]] double length() const { return (last - first).norm(); }
};

Contour measure(const Loop& loop) {
    Contour contour{loop};
    for (std::size_t i = 0; i < loop.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if ((loop[i] - loop[j]).norm() > contour.length()) {
                contour.first = loop[i];
                contour.last = loop[j];
            }
    return contour;
}

/// The longest contour of a region in a plane through its middle.
Contour findContour(const Region& region, int axis) {
    Contour longest;
    for (const Loop& loop : crossSection(region.surface, axis, region.center[axis])) {
        Contour contour = measure(loop);
        if (contour.length() > longest.length())
            longest = std::move(contour);
    }
    return longest;
}

/// A slice with everything that is marked on it.
class AnnotatedSlice {
public:
    AnnotatedSlice(const Annotator& annotator, const SlicePanel& panel, const Region& region,
                   const LengthFormat& lengths)
        : m_annotator(annotator)
        , m_panel(panel)
        , m_region(region)
        , m_lengths(lengths)
        , m_view({panel.rect.x, panel.rect.y, panel.rect.width, panel.rect.height},
                 GL::createOrtho(0, 1, 0, 1, -1, 1), panel.panelToPatient.inverse().matrix())
        , m_contour(findContour(region, panel.normal)) {}

    [[nodiscard]] double contourLength() const { return m_contour.length(); }

    void drawCrossHair() const {
        const Vector3d crossing = m_view.project(m_region.center);
        const Vector3d low(m_panel.rect.x, m_panel.rect.y, 0);
        const Vector3d high = low + Vector3d(m_panel.rect.width, m_panel.rect.height, 0);
        const double gap = 2 * m_annotator.lineHeight();
        for (const int along : {0, 1}) {
            // From edge to edge, with the crossing left free.
            std::vector<Vector3d> points(4, Vector3d(crossing.x(), crossing.y(), 0));
            points[0][along] = low[along];
            points[1][along] -= gap;
            points[2][along] += gap;
            points[3][along] = high[along];
            m_annotator.sharpLines(points, m_annotator.lineWidth(),
                                   planeColor(along == 0 ? m_panel.vertical : m_panel.horizontal));
        }
    }

    /// The contour, and the region's name below it.
    void drawContour() const {
        if (m_contour.loop.empty())
            return;
        m_annotator.loop(m_contour.loop, RegionColor, m_view);
        Eigen::AlignedBox2d box;
        for (const Vector3d& point : m_contour.loop)
            box.extend(Vector2d(m_view.project(point).head<2>()));
        const double height = m_annotator.lineHeight();
        const double top = std::max(box.min().y() - height / 2, m_panel.rect.y + 1.5 * height);
        m_annotator.label(m_region.name, {box.center().x(), top},
                          m_annotator.font(RegionColor, Style::Bold, Decoration::Shadow), AlignmentH::Center,
                          AlignmentV::Top);
    }

    /// A line between the contour's farthest points with ticks at its ends and its length beside it.
    void drawDistance() const {
        if (m_contour.loop.empty())
            return;
        const Vector3d first = m_view.project(m_contour.first);
        const Vector3d last = m_view.project(m_contour.last);
        Vector3d up = Vector3d::UnitZ().cross(last - first).normalized();
        up *= up.y() < 0 ? -1 : 1;
        const Vector3d tick = m_annotator.lineHeight() / 3 * up;
        m_annotator.lines({first, last, first - tick, first + tick, last - tick, last + tick},
                          1.5 * m_annotator.lineWidth(), DistanceColor);
        const Vector3d place = (first + last) / 2 + 2 * tick;
        m_annotator.label(
            m_lengths.millimetres(m_contour.length()), place.head<2>(),
            m_annotator.font(DistanceColor, Style::Regular, Decoration::Underline | Decoration::Shadow),
            up.x() < 0 ? AlignmentH::Right : AlignmentH::Left, AlignmentV::Bottom);
    }

    /// The letters of the patient's sides, and which slice it is.
    void drawMarks(const Scene& scene, int margin) const {
        const PixelRect& rect = m_panel.rect;
        const Vector2d middle(rect.x + rect.width / 2, rect.y + rect.height / 2);
        const Vector2d reach = Vector2d(rect.width + margin, rect.height + margin) / 2;
        const auto letter = [&](char side, const Vector2d& place) {
            m_annotator.text(std::string(1, scene.volume.orientationKnown ? side : '?'), place,
                             m_annotator.font(White, Style::Bold), AlignmentH::Center, AlignmentV::Center);
        };
        letter(m_panel.letters.left, middle - Vector2d(reach.x(), 0));
        letter(m_panel.letters.right, middle + Vector2d(reach.x(), 0));
        letter(m_panel.letters.bottom, middle - Vector2d(0, reach.y()));
        letter(m_panel.letters.top, middle + Vector2d(0, reach.y()));

        constexpr std::array Names{"Sagittal", "Coronal", "Axial"};
        const Vector4d& color = planeColor(m_panel.normal);
        const TextRenderer::Font nameFont = m_annotator.font(color, Style::BoldItalic);
        const TextRenderer::Font placeFont = m_annotator.font(color, Style::Italic);
        const std::string name = Names[static_cast<std::size_t>(m_panel.normal)];
        const std::string place = std::string(1, "xyz"[m_panel.normal]) + " = " +
                                  m_lengths.millimetres(m_region.center[m_panel.normal]);
        const double height = m_annotator.lineHeight();
        const TextRenderer& renderer = *TextRenderer::get();
        const Vector2d left(renderer.textSize(name, nameFont).x() + height / 5, height / 4);
        const Vector2d right(renderer.textSize(place, placeFont).x() + height / 5, height);
        const Vector2d wanted(middle.x(), rect.y - margin - height * 0.8);
        const Vector2d window(m_annotator.window().width, m_annotator.window().height);
        const Vector2d caption = wanted + stepInside({wanted - left, wanted + right}, window);
        const Vector2d space(height / 5, 0);
        m_annotator.text(name, caption - space, nameFont, AlignmentH::Right, AlignmentV::Baseline);
        m_annotator.text(place, caption + space, placeFont, AlignmentH::Left, AlignmentV::Baseline);
    }

private:
    static const Vector4d& planeColor(int axis) { return PlaneColors[static_cast<std::size_t>(axis)]; }

    const Annotator& m_annotator;
    const SlicePanel& m_panel;
    const Region& m_region;
    LengthFormat m_lengths;
    GL::ViewState m_view;
    Contour m_contour;
};

/// The styles of a font, a row each, plain and with their decorations.
void drawStyles(const Annotator& annotator, const PixelRect& rect) {
    constexpr std::array Styles{std::pair("Regular", Style::Regular), std::pair("Bold", Style::Bold),
                                std::pair("Bold italic", Style::BoldItalic),
                                std::pair("Italic", Style::Italic)};
    constexpr std::array Decorations{std::pair("Shadow", Decoration::Shadow),
                                     std::pair("Underline", Decoration::Underline),
                                     std::pair("Strike-through", Decoration::StrikeThrough)};
    const Vector2d cell(rect.width / 4.0, rect.height / 4.0);
    for (std::size_t row = 0; row < 4; ++row) {
        const auto [name, style] = Styles[row];
        const double y = rect.y + rect.height - (static_cast<double>(row) + 0.65) * cell.y();
        for (std::size_t column = 0; column < 4; ++column) {
            const bool plain = column == 0;
            annotator.text(
                plain ? name : Decorations[column - 1].first,
                {rect.x + (static_cast<double>(column) + 0.5) * cell.x(), y},
                annotator.font(White, style, plain ? Flags<Decoration>() : Decorations[column - 1].second),
                AlignmentH::Center, AlignmentV::Baseline);
        }
    }
}

/// Text of two lines around anchors, in every alignment.
void drawAlignments(const Annotator& annotator, const PixelRect& rect) {
    constexpr std::array Rows{std::pair("left", AlignmentH::Left), std::pair("center", AlignmentH::Center),
                              std::pair("right", AlignmentH::Right)};
    constexpr std::array Columns{std::pair("Top", AlignmentV::Top), std::pair("Center", AlignmentV::Center),
                                 std::pair("Baseline", AlignmentV::Baseline),
                                 std::pair("Bottom", AlignmentV::Bottom)};
    const double arm = annotator.lineHeight() / 3;
    for (std::size_t row = 0; row < Rows.size(); ++row)
        for (std::size_t column = 0; column < Columns.size(); ++column) {
            const Vector3d anchor(rect.x + (static_cast<double>(column) + 0.5) * rect.width / 4,
                                  rect.y + rect.height - (static_cast<double>(row) + 0.5) * rect.height / 3,
                                  0);
            annotator.sharpLines({anchor - Vector3d(arm, 0, 0), anchor + Vector3d(arm, 0, 0),
                                  anchor - Vector3d(0, arm, 0), anchor + Vector3d(0, arm, 0)},
                                 annotator.lineWidth(), PlaneColors[0]);
            annotator.text(std::string(Columns[column].first) + "\n" + Rows[row].first, anchor.head<2>(),
                           annotator.font(White), Rows[row].second, Columns[column].second);
        }
}

/// Three slices through a region that fill a part of the picture from its top. Gives the length that is
/// measured; 0 where no slice has a contour.
double drawAnnotatedSlices(const Scene& scene, const Annotator& annotator, const Region& region,
                           SliceLayout layout, int below) {
    const PlanePainter planes;
    std::vector<AnnotatedSlice> slices;
    for (SlicePanel& panel : layout.panels) {
        panel.rect.y += below;
        planes.draw(scene.texture, panel.rect, patientToTexture(scene.volume) * panel.panelToPatient,
                    textureWindow(scene.volume, scene.window));
        slices.emplace_back(annotator, panel, region, scene.volume.lengths());
    }
    const AnnotatedSlice& longest = *std::ranges::max_element(slices, {}, &AnnotatedSlice::contourLength);
    for (const AnnotatedSlice& slice : slices) {
        slice.drawCrossHair();
        slice.drawContour();
        if (&slice == &longest)
            slice.drawDistance();
        slice.drawMarks(scene, layout.margin);
    }
    return longest.contourLength();
}

std::string describe(const Scene& scene, const Region& region, double length, bool hasSpecimens) {
    std::string text = "Three slices through " + scene.name;
    if (length > 0)
        text += ", in which the contour of \"" + region.name +
                "\" is dashed in green, named and measured: " + scene.volume.lengths().millimetres(length);
    return text + (hasSpecimens ? "; below them specimens of styles and alignments of text." : ".");
}

} // namespace

std::string drawAnnotation(const Scene& scene, const Canvas& canvas) {
    const Eigen::Vector2i& size = canvas.size();
    const Annotator annotator({0, 0, size.x(), size.y()},
                              std::clamp(std::min(size.y() / 54, size.x() / 120), 6, 1000));
    const int width = canvas.size().x();
    // A narrow picture has no room for specimens that could be read.
    const int below = width > 60 * annotator.lineHeight() ? canvas.size().y() * 3 / 10 : 0;
    const Region region = findRegion(scene);
    const SliceLayout layout =
        layoutSlices({width, canvas.size().y() - below}, surroundings(scene, region), region.center);
    const double length = drawAnnotatedSlices(scene, annotator, region, layout, below);
    if (below == 0)
        return describe(scene, region, length, false);
    const int margin = layout.margin;
    const PixelRect styles{margin, margin, width / 2 - 2 * margin, below - 2 * margin};
    // Shadows show on grey only.
    LabelPainter::fill(styles, Eigen::Vector3f::Constant(0.3F));
    drawStyles(annotator, styles);
    drawAlignments(annotator, {width / 2 + margin, margin, width / 2 - 2 * margin, below - 2 * margin});
    return describe(scene, region, length, true);
}

} // namespace Veltrand::Apps
