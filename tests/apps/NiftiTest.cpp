// SPDX-License-Identifier: BSD-3-Clause
#include "apps/AppTest.h"

#include "support/Nifti.h"
#include "support/Notices.h"

namespace Veltrand {
namespace {

using Apps::readNifti;
using Apps::Volume;

Volume readBytes(const std::string& bytes) {
    const TemporaryDirectory directory;
    return readNifti(directory.write("volume.nii", bytes));
}

std::vector<double> valuesOf(const Volume& volume) {
    std::vector<double> values(volume.voxelCount());
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = volume.value(i);
    return values;
}

template<class T>
void expectReads(int dataType, Volume::Storage storage, const std::vector<T>& ends) {
    for (const bool swapped : {false, true})
        for (const bool compressed : {false, true}) {
            SCOPED_TRACE(testing::Message()
                         << "type " << dataType << " swapped " << swapped << " compressed " << compressed);
            std::vector<T> stored(24, T(7));
            std::iota(stored.begin(), stored.end(), T(1));
            std::copy(ends.begin(), ends.end(), stored.begin());
            NiftiFile file;
            file.swapped = swapped;
            file.dataType = dataType;
            file.slope = 0.5F;
            file.intercept = -3;
            file.setVoxels(stored);
            const Volume volume = readBytes(compressed ? file.gzip() : file.plain());
            EXPECT_EQ(volume.storage, storage);
            for (std::size_t i = 0; i < stored.size(); ++i) {
                const double expected = static_cast<double>(stored[i]) * 0.5 - 3;
                EXPECT_NEAR(volume.value(i), expected, std::abs(expected) * 1e-7) << "voxel " << i;
            }
            EXPECT_EQ(volume.value(1, 2, 3), volume.value(23));
        }
}

template<class T>
std::vector<T> endsOf() {
    return {std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max()};
}

TEST(Nifti, ReadsEveryTypeInBothByteOrdersPlainAndCompressed) {
    using enum Volume::Storage;
    expectReads<std::uint8_t>(2, UInt8, endsOf<std::uint8_t>());
    expectReads<std::int8_t>(256, UInt8, endsOf<std::int8_t>());
    expectReads<std::uint16_t>(512, UInt16, endsOf<std::uint16_t>());
    expectReads<std::int16_t>(4, UInt16, endsOf<std::int16_t>());
    expectReads<std::uint32_t>(768, Float32, endsOf<std::uint32_t>());
    expectReads<std::int32_t>(8, Float32, endsOf<std::int32_t>());
    expectReads<float>(16, Float32, {-1e30F, 0.125F});
    expectReads<double>(64, Float32, {-1e30, 1.0 / 3});
}

TEST(Nifti, VoxelsThatAreNotFiniteTakeTheLowestValue) {
    NiftiFile file;
    file.dataType = 64;
    std::vector<double> stored(24, 5);
    stored[3] = -2;
    stored[7] = std::nan("");
    stored[8] = std::numeric_limits<double>::infinity();
    stored[9] = 1e300; // beyond the range of a float
    file.setVoxels(stored);
    file.slope = std::nanf(""); // voxels are scaled only by a slope that is a number and not zero
    file.intercept = 100;
    for (const std::size_t i : {7U, 8U, 9U})
        stored[i] = -2;
    EXPECT_EQ(valuesOf(readBytes(file.plain())), stored);
}

TEST(Nifti, ReadsTheFirstVolumeOfASeriesAndSkipsExtensions) {
    NiftiFile file;
    file.dimensions = {5, 2, 3, 4, 2, 3, 1, 1};
    file.voxelOffset = 368;
    file.voxels = std::string(16, 'e') + std::string(24, 1) + std::string(24, 2);
    for (const std::string& bytes : {file.plain(), file.gzip()}) {
        const Volume volume = readBytes(bytes);
        EXPECT_EQ(volume.size, Vector3i(2, 3, 4));
        EXPECT_EQ(volume.series, 6);
        EXPECT_EQ(valuesOf(volume), std::vector<double>(24, 1));
    }
}

TEST(Nifti, PlacesVoxelsByTheSformThenTheQformThenTheSpacing) {
    NiftiFile file;
    file.pixdim = {-1, 2, 3, 4};
    file.qform = {0, 0, 1, 10, 20, 30}; // half a turn about z
    file.sform = {0, 0, 5, -1, 6, 0, 0, -2, 0, 7, 0, -3};
    const struct {
        int sformCode, qformCode, units;
        Vector3d image; ///< of voxel (1, 1, 1)
        bool known;
    } cases[]{
        {1, 1, 2, {4, 4, 4}, true},
        {0, 1, 2, {8, 17, 26}, true}, // the third axis is mirrored by pixdim[0]
        {0, 1, 1, {8000, 17000, 26000}, true},
        {0, 0, 2, {2, 3, 4}, false},
    };
    for (const auto& expected : cases) {
        file.sformCode = expected.sformCode;
        file.qformCode = expected.qformCode;
        file.units = expected.units;
        const Volume volume = readBytes(file.plain());
        EXPECT_TRUE((volume.voxelToPatient * Vector3d(1, 1, 1)).isApprox(expected.image, 1e-6))
            << volume.voxelToPatient.matrix();
        EXPECT_EQ(volume.orientationKnown, expected.known);
        if (!expected.known) { // the bounds hold every voxel whole
            EXPECT_TRUE(volume.bounds().min().isApprox(Vector3d(-1, -1.5, -2)));
            EXPECT_TRUE(volume.bounds().max().isApprox(Vector3d(3, 7.5, 14)));
        }
    }
}

TEST(Nifti, RefusesWhatItCannotReadWithOneSentence) {
    const auto changed = [](auto change) {
        NiftiFile file;
        change(file);
        return file.plain();
    };
    const std::string whole = NiftiFile().plain();
    const std::string packed = NiftiFile().gzip();
    std::string wrongSum = packed;
    wrongSum[wrongSum.size() - 8] = static_cast<char>(~wrongSum[wrongSum.size() - 8]);
    const std::string huge = changed([](auto& f) { f.dimensions = {3, 32767, 32767, 32767, 1, 1, 1, 1}; });

    const std::string tooMany = "its header asks for more voxels than the file can hold";
    const struct {
        std::string bytes, reason;
    } cases[]{
        {"", "it is too short for a NIfTI-1 file"},
        {whole.substr(0, 347), "it is too short for a NIfTI-1 file"},
        {std::string(1000, 'x'), "it is not a NIfTI-1 file"},
        {changed([](auto& f) { f.magic[1] = 'i'; }),
         "it is the header of a .hdr/.img pair, which is not read"},
        {changed([](auto& f) { f.headerSize = 540; }), "it is a NIfTI-2 file, only NIfTI-1 is read"},
        {changed([](auto& f) { f.dimensions[0] = 0; }), "its header asks for 0 dimensions"},
        {changed([](auto& f) { f.dimensions[2] = -3; }), "its header gives dimension 2 a length of -3"},
        {huge, tooMany},
        {NiftiFile::gzip(huge), tooMany},
        {whole.substr(0, 375), tooMany},
        {NiftiFile::gzip(whole.substr(0, 375)), "it ends before its last voxel"},
        {changed([](auto& f) { f.dataType = 32; }),
         "its voxels are complex numbers (data type 32), which are not read"},
        {changed([](auto& f) { f.dataType = -5; }),
         "its voxels are a type that the format does not know (data type -5), which are not read"},
        {changed([](auto& f) { f.voxelOffset = 348; }), "its header puts the voxels at an impossible place"},
        {changed([](auto& f) { f.voxelOffset = 8e15F; }), tooMany},
        {changed([](auto& f) { f.sformCode = 1; }),
         "its sform does not place the voxels in space"}, // all of it is zero
        {changed([](auto& f) {
             f.qformCode = 1;
             f.qform[1] = std::nanf("");
         }),
         "its qform does not place the voxels in space"},
        {changed([](auto& f) {
             f.dataType = 16;
             f.setVoxels(std::vector<float>(24, std::nanf("")));
         }),
         "none of its voxels has a finite value"},
        {packed.substr(0, packed.size() - 3), "its compressed data ends too early"},
        {wrongSum, "its compressed data is damaged"},
    };
    const TemporaryDirectory directory;
    for (const auto& refused : cases) {
        const std::filesystem::path file = directory.write("volume.nii", refused.bytes);
        const std::string text = thrown([&] { (void)readNifti(file); });
        EXPECT_TRUE(text.starts_with("cannot read " + file.string() + ": " + refused.reason))
            << text << "\ninstead of " << refused.reason;
    }
    EXPECT_EQ(thrown([&] { (void)readNifti(directory.path()); }),
              "cannot read " + directory.path().string() + ": it is not a regular file.");
}

TEST(Notices, TellWhereRegionsMayBeInAnotherSpace) {
    NiftiFile volume;
    volume.dimensions = {3, 10, 10, 10, 1, 1, 1, 1};
    volume.voxels = std::string(1000, '\1');
    volume.sformCode = 1;
    volume.sform = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
    const struct {
        void (*change)(NiftiFile&);
        std::string notice; ///< what it begins with
    } cases[]{
        {[](NiftiFile&) {}, ""},
        {[](NiftiFile& f) { f.voxels.assign(1000, '\0'); }, ""},
        {[](NiftiFile& f) { // half the voxels, twice as large
             f.dimensions = {3, 5, 10, 10, 1, 1, 1, 1};
             f.sform[0] = 2;
             f.sform[3] = 0.5F;
         },
         ""},
        {[](NiftiFile& f) { f.dimensions = {4, 10, 10, 5, 2, 1, 1, 1}; },
         "labels holds 2 volumes, of which the first is shown."},
        {[](NiftiFile& f) { f.sform[7] = -4; },
         "The regions may be in another space: 40 % of the regions lie outside of volume. labels has 10 x 10 "
         "x 10 "
         "voxels of 1 x 1 x 1 mm from (-0.5, -4.5, -0.5) to (9.5, 5.5, 9.5) mm; volume has 10 x 10 x 10 "
         "voxels of "
         "1 x 1 x 1 mm from (-0.5, -0.5, -0.5) to (9.5, 9.5, 9.5) mm."},
        {[](NiftiFile& f) { // mirrored
             f.sform[0] = -1;
             f.sform[3] = 9;
         },
         "The regions may be in another space: labels has as many voxels as volume in other places. "},
        {[](NiftiFile& f) { f.units = 3; },
         "The regions may be in another space: labels has as many voxels as volume in other places. "},
        {[](NiftiFile& f) { f.sformCode = 0; },
         "The regions may be in another space: only volume says which side is left. "},
    };
    for (const auto& expected : cases) {
        NiftiFile labels = volume;
        expected.change(labels);
        const auto notices =
            Apps::noticesOfLabels(readBytes(labels.plain()), "labels", readBytes(volume.plain()), "volume");
        EXPECT_EQ(notices.size(), expected.notice.empty() ? 0U : 1U) << expected.notice;
        for (const std::string& notice : notices)
            EXPECT_TRUE(notice.starts_with(expected.notice)) << notice;
    }
}

TEST(Nifti, WindowLiesBetweenPercentilesOfTheForeground) {
    NiftiFile file;
    file.dimensions = {3, 50, 4, 1, 1, 1, 1, 1};
    std::vector<std::uint8_t> stored(200, 0);
    std::iota(stored.begin() + 99, stored.end(), std::uint8_t(100)); // 100 to 200, the rest background
    file.setVoxels(stored);
    const Apps::Window window = percentileWindow(readBytes(file.plain()), 1, 99);
    EXPECT_EQ(window.low, 101);
    EXPECT_EQ(window.high, 199);

    file.setVoxels(std::vector<std::uint8_t>(200, 9));
    EXPECT_GT(percentileWindow(readBytes(file.plain()), 1, 99).high, 9) << "a window has a width";
}

} // namespace
} // namespace Veltrand
