// SPDX-License-Identifier: BSD-3-Clause
#include "apps/AppTest.h"

#include "scene/SlicePanel.h"

namespace Veltrand {
namespace {

/// Voxels that run towards the patient's left, feet and front.
std::string turnedVolume(const std::function<double(const Vector3d&)>& value) {
    return placedFile<std::uint8_t>({24, 30, 20}, {2, 1.5, 3}, {0, 2, 1}, {-1, -1, 1},
                                    [&value](auto&, const Vector3d& place) { return value(place); })
        .plain();
}

/// A block of 24 mm in a head with a skin; each octant of the block is a region, 1 to 8.
bool isInBlock(const Vector3d& point) {
    return point.cwiseAbs().maxCoeff() < 12;
}
double headAt(const Vector3d& point) {
    const double distance = point.cwiseAbs().maxCoeff();
    return distance < 12 ? 200 : distance < 18 ? 100 : distance < 21 ? 20 : 0;
}
int regionAt(const Vector3d& point) {
    return isInBlock(point) ? 1 + int(point.x() > 0) + 2 * int(point.y() > 0) + 4 * int(point.z() > 0) : 0;
}

class ViewerGL : public testing::Test {
protected:
    static constexpr int Width = 800;
    static constexpr int Height = 600;

    /// Runs a script, in which %D stands for the scratch directory.
    RunResult run(std::string script, std::vector<std::string> options = {},
                  const std::vector<std::string>& environment = {}) {
        for (std::size_t at = 0; (at = script.find("%D", at)) != std::string::npos;)
            script.replace(at, 2, m_directory.path().string());
        const auto file = m_directory.write("script", script);
        options.insert(options.begin(),
                       {"--size", std::to_string(Width) + "x" + std::to_string(Height), "--script",
                        file.string(), m_directory.write("head.nii", turnedVolume(headAt)).string()});
        return runProgram(VELTRAND_VIEWER_PROGRAM, options, m_directory.path(), environment);
    }
    /// The same with regions, which is to succeed in silence; gives what is printed.
    std::string play(const std::string& script, const std::vector<std::string>& environment = {}) {
        const auto labels = m_directory.write("regions.nii", turnedVolume(regionAt));
        m_directory.write("regions.nii.txt",
                          "1 Piece_1\n2 Piece_2\n3 Piece_3\n4 Piece_4 x\n5 Piece_5\n\n7 Piece_7\n");
        const RunResult result = run(script + "\nquit", {"--labels", labels.string()}, environment);
        EXPECT_EQ(result.status, 0) << script;
        EXPECT_EQ(result.errors, "") << script;
        return result.output;
    }
    [[nodiscard]] PngPicture picture(const std::string& name) const {
        return PngPicture(m_directory.path() / name);
    }

    TemporaryDirectory m_directory;
};

Vector3i colorAt(const PngPicture& picture, const Vector2i& pixel) {
    const auto channel = [&](std::size_t i) { return picture.at(pixel.x(), pixel.y(), i); };
    return {channel(0), channel(1), channel(2)};
}

/// How a pane shows the block, read off its picture.
struct ShownBlock {
    Vector2d center; ///< in pixels from the lower left corner
    Vector2d pixelsPerMillimetre;

    /// @param quadrant of the picture, by column and row from the lower left
    ShownBlock(const PngPicture& picture, const Vector2i& quadrant) {
        const Vector2i size(int(picture.image.width) / 2, int(picture.image.height) / 2);
        const Vector2i corner = quadrant.cwiseProduct(size);
        Eigen::AlignedBox2i box;
        for (int y = size.y() / 6; y < size.y() * 5 / 6; ++y) // letters stand nearer to the edges
            for (int x = size.x() / 6; x < size.x() * 5 / 6; ++x) {
                const Vector2i pixel = corner + Vector2i(x, y);
                if (colorAt(picture, pixel).minCoeff() > 184)
                    box.extend(pixel);
            }
        center = (box.min() + box.max()).cast<double>() / 2 + Vector2d(0.5, 0.5);
        pixelsPerMillimetre = (box.sizes() + Vector2i::Ones()).cast<double>() / 24;
    }

