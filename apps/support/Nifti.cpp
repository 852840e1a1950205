// SPDX-License-Identifier: BSD-3-Clause
#include "support/Nifti.h"

#include <Veltrand/Core/NotCopyable.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <zlib.h>

namespace Veltrand::Apps {

namespace {

/// The reason alone; readNifti puts the file's name in front.
struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

constexpr std::size_t HeaderSize = 348;
/// The header and the four bytes that announce extensions; voxels start here at the earliest.
constexpr std::int64_t FirstVoxelByte = 352;
/// Deflate shortens data at most this much.
constexpr std::int64_t MaxCompression = 1032;

enum class DataType : int {
    UInt8 = 2,
    Int16 = 4,
    Int32 = 8,
    Float32 = 16,
    Float64 = 64,
    Int8 = 256,
    UInt16 = 512,
    UInt32 = 768,
};

/// Bytes per voxel; 0 for a type that is not read.
int bytesPerVoxel(DataType type) {
    switch (type) {
    case DataType::UInt8:
    case DataType::Int8:
        return 1;
    case DataType::Int16:
    case DataType::UInt16:
        return 2;
    case DataType::Int32:
    case DataType::UInt32:
    case DataType::Float32:
        return 4;
    case DataType::Float64:
        return 8;
    }
    return 0;
}

std::string_view otherTypeName(int type) {
    switch (type) {
    case 1:
        return "single bits";
    case 32:
    case 1792:
    case 2048:
        return "complex numbers";
    case 128:
    case 2304:
        return "colours";
    case 1024:
    case 1280:
        return "64-bit integers";
    case 1536:
        return "128-bit floats";
    default:
        return "a type that the format does not know";
    }
}

/// A plain or gzip compressed file as a stream of its uncompressed bytes.
class Source : private Utils::NotCopyable {
public:
    explicit Source(const std::filesystem::path& file)
        : m_file(open(file)) {
        gzbuffer(m_file, 1U << 18U);
    }
    ~Source() { gzclose_r(m_file); }

    /// Reads up to @p size bytes; fewer only at the end of the file.
    std::size_t read(void* data, std::size_t size) {
        std::size_t done = 0;
        while (done < size) {
            const std::size_t part = std::min<std::size_t>(size - done, 1U << 24U);
            const int got = gzread(m_file, static_cast<char*>(data) + done, static_cast<unsigned>(part));
            int error = Z_OK;
            const char* text = gzerror(m_file, &error);
            if (error == Z_BUF_ERROR)
                throw Refused("its compressed data ends too early");
            if (error == Z_ERRNO)
                throw Refused(std::generic_category().message(errno));
            if (got < 0 || error < 0)
                throw Refused("its compressed data is damaged (" + std::string(text) + ")");
            if (got == 0)
                break;
            done += static_cast<std::size_t>(got);
        }
        return done;
    }

    [[nodiscard]] bool isCompressed() { return gzdirect(m_file) == 0; }

    /// Reads and drops @p size bytes, or all that is left when the file is shorter.
    void skip(std::int64_t size) {
        std::vector<char> scratch(std::size_t{1} << 16U);
        while (size > 0) {
            const auto part = std::min<std::int64_t>(size, static_cast<std::int64_t>(scratch.size()));
            if (read(scratch.data(), static_cast<std::size_t>(part)) < static_cast<std::size_t>(part))
                break;
            size -= part;
        }
    }

private:
    static gzFile open(const std::filesystem::path& file) {
        errno = 0;
        if (const gzFile opened = gzopen(file.c_str(), "rb"))
            return opened;
        throw Refused(errno != 0 ? std::generic_category().message(errno) : "not enough memory");
    }

    gzFile m_file;
};

/// The header's fields by their offsets, in the byte order of this machine.
class Fields {
public:
    explicit Fields(const std::array<std::byte, HeaderSize>& bytes)
        : m_bytes(bytes) {
        if (at<std::int32_t>(0) == static_cast<std::int32_t>(HeaderSize))
            return;
        const bool isVersion2 = at<std::int32_t>(0) == 540;
        m_swapped = true;
        if (at<std::int32_t>(0) == static_cast<std::int32_t>(HeaderSize))
            return;
        throw Refused(isVersion2 || at<std::int32_t>(0) == 540 ? "it is a NIfTI-2 file, only NIfTI-1 is read"
                                                               : "it is not a NIfTI-1 file");
    }

