// SPDX-License-Identifier: BSD-3-Clause
#include "support/TestInclude.h"

#include <Veltrand/GL/MultiAbstractIncludeBase.h>

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>

namespace Veltrand::GL {

namespace {

using Testing::TestInclude;
using Replacement = ShaderTextReplacement;
using Fingerprint = AbstractInclude::Fingerprint;

struct OtherInclude final : AbstractInclude {
    using AbstractInclude::AbstractInclude;
};

std::string identity(const std::string& text) {
    return text;
}

} // namespace

TEST(AbstractInclude, FingerprintsStandForClassNameAndDependents) {
    TestInclude b("B", "T/b");
    TestInclude c("C", "T/c");
    const TestInclude include("A", "T/a", {&b, nullptr, &c});
    const Fingerprint fingerprint = include.fingerprint();
    EXPECT_EQ(fingerprint.text, "ABC");

    EXPECT_EQ(fingerprint, TestInclude("A", "T/elsewhere", {&b, &c}).fingerprint());
    EXPECT_NE(fingerprint, TestInclude("A", "T/a", {&c, &b}).fingerprint());
    EXPECT_NE(fingerprint, TestInclude("A", "T/a", {&b}).fingerprint());
    EXPECT_NE(TestInclude("A", "T/a").fingerprint(), TestInclude("Z", "T/a").fingerprint());
    EXPECT_NE(TestInclude("A", "T/a").fingerprint(), OtherInclude("A", "T/a").fingerprint());

    // Nested dependents reach the top.
    TestInclude outer("B", "T/b", {&c});
    EXPECT_NE(TestInclude("A", "T/a", {&outer}).fingerprint(), fingerprint);

    EXPECT_LT((Fingerprint{1, "z"}), (Fingerprint{2, "a"}));
    EXPECT_LT((Fingerprint{1, "a"}), (Fingerprint{1, "b"}));
}

TEST(MultiAbstractInclude, RenamesInTheFormsThatAreSet) {
    const auto asIs = Replacement::AsIs;
    const auto upper = Replacement::UpperCase;
    const auto lower = Replacement::LowerCase;
    const struct {
        const char *word, *replacement;
        Flags<Replacement> modes;
        const char *text, *expected;
    } cases[] = {
        {"COLOR", "MASK", asIs | upper | lower, "color Color COLOR", "MASK Color MASK"},
        {"COLOR", "MASK", lower, "color Color COLOR", "mask Color COLOR"},
        {"COLOR", "MASK", upper, "color Color COLOR", "color Color MASK"},
        {"Color", "Mask", asIs | lower, "color Color COLOR", "Mask Mask COLOR"},
        {"a", "aa", asIs | upper | lower, "a b aa", "aa b aaaa"},
        // Colons next to the word stay where they are.
        {"c", "m", asIs, "x ? b :c; c: ::c::", "x ? b :m; m: ::m::"},
        {"ab", "", asIs, "aabb", "ab"},
        {"", "MASK", asIs, "text", "text"},
    };
    TestInclude wrapped("N", "T/n", {}, &identity);
    for (const auto& [word, replacement, modes, text, expected] : cases) {
        const MultiAbstractIncludeBase include(&wrapped, word, replacement, modes);
        EXPECT_EQ(include.includeCodeSubstitution()(text), expected)
            << word << " by " << replacement << " in modes " << modes.value();
    }
}

TEST(MultiAbstractInclude, WrapsAllThatAnIncludeSays) {
    TestInclude dependent("D", "T/d");
    TestInclude wrapped("COLOR_LOOKUP_COLOR", "T/lookup", {&dependent},
                        [](const std::string& text) { return "// color\n" + text; });
    MultiAbstractIncludeBase include(&wrapped, "color", "mask", Replacement::LowerCase);
    EXPECT_EQ(include.defineName(), "MASK_LOOKUP_MASK");
    EXPECT_EQ(include.dependentIncludes(), std::vector<AbstractInclude*>{&dependent});
    EXPECT_EQ(include.includeCodeSubstitution()("color();"), "// mask\nmask();");

    EXPECT_EQ(include.fingerprint().text, "MASK_LOOKUP_MASKDCOLOR_LOOKUP_COLORD");

    // A wrapper around a wrapper.
    const MultiAbstractIncludeBase twice(&include, "mask", "label", Replacement::LowerCase);
    EXPECT_EQ(twice.defineName(), "LABEL_LOOKUP_LABEL");
    EXPECT_EQ(twice.includeCodeSubstitution()("color();"), "// label\nlabel();");

    EXPECT_THROW(MultiAbstractIncludeBase(nullptr, "a", "b", Replacement::AsIs), std::invalid_argument);
}

TEST(MultiAbstractInclude, SubstitutionsOutliveTheIncludes) {
    AbstractInclude::CodeSubstitution substitution;
    {
        TestInclude wrapped("N", "T/n", {}, &identity);
        const MultiAbstractIncludeBase include(&wrapped, std::string(100, 'c'), std::string(100, 'm'),
                                               Replacement::AsIs);
        substitution = include.includeCodeSubstitution();
    }
    EXPECT_EQ(substitution(std::string(100, 'c')), std::string(100, 'm'));
}

} // namespace Veltrand::GL
