// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"
#include "support/TestInclude.h"

#include <Veltrand/GL/ProgramCache.h>

namespace Veltrand::GL {

namespace {

// A fragment shader with two holes, one of which has another one inside.
class AbstractIncludesGL : public Testing::GLFixture {
protected:
    AbstractIncludesGL()
        : m_files("T", {{"a.vert", "#version 330\nvoid main() { gl_Position = vec4(0.0); }\n"},
                        {"a.frag", "#version 330\n"
                                   "#pragma abstract_include \"COLOR\"\n#pragma abstract_include \"MASK\"\n"
                                   "out vec4 c;\nvoid main() {\n    c = vec4(1.0);\n"
                                   "#ifdef COLOR\n    c = color();\n#endif\n"
                                   "#ifdef MASK\n    c *= mask();\n#endif\n}\n"},
                        {"red.glh", "vec4 color() { return vec4(1.0, 0.0, 0.0, 1.0); }\n"},
                        {"scaled.glh", "#pragma abstract_include \"SCALE\"\n"
                                       "vec4 color() { return vec4(scale()); }\n"},
                        {"half.glh", "float scale() { return 0.5; }\n"},
                        {"third.glh", "float scale() { return 0.333; }\n"},
                        {"mask.glh", "float mask() { return 0.25; }\n"},
                        {"broken.glh", "float mask() { return nothing; }\n"}}) {}

    [[nodiscard]] static std::unique_ptr<Program> make(Compilation compilation,
                                                       const std::string& defines = "") {
        return Program::createVertexFragment("T/a.vert", "T/a.frag", defines, compilation);
    }

    // The include lines of the log; what else programs say is dropped.
    std::vector<std::string> takeIncludeLog() {
        std::vector<std::string> lines;
        for (const LogLine& line : log().take("GL.Program"))
            if (line.level == 0 && line.text.find("abstract include") != std::string::npos)
                lines.push_back(line.text);
        return lines;
    }
    using Lines = std::vector<std::string>;

    // Whether the driver was given this for the fragment stage.
    [[nodiscard]] static bool uses(const Program& program, const char* text) {
        return sourceOf(program, Program::Stage::Fragment).find(text) != std::string::npos;
    }

    Testing::MapRepository m_files;
    CallCounter<glad_glLinkProgram> m_links;
};

} // namespace

TEST_F(AbstractIncludesGL, AreInstalledOnceWithTheirDependents) {
    const auto program = make(Compilation::ImmediateThrow);
    TestInclude half("SCALE", "T/half.glh");
    TestInclude scaled("COLOR", "T/scaled.glh", {&half, nullptr});
    EXPECT_EQ(m_links.take(), 1);

    EXPECT_TRUE(program->addAbstractIncludeDefinition(&scaled, Compilation::ImmediateThrow));
    EXPECT_EQ(m_links.take(), 1);
    EXPECT_EQ(takeIncludeLog(), (Lines{"Adding abstract include: COLOR T/scaled.glh",
                                       "Adding abstract include: SCALE T/half.glh"}));
    EXPECT_TRUE(uses(*program, "return 0.5;"));

    // Again: nothing to do.
    EXPECT_TRUE(program->addAbstractIncludeDefinition(&scaled, Compilation::ImmediateThrow));
    EXPECT_EQ(m_links.take(), 0);
    EXPECT_EQ(takeIncludeLog(), Lines{});

    // Another path inside: the record of the dependent alone is replaced.
    TestInclude third("SCALE", "T/third.glh");
    scaled.dependents = {&third};
    EXPECT_TRUE(program->addAbstractIncludeDefinition(&scaled, Compilation::ImmediateThrow));
    EXPECT_EQ(takeIncludeLog(), Lines{"Adding abstract include: SCALE T/third.glh"});
    EXPECT_TRUE(uses(*program, "return 0.333;"));
    EXPECT_EQ(m_links.take(), 1);
    // Another dependent changes the fingerprint of what it is a dependent of.
    scaled.dependents.push_back(&half);
    EXPECT_TRUE(program->addAbstractIncludeDefinition(&scaled, Compilation::Deferred));
    EXPECT_EQ(takeIncludeLog().at(0), "Adding abstract include: COLOR T/scaled.glh");
}

TEST_F(AbstractIncludesGL, MayGoOnceTheyAreInstalled) {
    const auto program = make(Compilation::Deferred);
    {
        const TestInclude red("COLOR", "T/red.glh", {},
                              [](const std::string& text) { return "// substituted\n" + text; });
        EXPECT_TRUE(program->addAbstractIncludeDefinition(&red, Compilation::Deferred));
    }
    EXPECT_TRUE(program->compile(Compilation::ImmediateThrow));
    EXPECT_TRUE(uses(*program, "// substituted\nvec4 color()"));
    EXPECT_TRUE(uses(*program->clone({}, Compilation::ImmediateThrow), "vec4 color()"));
    EXPECT_FALSE(uses(*program->clone(Program::Cloning::SkipAbstractIncludes, Compilation::ImmediateThrow),
                      "vec4 color()"));
    (void)takeIncludeLog();
}

TEST_F(AbstractIncludesGL, AreRemovedByTheirKey) {
    const auto program = make(Compilation::Deferred);
    TestInclude half("SCALE", "T/half.glh");
    const TestInclude scaled("COLOR", "T/scaled.glh", {&half});
    const TestInclude mask("MASK", "T/mask.glh");
    EXPECT_TRUE(program->addAbstractIncludeDefinition(&scaled, Compilation::Deferred));
    EXPECT_TRUE(program->addAbstractIncludeDefinition(&mask, Compilation::ImmediateThrow));
    (void)takeIncludeLog();
    (void)m_links.take();

    EXPECT_TRUE(program->removeAbstractIncludeDefinition("SCALE", Compilation::ImmediateThrow));
    EXPECT_EQ(m_links.take(), 0);
    EXPECT_TRUE(program->removeAbstractIncludeDefinition(&scaled, Compilation::ImmediateThrow));
    EXPECT_EQ(takeIncludeLog(), Lines{"Removing abstract include: COLOR"});
    EXPECT_EQ(m_links.take(), 1);
    EXPECT_FALSE(uses(*program, "return vec4(scale());"));

    // The dependent stayed behind, so only the outer record is new.
    EXPECT_TRUE(program->addAbstractIncludeDefinition(&scaled, Compilation::Deferred));
    EXPECT_EQ(takeIncludeLog(), Lines{"Adding abstract include: COLOR T/scaled.glh"});
}

namespace {

class ProgramCacheGL : public AbstractIncludesGL {
protected:
    void TearDown() override {
        (void)log().take("GL.Program");
        AbstractIncludesGL::TearDown();
    }

