// SPDX-License-Identifier: BSD-3-Clause
#include "apps/AppTest.h"

#include "gallery/Canvas.h"
#include "gallery/LabelPainter.h"
#include "gallery/SliceLayout.h"
#include "support/Nifti.h"

#include <Veltrand/GL/ContextManager.h>

namespace Veltrand {
namespace {

constexpr int Width = 903;
constexpr int Height = 480;
constexpr int Edge = 15; // voxels

/// A cube of bytes around the origin.
std::string cube(double spacing, const std::function<int(const Vector3i&)>& value) {
    return placedFile<std::uint8_t>(Vector3i::Constant(Edge), Vector3d::Constant(spacing), {0, 1, 2},
                                    {1, 1, 1},
                                    [&value](const Vector3i& voxel, auto&) { return value(voxel); })
        .plain();
}

/// A head of 60 mm with a bright ball on its right, a dimmer one in front and a dark one on top.
double patientValue(const Vector3d& position) {
    for (int axis = 0; axis < 3; ++axis)
        if ((position - 20 * Vector3d::Unit(axis)).norm() < 6)
            return 250 - 65 * axis;
    return position.norm() < 28 ? 40 : 0;
}

/// The head with voxels of 2 mm, 1.5 mm and 3 mm along the first, second and third of the given axes.
NiftiFile headBySform(const Vector3i& axes, const Vector3i& directions) {
    return placedFile<double>({30, 40, 20}, {2, 1.5, 3}, axes, directions,
                              [](auto&, const Vector3d& place) { return patientValue(place); });
}

/// Whether a letter stands with its centre at this place, pixel for pixel as the gallery writes it.
bool hasLetter(const PngPicture& picture, char letter, int centerX, int centerY, int scale) {
    constexpr int Reach = 10;
    constexpr int Side = 2 * Reach;
    Apps::Canvas canvas({Side, Side});
    canvas.begin();
    Apps::LabelPainter(canvas).drawText(std::string(1, letter), Reach, Reach, scale,
                                        Eigen::Vector3f::Constant(0.92F));
    const std::vector<std::uint8_t> pixels = canvas.read();
    int drawn = 0;
    for (int y = 0; y < Side; ++y)
        for (int x = 0; x < Side; ++x) {
            const int expected = pixels[4 * static_cast<std::size_t>(y * Side + x)];
            drawn += expected > 0 ? 1 : 0;
            if (picture.at(centerX - Reach + x, centerY - Reach + y) != expected)
                return false;
        }
    return drawn > 0;
}

void expectHead(const PngPicture& picture, const std::string& letters) {
    const Apps::SliceLayout layout = Apps::layoutSlices(
        {Width, Height}, {Vector3d::Constant(-30), Vector3d::Constant(30)}, Vector3d::Zero());
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

        const auto expectLetter = [&](std::size_t side, int centerX, int centerY) {
            EXPECT_TRUE(hasLetter(picture, letters[4 * i + side], centerX, centerY, layout.letterScale))
                << side;
        };
        expectLetter(0, rect.x - layout.margin / 2, y);
        expectLetter(1, rect.x + rect.width + layout.margin / 2, y);
        expectLetter(2, x, rect.y - layout.margin / 2);
        expectLetter(3, x, rect.y + rect.height + layout.margin / 2);
    }
}

class PicturesGL : public testing::Test {
protected:
    // The letters to expect are drawn in the process of the tests.
    static void SetUpTestSuite() { GL::init(); }
    static void TearDownTestSuite() { GL::deinit(); }

    void use(const std::string& volume) {
        m_volume = Apps::readNifti(m_directory.write("volume.nii", volume));
    }

    /// Makes a picture, which is to succeed.
    PngPicture make(const std::string& picture, const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments{"--volume", (m_directory.path() / "volume.nii").string(),
                                           "--out",    m_directory.path().string(),
                                           "--size",   std::to_string(Width) + "x" + std::to_string(Height),
                                           "--point",  "0,0,0",
                                           picture};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const RunResult result = runGalleryProgram(arguments, m_directory.path());
        EXPECT_EQ(result.status, 0); // without an error of OpenGL
        m_errors = result.errors;
        return PngPicture(m_directory.path() / (picture + ".png"));
    }
    void TearDown() override { EXPECT_EQ(m_errors, ""); }

