// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"
#include "support/MapRepository.h"

#include <Veltrand/GL/Program.h>

#include <gtest/gtest.h>
#include <stdexcept>

namespace Veltrand::GL {

namespace {

using Testing::LogLine;
using Testing::MapRepository;
using Stage = Program::Stage;

// What a program hands to the preprocessor, with the values of one that was told nothing.
struct Request {
    std::string name{};
    Stage stage = Stage::Fragment;
    std::string defines{};
    bool expandDefines = false;
    Program::AbstractIncludes abstractIncludes{};
    std::vector<std::string> extensions{};
};

std::string assemble(const Request& request) {
    Program::ShaderInfo shader;
    shader.stage = request.stage;
    shader.name = request.name;
    return Program::loadShaderSource(shader, request.expandDefines, request.abstractIncludes, request.defines,
                                     request.extensions);
}

// The text of T/main as a fragment shader without defines.
std::string assembleMain(MapRepository::Files files) {
    const MapRepository repository("T", std::move(files));
    return assemble({.name = "T/main"});
}

const std::string fragmentHead = "#define VELTRAND_FRAGMENT_SHADER\n// START: File \"T/main\"\n";

Program::AbstractIncludeStruct fill(const std::string& path) {
    Program::AbstractIncludeStruct definition;
    definition.includePath = path;
    return definition;
}

} // namespace

TEST(ProgramSource, FramesNestedIncludesAndPutsEverythingInOrder) {
    const MapRepository repository("T", {{"main", "#version 330\n"
                                                  "uniform int a;\n"
                                                  "#pragma include \"T/one.glh\"\n"
                                                  "#pragma abstract_include \"HOLE\"\n"
                                                  "void main() {}\n"},
                                         {"one.glh", "#version 450\n"
                                                     "int one;\n"
                                                     "  // again #pragma include \"T/two.glh\" please\n"
                                                     "int rest;\n"},
                                         {"two.glh", "int two;\n#pragma include \"T/one.glh\"\n"},
                                         {"hole.glh", "int hole;"}});
    Testing::LogCapture log;
    const std::string text = assemble({.name = "T/main",
                                       .stage = Stage::Geometry,
                                       .defines = "#define USER\n#pragma include \"T/two.glh\"\n",
                                       .abstractIncludes = {{"HOLE", fill("T/hole.glh")}},
                                       .extensions = {"GL_ARB_a", "GL_ARB_b"}});
    EXPECT_EQ(text, "#version 450\n"
                    "#extension GL_ARB_a : require\n"
                    "#extension GL_ARB_b : require\n"
                    "#define HOLE\n"
                    "#define VELTRAND_GEOMETRY_SHADER\n"
                    "#define USER\n"
                    "#pragma include \"T/two.glh\"\n"
                    "// START: File \"T/main\"\n"
                    "\n"
                    "uniform int a;\n"
                    "// START: #pragma include \"T/one.glh\"\n"
                    "\n"
                    "int one;\n"
                    "// START:   // again #pragma include \"T/two.glh\" please\n"
                    "int two;\n"
                    "// START: #pragma include \"T/one.glh\"\n"
                    " // END: #pragma include \"T/one.glh\"\n"
                    "\n"
                    "// END:   // again #pragma include \"T/two.glh\" please\n"
                    "int rest;\n"
                    "\n"
                    "// END: #pragma include \"T/one.glh\"\n"
                    "// START: #pragma abstract_include \"HOLE\"\n"
                    "int hole;\n"
                    "// END: #pragma abstract_include \"HOLE\"\n"
                    "void main() {}\n"
                    "\n");
    EXPECT_EQ(log.take(), (std::vector<LogLine>{
                              {0, "GL.Program",
                               "OpenGL shader T/main: different GLSL versions detected, using higher one"}}));
}

TEST(ProgramSource, ReconcilesVersions) {
    const struct {
        const char* main;
        const char* include;
        const char* firstLine;
    } cases[] = {
        {"", "", ""},
        {"#version 330\n", "", "#version 330"},
        {"#version 300 es\n", "", "#version 330"},
        {"#version 300 es\n", "#version 330\n", "#version 330"},
        {"#version 450 compatibility\n", "", "#version 450"},
        {"#version 330\n", "#version 450\n", "#version 450"},
        {"#version 450\n", "#version 330 compatibility\n", "#version 450"},
        {"", "#version 330\n", "#version 330 compatibility"},
        {"", "#version 300 es\n", "#version 330"},
        {"#version 150\n", "#version 430\n", "#version 430 compatibility"},
        {"#version 150\n", "#version 140\n", "#version 150"},
        {"#version 33\n", "", ""},
        {"#version 3300\n", "", ""},
        {"#version 330 core\n", "", ""},
        {"#version 330", "", ""},
        {"// #version 330\n", "", "#version 330"},
    };
    for (const auto& [main, include, firstLine] : cases) {
        const std::string text = assembleMain({{"main", std::string(main) + "#pragma include \"T/inc\"\n"},
                                               {"inc", std::string(include) + "int i;\n"}});
        EXPECT_EQ(text.substr(0, text.find('\n')), firstLine) << main << " and " << include;
    }
}

TEST(ProgramSource, VersionLinesGiveWayToOneNewline) {
    const struct {
        const char* source;
        const char* body;
    } cases[] = {
        {"#version 330\nint a;\n", "\nint a;\n\n"},
        {"#version 330 \t \r\n\n\nint a;\n", "\nint a;\n\n"}, // blank lines are swallowed with it
        {"int a;\n#version 330\nint b;\n#version 450\n", "int a;\n\nint b;\n\n\n"},
        {"\xEF\xBB\xBF#version 330\nint a;", "\nint a;\n"},
        {"\xEF\xBB\xBF", "\n"},
        {"\xEF\xBB", "\xEF\xBB\n"},
    };
    for (const auto& [source, body] : cases) {
        const std::string text = assembleMain({{"main", source}});
        EXPECT_EQ(text.substr(text.find('\n') + 1), fragmentHead + body) << source;
    }
}

TEST(ProgramSource, OnlyExactDirectivesAreExpanded) {
    const char* const expanded[] = {
        "#pragma include \"T/inc\"",
        "xx#pragma include \"T/inc\"yy",
        "#pragma include word \"T/inc\"",
        "#pragma #pragma include \"T/inc\"",
    };
    const char* const untouched[] = {
        "#PRAGMA include \"T/inc\"",        "# pragma include \"T/inc\"", "#pragma  include \"T/inc\"",
        "#pragma include  \"T/inc\"",       "#pragma include <T/inc>",    "#pragma include \"T/inc",
        "#pragma include a b \"T/inc\"",    "#pragma optimize(off)",      "pragma include \"T/inc\"",
        "#pragma conditional_include\"x\"",
    };
    const std::string head = "\n" + fragmentHead;
    for (const std::string line : expanded) {
        std::string framed = head;
        framed.append("// START: ").append(line).append("\nint i;\n// END: ").append(line).append("\n");
        EXPECT_EQ(assembleMain({{"main", line}, {"inc", "int i;"}}), framed);
    }
    for (const std::string line : untouched) {
        const std::string text = "a\n" + line + "\nb";
        EXPECT_EQ(assembleMain({{"main", text}, {"inc", "int i;"}}), head + text + "\n");
    }
}

TEST(ProgramSource, AbstractIncludesFollowTheChainOfTheirNames) {
    const MapRepository repository("T", {{"main", "#pragma abstract_include \"A\"\n"
                                                  "#pragma abstract_include \"A\"\n"
                                                  "#pragma abstract_include \"B\"\n"
                                                  "#pragma include \"T/a\""},
                                         {"a", "color A\n#pragma abstract_include \"B\""},
                                         {"b", "color B"}});
    Program::AbstractIncludes includes{{"A", fill("T/a")}, {"AB", fill("T/b")}};
    includes["A"].codeSubstitution = [](const std::string& text) { return "// " + text; };
    const std::string expansion = "// START: #pragma abstract_include \"A\"\n"
                                  "// color A\n"
                                  "// START: #pragma abstract_include \"B\"\n"
                                  "color B\n"
                                  "// END: #pragma abstract_include \"B\"\n"
                                  "// END: #pragma abstract_include \"A\"\n";
    EXPECT_EQ(assemble({.name = "T/main", .abstractIncludes = includes}),
              "\n#define A\n#define B\n#define A\n#define B\n" + fragmentHead + expansion + expansion +
                  "// START: #pragma abstract_include \"B\"\n"
                  " // END: #pragma abstract_include \"B\"\n"
                  "// START: #pragma include \"T/a\"\n"
                  " // END: #pragma include \"T/a\"\n");
}

TEST(ProgramSource, ConditionsAreSoughtInTheDefinesAsText) {
    const MapRepository repository("T", {{"main", "#pragma conditional_include FOO \"T/inc\"\n"
                                                  "#pragma conditional_include FOO \"T/inc\""},
                                         {"inc", "int i;"},
                                         {"abstract", "#pragma abstract_include \"FOO\"\n"
                                                      "#pragma conditional_include FOO \"T/inc\""},
                                         {"macro", "#pragma conditional_include VELTRAND_FRAGMENT_SHADER "
                                                   "\"T/inc\""}});
    const auto isTaken = [](const Request& request) {
        return assemble(request).find("int i;") != std::string::npos;
    };
    EXPECT_TRUE(isTaken({.name = "T/main", .defines = "#define FOO"}));
    EXPECT_TRUE(isTaken({.name = "T/main", .defines = "#define FOOBAR 1\n"}));
    EXPECT_FALSE(isTaken({.name = "T/main", .defines = "#define  FOO\n#define BARFOO\n"}));
    EXPECT_TRUE(isTaken({.name = "T/abstract", .abstractIncludes = {{"FOO", fill("T/macro")}}}));
    EXPECT_FALSE(isTaken({.name = "T/macro"}));
    EXPECT_EQ(assemble({.name = "T/main", .defines = "#define FOO\n"}),
              "\n#define VELTRAND_FRAGMENT_SHADER\n#define FOO\n// START: File \"T/main\"\n"
              "// START: #pragma conditional_include FOO \"T/inc\"\n"
              "int i;\n"
              "// END: #pragma conditional_include FOO \"T/inc\"\n"
              "// START: #pragma conditional_include FOO \"T/inc\"\n"
              " // END: #pragma conditional_include FOO \"T/inc\"\n");
}

TEST(ProgramSource, EachStageHasItsMacro) {
    const MapRepository repository("T", {{"main", "x"}});
    const std::pair<Stage, const char*> cases[] = {
        {Stage::Vertex, "#define VELTRAND_VERTEX_SHADER\n"},
        {Stage::Fragment, "#define VELTRAND_FRAGMENT_SHADER\n"},
        {Stage::Geometry, "#define VELTRAND_GEOMETRY_SHADER\n"},
        {Stage::TessellationEvaluation, "#define VELTRAND_TESSELATION_EVALUATION_SHADER\n"},
        {Stage::TessellationControl, "#define VELTRAND_TESSELATION_CONTROL_SHADER\n"},
        {Stage::Compute, "#define VELTRAND_COMPUTE_SHADER\n"},
        {Stage{}, ""},
    };
    for (const auto& [stage, macro] : cases)
        EXPECT_EQ(assemble({.name = "T/main", .stage = stage, .defines = "D\n"}),
                  std::string("\n") + macro + "D\n// START: File \"T/main\"\nx\n");
}

TEST(ProgramSource, DefinesAreExpandedOnRequest) {
    const MapRepository repository("T", {{"main", "x"}, {"inc", "int i;"}});
    EXPECT_EQ(assemble({.name = "T/main", .defines = "#pragma include \"T/inc\"", .expandDefines = true}),
              "\n#define VELTRAND_FRAGMENT_SHADER\n"
              "// START: #pragma include \"T/inc\"\nint i;\n// END: #pragma include \"T/inc\"\n"
              "// START: File \"T/main\"\nx\n");
    EXPECT_EQ(assemble({.name = "T/main", .defines = "#define A"}),
              "\n#define VELTRAND_FRAGMENT_SHADER\n#define A// START: File \"T/main\"\nx\n");
}

TEST(ProgramSource, VaryingsAreConvertedWhereVersionsMeet) {
    const MapRepository repository("T", {{"main", "#version 150\n"
                                                  "varying vec3 normal;\n"
                                                  "flat VARYING\tint\tid;  \n"
                                                  "varying float a[2];\n"
                                                  "#pragma include \"T/inc\""},
                                         {"inc", "#version 430\n"},
                                         {"modern", "#version 330\nvarying vec3 normal;\n"}});
    const auto expected = [](const std::string& word, const std::string& macro) {
        const std::string comment =
            " // automatic conversion to GLSL 3.30: replaced 'varying' with '" + word + "'\n";
        return "#version 430 compatibility\n" + macro + "// START: File \"T/main\"\n\n" + word +
               " vec3 normal;\n" + comment + "flat " + word + "\tint\tid;  \n" + comment +
               "varying float a[2];\n"
               "// START: #pragma include \"T/inc\"\n\n\n// END: #pragma include \"T/inc\"\n";
    };
    EXPECT_EQ(assemble({.name = "T/main", .stage = Stage::Vertex}),
              expected("out", "#define VELTRAND_VERTEX_SHADER\n"));
    EXPECT_EQ(assemble({.name = "T/main", .stage = Stage::Fragment}),
              expected("in", "#define VELTRAND_FRAGMENT_SHADER\n"));
    for (const Request& request : {Request{.name = "T/main", .stage = Stage::Geometry},
                                   Request{.name = "T/modern", .stage = Stage::Vertex}})
        EXPECT_NE(assemble(request).find("varying vec3 normal;"), std::string::npos);
}

TEST(ProgramSource, NamesAreLookedUpInTheirRepositoryAndThenEverywhere) {
    const MapRepository older("Other", {{"main", "other"}, {"plain", "plain"}});
    const MapRepository newer("T", {{"main", "first"}, {"sub/main", "deep"}, {"No/x", "slash"}});
    const std::pair<const char*, const char*> cases[] = {
        {"T/main", "first"},    {"Other/main", "other"}, {"main", "first"},
        {"T/sub/main", "deep"}, {"plain", "plain"},      {"No/x", "slash"},
    };
    for (const auto& [name, content] : cases) {
        const std::string text = assemble({.name = name});
        EXPECT_TRUE(text.ends_with(std::string("\"\n") + content + "\n")) << text;
    }
}

TEST(ProgramSource, MissingFilesAreNamedAndThrown) {
    const MapRepository repository("T", {{"main", "#pragma include \"Veltrand/GL/X.glh\""},
                                         {"simple", "#pragma include \"T/X.glh\""},
                                         {"empty", ""}});
    const struct {
        const char* name;
        const char* exception;
        std::vector<LogLine> lines;
    } cases[] = {
        {"T/none",
         "Missing shader",
         {{1, "GL.Program", "Could not query shader source for 'T/none'"},
          {4, "GL.Program", "OpenGL shader T/none not found!"}}},
        {"T/empty", "Missing shader", {{4, "GL.Program", "OpenGL shader T/empty not found!"}}},
        {"T/simple",
         "Missing shader include",
         {{1, "GL.Program", "Could not query shader source for 'T/X.glh'"},
          {4, "GL.Program", "OpenGL shader T/simple: include T/X.glh not found!"}}},
        {"T/main",
         "Missing shader include",
         {{1, "GL.Program", "Could not query shader source for 'Veltrand/GL/X.glh'"},
          {1, "GL.Program", "Could not query shader source for 'GL/X.glh'"},
          {1, "GL.Program", "Could not query shader source for 'VeltrandGL/X.glh'"},
          {4, "GL.Program", "OpenGL shader T/main: include VeltrandGL/X.glh not found!"}}},
    };
    for (const auto& [name, exception, lines] : cases) {
        Testing::LogCapture log;
        try {
            (void)assemble({.name = name});
            ADD_FAILURE() << name << " was found";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), exception);
        }
        EXPECT_EQ(log.take(), lines);
    }
}