    template<class T>
    [[nodiscard]] T at(std::size_t offset) const {
        std::array<std::byte, sizeof(T)> bytes;
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(offset), sizeof(T), bytes.begin());
        if (m_swapped)
            std::reverse(bytes.begin(), bytes.end());
        return std::bit_cast<T>(bytes);
    }

    [[nodiscard]] std::string_view text(std::size_t offset, std::size_t size) const {
        return {reinterpret_cast<const char*>(m_bytes.data()) + offset, size};
    }

    [[nodiscard]] bool isSwapped() const { return m_swapped; }

private:
    const std::array<std::byte, HeaderSize>& m_bytes;
    bool m_swapped = false;
};

void checkMagic(const Fields& fields) {
    const std::string_view magic = fields.text(344, 4);
    if (magic == std::string_view("ni1\0", 4))
        throw Refused("it is the header of a .hdr/.img pair, which is not read");
    if (magic != std::string_view("n+1\0", 4))
        throw Refused("it is not a NIfTI-1 file");
}

/// The lengths of the three dimensions of space, and how many volumes all others count.
void readSize(const Fields& fields, Volume& volume) {
    const int dimensions = fields.at<std::int16_t>(40);
    if (dimensions < 1 || dimensions > 7)
        throw Refused("its header asks for " + std::to_string(dimensions) + " dimensions");
    volume.size = Eigen::Vector3i::Ones();
    for (int i = 0; i < dimensions; ++i) {
        const int length = fields.at<std::int16_t>(42 + 2 * static_cast<std::size_t>(i));
        if (length < 1)
            throw Refused("its header gives dimension " + std::to_string(i + 1) + " a length of " +
                          std::to_string(length));
        if (i < 3)
            volume.size[i] = length;
        else
            volume.series *= length;
    }
}

DataType readType(const Fields& fields) {
    const int type = fields.at<std::int16_t>(70);
    if (bytesPerVoxel(DataType(type)) == 0)
        throw Refused("its voxels are " + std::string(otherTypeName(type)) + " (data type " +
                      std::to_string(type) + "), which are not read");
    return DataType(type);
}

std::int64_t readOffset(const Fields& fields) {
    const float offset = fields.at<float>(108);
    if (offset == 0)
        return FirstVoxelByte;
    // Beyond 2^53 not even a compressed file can follow, and the conversion would be undefined.
    if (!(offset >= static_cast<float>(FirstVoxelByte)) || offset > 9e15F)
        throw Refused("its header puts the voxels at an impossible place");
    return static_cast<std::int64_t>(offset);
}

/// The voxel edges in the file's unit; 1 where the header gives none.
Eigen::Vector3d readSpacing(const Fields& fields) {
    Eigen::Vector3d spacing;
    for (int i = 0; i < 3; ++i) {
        const double edge =
            std::abs(static_cast<double>(fields.at<float>(80 + 4 * static_cast<std::size_t>(i))));
        spacing[i] = std::isfinite(edge) && edge > 0 ? edge : 1;
    }
    return spacing;
}

Eigen::Matrix4d readSform(const Fields& fields) {
    Eigen::Matrix4d matrix = Eigen::Matrix4d::Identity();
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            matrix(row, column) = fields.at<float>(280 + 4 * static_cast<std::size_t>(4 * row + column));
    return matrix;
}

Eigen::Matrix4d readQform(const Fields& fields) {
    const Eigen::Vector3d imaginary(fields.at<float>(256), fields.at<float>(260), fields.at<float>(264));
    const double real = std::sqrt(std::max(0.0, 1 - imaginary.squaredNorm()));
    const Eigen::Quaterniond rotation =
        Eigen::Quaterniond(real, imaginary.x(), imaginary.y(), imaginary.z()).normalized();
    Eigen::Vector3d spacing = readSpacing(fields);
    // pixdim[0] says whether the third axis is mirrored; anything but a negative number stands for 1.
    if (fields.at<float>(76) < 0)
        spacing.z() = -spacing.z();
    Eigen::Matrix4d matrix = Eigen::Matrix4d::Identity();
    matrix.topLeftCorner<3, 3>() = rotation.toRotationMatrix() * spacing.asDiagonal();
    matrix.topRightCorner<3, 1>() << fields.at<float>(268), fields.at<float>(272), fields.at<float>(276);
    return matrix;
}

double millimetresPerUnit(const Fields& fields) {
    switch (fields.at<std::uint8_t>(123) & 7U) {
    case 1:
        return 1000; // metres
    case 3:
        return 0.001; // micrometres
    default:
        return 1; // millimetres, or not stated
    }
}

void readPlace(const Fields& fields, Volume& volume) {
    const bool hasSform = fields.at<std::int16_t>(254) > 0;
    const bool hasQform = fields.at<std::int16_t>(252) > 0;
    Eigen::Matrix4d matrix = Eigen::Matrix4d::Identity();
    if (hasSform)
        matrix = readSform(fields);
    else if (hasQform)
        matrix = readQform(fields);
    else
        matrix.diagonal().head<3>() = readSpacing(fields);
    matrix.topRows<3>() *= millimetresPerUnit(fields);

    // Relative to the edges, so that neither micrometres nor metres are taken for flat.
    const Eigen::Vector3d edges = matrix.topLeftCorner<3, 3>().colwise().norm().transpose();
    const double volumeOfVoxel = std::abs(matrix.topLeftCorner<3, 3>().determinant());
    if (!matrix.allFinite() || !(volumeOfVoxel > 1e-6 * edges.prod()))
        throw Refused(std::string("its ") + (hasSform ? "sform" : "qform") +
                      " does not place the voxels in space");
    volume.voxelToPatient.matrix() = matrix;
    volume.orientationKnown = hasSform || hasQform;
}

void readScaling(const Fields& fields, Volume& volume) {
    const float slope = fields.at<float>(112);
    const float intercept = fields.at<float>(116);
    if (slope == 0 || !std::isfinite(slope))
        return;
    volume.slope = slope;
    volume.intercept = std::isfinite(intercept) ? intercept : 0;
}

template<class T>
void swapBytes(ByteBuffer& buffer) {
    for (std::byte* element = buffer.data(); element != buffer.data() + buffer.size(); element += sizeof(T))
        std::reverse(element, element + sizeof(T));
}

/// Maps signed integers onto unsigned ones in the same order, so that they can be a normalised texture.
template<class Unsigned>
void makeUnsigned(Volume& volume) {
    constexpr Unsigned signBit = Unsigned(1U << (8 * sizeof(Unsigned) - 1));
    for (std::size_t offset = 0; offset < volume.voxels.size(); offset += sizeof(Unsigned)) {
        Unsigned bits;
        std::memcpy(&bits, volume.voxels.data() + offset, sizeof bits);
        bits = Unsigned(bits ^ signBit);
        std::memcpy(volume.voxels.data() + offset, &bits, sizeof bits);
    }
    volume.intercept -= volume.slope * static_cast<double>(signBit);
}

/// Turns voxels of type T into floats that hold the scaled values, in place: a float is never wider.
template<class T>
void makeFloat(Volume& volume) {
    const std::size_t count = volume.voxels.size() / sizeof(T);
    float lowest = std::numeric_limits<float>::infinity();
    bool allFinite = true;
    for (std::size_t i = 0; i < count; ++i) {
        T number;
        std::memcpy(&number, volume.voxels.data() + i * sizeof(T), sizeof number);
        const auto value = static_cast<float>(static_cast<double>(number) * volume.slope + volume.intercept);
        if (!std::isfinite(value))
            allFinite = false;
        else
            lowest = std::min(lowest, value);
        std::memcpy(volume.voxels.data() + i * sizeof(float), &value, sizeof value);
    }
    if (!std::isfinite(lowest))
        throw Refused("none of its voxels has a finite value");
    volume.voxels.shrink(count * sizeof(float));
    volume.storage = Volume::Storage::Float32;
    volume.slope = 1;
    volume.intercept = 0;
    for (std::size_t i = 0; !allFinite && i < count; ++i) {
        float value;
        std::memcpy(&value, volume.voxels.data() + i * sizeof value, sizeof value);
        if (!std::isfinite(value))
            std::memcpy(volume.voxels.data() + i * sizeof lowest, &lowest, sizeof lowest);
    }
}

/// Brings the voxels from the file's type and byte order into one of the storages.
void convert(DataType type, bool swapped, Volume& volume) {
    if (swapped && bytesPerVoxel(type) == 2)
        swapBytes<std::uint16_t>(volume.voxels);
    else if (swapped && bytesPerVoxel(type) == 4)
        swapBytes<std::uint32_t>(volume.voxels);
    else if (swapped && bytesPerVoxel(type) == 8)
        swapBytes<std::uint64_t>(volume.voxels);

    switch (type) {
    case DataType::UInt8:
        volume.storage = Volume::Storage::UInt8;
        break;
    case DataType::Int8:
        volume.storage = Volume::Storage::UInt8;
        makeUnsigned<std::uint8_t>(volume);
        break;
    case DataType::UInt16:
        volume.storage = Volume::Storage::UInt16;
        break;
    case DataType::Int16:
        volume.storage = Volume::Storage::UInt16;
        makeUnsigned<std::uint16_t>(volume);
        break;
    case DataType::Int32:
        makeFloat<std::int32_t>(volume);
        break;
    case DataType::UInt32:
        makeFloat<std::uint32_t>(volume);
        break;
    case DataType::Float32:
        makeFloat<float>(volume);
        break;
    case DataType::Float64:
        makeFloat<double>(volume);
        break;
    }
}

Volume read(const std::filesystem::path& file) {
    // Only a regular file has a size to measure the header's promises against.
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::not_found)
        throw Refused("there is no such file");
    if (!error && status.type() != std::filesystem::file_type::regular)
        throw Refused("it is not a regular file");
    const auto fileSize = error ? std::uintmax_t{0} : std::filesystem::file_size(file, error);
    if (error)
        throw Refused(error.message());