    TestInclude m_red{"COLOR", "T/red.glh"};
    TestInclude m_mask{"MASK", "T/mask.glh"};
    TestInclude m_broken{"MASK", "T/broken.glh"};
};

} // namespace

TEST_F(ProgramCacheGL, VariantsAreToldApartByIncludesInAnyOrderAndDefines) {
    auto reference = make(Compilation::Deferred, "#define BASE");
    EXPECT_TRUE(reference->addAbstractIncludeDefinition(&m_mask, Compilation::Deferred));
    ProgramCache cache(std::move(reference), 10);

    Program* const plain = cache.getProgram("");
    EXPECT_EQ(plain->defines(), "#define BASE\n");
    EXPECT_FALSE(uses(*plain, "float mask()"));

    Program* const both = cache.getProgram({&m_red, &m_mask}, "#define X\n");
    EXPECT_EQ(both->defines(), "#define BASE\n#define X\n");
    EXPECT_TRUE(uses(*both, "float mask()") && uses(*both, "vec4 color()"));
    EXPECT_NE(cache.getProgram({&m_red, &m_mask}, ""), both);
    EXPECT_NE(cache.getProgram({&m_red}, "#define X\n"), both);

    EXPECT_EQ(m_links.take(), 4);
    EXPECT_EQ(cache.getProgram({&m_mask, nullptr, &m_red}, "#define X\n"), both);
    EXPECT_EQ(cache.getProgram({nullptr}, ""), plain);
    EXPECT_EQ(m_links.take(), 0);
}

TEST_F(ProgramCacheGL, TheLeastRecentlyUsedVariantGoes) {
    EXPECT_EQ(Testing::thrown([] { ProgramCache(nullptr, 1); }), "Reference program must not be null.");
    EXPECT_EQ(Testing::thrown([] { ProgramCache(make(Compilation::Deferred), 0); }),
              "Capacity of program cache must not be zero.");
    ProgramCache cache(make(Compilation::Deferred), 2);
    std::string evicted;
    cache.evictionSignal().connect(
        [&](const ProgramCache::Impl::ShaderInfo& info) { evicted += info.defines; });
    Program* const a = cache.getProgram("#define A\n");
    (void)cache.getProgram("#define B\n");
    EXPECT_EQ(cache.getProgram("#define A\n"), a);
    (void)cache.getProgram("#define C\n");
    EXPECT_EQ(evicted, "#define B\n");
}

TEST_F(ProgramCacheGL, WhatDoesNotCompileIsThrownAndNotKept) {
    ProgramCache cache(make(Compilation::Deferred), 1);
    Program* const plain = cache.getProgram("");
    for (int time = 0; time < 2; ++time) {
        EXPECT_THROW((void)cache.getProgram({&m_broken}, ""), std::runtime_error);
        EXPECT_EQ(m_links.take(), time == 0 ? 2 : 1);
    }
    EXPECT_EQ(cache.getProgram(""), plain);

    // Fingerprints do not tell the two masks apart, so the broken one must have left no trace.
    EXPECT_TRUE(cache.getProgram({&m_mask}, "")->isCompiled());
}

TEST_F(ProgramCacheGL, ASlotMayAskForVariantsToo) {
    // With room for one the two displace each other: an error, never a dead pointer.
    ProgramCache cache(make(Compilation::Deferred), 1);
    cache.evictionSignal().connect([&](const ProgramCache::Impl::ShaderInfo& info) {
        if (info.defines == "#define A\n")
            (void)cache.getProgram("#define D\n");
    });
    (void)cache.getProgram("#define A\n");
    EXPECT_THROW((void)cache.getProgram("#define C\n"), std::runtime_error);
    EXPECT_TRUE(cache.getProgram("#define D\n")->isCompiled());
}

} // namespace Veltrand::GL
