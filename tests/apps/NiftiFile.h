// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/TemporaryDirectory.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>
#include <zlib.h>

namespace Veltrand::Testing {

/// NIfTI-1 bytes in the making: 2 x 3 x 4 voxels of a byte at first, 1 mm apart, without orientation.
struct NiftiFile {
    bool swapped = false;
    std::array<int, 8> dimensions{3, 2, 3, 4, 1, 1, 1, 1};
    int dataType = 2;
    std::array<float, 4> pixdim{1, 1, 1, 1};
    float voxelOffset = 352;
    float slope = 0;
    float intercept = 0;
    int units = 2;
    int qformCode = 0;
    int sformCode = 0;
    std::array<float, 6> qform{}; ///< quaternion b, c, d and offset x, y, z
    std::array<float, 12> sform{};
    int headerSize = 348;
    std::string magic = std::string("n+1\0", 4);
    std::string voxels = std::string(24, '\0');

    template<class T>
    [[nodiscard]] std::string bytesOf(T value) const {
        std::string bytes(sizeof value, '\0');
        std::memcpy(bytes.data(), &value, sizeof value);
        if (swapped)
            std::reverse(bytes.begin(), bytes.end());
        return bytes;
    }

    template<class T>
    void setVoxels(const std::vector<T>& values) {
        voxels.clear();
        for (const T value : values)
            voxels += bytesOf(value);
    }

    [[nodiscard]] std::string plain() const {
        std::string bytes(352, '\0');
        const auto put = [&bytes](std::size_t offset, const std::string& field) {
            bytes.replace(offset, field.size(), field);
        };
        const auto putFloats = [&](std::size_t offset, const auto& values) {
            for (const float value : values)
                put(std::exchange(offset, offset + 4), bytesOf(value));
        };
        put(0, bytesOf(std::int32_t(headerSize)));
        for (std::size_t i = 0; i < 8; ++i)
            put(40 + 2 * i, bytesOf(std::int16_t(dimensions[i])));
        put(70, bytesOf(std::int16_t(dataType)));
        putFloats(76, pixdim);
        put(108, bytesOf(voxelOffset));
        put(112, bytesOf(slope));
        put(116, bytesOf(intercept));
        put(123, std::string(1, char(units)));
        put(252, bytesOf(std::int16_t(qformCode)));
        put(254, bytesOf(std::int16_t(sformCode)));
        putFloats(256, qform);
        putFloats(280, sform);
        put(344, magic);
        return bytes + voxels;
    }

    [[nodiscard]] std::string gzip() const { return gzip(plain()); }

    [[nodiscard]] static std::string gzip(std::string bytes) {
        std::string compressed(bytes.size() + 1024, '\0');
        z_stream stream{};
        // 16 added to the window bits asks for a gzip frame.
        deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
        stream.next_in = reinterpret_cast<Bytef*>(bytes.data());
        stream.avail_in = static_cast<uInt>(bytes.size());
        stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
        stream.avail_out = static_cast<uInt>(compressed.size());
        EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
        compressed.resize(stream.total_out);
        deflateEnd(&stream);
        return compressed;
    }
};

/// A file of voxels around the origin, bytes or doubles, that run along axes of the patient.
/// @param directions 1 or -1 along each of the axes
/// @param value of a voxel by its indices and by its place in the patient
template<class T>
NiftiFile placedFile(const Eigen::Vector3i& size, const Eigen::Vector3d& spacing, const Eigen::Vector3i& axes,
                     const Eigen::Vector3i& directions,
                     const std::function<double(const Eigen::Vector3i&, const Eigen::Vector3d&)>& value) {
    NiftiFile file;
    Eigen::Affine3d map = Eigen::Affine3d::Identity();
    map.linear().setZero();
    for (int i = 0; i < 3; ++i) {
        file.dimensions[std::size_t(i) + 1] = size[i];
        map.linear()(axes[i], i) = directions[i] * spacing[i];
    }
    map.translation() = -map.linear() * (size.cast<double>() - Eigen::Vector3d::Ones()) / 2;
    file.sformCode = 4;
    for (int i = 0; i < 12; ++i)
        file.sform[std::size_t(i)] = float(map.matrix()(i / 4, i % 4));
    file.dataType = std::is_same_v<T, double> ? 64 : 2;
    std::vector<T> voxels;
    for (int i = 0; i < size.prod(); ++i) {
        const Eigen::Vector3i voxel(i % size.x(), i / size.x() % size.y(), i / size.x() / size.y());
        voxels.push_back(T(value(voxel, map * voxel.cast<double>())));
    }
    file.setVoxels(voxels);
    return file;
}

} // namespace Veltrand::Testing
