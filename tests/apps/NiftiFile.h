// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/TemporaryDirectory.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
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

} // namespace Veltrand::Testing
