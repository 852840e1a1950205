// SPDX-License-Identifier: BSD-3-Clause
#include "apps/AppTest.h"

#include "gallery/Options.h"
#include "gallery/SliceLayout.h"
#include "support/Png.h"

#include <Veltrand/Core/String.h>

namespace Veltrand {
namespace {

TEST(Gallery, SaysInOneSentenceWhatIsWrongAndLeavesNoPicture) {
    const TemporaryDirectory directory;
    const auto path = [&directory](const char* name) { return (directory.path() / name).string(); };
    const std::string whole = directory.write("whole.nii", NiftiFile().plain());
    const std::string out = path("pictures");
    const std::string noFile = "cannot read " + path("absent.nii") + ": there is no such file.";
    const std::string outside = "cannot show " + whole + " there: the point given lies outside the volume.";
    const std::string noDirectory = "cannot write to " + whole + "/below: Not a directory.";
    const std::string switchedOff = "OpenGL is switched off by VELTRAND_DISABLE_OPENGL.";
    const std::string noServer = "there is no usable OpenGL: Failed to open X display.";
    const std::string badSize = "--size takes WIDTHxHEIGHT with both from 160 to 8192, not '640x480x'.";
    constexpr int BadInput = 1;
    constexpr int BadUsage = 2; // which is answered with the usage, too

    const struct {
        std::string arguments;
        int status;
        std::string sentence;
        std::vector<std::string> environment{};
    } cases[]{
        {"--volume=" + path("absent.nii"), BadInput, noFile},
        {"--volume=" + whole + " --labels " + path("absent.nii"), BadInput, noFile},
        {"--volume=" + whole + " --point 0,900,0", BadInput, outside},
        {"--volume=" + whole + " --out " + whole + "/below", BadInput, noDirectory},
        {"--volume=" + whole + " mona-lisa", BadUsage, "There is no picture 'mona-lisa', see --list."},
        {"--volume=" + whole, BadInput, switchedOff, {"VELTRAND_DISABLE_OPENGL="}},
        {"--volume=" + whole, BadInput, noServer, {"-u", "DISPLAY"}},
        {"--colour", BadUsage, "There is no option '--colour'."},
        {"slices -v", BadUsage, "There is no option '-v'."},
        {"--volume", BadUsage, "--volume needs a value."},
        {"--size=640x480x", BadUsage, badSize},
        {"--point 1,2,inf", BadUsage, "--point takes X,Y,Z in millimetres, not '1,2,inf'."},
    };
    for (const auto& refused : cases) {
        const RunResult result =
            runGalleryProgram(String::split("--out " + out + " " + refused.arguments, " "), directory.path(),
                              refused.environment);
        EXPECT_EQ(result.status, refused.status) << refused.sentence;
        EXPECT_EQ(result.errors, "veltrandgl-gallery: " + refused.sentence + "\n" +
                                     (refused.status == BadUsage ? std::string(Apps::usage()) + "\n" : ""));
        EXPECT_EQ(result.output, "");
        EXPECT_TRUE(!std::filesystem::exists(out) || std::filesystem::is_empty(out)) << refused.sentence;
    }
}

TEST(Gallery, UnderstandsItsOptions) {
    const std::vector<const char*> line{"--volume=a.nii", "--labels", "b.nii",   "--out",      "dir",
                                        "--size",         "640x480",  "--point", "-1.5,2,3e1", "slices",
                                        "--list",         "--",       "--odd"};
    const Apps::GalleryOptions options = Apps::parseOptions(line);
    EXPECT_EQ(options.volume, "a.nii");
    EXPECT_EQ(options.labels, "b.nii");
    EXPECT_EQ(options.directory, "dir");
    EXPECT_EQ(options.size, Vector2i(640, 480));
    EXPECT_EQ(options.point, Vector3d(-1.5, 2, 30));
    EXPECT_TRUE(options.list);
    EXPECT_EQ(options.pictures, (std::vector<std::string>{"slices", "--odd"}));
}

TEST(Gallery, ListsPicturesWithoutReadingOrWriting) {
    const TemporaryDirectory directory;
    const std::filesystem::path out = directory.path() / "pictures";
    const RunResult result = runGalleryProgram({"--list", "--out", out.string(), "--volume", "absent.nii"},
                                               directory.path(), {"-u", "DISPLAY"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output.rfind("slices  ", 0), 0U) << result.output;
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST(Gallery, APictureThatCannotBeWrittenLeavesNothingBehind) {
    const TemporaryDirectory directory;
    const std::vector<std::uint8_t> pixels(16, 255);
    // The picture is written whole, but a directory that is not empty cannot give way to it.
    const std::filesystem::path blocked = directory.path() / "slices.png";
    std::filesystem::create_directories(blocked / "inside");
    EXPECT_THROW(Apps::writePng(blocked, 2, 2, pixels), std::runtime_error);
    const auto left = std::filesystem::directory_iterator(directory.path());
    EXPECT_EQ(std::distance(begin(left), end(left)), 1);
}

TEST(SliceLayout, FitsThePictureWithSquareMillimetres) {
    const Vector2i sizes[]{{1600, 720}, {161, 160}, {160, 8192}};
    const Vector3d extents[]{{150, 185, 158}, {4000, 3, 500}};
    for (const Vector2i& size : sizes)
        for (const Vector3d& extent : extents) {
            SCOPED_TRACE(testing::Message() << size.transpose() << " shows " << extent.transpose());
            const Vector3d point = 0.25 * extent;
            const Apps::SliceLayout layout = Apps::layoutSlices(size, {Vector3d::Zero(), extent}, point);
            int end = 0;
            for (const Apps::SlicePanel& panel : layout.panels) {
                EXPECT_GE(panel.rect.x - layout.margin, end);
                EXPECT_GE(panel.rect.y - layout.margin, 0);
                EXPECT_LE(panel.rect.y + panel.rect.height + layout.margin, size.y());
                end = panel.rect.x + panel.rect.width + layout.margin;
                EXPECT_LE(end, size.x());
                const Eigen::Matrix3d linear = panel.panelToPatient.linear();
                EXPECT_NEAR(linear.col(0).norm() / panel.rect.width, linear.col(1).norm() / panel.rect.height,
                            1e-9 * linear.col(0).norm());
                EXPECT_EQ((panel.panelToPatient * Vector3d(0.3, 0.6, 0))[panel.normal], point[panel.normal]);
            }
        }
}

} // namespace
} // namespace Veltrand