TEST(ProgramSource, DeprecatedNamesAreFoundWithAWarning) {
    const MapRepository library("VeltrandGL", {{"X.glh", "int x;"}});
    const MapRepository old("GL", {{"Y.glh", "int y;"}});
    const MapRepository repository("T", {{"main", "#pragma include \"Veltrand/GL/X.glh\"\n"
                                                  "#pragma include \"Veltrand/GL/Y.glh\""}});
    Testing::LogCapture log;
    const std::string text = assemble({.name = "T/main"});
    EXPECT_NE(text.find("int x;\n"), std::string::npos);
    EXPECT_NE(text.find("int y;\n"), std::string::npos);
    EXPECT_TRUE(log.takeLine({3, "GL.Program",
                              "Detected deprecated style #pragma include \"Veltrand/GL/X.glh\". Please use "
                              "\"VeltrandGL/X.glh\" instead."}));
    EXPECT_TRUE(log.takeLine({3, "GL.Program",
                              "Detected deprecated style #pragma include \"Veltrand/GL/Y.glh\". Please use "
                              "\"GL/Y.glh\" instead."}));
}

TEST(ProgramSource, AnIncludeWithAVersionHasToEndWithANewline) {
    Testing::LogCapture log;
    (void)assembleMain({{"main", "#pragma include \"T/inc\""}, {"inc", "#version 330\nint a;"}});
    EXPECT_TRUE(log.takeLine({3, "GL.Program", "T/inc does not end with a newline."}));
    (void)assembleMain({{"main", "#pragma include \"T/inc\""}, {"inc", "int a;"}});
}

// The matcher gives up on so many blank lines; what it throws has to be an exception that callers expect.
TEST(ProgramSource, APathologicalFileIsRefusedByAnException) {
    EXPECT_THROW((void)assembleMain({{"main", "#version 330" + std::string(100000, '\n') + "x"}}),
                 std::runtime_error);
}

} // namespace Veltrand::GL
