// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/ByteBuffer.h>
#include <Veltrand/Core/Flags.h>

#include <gtest/gtest.h>
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
}

TEST(Flags, CombinesAndTests) {
    using Options = Flags<Option>;
    const Options flags = Option::A | Option::C;
    EXPECT_TRUE(flags.test(Option::A) && flags.test(Option::C));
    EXPECT_FALSE(flags.test(Option::AB) || flags.test(Option::None));
    EXPECT_EQ(flags & ~Options(Option::A), Options(Option::C));
    EXPECT_EQ(Options({Option::A, Option::B}), Options(Option::AB));
    EXPECT_EQ((~Options()).value(), 255);
    EXPECT_FALSE(Options());
}

} // namespace Veltrand