    /// The pixel that shows a place, in millimetres along the picture's axes of the patient. All slices have
    /// the patient's right or front on the left.
    [[nodiscard]] Vector2i pixelAt(double across, double up) const {
        const Vector2d offset(-across * pixelsPerMillimetre.x(), up * pixelsPerMillimetre.y());
        return (center + offset).array().floor().cast<int>();
    }
    /// The same as a command for the pointer.
    [[nodiscard]] std::string move(double across, double up) const {
        const Vector2i pixel = pixelAt(across, up);
        return "move " + std::to_string(pixel.x()) + ' ' + std::to_string(600 - 1 - pixel.y()) + '\n';
    }
};

struct SliceCase {
    const char* name;
    Vector2i quadrant;
    int across; ///< the patient's axes
    int up;
};
const std::array<SliceCase, 3> Slices{
    {{"axial", {0, 1}, 0, 1}, {"coronal", {0, 0}, 0, 2}, {"sagittal", {1, 0}, 1, 2}}};

bool isColor(const PngPicture& picture, const Vector2i& pixel, const Vector3i& color) {
    return (colorAt(picture, pixel) - color).cwiseAbs().maxCoeff() < 12;
}

/// How many pixels of a quadrant differ clearly.
int differences(const PngPicture& a, const PngPicture& b, const Vector2i& quadrant) {
    const Vector2i size(int(a.image.width) / 2 - 2, int(a.image.height) / 2 - 16);
    int count = 0;
    for (int y = 0; y < size.y(); ++y)
        for (int x = 0; x < size.x(); ++x) {
            const Vector2i pixel(quadrant.x() * (size.x() + 4) + x, quadrant.y() * (size.y() + 18) + 14 + y);
            count += (colorAt(a, pixel) - colorAt(b, pixel)).cwiseAbs().maxCoeff() > 8 ? 1 : 0;
        }
    return count;
}

/// The numbers that follow a word in what is printed.
template<std::size_t N>
std::array<double, N> numbersAfter(const std::string& printed, const std::string& word) {
    std::array<double, N> numbers{};
    const std::size_t start = printed.rfind(word);
    EXPECT_NE(start, std::string::npos) << printed;
    std::istringstream stream(start == std::string::npos ? "" : printed.substr(start + word.size()));
    for (double& number : numbers)
        EXPECT_TRUE(stream >> number) << printed;
    return numbers;
}

/// What a click on a region is to print; 6 and 8 have no name.
std::string answerFor(int region) {
    const std::string number = std::to_string(region);
    if (region == 0)
        return "answer 100 at (";
    return "region " + number + (region == 6 || region == 8 ? " " : " Piece ") + number + ", answer ";
}

TEST_F(ViewerGL, ClicksMoveTheCrossHairAndNameRegions) {
    play("key o\nsave %D/grey.png"); // without tints
    const PngPicture grey = picture("grey.png");
    double scale = 0;
    for (const SliceCase& slice : Slices) {
        SCOPED_TRACE(slice.name);
        const ShownBlock block(grey, slice.quadrant);
        // Millimetres are square and equally large everywhere, though voxels are not.
        scale = scale > 0 ? scale : block.pixelsPerMillimetre.x();
        EXPECT_NEAR(block.pixelsPerMillimetre.x(), scale, 0.01 * scale);
        EXPECT_NEAR(block.pixelsPerMillimetre.y(), scale, 0.01 * scale);

        for (const Vector2d& place : {Vector2d(6, -7), Vector2d(-5, 8), Vector2d(15, 4)}) {
            const std::string printed = play(block.move(place.x(), place.y()) +
                                             "press left\nrelease left\nprint\nsave %D/clicked.png");
            Vector3d point = Vector3d::Zero();
            point[slice.across] = place.x();
            point[slice.up] = place.y();
            const auto shown = numbersAfter<3>(printed, "point ");
            EXPECT_LT((Vector3d(shown[0], shown[1], shown[2]) - point).norm(), 0.3) << printed;
            EXPECT_EQ(numbersAfter<1>(printed, "value ")[0], headAt(point)) << printed;
            // The slice lies between two voxels, and shows the one that follows in the file.
            const int normal = 3 - slice.across - slice.up;
            const int region = regionAt(point + (normal == 1 ? 0.1 : -0.1) * Vector3d::Unit(normal));
            EXPECT_NE(printed.find(answerFor(region)), std::string::npos) << printed;
            // The lines through the place, seen beside the block.
            const auto color = [](int axis) {
                return Vector3i(
                    (255 * Apps::PlaneColors[std::size_t(axis)].head<3>()).array().round().cast<int>());
            };
            const PngPicture clicked = picture("clicked.png");
            EXPECT_TRUE(isColor(clicked, block.pixelAt(place.x(), 20), color(slice.across)));
            EXPECT_TRUE(isColor(clicked, block.pixelAt(21, place.y()), color(slice.up)));
        }
    }
}

TEST_F(ViewerGL, ShowsTheWindowThatTheMouseSets) {
    const std::string printed = play("key o\nsave %D/before.png\nmove 200 150\ndrag right 240 190 4\n"
                                     "print\nsave %D/after.png");
    const ShownBlock block(picture("before.png"), {0, 1});
    const auto [low, high] = numbersAfter<2>(printed, "window ");
    EXPECT_GT(high - low, 200); // to the right: wider
    for (const double across : {-15.0, 3.0, 20.0}) {
        const double grey = 255 * (headAt({across, 5, 0}) - low) / (high - low);
        const Vector2i pixel = block.pixelAt(across, 5);
        EXPECT_NEAR(picture("after.png").at(pixel.x(), pixel.y()), std::clamp(grey, 0.0, 255.0), 2) << across;
    }
    EXPECT_GT(differences(picture("before.png"), picture("after.png"), {1, 0}), 1000); // in all slices
}

TEST_F(ViewerGL, MeasuresDistances) {
    play("key o\nsave %D/grey.png");
    const ShownBlock block(picture("grey.png"), {1, 0});
    const auto drag = [&block](double across, double up) {
        return "drag left" + block.move(across, up).substr(4, block.move(across, up).size() - 5) + " 3";
    };
    const std::string printed = play("key o\n" + block.move(-8, -10) + drag(10, 14) +
                                     " shift\nprint\nsave %D/measured.png\nkey delete\nsave %D/deleted.png");
    EXPECT_NEAR(numbersAfter<1>(printed, "distance ")[0], 30, 0.6);
    const Vector2i middle = block.pixelAt(1, 2);
    EXPECT_TRUE(isColor(picture("measured.png"), middle, {255, 217, 64}));
    EXPECT_FALSE(isColor(picture("deleted.png"), middle, {255, 217, 64}));
}

TEST_F(ViewerGL, TitlesReadTheSameOverBlackAndWhite) {
    play("key o\nsave %D/black.png\nmove 200 150\nwheel 14 ctrl\nsave %D/white.png");
    const PngPicture black = picture("black.png");
    const PngPicture white = picture("white.png");
    int text = 0;
    for (const int left : {0, 402})
        for (const int top : {0, 289})
            for (int y = 8; y < 18; ++y)
                for (int x = 8; x < (left + top == 402 ? 0 : 100); ++x) { // not that of the surfaces
                    const auto at = [&](const PngPicture& shown) {
                        return shown.at(left + x, 599 - top - y);
                    };
                    text += at(black) > 90 ? 1 : 0;
                    EXPECT_NEAR(at(white), at(black), 60) << left + x << ", " << top + y;
                }
    EXPECT_GT(text, 300);
    EXPECT_EQ(white.at(60, 599 - 40), 255);
}

TEST_F(ViewerGL, NamesAndClearsSurfaces) {
    // With and without lists per pixel.
    for (const char* version : {"4.5", "3.3"}) {
        SCOPED_TRACE(version);
        const std::string printed = play("wait-surfaces\nsave %D/opaque.png\nkey t\nsave %D/clear.png\n"
                                         "move 600 145\npress left\nrelease left\nprint\n"
                                         "save %D/chosen.png\ndrag left 660 145 3\nsave %D/turned.png",
                                         {std::string("MESA_GL_VERSION_OVERRIDE=") + version});
        // What is seen from the left, the front and above.
        EXPECT_NE(printed.find("region 7 Piece 7, answer Piece 7"), std::string::npos) << printed;
        const PngPicture opaque = picture("opaque.png");
        EXPECT_GT(differences(opaque, picture("clear.png"), {1, 1}), 5000);
        EXPECT_EQ(differences(opaque, picture("clear.png"), {0, 0}), 0);
        EXPECT_GT(differences(picture("clear.png"), picture("chosen.png"), {1, 1}), 1000);
        EXPECT_GT(differences(picture("chosen.png"), picture("turned.png"), {1, 1}), 5000);
    }
}

TEST_F(ViewerGL, FollowsTheSizeOfItsWindow) {
    play("resize 1201 333\nsave %D/wide.png\nresize 10 10\nsave %D/tiny.png\nresize 400 700\nkey h\nsave "
         "%D/tall.png");
    const std::pair<const char*, Vector2i> cases[]{
        {"wide.png", {1201, 333}}, {"tiny.png", {10, 10}}, {"tall.png", {400, 700}}};
    for (const auto& [name, size] : cases) {
        const png_image image = picture(name).image;
        EXPECT_EQ(Vector2i(int(image.width), int(image.height)), size);
    }
}

TEST_F(ViewerGL, ShowsTheSurfaceOfAVolumeWithoutRegions) {
    const RunResult result = run("wait-surfaces\nmove 600 145\npress left\nrelease left\nprint\nquit");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    const auto point = numbersAfter<3>(result.output, "point ");
    // On the side of the block or the head that looks to the left and the front.
    EXPECT_LT(point[0], -10) << result.output;
    EXPECT_NE(result.output.find(" mm"), std::string::npos);
}

TEST_F(ViewerGL, TellsWhatIsWrong) {
    const std::string script = (m_directory.path() / "script").string();
    const std::string head = (m_directory.path() / "head.nii").string();
    const std::string viewer = "veltrandgl-viewer: ";
    const struct {
        const char* script;
        std::vector<std::string> options;
        int status;
        std::string errors; ///< what they begin with
        std::vector<std::string> environment{};
    } cases[]{
        {"print\njump", {}, 1, script + ":2: there is no command 'jump'."},
        {"\nsave %D/none/a.png\nquit", {}, 1, script + ":2: cannot write "},
        {"quit", {"--labels", "absent.nii"}, 1, viewer + "cannot read absent.nii: "},
        {"quit",
         {"--names", "no.txt", "--labels", head},
         1,
         viewer + "there are no names of regions in no.txt."},
        {"quit", {"--level", "high"}, 2, viewer + "--level takes a number, not 'high'."},
        {"quit", {"second.nii"}, 2, viewer + "There is more than one FILE."},
        {"quit", {"--names", "n.txt"}, 2, viewer + "--names needs --labels."},
        {"quit", {"--colour"}, 2, viewer + "There is no option '--colour'."},
        {"quit", {}, 1, viewer + "there is no window system", {"-u", "DISPLAY"}},
        {"quit", {}, 1, viewer + "there is no window with OpenGL 3.3", {"MESA_GL_VERSION_OVERRIDE=3.0"}},
        {"quit", {}, 1, viewer + "OpenGL is switched off", {"VELTRAND_DISABLE_OPENGL="}},
    };
    for (const auto& wrong : cases) {
        const RunResult result = run(wrong.script, wrong.options, wrong.environment);
        EXPECT_EQ(result.status, wrong.status) << wrong.errors;
        EXPECT_EQ(result.errors.substr(0, wrong.errors.size()), wrong.errors);
    }
}

} // namespace
} // namespace Veltrand
