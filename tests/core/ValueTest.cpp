// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/ByteBuffer.h>
#include <Veltrand/Core/ByteSize.h>
#include <Veltrand/Core/Flags.h>
#include <Veltrand/Core/Timer.h>

#include <gtest/gtest.h>
#include <thread>
#include <utility>

namespace Veltrand {

namespace {

enum class Option : unsigned char { A = 1, B = 2, C = 128, AB = 3, None = 0 };
VELTRAND_FLAG_OPERATORS(Option)

} // namespace

TEST(ByteBuffer, CopiesBytesAndMovesThem) {
    const char text[] = {'a', '\0', 'b'};
    ByteBuffer first(ByteBufferView(text, sizeof text));
    ByteBuffer second = first;
    second.data()[0] = std::byte{'x'};
    EXPECT_EQ(first.view().toString(), std::string(text, sizeof text));
    EXPECT_FALSE(first == second);

    const ByteBuffer moved = std::move(first);
    EXPECT_EQ(moved.size(), 3u);
    EXPECT_TRUE(first.empty()); // NOLINT(bugprone-use-after-move): a moved-from buffer is empty
    second.shrink(5);
    EXPECT_EQ(second.size(), 3u);
    second.shrink(1);
    EXPECT_EQ(second.view().toStringView(), "x");
    second = *&second;
    EXPECT_EQ(second.size(), 1u);
    second = ByteBuffer();
    EXPECT_EQ(second, ByteBufferView());
}

TEST(ByteSize, CountsAndCompares) {
    EXPECT_EQ(ByteSize::fromKB(1) + ByteSize(24) - ByteSize(1024), ByteSize(24));
    EXPECT_GT(ByteSize::fromGB(5), ByteSize::fromMB(5119));
}

TEST(Flags, CombinesAndTests) {
    using Options = Flags<Option>;
    const Options flags = Option::A | Option::C;
    const std::pair<Option, bool> cases[] = {
        {Option::A, true}, {Option::B, false}, {Option::C, true}, {Option::AB, false}, {Option::None, false},
    };
    for (const auto& [option, set] : cases)
        EXPECT_EQ(flags.test(option), set) << int(option);
    EXPECT_EQ(flags & ~Options(Option::A), Options(Option::C));
    EXPECT_EQ(Options({Option::A, Option::B}), Options(Option::AB));
    EXPECT_EQ((~Options()).value(), 255);
    EXPECT_FALSE(Options());
}

TEST(Timer, MeasuresFromItsLastStart) {
    Timer timer;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_GE(timer.elapsedSeconds(), 0.002);
    const auto lap = timer.restart();
    EXPECT_GE(lap, std::chrono::milliseconds(2));
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_GE(timer.elapsed(), std::chrono::milliseconds(1));
}

} // namespace Veltrand
