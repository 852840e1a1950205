// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/ByteSize.h>
#include <Veltrand/Core/String.h>
#include <Veltrand/Core/Version.h>

#include <gtest/gtest.h>

namespace Veltrand {

TEST(ByteSize, PrintsInTheLargestUnitThatFits) {
    const std::pair<std::uint64_t, const char*> cases[] = {
        {1023, "1023 B"},
        {1024, "1.00 KiB"},
        {1024 * 1024 - 1, "1023.99 KiB"},
        {~std::uint64_t{0}, "15.99 EiB"},
    };
    for (const auto& [bytes, text] : cases)
        EXPECT_EQ(ByteSize(bytes).toString(), text);
    EXPECT_EQ(ByteSize::fromKB(3).bytes(), 3072u);
    EXPECT_GT(ByteSize::fromGB(5), ByteSize::fromMB(5119));
}

TEST(String, SplitCutsAtEveryDelimiterUnlessToldOtherwise) {
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(String::split("a\nb\n", "\n"), (Pieces{"a", "b", ""}));
    EXPECT_EQ(String::split("", "\n"), Pieces{""});
    EXPECT_EQ(String::split(". 4.6 x", ". ", String::SplitOption::SkipEmpty), (Pieces{"4", "6", "x"}));
    EXPECT_EQ(String::split(" a ; ; b", ";", String::SplitOption::Trim | String::SplitOption::SkipEmpty),
              (Pieces{"a", "b"}));
}

TEST(String, ReplacesWithoutSearchingTheReplacement) {
    EXPECT_EQ(String::replaceAllCopy("aXaX", "a", "aa"), "aaXaaX");
    EXPECT_EQ(String::replaceAllCopy("abc", "", "x"), "abc");
    EXPECT_EQ(String::trimCopy(" \t\f\v\r\n"), "");
    EXPECT_EQ(String::trimCopy("\r a b\v"), "a b");
    EXPECT_EQ(String::toUpperCopy("azAZ09_\xC3\xA4"), "AZAZ09_\xC3\xA4");
}

TEST(Version, ParsesPrintsAndOrders) {
    const auto mesa = Utils::Version::parse("22.3.6 (git-123)");
    ASSERT_TRUE(mesa);
    EXPECT_EQ(mesa->toString(), "22.3.6");
    EXPECT_LT(*Utils::Version::parse("21.2"), *mesa);
    EXPECT_EQ(Utils::Version::parse("1.2.3-rc1+abc def")->toString(), "1.2.3-rc1+abc");
    for (const char* bad : {"", "x1", "-1", ".5", "99999999999999999999"})
        EXPECT_FALSE(Utils::Version::parse(bad)) << bad;
}

} // namespace Veltrand
