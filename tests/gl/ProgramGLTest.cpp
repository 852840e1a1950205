// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/GL/ProgramDecorator.h>

namespace Veltrand::GL {

namespace {

using Stage = Program::Stage;

class ProgramGL : public Testing::GLFixture {
protected:
    ProgramGL()
        : m_files("T", {{"a.vert", "#version 330\nin vec4 p;\nvoid main() { gl_Position = p; }\n"},
                        {"a.frag", "#version 330\n#pragma include \"T/color.glh\"\nout vec4 c;\n"
                                   "void main() { c = color(); }\n"},
                        {"color.glh", "vec4 color() {\n    return vec4(VALUE);\n}\n"}}) {}

    [[nodiscard]] static std::unique_ptr<Program> make(Compilation compilation,
                                                       const std::string& defines = "#define VALUE 1.0\n") {
        return Program::createVertexFragment("T/a.vert", "T/a.frag", defines, compilation);
    }

    // The messages of the programs of a test, without those of the preprocessor's lookups.
    std::vector<LogLine> takeLog() { return log().take("GL.Program"); }

    [[nodiscard]] static LogLine line(int level, const std::string& text) {
        return {level, "GL.Program", text};
    }
    const LogLine initialized = line(1, "Initialized GLSL program (T/a.vert, T/a.frag)");

    Testing::MapRepository m_files;
};

struct CountingDecorator final : ProgramDecorator {
    std::vector<Program*> calls;
    void decorate(Program& program) override { calls.push_back(&program); }
};

// What every OpenGL name of a program costs and gives back.
struct NameCounter {
    CallCounter<glad_glCreateProgram> programs;
    CallCounter<glad_glCreateShader> shaders;
    CallCounter<glad_glDeleteProgram> deletedPrograms;
    CallCounter<glad_glDeleteShader> deletedShaders;

    void expectBalance(int programCount, int shaderCount) {
        EXPECT_EQ(programs.take(), programCount);
        EXPECT_EQ(shaders.take(), shaderCount);
        EXPECT_EQ(deletedPrograms.take(), programCount);
        EXPECT_EQ(deletedShaders.take(), shaderCount);
    }
};

} // namespace

TEST_F(ProgramGL, CompilesWhenAskedToAndOnlyWhatChanged) {
    const auto program = make(Compilation::Deferred);
    EXPECT_TRUE(program->compile(Compilation::Deferred));
    EXPECT_FALSE(program->isCompiled());
    EXPECT_EQ(takeLog(), std::vector<LogLine>{});
    EXPECT_TRUE(program->compile(Compilation::Immediate));
    EXPECT_EQ(takeLog(), std::vector<LogLine>{initialized});
    CallCounter<glad_glLinkProgram> linked;
    EXPECT_TRUE(program->compile(Compilation::Immediate));
    EXPECT_TRUE(program->setDefines("#define VALUE 1.0\n", Compilation::Immediate));
    EXPECT_TRUE(program->isCompiled());
    EXPECT_TRUE(program->setDefines("#define VALUE 2.0\n", Compilation::Deferred));
    EXPECT_FALSE(program->isCompiled());
    EXPECT_EQ(linked.take(), 0);
    EXPECT_TRUE(program->setDefines("#define VALUE 2.0\n", Compilation::Immediate));
    EXPECT_EQ(linked.take(), 1);
    EXPECT_TRUE(program->addRequiredExtension("GL_ARB_shading_language_420pack", Compilation::Immediate));
    EXPECT_EQ(linked.take(), 1);
    EXPECT_TRUE(sourceOf(*program, Stage::Vertex)
                    .starts_with("#version 330\n#extension GL_ARB_shading_language_420pack : require\n"));
    (void)takeLog();
}

TEST_F(ProgramGL, FailuresSayWhereTheyAre) {
    const std::string driver = getString(GL_VENDOR);
    if (driver.find("Mesa") == std::string::npos)
        GTEST_SKIP() << "the expected log is that of Mesa, not of " << driver;
    const auto program = make(Compilation::Immediate, "#define VALUE missing\n");
    EXPECT_FALSE(program->isCompiled());
    EXPECT_EQ(
        takeLog(),
        (std::vector<LogLine>{
            line(4, "Error compiling shader T/a.frag"),
            line(2, "0:8(14): error: `missing' undeclared\n"
                    "0:8(9): error: cannot construct `vec4' from a non-numeric data type\n"
                    "0:8(2): error: `return' with wrong type error, in function `color' returning vec4\n"),
            line(2, "[T/color.glh:2] 0:8(14): error: `missing' undeclared"),
            line(2, "[T/color.glh:2] 0:8(9): error: cannot construct `vec4' from a non-numeric data type"),
            line(2, "[T/color.glh:2] 0:8(2): error: `return' with wrong type error, in function `color' "
                    "returning vec4"),
            line(4, "Error linking GLSL program! (T/a.vert, T/a.frag)"),
            line(2, "Program Info Log: error: linking with uncompiled/unspecialized shader"),
            line(4, "Error creating shader program"),
            line(3, "Requested shader compilation during GL::Program construction failed."),
        }));

    EXPECT_TRUE(program->setDefines("#define VALUE 1\n", Compilation::Immediate));
    // This driver repeats the old log of a shader that it finds in its cache.
    EXPECT_EQ(takeLog().back(), initialized);
}

TEST_F(ProgramGL, MessagesNameTheFileThatAnEditorOpens) {
    if (getString(GL_VENDOR).find("Mesa") == std::string::npos)
        GTEST_SKIP() << "the form of the messages is that of Mesa";
    m_files.set("hole.glh", "#define ONE \\\r\n 1\r\nfloat lost() { return missing; }\n");
    const AbstractInclude hole("COLOR", "T/hole.glh");
    const std::pair<const char*, const char*> cases[] = {
        {"#version 330 core // the oldest\n\nout vec4 c;\nvoid main() { c = missing; }\n", "[T/a.frag:4] "},
        {"#version 330\n#line 1\nout vec4 c;\n#if 0\n#line 900\n#endif\nvoid main() { c = missing; }\n",
         "[T/a.frag:7] "},
        {"#version 330\n#define N 90\n # line N 2\n#pragma abstract_include \"COLOR\"\nvoid main() {}\n",
         "[T/hole.glh:3] "},
    };
    for (const auto& [text, place] : cases) {
        m_files.set("a.frag", text);
        const auto program = make(Compilation::Deferred);
        EXPECT_FALSE(program->addAbstractIncludeDefinition(&hole, Compilation::Immediate));
        const auto lines = takeLog();
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [place = place](const LogLine& l) {
            return l.text.starts_with(place) && l.text.ends_with("`missing' undeclared");
        })) << text;
    }
}

