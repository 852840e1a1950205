// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"
#include "support/Threads.h"

#include <Veltrand/Core/Zstd.h>

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>

namespace Veltrand::Compression::zstd {

namespace {

constexpr std::string_view category = "Core.Compression.zstd";

// Bytes between noise and repetition, so that frames hold several kinds of blocks.
ByteBuffer sample(std::size_t size, std::uint32_t seed = 1) {
    ByteBuffer content(size);
    for (std::size_t i = 0; i < size; ++i) {
        seed = seed * 1664525u + 1013904223u;
        content.data()[i] = std::byte((i / 1000) % 2 ? seed >> 24 : seed >> 30);
    }
    return content;
}

ByteBuffer fromBytes(std::initializer_list<unsigned> values) {
    ByteBuffer buffer(values.size());
    std::transform(values.begin(), values.end(), buffer.data(),
                   [](unsigned value) { return std::byte(value); });
    return buffer;
}

ByteBuffer joined(ByteBufferView a, ByteBufferView b) {
    ByteBuffer result(a.size() + b.size());
    std::copy(b.begin(), b.end(), std::copy(a.begin(), a.end(), result.data()));
    return result;
}

// A frame of raw blocks without stored size: written by hand, since `compress` always states the size.
ByteBuffer unsizedFrame(ByteBufferView content) {
    constexpr std::size_t blockSize = 100 << 10;
    ByteBuffer frame = fromBytes({0x28, 0xB5, 0x2F, 0xFD, 0x00, 0x58}); // window of 2 MiB
    for (std::size_t begin = 0; begin <= content.size(); begin += blockSize) {
        const std::size_t size = std::min(blockSize, content.size() - begin);
        const unsigned header =
            static_cast<unsigned>(size << 3) | (begin + blockSize > content.size() ? 1 : 0);
        frame = joined(frame, fromBytes({header & 0xFF, header >> 8 & 0xFF, header >> 16}));
        frame = joined(frame, {content.data() + begin, size});
    }
    return frame;
}

// Expects no content and one error that names the reason.
void expectFailure(const Context& context, ByteBufferView frame, const std::string& reason,
                   ByteSize maximum = ByteSize::fromGB(1)) {
    Testing::LogCapture log;
    EXPECT_FALSE(context.decompress(frame, maximum)) << reason;
    const auto lines = log.take(category);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, 4);
    EXPECT_EQ(lines[0].text.find("Cannot decompress a frame of " + std::to_string(frame.size()) +
                                 " bytes: " + reason),
              0u)
        << lines[0];
}

} // namespace

TEST(Zstd, ReturnsWhatWasCompressed) {
    const Context context;
    for (const std::size_t size : {0u, 1u, 200000u})
        for (const int level : {-1000, 3, 1000}) {
            const ByteBuffer frame = context.compress(sample(size), level);
            EXPECT_EQ(context.decompress(frame).value(), sample(size)) << size << ' ' << level;
        }
}

TEST(Zstd, ReadsFramesWithoutStoredSizeUpToTheMaximum) {
    const Context context;
    for (const std::size_t size : {1u, 300000u}) {
        const ByteBuffer content = sample(size);
        const ByteBuffer frame = unsizedFrame(content);
        EXPECT_EQ(context.decompress(frame, ByteSize(size)).value(), content);
        expectFailure(context, frame, "its content is larger than the permitted", ByteSize(size - 1));
        expectFailure(context, {frame.data(), frame.size() - 1}, "it is cut off");
    }
}

TEST(Zstd, RefusesEveryTruncationAndEveryChangedByte) {
    const Context context;
    const ByteBuffer content = sample(3000);
    const ByteBuffer frame = context.compress(content);
    for (std::size_t size = 0; size < frame.size(); size += size < 32 ? 1 : 97)
        expectFailure(context, {frame.data(), size}, "it is ");
    for (std::size_t place = 0; place < frame.size(); place += place < 32 ? 1 : 37) {
        ByteBuffer changed = frame;
        changed.data()[place] ^= std::byte{0x01};
        expectFailure(context, changed, "");
    }
    EXPECT_TRUE(context.decompress(frame)) << "failures leave the context usable";
}

TEST(Zstd, RefusesWhatIsNotExactlyOneHonestFrame) {
    const Context context;
    const ByteBuffer frame = context.compress(sample(3000));
    const ByteBuffer skippable = fromBytes({0x50, 0x2A, 0x4D, 0x18, 1, 0, 0, 0, 7});
    expectFailure(context, joined(frame, fromBytes({0})), "1 bytes follow the frame.");
    expectFailure(context, skippable, "it is not a zstd frame.");
    expectFailure(context, frame, "its content is larger than the permitted 2999 bytes.", ByteSize(2999));
    // One raw block of one byte under a stored size of 256 MiB, of 2^64 - 1 bytes, of two bytes, and of none.
    const std::initializer_list<unsigned> block{9, 0, 0, 'x'};
    const auto lying = [&](std::initializer_list<unsigned> header) {
        return joined(joined(fromBytes({0x28, 0xB5, 0x2F, 0xFD}), fromBytes(header)), fromBytes(block));
    };
    expectFailure(context, lying({0xA0, 0, 0, 0, 0x10}),
                  "it is too short for the 268435456 bytes it states.");
    expectFailure(context, lying({0xE0, 255, 255, 255, 255, 255, 255, 255, 255}), "");
    expectFailure(context, lying({0x20, 0}), "");
    EXPECT_TRUE(context.decompress(lying({0x20, 1})));
}

TEST(Zstd, ServesSeveralThreadsAtOnce) {
    const Context context;
    std::atomic<std::uint32_t> seed{0};
    Testing::onThreads(5, [&] {
        const ByteBuffer content = sample(20000, ++seed);
        EXPECT_EQ(context.decompress(context.compress(content)).value(), content);
    });
}

} // namespace Veltrand::Compression::zstd
