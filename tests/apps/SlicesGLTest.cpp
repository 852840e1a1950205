// SPDX-License-Identifier: BSD-3-Clause
#include "apps/GalleryRun.h"
#include "apps/NiftiFile.h"
#include "apps/PngPicture.h"

#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "gallery/SliceLayout.h"

#include <Veltrand/GL/ContextManager.h>

#include <cmath>
#include <gtest/gtest.h>

namespace Veltrand {
namespace {

using Testing::NiftiFile;
using Testing::PngPicture;
using Testing::runGalleryProgram;
using Testing::RunResult;
using Testing::TemporaryDirectory;

constexpr int Width = 900;
constexpr int Height = 480;

/// A head of 60 mm with a bright ball on its right, a dimmer one in front and a dark one on top.
double patientValue(const Eigen::Vector3d& position) {
    for (int axis = 0; axis < 3; ++axis)
        if ((position - 20 * Eigen::Vector3d::Unit(axis)).norm() < 6)
            return 250 - 65 * axis;
    return position.norm() < 28 ? 40 : 0;
}

/// The head with the origin in its middle and voxels of 2 mm, 1.5 mm and 3 mm along the first, second and
/// third of the given patient axes, followed in the given directions.
NiftiFile headBySform(const std::array<int, 3>& axes, const std::array<int, 3>& directions) {
    NiftiFile file;
    file.dimensions = {3, 30, 40, 20, 1, 1, 1, 1};
    const Eigen::Vector3d spacing(2, 1.5, 3);
    Eigen::Affine3d voxelToPatient = Eigen::Affine3d::Identity();
    voxelToPatient.linear().setZero();
    for (int i = 0; i < 3; ++i) {
        const auto index = static_cast<std::size_t>(i);
        voxelToPatient.linear()(axes[index], i) = directions[index] * spacing[i];
        voxelToPatient.translation()[axes[index]] =
            -directions[index] * spacing[i] * (file.dimensions[index + 1] - 1) / 2;
    }
    file.sformCode = 4;
    for (int i = 0; i < 12; ++i)
        file.sform[static_cast<std::size_t>(i)] = static_cast<float>(voxelToPatient.matrix()(i / 4, i % 4));
    std::vector<double> values(24000);
    for (int i = 0; double& value : values) {
        value = patientValue(voxelToPatient * Eigen::Vector3i(i % 30, i / 30 % 40, i / 1200).cast<double>());
        ++i;
    }
    file.dataType = 64;
    file.setVoxels(values);
    return file;
}

/// Grey values of a letter as the gallery writes it, in the middle of a square.
struct Letter {
    static constexpr int Reach = 10;
    static constexpr int Edge = 2 * Reach;

    Letter(char letter, int scale) {
        Apps::Canvas canvas({Edge, Edge});
        canvas.begin();
        Apps::LabelPainter::drawText(std::string(1, letter), Reach, Reach, scale,
                                     Eigen::Vector3f::Constant(0.92F));
        pixels = canvas.read();
    }
    [[nodiscard]] int at(int x, int y) const {
        return pixels[4 * (static_cast<std::size_t>(y) * Edge + static_cast<std::size_t>(x))];
    }