    Source source(file);
    std::array<std::byte, HeaderSize> header{};
    if (source.read(header.data(), header.size()) < header.size())
        throw Refused("it is too short for a NIfTI-1 file");
    const Fields fields(header);
    checkMagic(fields);

    Volume volume;
    readSize(fields, volume);
    const DataType type = readType(fields);
    const std::int64_t offset = readOffset(fields);
    readPlace(fields, volume);
    readScaling(fields, volume);

    // Three lengths of 15 bits and eight bytes a voxel stay below 2^48.
    const auto bytes = static_cast<std::int64_t>(volume.voxelCount()) * bytesPerVoxel(type);
    const auto capacity =
        static_cast<std::int64_t>(std::min<std::uintmax_t>(fileSize, std::uintmax_t{1} << 50U)) *
        (source.isCompressed() ? MaxCompression : 1);
    if (offset + bytes > capacity)
        throw Refused("its header asks for more voxels than the file can hold");
    source.skip(offset - static_cast<std::int64_t>(HeaderSize));
    volume.voxels = ByteBuffer(static_cast<std::size_t>(bytes));
    if (source.read(volume.voxels.data(), volume.voxels.size()) < volume.voxels.size())
        throw Refused("it ends before its last voxel");
    if (source.isCompressed())
        source.skip(std::numeric_limits<std::int64_t>::max());
    convert(type, fields.isSwapped(), volume);
    return volume;
}

} // namespace

Volume readNifti(const std::filesystem::path& file) {
    try {
        return read(file);
    } catch (const Refused& reason) {
        throw std::runtime_error("cannot read " + file.string() + ": " + reason.what() + ".");
    } catch (const std::bad_alloc&) {
        throw std::runtime_error("cannot read " + file.string() + ": not enough memory.");
    }
}

} // namespace Veltrand::Apps