// What other drivers say, handed to the program in place of this one's log.
TEST_F(ProgramGL, RewritesCompilerLogsAndDropsChatter) {
    static std::string driverLog;
    const auto program = make(Compilation::Deferred);
    const ScopedEntryPoint getParameter(glad_glGetShaderiv, [](GLuint, GLenum name, GLint* value) {
        *value = name == GL_INFO_LOG_LENGTH ? static_cast<GLint>(driverLog.size()) + 1 : GL_TRUE;
    });
    const ScopedEntryPoint getLog(glad_glGetShaderInfoLog, [](GLuint, GLsizei size, GLsizei*, GLchar* text) {
        std::memcpy(text, driverLog.c_str(), static_cast<std::size_t>(size));
    });
    const struct {
        const char* log;
        std::vector<std::string> lines; // of the fragment stage, the second one
    } cases[] = {
        {"", {}},
        {"No errors.\n", {}},
        {"Fragment shader was successfully compiled to run on hardware.\n", {}},
        {"0(8) : warning C7050: x\n", {"[T/color.glh:2] warning C7050: x\n> return vec4(VALUE);\n"}},
        {"0:8(1): warning: a\nnote\n0:3(1): warning: b\n0:14(2): warning: c\n",
         {"0:8(1): warning: a\nnote\n0:3(1): warning: b\n0:14(2): warning: c\n",
          "[T/color.glh:2] 0:8(1): warning: a", "[T/a.frag:5] 0:14(2): warning: c"}},
    };
    for (const auto& [driverText, expected] : cases) {
        driverLog = driverText;
        EXPECT_TRUE(program->setExpandDefines(false, Compilation::Immediate));
        std::vector<std::string> lines;
        for (const LogLine& logged : takeLog())
            if (logged.level == 2)
                lines.push_back(logged.text);
        ASSERT_GE(lines.size(), expected.size());
        EXPECT_TRUE(std::equal(expected.rbegin(), expected.rend(), lines.rbegin())) << driverText;
        EXPECT_EQ(lines.empty(), expected.empty()) << driverText;
    }
}