    std::vector<std::uint8_t> pixels;
};

/// Whether the letter stands with its centre at this place, pixel for pixel.
bool hasLetter(const PngPicture& picture, char letter, int centerX, int centerY, int scale) {
    const Letter expected(letter, scale);
    int drawn = 0;
    for (int y = 0; y < Letter::Edge; ++y)
        for (int x = 0; x < Letter::Edge; ++x) {
            const int value = expected.at(x, y);
            drawn += value > 0 ? 1 : 0;
            if (picture.at(centerX - Letter::Reach + x, centerY - Letter::Reach + y) != value)
                return false;
        }
    return drawn > 0;
}

void expectHead(const PngPicture& picture, const std::string& letters) {
    const Apps::SliceLayout layout =
        Apps::layoutSlices({Width, Height}, {Eigen::Vector3d::Constant(-30), Eigen::Vector3d::Constant(30)},
                           Eigen::Vector3d::Zero());
    // Black is the 40 of the head, white the 250 of the ball on the right.
    const int right = 255;
    const int front = (185 - 40) * 255 / 210;
    const int top = (120 - 40) * 255 / 210;
    const struct {
        int toTheLeft, toTheRight, below, above;
    } greys[]{{right, 0, 0, front}, {right, 0, 0, top}, {front, 0, 0, top}};

    for (std::size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(testing::Message() << "slice " << i);
        const Apps::PixelRect& rect = layout.panels[i].rect;
        const int x = rect.x + rect.width / 2;
        const int y = rect.y + rect.height / 2;
        const auto distance = static_cast<int>(std::lround(20 * layout.pixelsPerMillimetre));
        // Beside the lines, which run through the balls.
        const int aside = 6;
        EXPECT_NEAR(picture.at(x - distance, y + aside), greys[i].toTheLeft, 2);
        EXPECT_NEAR(picture.at(x + distance, y + aside), greys[i].toTheRight, 2);
        EXPECT_NEAR(picture.at(x + aside, y - distance), greys[i].below, 2);
        EXPECT_NEAR(picture.at(x + aside, y + distance), greys[i].above, 2);
        EXPECT_GT(picture.at(x, y - distance), 60) << "no line";
        EXPECT_GT(picture.at(x + distance, y), 60) << "no line";

        const int scale = layout.letterScale;
        EXPECT_TRUE(hasLetter(picture, letters[4 * i], rect.x - layout.margin / 2, y, scale));
        EXPECT_TRUE(
            hasLetter(picture, letters[4 * i + 1], rect.x + rect.width + layout.margin / 2, y, scale));
        EXPECT_TRUE(hasLetter(picture, letters[4 * i + 2], x, rect.y - layout.margin / 2, scale));
        EXPECT_TRUE(
            hasLetter(picture, letters[4 * i + 3], x, rect.y + rect.height + layout.margin / 2, scale));
    }
}

struct Gallery {
    TemporaryDirectory directory;
    RunResult result;

    explicit Gallery(const NiftiFile& file)
        : result(runGalleryProgram({"--volume", directory.write("head.nii.gz", file.gzip()).string(), "--out",
                                    directory.path().string(), "--size",
                                    std::to_string(Width) + "x" + std::to_string(Height), "--point", "0,0,0",
                                    "slices"},
                                   directory.path())) {}

    [[nodiscard]] std::filesystem::path picture() const { return directory.path() / "slices.png"; }
};

// The letters to expect are drawn in the process of the tests.
class SlicesGL : public ::testing::Test {
protected:
    static void SetUpTestSuite() { GL::init(); }
    static void TearDownTestSuite() { GL::deinit(); }
};

TEST_F(SlicesGL, ShowEachSideOfThePatientWhereItsLetterStands) {
    const std::pair<std::string, NiftiFile> cases[]{
        {"to the right, front and head", headBySform({0, 1, 2}, {1, 1, 1})},
        {"to the feet, left and back", headBySform({2, 0, 1}, {-1, -1, -1})},
    };
    for (const auto& [name, file] : cases) {
        SCOPED_TRACE(name);
        const Gallery gallery(file);
        EXPECT_EQ(gallery.result.errors, "");
        const std::string& output = gallery.result.output;
        EXPECT_NE(output.find("\nOpenGL errors: 0\n"), std::string::npos) << output;
        ASSERT_TRUE(std::filesystem::exists(gallery.picture()));
        expectHead(PngPicture(gallery.picture()), "RLPARLISAPIS");
    }
}

TEST_F(SlicesGL, ClaimNoSidesThatTheFileDoesNotName) {
    NiftiFile file = headBySform({0, 1, 2}, {1, 1, 1});
    file.sformCode = 0;
    file.pixdim = {1, 2, 1.5F, 3};
    const Gallery gallery(file);
    EXPECT_NE(gallery.result.errors.find("does not say which side is left."), std::string::npos)
        << gallery.result.errors;
    ASSERT_TRUE(std::filesystem::exists(gallery.picture()));
    const PngPicture picture(gallery.picture());
    const Apps::SliceLayout layout = Apps::layoutSlices(
        {Width, Height}, {Eigen::Vector3d(-1, -0.75, -1.5), Eigen::Vector3d(59, 59.25, 58.5)}, {0, 0, 0});
    for (const Apps::SlicePanel& panel : layout.panels)
        EXPECT_TRUE(hasLetter(picture, '?', panel.rect.x - layout.margin / 2,
                              panel.rect.y + panel.rect.height / 2, layout.letterScale));
}

} // namespace
} // namespace Veltrand
