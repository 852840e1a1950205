// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/LineVertices.h>

#include <gtest/gtest.h>
#include <string>

namespace Veltrand::GL {

namespace {

// A point per letter, '!' for one that is not finite.
std::vector<Eigen::Vector3d> parse(const std::string& letters) {
    std::vector<Eigen::Vector3d> points;
    for (const char letter : letters)
        points.emplace_back(letter - 'a', letter == '!' ? 1e39 : 0, 1);
    return points;
}

// The letters of an array of vertices, '-' for missing neighbours, '?' where the four of a point differ.
std::string format(LineVertices::Positions positions) {
    std::string letters;
    for (std::size_t i = 0; i + 3 < positions.size(); i += 4) {
        const Eigen::Vector3f& p = positions[i];
        const bool equal = p == positions[i + 1] && p == positions[i + 2] && p == positions[i + 3];
        letters += !equal                          ? '?'
                   : p[0] == LineVertices::missing ? '-'
                                                   : static_cast<char>('a' + static_cast<int>(p[0]));
    }
    return letters;
}

} // namespace

TEST(LineVertices, PointsHaveTheirNeighbors) {
    constexpr auto strip = Primitive::LineStrip;
    constexpr auto loop = Primitive::LineLoop;
    constexpr auto lines = Primitive::Lines;
    const struct {
        Primitive primitive;
        const char *input, *points, *previous, *next;
        std::size_t dropped = 0;
    } cases[] = {
        {strip, "abc", "abc", "aab", "bcc"},
        {strip, "aab", "ab", "aa", "bb"},
        {strip, "aba", "aba", "aab", "baa"},
        {strip, "aaa", "", "", ""},
        {strip, "", "", "", ""},
        {strip, "!ab!cd!", "abcd", "aa-c", "b-dd", 3},
        {strip, "a!b", "", "", "", 1},
        {loop, "abc", "abca", "cabc", "bcab"},
        {loop, "abc!", "abca", "-ab-", "bc-b", 1},
        {loop, "!abc", "abca", "-ab-", "bc-b", 1},
        {loop, "a!bc", "abca", "c-bc", "-cab", 1},
        {loop, "aa", "", "", ""},
        {lines, "abcd", "abcd", "aacc", "bbdd"},
        {lines, "aab", "aa", "aa", "aa"},
        {lines, "ab!d", "ab", "aa", "bb", 1},
        {lines, "a", "", "", ""},
    };
    for (const auto& c : cases) {
        const LineVertices vertices(parse(c.input), {}, c.primitive);
        SCOPED_TRACE(c.input);
        EXPECT_EQ(format(vertices.points()), c.points);
        EXPECT_EQ(format(vertices.previous()), c.previous);
        EXPECT_EQ(format(vertices.next()), c.next);
        EXPECT_EQ(vertices.isEmpty(), *c.points == '\0');
        EXPECT_EQ(vertices.numDropped(), c.dropped);
    }
}

// Capital letters lie next to nothing from the small ones.
TEST(LineVertices, TheLineGoesOnPastRepeatedPoints) {
    const auto near = [](const std::string& letters) {
        auto points = parse(letters);
        for (auto& point : points)
            if (point.x() < 0)
                point.x() += 'a' - 'A' + 1e-4;
        return points;
    };
    const struct {
        Primitive primitive;
        const char *input, *before, *after;
    } cases[] = {
        {Primitive::LineStrip, "abcab", "", ""},
        {Primitive::LineStrip, "abBc", "aaab", "bccc"},
        {Primitive::LineStrip, "aAbcC", "aaabb", "bbccc"},
        {Primitive::LineStrip, "aAaAbcCcC", "aaaaabbbb", "bbbbccccc"},
        {Primitive::LineStrip, "a!bBc", "a--b", "-ccc"},
        {Primitive::LineLoop, "abc", "", ""},
        {Primitive::LineLoop, "abca", "cabcc", "bcabb"},
        {Primitive::LineLoop, "abcA", "cabcc", "bcabb"},
        {Primitive::LineLoop, "aAbc", "ccabc", "bbcab"},
        {Primitive::LineLoop, "aba", "babb", "babb"},
    };
    for (const auto& c : cases) {
        const LineVertices vertices(near(c.input), {}, c.primitive);
        SCOPED_TRACE(c.input);
        EXPECT_EQ(format(vertices.before()), c.before);
        EXPECT_EQ(format(vertices.after()), c.after);
    }
}

TEST(LineVertices, AChangeOfColorKeepsARepeatedPoint) {
    const Eigen::Vector4d red(1, 0, 0, 1);
    const Eigen::Vector4d blue(0, 0, 1, 1);
    const LineVertices vertices(parse("abbb"), {red, red, blue, blue}, Primitive::LineLoop);
    EXPECT_EQ(format(vertices.points()), "abba");
    ASSERT_EQ(vertices.colors().size(), 16);
    for (std::size_t i = 0; i < 16; ++i)
        EXPECT_EQ(vertices.colors()[i].x(), i / 4 == 2 ? 0 : 1) << i;
}

} // namespace Veltrand::GL
