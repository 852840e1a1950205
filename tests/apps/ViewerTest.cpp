// SPDX-License-Identifier: BSD-3-Clause
#include "apps/AppTest.h"

#include "scene/Annotator.h"
#include "viewer/CoarseMesh.h"
#include "viewer/Interaction.h"
#include "viewer/Options.h"
#include "viewer/Script.h"

namespace Veltrand {
namespace {

using namespace Apps;

TEST(ViewerScript, UnderstandsItsCommands) {
    const auto commands = parseScript("# a comment\n"
                                      "move 10 20.5\n\n"
                                      "  press left shift ctrl\r\n"
                                      "wheel -2 ctrl\n"
                                      "key delete\n"
                                      "drag right 1 2 30 shift\n"
                                      "save two words.png  \n"
                                      "quit",
                                      "s");
    ASSERT_EQ(commands.size(), 7U);
    EXPECT_EQ(commands[1].line, 4);
    const auto input = [&](std::size_t i) { return std::get<Input>(commands[i].action); };
    EXPECT_EQ(std::get<PointerMove>(input(0)).position, Vector2d(10, 20.5));
    const auto press = std::get<ButtonChange>(input(1));
    EXPECT_TRUE(press.button == Button::Left && press.isPressed);
    EXPECT_TRUE(press.modifiers.shift && press.modifiers.control);
    EXPECT_EQ(std::get<WheelTurn>(input(2)).steps, -2);
    EXPECT_EQ(std::get<KeyPress>(input(3)).key, KeyPress::Delete);
    const auto drag = std::get<DragCommand>(commands[4].action);
    EXPECT_TRUE(drag.button == Button::Right && drag.frames == 30 && drag.modifiers.shift);
    EXPECT_EQ(std::get<SaveCommand>(commands[5].action).file, "two words.png");
    EXPECT_TRUE(std::holds_alternative<QuitCommand>(commands[6].action));
}

TEST(ViewerScript, NamesTheLineOfAMistake) {
    const std::pair<const char*, const char*> cases[]{
        {"move 1 2\nfly 3", "s:2: there is no command 'fly'."},
        {"move 1", "s:1: a number is missing."},
        {"\nmove 1 2x", "s:2: '2x' is no number."},
        {"move 1 nan", "s:1: 'nan' is no number."},
        {"move 1 2 3", "s:1: too many words for 'move'."},
        {"press side", "s:1: a button is left, middle or right, not 'side'."},
        {"press left alt", "s:1: what is held is shift or ctrl, not 'alt'."},
        {"key Q", "s:1: a key is a lower-case letter, escape or delete, not 'Q'."},
        {"resize 0 10", "s:1: a whole number from 1 to 8192 is wanted here."},
        {"drag left 1 2 2.5", "s:1: a whole number from 1 to 100000 is wanted here."},
        {"save  ", "s:1: the name of a file is missing."},
    };
    for (const auto& [text, message] : cases)
        EXPECT_EQ(thrown([text = text] { (void)parseScript(text, "s"); }), message);
}

TEST(Annotator, BringsLabelsInside) {
    const std::pair<Eigen::AlignedBox2d, Vector2d> cases[]{
        {{Vector2d(1, 1), Vector2d(9, 5)}, {0, 0}},
        {{Vector2d(-3, 2), Vector2d(4, 7)}, {3, -1}},
        {{Vector2d(4, -2), Vector2d(12, 1)}, {-2, 2}},
        {{Vector2d(2, -1), Vector2d(16, 9)}, {-2, -3}},
    };
    for (const auto& [box, step] : cases)
        EXPECT_EQ(stepInside(box, {10, 6}), step) << box.min().transpose();
}

TEST(PaneLayout, FillsTheWindowWithoutOverlap) {
    for (const Vector2i& size : {Vector2i(1024, 768), Vector2i(333, 201)}) {
        const PaneLayout layout = layoutPanes(size, 24);
        int covered = 0;
        for (int y = 0; y < size.y(); ++y)
            for (int x = 0; x < size.x(); ++x) {
                int panes = 0;
                for (const PixelRect& rect : layout.panes)
                    panes += static_cast<int>(x >= rect.x && x < rect.x + rect.width && y >= rect.y &&
                                              y < rect.y + rect.height);
                ASSERT_LE(panes, 1);
                ASSERT_EQ(layout.paneAt({x + 0.5, y + 0.5}).has_value(), panes == 1);
                covered += panes;
            }
        const int gaps = 2 * (size.x() + size.y() - 24 - 2);
        EXPECT_EQ(covered, size.x() * (size.y() - 24) - gaps);
        const double top = size.y() - 1;
        const double right = size.x() - 1;
        EXPECT_EQ(layout.paneAt({0.5, top}), Pane::Axial);
        EXPECT_EQ(layout.paneAt({right, top}), Pane::Model);
        EXPECT_EQ(layout.paneAt({0.5, 24.5}), Pane::Coronal);
        EXPECT_EQ(layout.paneAt({right, 24.5}), Pane::Sagittal);
    }
    // A window without size, as when it is minimised.
    for (const PixelRect& rect : layoutPanes({0, 0}, 24).panes)
        EXPECT_TRUE(rect.width > 0 && rect.height > 0);
}

/// A volume of 20 x 30 x 10 voxels of 2 mm, 1 mm and 4 mm around the origin.
Study makeStudy() {
    Study study;
    study.volume.size = {20, 30, 10};
    study.volume.voxels = ByteBuffer(std::size_t{6000});
    std::memset(study.volume.voxels.data(), 50, 6000);
    study.volume.voxelToPatient = Eigen::Scaling(2.0, 1.0, 4.0) * Eigen::Translation3d(-9.5, -14.5, -4.5);
    return study;
}

TEST(Study, TellsNeighbouringVoxelsApartWhateverTheirSize) {
    const std::pair<double, const char*> cases[]{{10, "50 at (0, 24, 13) mm"},
                                                 {0.5, "50 at (0.0, 1.2, 0.6) mm"},
                                                 {0.01, "50 at (0.000, 0.024, 0.013) mm"},
                                                 {4e-5, "50 at (0.000000, 0.000096, 0.000050) mm"}};
    for (const auto& [scale, text] : cases) {
        Study study = makeStudy();
        study.volume.voxelToPatient.prescale(scale);
        EXPECT_EQ(study.describe(scale * Vector3d(-0.004, 2.4, 1.255), 0), text);
    }
}

class ViewerInteraction : public testing::Test {
protected:
    /// @param scale pixels per point
    void useScreen(double scale) {
        m_geometry.size = {800, 600};
        m_geometry.pixelsPerPoint = {scale, scale};
        m_geometry.layout = layoutPanes(m_geometry.size, 20);
        m_geometry.margin = 10;
    }
    void send(const Input& input) { m_interaction.handle(input, m_geometry); }