    TemporaryDirectory m_directory;
    Apps::Volume m_volume;
    std::string m_errors; ///< of the last picture
    std::mt19937 m_random;
};

bool isInBall(const Vector3i& voxel, const Vector3i& center, int radius) {
    return (voxel - center).squaredNorm() < radius * radius;
}

int grey(double value, const Apps::Window& window) {
    return int(std::lround(255 * std::clamp((value - window.low) / (window.high - window.low), 0.0, 1.0)));
}

TEST_F(PicturesGL, SlicesShowEachSideOfThePatientWhereItsLetterStands) {
    const std::pair<std::string, NiftiFile> cases[]{
        {"to the right, front and head", headBySform({0, 1, 2}, {1, 1, 1})},
        {"to the feet, left and back", headBySform({2, 0, 1}, {-1, -1, -1})},
    };
    for (const auto& [name, file] : cases) {
        SCOPED_TRACE(name);
        use(file.plain());
        expectHead(make("slices"), "RLPARLISAPIS");
    }
}

TEST_F(PicturesGL, SlicesClaimNoSidesThatTheFileDoesNotName) {
    NiftiFile file = headBySform({0, 1, 2}, {1, 1, 1});
    file.sformCode = 0;
    file.pixdim = {1, 2, 1.5F, 3};
    use(file.plain());
    const PngPicture picture = make("slices");
    EXPECT_NE(std::exchange(m_errors, {}).find("does not say which side is left."), std::string::npos);
    const Apps::SliceLayout layout = Apps::layoutSlices({Width, Height}, m_volume.bounds(), {0, 0, 0});
    for (const Apps::SlicePanel& panel : layout.panels)
        EXPECT_TRUE(hasLetter(picture, '?', panel.rect.x - layout.margin / 2,
                              panel.rect.y + panel.rect.height / 2, layout.letterScale));
}

TEST_F(PicturesGL, ProjectionShowsTheGreatestValueOfEachRay) {
    // Blocks of 3x3x3 voxels, in whose middles nothing is interpolated.
    std::array<int, std::size_t{Edge} * Edge * Edge / 27> blocks{};
    std::ranges::generate(blocks, [this] { return int(m_random() % 256); });
    use(cube(4, [&blocks](const Vector3i& voxel) {
        return blocks[std::size_t((voxel / 3).dot(Vector3i(1, Edge / 3, Edge * Edge / 9)))];
    }));
    const Apps::Window window = percentileWindow(m_volume, 50, 100);
    const PngPicture picture = make("projection");
    for (const Apps::SlicePanel& panel :
         Apps::layoutSlices({Width, Height}, m_volume.bounds(), Vector3d::Zero()).panels)
        for (int i = 0; i < Edge * Edge; ++i) {
            Vector3i voxel;
            voxel[panel.horizontal] = i % Edge;
            voxel[panel.vertical] = i / Edge;
            if (voxel[panel.horizontal] % 3 != 1 || voxel[panel.vertical] % 3 != 1)
                continue;
            double greatest = 0;
            for (voxel[panel.normal] = 0; voxel[panel.normal] < Edge; ++voxel[panel.normal])
                greatest = std::max(greatest, m_volume.value(voxel.x(), voxel.y(), voxel.z()));
            const Vector3d place =
                panel.panelToPatient.inverse() * (m_volume.voxelToPatient * voxel.cast<double>());
            EXPECT_NEAR(picture.at(panel.rect.x + int(place.x() * panel.rect.width),
                                   panel.rect.y + int(place.y() * panel.rect.height)),
                        grey(greatest, window), 2)
                << panel.normal << ": " << voxel.transpose();
        }
}

TEST_F(PicturesGL, FilteredShowsMeansAndGradients) {
    // Five voxels of 49 pixels fill an edge of the three squares.
    constexpr int Voxel = 49;
    use(cube(12, [this](const Vector3i&) { return int(m_random() % 256); }));
    const Apps::Window window = percentileWindow(m_volume, 1, 99.5);
    const Apps::Window slope{0, (window.high - window.low) / 2};
    const PngPicture picture = make("filtered");
    for (int j = -2; j <= 2; ++j)
        for (int i = -2; i <= 2; ++i) {
            const auto value = [&](int x, int y, int z) { // the patient's right is on the left
                return m_volume.value(Edge / 2 - i + x, Edge / 2 + j + y, Edge / 2 + z);
            };
            double sum = 0;
            for (int neighbour = 0; neighbour < 27; ++neighbour)
                sum += value(neighbour % 3 - 1, neighbour / 3 % 3 - 1, neighbour / 9 - 1);
            const Vector3d gradient(value(1, 0, 0) - value(-1, 0, 0), value(0, 1, 0) - value(0, -1, 0),
                                    value(0, 0, 1) - value(0, 0, -1));
            const int x = Width / 6 + i * Voxel;
            const int y = 267 + j * Voxel;
            EXPECT_NEAR(picture.at(x, y), grey(value(0, 0, 0), window), 2) << i << ", " << j;
            EXPECT_NEAR(picture.at(x + Width / 3, y), grey(sum / 27, window), 2) << i << ", " << j;
            EXPECT_NEAR(picture.at(x + 2 * Width / 3, y), grey(gradient.norm() / 24, slope), 2)
                << i << ", " << j;
        }
}

TEST_F(PicturesGL, TransparencyIsTheSameWithAndWithoutSorting) {
    use(cube(4, [](const Vector3i& voxel) { return isInBall(voxel, {7, 7, 7}, 6) ? 200 : 10; }));
    // A thalamus in front, a hippocampus on top.
    const auto labels = m_directory.write("labels.nii", cube(4, [](const Vector3i& voxel) {
                                              if (isInBall(voxel, {7, 10, 7}, 2))
                                                  return 77;
                                              return isInBall(voxel, {7, 7, 10}, 2) ? 37 : 0;
                                          }));
    const PngPicture picture = make("transparency", {"--labels", labels.string()});
    int lit = 0;
    int different = 0;
    Vector3d head(0, 0, 0); // sums of places and weights
    Vector3d thalamus(0, 0, 0);
    Vector3d hippocampus(0, 0, 0);
    for (int y = 90; y < Height; ++y) // above the captions
        for (int x = 0; x < Width / 2; ++x) {
            const auto difference = [&](std::size_t channel) {
                return std::abs(picture.at(x, y, channel) - picture.at(x + Width / 2, y, channel));
            };
            const int red = picture.at(x, y, 0);
            const int green = picture.at(x, y, 1);
            const Vector3d place(x, y, 1);
            head += place * std::min(red, 1);
            thalamus += place * std::max(red - green - 20, 0);
            hippocampus += place * std::max(green - red - 20, 0);
            lit += std::min(red, 1);
            different += std::max({difference(0), difference(1), difference(2)}) > 3 ? 1 : 0;
        }
    EXPECT_GT(lit, 20000);
    EXPECT_LT(different, lit / 200);
    EXPECT_LT(thalamus.hnormalized().x(), head.hnormalized().x() - 20); // seen from the patient's left
    EXPECT_GT(hippocampus.hnormalized().y(), head.hnormalized().y() + 20);
}

TEST_F(PicturesGL, AnnotationMarksARegionWhereItIs) {
    use(cube(4, [](const Vector3i&) { return 10; }));
    const auto labels = m_directory.write("labels.nii", cube(4, [](const Vector3i& voxel) {
                                              return isInBall(voxel, {7, 7, 7}, 5) ? 37 : 0;
                                          }));
    const PngPicture picture = make("annotation", {"--labels", labels.string()});
    constexpr int Below = Height * 3 / 10;
    const Apps::SliceLayout layout =
        Apps::layoutSlices({Width, Height - Below}, m_volume.bounds(), Vector3d::Zero());
    const double radius = 18.3 * layout.pixelsPerMillimetre;
    int measured = 0;
    for (const Apps::SlicePanel& panel : layout.panels) {
        const Vector2d center(panel.rect.x + panel.rect.width / 2.0,
                              Below + panel.rect.y + panel.rect.height / 2.0);
        int onContour = 0;
        int elsewhere = 0;
        int onDistance = 0;
        for (int y = int(center.y()); y < Below + panel.rect.y + panel.rect.height; ++y) // names stand below
            for (int x = panel.rect.x; x < panel.rect.x + panel.rect.width; ++x) {
                const int red = picture.at(x, y, 0);
                const int green = picture.at(x, y, 1);
                const double offset = (Vector2d(x + 0.5, y + 0.5) - center).norm() - radius;
                if (green > 225 && red < 110)
                    ++(std::abs(offset) < 4 ? onContour : elsewhere);
                onDistance += red > 230 && green > 190 ? 1 : 0;
            }
        EXPECT_GT(onContour, 2 * radius) << panel.normal;
        EXPECT_EQ(elsewhere, 0) << panel.normal;
        measured += onDistance > radius / 2 ? 1 : 0;
    }
    EXPECT_EQ(measured, 1);
}

TEST_F(PicturesGL, StandOnAPageWithTheirBytes) {
    use(cube(4, [](const Vector3i& voxel) { return voxel.x(); }));
    const std::filesystem::path out = m_directory.path() / "out";
    const std::filesystem::path page = out / "index.html";
    const std::vector<std::string> arguments{"--volume", (m_directory.path() / "volume.nii").string(),
                                             "--out",    out.string(),
                                             "--size",   "160x160",
                                             "slices",   "projection"};
    const RunResult result = runGalleryProgram(arguments, m_directory.path());
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(result.output.ends_with("\npage: " + page.string() + "\n")) << result.output;
    const std::string html = readFile(page);
    EXPECT_NE(html.find("<dd>volume.nii</dd>"), std::string::npos);
    EXPECT_NE(html.find("s for 2 pictures</dd>"), std::string::npos);
    for (const std::string picture : {"slices", "projection"})
        EXPECT_NE(html.find("<li><a href=\"" + picture + ".png\">"), std::string::npos);
    EXPECT_EQ(html.find("lines.png"), std::string::npos);
    EXPECT_NE(html.find("alt=\"Axial, coronal and sagittal slices through volume.nii in grey, at x = 0.0, "),
              std::string::npos);

    std::filesystem::remove(page);
    std::filesystem::create_directories(page / "inside");
    const RunResult blocked = runGalleryProgram(arguments, m_directory.path());
    EXPECT_EQ(blocked.status, 1);
    EXPECT_EQ(blocked.errors, "veltrandgl-gallery: cannot write " + page.string() + ": Is a directory.\n");
}

} // namespace
} // namespace Veltrand
