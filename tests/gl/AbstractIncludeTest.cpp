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

} // namespace

TEST(AbstractInclude, FingerprintsStandForClassNameAndDependents) {
    TestInclude b("B", "T/b");
    TestInclude c("C", "T/c");
    TestInclude nested("B", "T/b", {&c});
    const Fingerprint fingerprint = TestInclude("A", "T/a", {&b, nullptr, &c}).fingerprint();
    EXPECT_EQ(fingerprint.text, "ABC");
    EXPECT_EQ(fingerprint, TestInclude("A", "T/elsewhere", {&b, &c}).fingerprint());
    EXPECT_NE(fingerprint, TestInclude("A", "T/a", {&nested}).fingerprint());
    EXPECT_NE(TestInclude("A", "T/a").fingerprint(), OtherInclude("A", "T/a").fingerprint());
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
        {"color", "mask", upper, "color COLOR", "color MASK"},
        {"COLOR", "MASK", lower, "color Color COLOR", "mask Color COLOR"},
        {"Color", "Mask", asIs | lower, "color Color COLOR", "Mask Mask COLOR"},
        {"a", "aa", asIs | upper | lower, "a b aa", "aa b aaaa"},
        // Colons next to the word stay where they are.
        {"c", "m", asIs, "x ? b :c; c: ::c::", "x ? b :m; m: ::m::"},
        {"ab", "", asIs, "aabb", "ab"},
        {"", "MASK", asIs, "text", "text"},
    };
    for (const auto& [word, replacement, modes, text, expected] : cases) {
        AbstractInclude::CodeSubstitution substitution; // outlives the includes
        {
            TestInclude wrapped("N", "T/n", {}, [](const std::string& code) { return code; });
            substitution =
                MultiAbstractIncludeBase(&wrapped, word, replacement, modes).includeCodeSubstitution();
        }
        EXPECT_EQ(substitution(text), expected) << word << " by " << replacement << ", " << modes.value();
    }
}

TEST(MultiAbstractInclude, WrapsAllThatAnIncludeSays) {
    TestInclude dependent("D", "T/d");
    TestInclude wrapped("COLOR_LOOKUP_COLOR", "T/lookup", {&dependent},
                        [](const std::string& text) { return "// color\n" + text; });
    MultiAbstractIncludeBase include(&wrapped, "color", "mask", Replacement::LowerCase);
    EXPECT_EQ(include.defineName(), "MASK_LOOKUP_MASK");
    EXPECT_EQ(include.dependentIncludes(), std::vector<AbstractInclude*>{&dependent});
    EXPECT_EQ(include.fingerprint().text, "MASK_LOOKUP_MASKDCOLOR_LOOKUP_COLORD");

    // A wrapper around a wrapper.
    const MultiAbstractIncludeBase twice(&include, "mask", "label", Replacement::LowerCase);
    EXPECT_EQ(twice.defineName(), "LABEL_LOOKUP_LABEL");
    EXPECT_EQ(twice.includeCodeSubstitution()("color();"), "// label\nlabel();");

    EXPECT_THROW(MultiAbstractIncludeBase(nullptr, "a", "b", Replacement::AsIs), std::invalid_argument);
}

} // namespace Veltrand::GL