    /// Points from the upper left corner, of the middle of a pixel near a place in the patient.
    [[nodiscard]] Vector2d pointer(Pane pane, const Vector3d& point) const {
        const Vector2d pixel = pixelOf(m_geometry.panel(m_state, pane), point);
        return Vector2d(pixel.x(), m_geometry.size.y() - pixel.y()).cwiseQuotient(m_geometry.pixelsPerPoint);
    }
    void drag(Pane pane, const Vector3d& from, const Vector3d& to, Button button, Modifiers held = {}) {
        const Vector2d end = pointer(pane, to);
        send(PointerMove{pointer(pane, from)});
        send(ButtonChange{button, true, held});
        send(PointerMove{end});
        send(ButtonChange{button, false});
    }

    Study m_study = makeStudy();
    ViewerState m_state{m_study};
    Interaction m_interaction{m_state};
    WindowGeometry m_geometry;
};

TEST_F(ViewerInteraction, FollowsThePointerOnDenseScreensToo) {
    for (const double scale : {1.0, 2.0})
        for (const Pane pane : {Pane::Axial, Pane::Coronal, Pane::Sagittal}) {
            useScreen(scale);
            m_state.reset();
            const int normal = SliceOrientations[std::size_t(pane)].normal;
            Vector3d target(-6, 8, 10);
            target[normal] = 0; // the slice stays
            drag(pane, {0, 0, 0}, target, Button::Left);
            EXPECT_LT((m_state.point - target).norm(), 0.5) << scale << ", " << int(pane);
            EXPECT_EQ(m_state.point[normal], 0);
        }
}

TEST_F(ViewerInteraction, StaysInsideTheVolumeAndStepsByVoxels) {
    useScreen(1);
    const Vector3d steps(2, 1, 4);
    for (const Pane pane : {Pane::Axial, Pane::Coronal, Pane::Sagittal}) {
        const int normal = SliceOrientations[std::size_t(pane)].normal;
        m_state.reset();
        send(PointerMove{pointer(pane, {0, 0, 0})});
        send(WheelTurn{2});
        EXPECT_EQ(m_state.point, Vector3d(2 * steps[normal] * Vector3d::Unit(normal)));
        send(WheelTurn{1000});
        EXPECT_EQ(m_state.point[normal], m_state.bounds.max()[normal]);
    }
}

TEST_F(ViewerInteraction, MeasuresMillimetresOfUnevenVoxels) {
    for (const double scale : {1.0, 2.0}) {
        useScreen(scale);
        m_state.reset();
        const double pixel = 0.2; // millimetres, at most
        drag(Pane::Axial, {-10, -12, 0}, {8, 12, 0}, Button::Left, {.shift = true});
        send(KeyPress{'m'});
        drag(Pane::Coronal, {-6, 0, -16}, {-6, 0, 16}, Button::Left);
        drag(Pane::Coronal, {0, 0, 0}, {0, 0, 0}, Button::Left); // a click measures nothing
        ASSERT_EQ(m_state.measurements.size(), 2U);
        EXPECT_NEAR(m_state.measurements[0].length(), 30, 2 * pixel);
        EXPECT_NEAR(m_state.measurements[1].length(), 32, 2 * pixel);
        EXPECT_EQ(m_state.point, Vector3d(0, 0, 0));
        send(PointerMove{pointer(Pane::Axial, {0, 0, 0})});
        send(WheelTurn{1});
        EXPECT_FALSE(m_state.isShown(m_state.measurements[0]));
        EXPECT_TRUE(m_state.isShown(m_state.measurements[1]));
        send(KeyPress{KeyPress::Delete});
        EXPECT_EQ(m_state.measurements.size(), 1U);
    }
}

TEST_F(ViewerInteraction, ZoomsAtThePointerAndPansAlongWithIt) {
    useScreen(2);
    const Vector3d fixed(6, -5, 0);
    const Vector2d place = pointer(Pane::Axial, fixed);
    const double distance = (pointer(Pane::Axial, {10, -5, 0}) - place).norm();
    send(PointerMove{place});
    send(WheelTurn{3, {.control = true}});
    EXPECT_LT((pointer(Pane::Axial, fixed) - place).norm(), 0.5);
    EXPECT_NEAR((pointer(Pane::Axial, {10, -5, 0}) - place).norm(), std::pow(1.15, 3) * distance, 0.5);
    const Vector2d target = pointer(Pane::Axial, {2, 3, 0});
    drag(Pane::Axial, fixed, {2, 3, 0}, Button::Middle);
    EXPECT_LT((pointer(Pane::Axial, fixed) - target).norm(), 0.5);
}

TEST(CoarseMesh, KeepsTheShapeWithFewerTriangles) {
    ScalarGrid grid;
    grid.size = {32, 32, 32};
    for (int i = 0; i < 32 * 32 * 32; ++i)
        grid.values.push_back(float(
            12 - (Vector3i(i % 32, i / 32 % 32, i / 1024).cast<double>() - Vector3d(16, 16, 16)).norm()));
    RegionMesh mesh;
    mesh.add(extractSurface(grid, 0), 1);
    const auto volume = [&mesh](const std::vector<Vector3i>& triangles) {
        double sum = 0;
        for (const Vector3i& triangle : triangles) {
            const auto corner = [&](int i) {
                return mesh.positions[std::size_t(triangle[i])].cast<double>().eval();
            };
            sum += corner(0).dot(corner(1).cross(corner(2))) / 6;
        }
        return sum;
    };
    const std::vector<Vector3i> coarse = coarseTriangles(mesh, 3);
    EXPECT_LT(coarse.size(), mesh.triangles.size() / 4);
    EXPECT_NEAR(volume(coarse), volume(mesh.triangles), 0.1 * volume(mesh.triangles));
}

} // namespace
} // namespace Veltrand