TEST_F(ProgramGL, ReloadingABrokenTextKeepsTheRunningProgram) {
    const auto program = make(Compilation::ImmediateThrow);
    NameCounter names;
    const GLuint running = program->id();
    program->enable();
    m_files.set("color.glh", "vec4 color() {\n    return broken;\n}\n");
    (void)takeLog();
    EXPECT_FALSE(program->reload());
    const auto lines = takeLog();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(),
                            [](const LogLine& l) { return l.text.starts_with("[T/color.glh:2] "); }));
    EXPECT_TRUE(program->isCompiled());
    EXPECT_EQ(getInt(GL_CURRENT_PROGRAM), static_cast<int>(running));
    program->enable(); // a program object whose link has failed would refuse
    names.expectBalance(1, 2);

    m_files.set("color.glh", "uniform vec4 added;\nvec4 color() { return added; }\n");
    EXPECT_TRUE(program->reload());
    EXPECT_GE(program->loc("added"), 0);
    EXPECT_EQ(getInt(GL_CURRENT_PROGRAM), static_cast<int>(program->id()));
    names.expectBalance(1, 2);
    program->disable();
    (void)takeLog();
}

TEST_F(ProgramGL, ConstructorsThatThrowGiveEveryNameBack) {
    NameCounter names;
    const auto failure = [] {
        return Testing::thrown([] { (void)make(Compilation::ImmediateThrow, "#define VALUE missing\n"); });
    };
    EXPECT_EQ(failure(), "Error creating shader program");
    names.expectBalance(1, 2);
    {
        static PFNGLCREATESHADERPROC create = glad_glCreateShader;
        const ScopedEntryPoint noFragment(glad_glCreateShader, [](GLenum stage) {
            return stage == GL_FRAGMENT_SHADER ? 0 : create(stage);
        });
        EXPECT_EQ(failure(), "Could not create OpenGL Shader object.");
        EXPECT_EQ(names.deletedPrograms.take(), 1);
        EXPECT_GE(names.deletedShaders.take(), 1);
    }
    const auto program = make(Compilation::Deferred);
    {
        const ScopedEntryPoint noProgram(glad_glCreateProgram, []() -> GLuint { return 0; });
        EXPECT_EQ(failure(), "Could not create OpenGL Program object.");
        EXPECT_FALSE(program->clone({}, Compilation::Deferred));
        EXPECT_EQ(takeLog().back(),
                  line(4, "Could not clone shader: Could not create OpenGL Program object."));
    }
    m_files.remove("a.frag");
    EXPECT_EQ(failure(), "Missing shader");
    EXPECT_FALSE(program->clone({}, Compilation::Immediate));
    EXPECT_FALSE(program->compile(Compilation::Immediate));
    EXPECT_EQ(takeLog().back(), line(4, "Missing shader"));
    // The program stays usable.
    EXPECT_TRUE(program->overrideShaderSource(Stage::Fragment,
                                              "#version 330\nout vec4 c;\nvoid main() { c = vec4(1); }\n",
                                              Compilation::Immediate));
    (void)takeLog();
}

TEST_F(ProgramGL, ClonesTakeWhatTheyAreAskedTo) {
    const auto program = make(Compilation::Deferred);
    CountingDecorator first;
    CountingDecorator second;
    program->addDecorator(&first);
    program->addDecorator(&second);
    EXPECT_TRUE(program->setExpandDefines(true, Compilation::Deferred));
    EXPECT_TRUE(program->addRequiredExtension("GL_ARB_shading_language_420pack", Compilation::Deferred));
    EXPECT_TRUE(program->overrideShaderSource(Stage::Vertex, "no GLSL", Compilation::Deferred));

    const auto full = program->clone({}, Compilation::Immediate);
    ASSERT_TRUE(full && full->isCompiled());
    EXPECT_EQ(full->defines(), program->defines());
    EXPECT_TRUE(full->expandsDefines());
    EXPECT_NE(sourceOf(*full, Stage::Fragment).find(" : require\n"), std::string::npos);
    program->clone(Program::Cloning::SkipDecorators, Compilation::Immediate)->enable();
    EXPECT_EQ(first.calls.size() + second.calls.size(), 0U);
    full->enable();
    full->removeDecorator(&first);
    full->enable();
    EXPECT_EQ(first.calls, std::vector<Program*>(1, full.get()));
    EXPECT_EQ(second.calls, std::vector<Program*>(2, full.get()));
    full->disable();
    (void)takeLog();
}

TEST_F(ProgramGL, UseOfAProgramThatHasChangedIsWarnedAbout) {
    auto program = make(Compilation::ImmediateThrow);
    (void)takeLog();
    EXPECT_TRUE(program->setExpandDefines(true, Compilation::Deferred));
    program->enable();
    EXPECT_EQ(takeLog(), std::vector<LogLine>{line(3, "Enabled program was marked as 'needs compilation' and "
                                                      "may be out of date/unavailable.")});
    // Taken out of use by its destructor, which the fixture would see.
    program.reset();
}

} // namespace Veltrand::GL
