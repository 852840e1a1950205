// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"
#include "support/MapRepository.h"
#include "support/Thrown.h"

#include <Veltrand/Core/String.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/ShaderSource.h>

#include <gtest/gtest.h>

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

ShaderSource assembleWithLines(const Request& request) {
    Program::ShaderInfo shader;
    shader.stage = request.stage;
    shader.name = request.name;
    return Program::assembleShader(shader, request.expandDefines, request.abstractIncludes, request.defines,
                                   request.extensions);
}

std::string assemble(const Request& request) {
    return assembleWithLines(request).text;
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
    const MapRepository repository("T", {{"main", R"(#version 330
uniform int a;
#pragma include "T/one.glh"
#pragma abstract_include "HOLE"
void main() {}
)"},
                                         {"one.glh", R"(#version 450
int one;
  // again #pragma include "T/two.glh" please
int rest;
)"},
                                         {"two.glh", "int two;\n#pragma include \"T/one.glh\"\n"},
                                         {"hole.glh", "int hole;"}});
    Testing::LogCapture log;
    const std::string text = assemble({.name = "T/main",
                                       .stage = Stage::Geometry,
                                       .defines = "#define USER\n#pragma include \"T/two.glh\"\n",
                                       .abstractIncludes = {{"HOLE", fill("T/hole.glh")}},
                                       .extensions = {"GL_ARB_a", "GL_ARB_b"}});
    EXPECT_EQ(text, R"(#version 450
#extension GL_ARB_a : require
#extension GL_ARB_b : require
#define HOLE
#define VELTRAND_GEOMETRY_SHADER
#define USER
#pragma include "T/two.glh"
// START: File "T/main"

uniform int a;
// START: #pragma include "T/one.glh"

int one;
// START:   // again #pragma include "T/two.glh" please
int two;
// START: #pragma include "T/one.glh"
 // END: #pragma include "T/one.glh"

// END:   // again #pragma include "T/two.glh" please
int rest;

// END: #pragma include "T/one.glh"
// START: #pragma abstract_include "HOLE"
int hole;
// END: #pragma abstract_include "HOLE"
void main() {}

)");
    EXPECT_TRUE(log.takeLine(
        {0, "GL.Program", "OpenGL shader T/main: different GLSL versions detected, using higher one"}));
}

TEST(ProgramSource, ReconcilesVersions) {
    const struct {
        const char *main, *include, *firstLine;
    } cases[] = {
        {"", "", ""},
        {"#version 330\n", "", "#version 330"},
        {"#version 300 es\n", "", "#version 330"},
        {"#version 330\n", "#version 450\n", "#version 450"},
        {"#version 450\n", "#version 330 compatibility\n", "#version 450"},
        {"", "#version 330\n", "#version 330 compatibility"},
        {"#version 150\n", "#version 430\n", "#version 430 compatibility"},
        {"#version 3300\n", "", ""},
        {"#version 330", "", ""},
        {"// #version 330\n", "", "#version 330"},
        // As GLSL has it beyond that
        {"#version 330 core\n", "#version 450 core // newer\n", "#version 450"},
        {" #\tversion\t300  es /* old\n */\n", "", "#version 330"},
        {"/* a\n#version 110 core\n*/ /**/ #version 430 core\n", "", "#version 430"},
        {"int a; #version 330 core\n", "", ""},
        {"// b \\\n#version 330 core\n", "", ""},
        {"#version 330 corex\n", "", ""},
    };
    for (const auto& [main, include, firstLine] : cases) {
        const std::string text = assembleMain({{"main", std::string(main) + "#pragma include \"T/inc\"\n"},
                                               {"inc", std::string(include) + "int i;\n"}});
        EXPECT_EQ(text.substr(0, text.find('\n')), firstLine) << main << " and " << include;
    }
}

TEST(ProgramSource, VersionLinesGiveWayToOneNewline) {
    const std::pair<const char*, const char*> cases[] = {
        {"#version 330\nint a;\n", "\nint a;\n\n"},
        {"#version 330 \t \r\n\n\nint a;\n", "\nint a;\n\n"}, // blank lines are swallowed with it
        {"int a;\n#version 330\nint b;\n#version 450\n", "int a;\n\nint b;\n\n\n"},
        {"\xEF\xBB\xBF#version 330\nint a;", "\nint a;\n"},
        {"\xEF\xBB", "\xEF\xBB\n"},
    };
    for (const auto& [source, body] : cases) {
        const std::string text = assembleMain({{"main", source}});
        EXPECT_EQ(text.substr(text.find('\n') + 1), fragmentHead + body) << source;
    }
}

TEST(ProgramSource, OnlyExactDirectivesAreExpandedAndNearMissesWarnedOf) {
    enum class Line { Expanded, WarnedOf, Ordinary };
    const std::pair<std::string, Line> cases[] = {
        {"#pragma include \"T/inc\"", Line::Expanded},
        {"xx#pragma include \"T/inc\"yy", Line::Expanded},
        {"#pragma include word \"T/inc\"", Line::Expanded},
        {"#pragma include \"T/none\" \"T/inc\"", Line::Expanded},
        {"#pragma include \"T/inc\" \"T/none", Line::Expanded},
        {"#pragma includes \"\" #pragma include \"T/inc\"", Line::Expanded},
        {"# pragma include \"T/inc\"", Line::WarnedOf},
        {"  #pragma  include \"T/inc\"", Line::WarnedOf},
        {"#pragma\tinclude \"T/inc\"", Line::WarnedOf},
        {"/* a */ #pragma include  \"T/inc\"", Line::WarnedOf},
        {"#pragma include <T/inc>", Line::WarnedOf},
        {"#pragma include \"T/inc", Line::WarnedOf},
        {"#pragma include a b \"T/inc\"", Line::WarnedOf},
        {"#pragma inlcude \"T/inc\"", Line::WarnedOf},
        {"#pragma Abstract include \"T/inc\"", Line::WarnedOf},
        {"#pragma conditionalinclude A \"T/inc\"", Line::WarnedOf},
        {"// #pragma  include \"T/inc\"", Line::Ordinary},
        {"/* #pragma include <T/inc> */", Line::Ordinary},
        {"/*\n#pragma include <T/inc> */", Line::Ordinary},
        {"#pragma optimize(off)", Line::Ordinary},
        {"#pragma STDGL invariant(all)", Line::Ordinary},
        {"#pragma once", Line::Ordinary},
        {"pragma include <T/inc>", Line::Ordinary},
    };
    for (const auto& [line, kind] : cases) {
        std::string expected = "\n" + fragmentHead + "a\n";
        if (kind == Line::Expanded)
            expected.append("// START: ").append(line).append("\nint i;\n// END: ");
        expected.append(line).append("\nb\n");
        Testing::LogCapture log;
        EXPECT_EQ(assembleMain({{"main", "a\n" + line + "\nb"}, {"inc", "int i;"}}), expected);
        const std::string warning = "[T/main:2] '" + line +
                                    "' is left to the driver: an include directive has single blanks, a "
                                    "keyword and a name in double quotes.";
        EXPECT_EQ(log.takeLine({3, "GL.Program", warning}), kind == Line::WarnedOf) << line;
    }
}

TEST(ProgramSource, EndlessIncludesAreRefusedWithTheirPlace) {
    MapRepository::Files files{{"main", "#pragma abstract_include \"A\""},
                               {"self", "\n#pragma abstract_include \"\""},
                               {"other", "#pragma include \"T/more\""},
                               {"more", "int i;\n\n#pragma abstract_include \"\"\n"},
                               {"large", std::string((std::size_t(1) << 26) + 1, ' ')},
                               {"deep", "#pragma include \"T/1\"\n"}};
    for (int i = 1; i <= 256; ++i)
        files[std::to_string(i)] = "int i;\n#pragma include \"T/" + std::to_string(i + 1) + "\"";
    files["257"] = "int i;";
    const MapRepository repository("T", files);
    const std::string tooDeep = " Includes are nested more than 256 levels deep.";
    const std::string tooMuch = " Includes insert more than 65536 files or 67108864 bytes.";
    const std::pair<Request, std::string> cases[] = {
        {{.name = "T/main", .abstractIncludes = {{"A", fill("T/self")}}}, "[T/self:2]" + tooDeep},
        {{.name = "T/self", .abstractIncludes = {{"", fill("T/self")}}}, "[T/self:2]" + tooDeep},
        {{.name = "T/1",
          .defines = "#pragma abstract_include \"A\"",
          .expandDefines = true,
          .abstractIncludes = {{"A", fill("T/self")}}},
         "[T/self:2]" + tooDeep},
        {{.name = "T/deep"}, "[T/256:2]" + tooDeep},
        {{.name = "T/1"}, "nothing was thrown"},
        // What is included once comes to an end.
        {{.name = "T/main", .abstractIncludes = {{"A", fill("T/other")}}}, "nothing was thrown"},
        {{.name = "T/main", .abstractIncludes = {{"A", fill("T/large")}}}, "[T/main:1]" + tooMuch},
    };
    for (const auto& [request, message] : cases)
        EXPECT_EQ(Testing::thrown([&request = request] { (void)assemble(request); }), message);
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
}

TEST(ProgramSource, DefinesAreExpandedOnRequest) {
    const MapRepository repository("T", {{"main", "x"}, {"inc", "int i;"}});
    EXPECT_EQ(assemble({.name = "T/main", .defines = "#pragma include \"T/inc\"", .expandDefines = true}),
              "\n#define VELTRAND_FRAGMENT_SHADER\n"
              "// START: #pragma include \"T/inc\"\nint i;\n// END: #pragma include \"T/inc\"\n"
              "// START: File \"T/main\"\nx\n");
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
    EXPECT_NE(assemble({.name = "T/modern"}).find("varying vec3 normal;"), std::string::npos);
    const std::pair<Stage, const char*> macros[] = {{Stage::TessellationEvaluation, "TESSELATION_EVALUATION"},
                                                    {Stage::TessellationControl, "TESSELATION_CONTROL"},
                                                    {Stage::Compute, "COMPUTE"}};
    for (const auto& [stage, macro] : macros)
        EXPECT_NE(assemble({.name = "T/main", .stage = stage})
                      .find("\n#define VELTRAND_" + std::string(macro) + "_SHADER\n"),
                  std::string::npos);
}

// Each line that ends in "@FILE:LINE" says where it stands.
TEST(ProgramSource, EveryLineIsKnownByItsFile) {
    const auto substituted = [](const std::string& path, AbstractInclude::CodeSubstitution substitution) {
        Program::AbstractIncludeStruct definition = fill(path);
        definition.codeSubstitution = std::move(substitution);
        return definition;
    };
    const MapRepository repository(
        "T",
        {{"plain", "#version 330\n@T/plain:2\n#line 70\n@T/plain:4"},
         {"blank", "\n#version 330 \n\n \t\n  @T/blank:5\n#version 330\n\n@T/blank:8\n"},
         {"core", "/*\n*/ #version 330 core // a\n\n@T/core:4\n"},
         {"crlf", "\xEF\xBB\xBF#version 330\r\n\r\n#define A\\\r\n1 "
                  "@T/crlf:4\r\n@T/crlf:5\r@T/crlf:6\n\r@T/crlf:7\r"},
         {"nested",
          "@T/nested:1\n\t#pragma include \"T/blank\"\n@T/nested:3\n// #pragma include \"T/blank\"\n"
          "@T/nested:5\n#pragma conditional_include A \"T/core\"\n@T/nested:7"},
         {"holes", "#pragma abstract_include \"A\"\n@T/holes:2\n #pragma abstract_include \"B\"\n@T/holes:4\n"
                   "#pragma abstract_include \"A\"\n@T/holes:6"},
         {"hole", "one @T/hole:1\ntwo @T/hole:2\n\n#pragma abstract_include \"C\"\nthree @T/hole:5\n"},
         {"legacy", "#version 150\n\nvarying vec3 a; \n\n\nvarying vec3 b;\n@T/legacy:7\n"
                    "#pragma include \"T/core\"\n@T/legacy:9"}});
    const struct {
        Request request;
        int count; // of lines that are placed
    } cases[] = {
        {{.name = "T/plain"}, 2},
        {{.name = "T/plain", .defines = "#define A\\\n 1\n#define B", .extensions = {"GL_X"}}, 2},
        {{.name = "T/plain", .defines = "int a;\n #pragma include \"T/nested\"", .expandDefines = true}, 8},
        {{.name = "T/blank"}, 2},
        {{.name = "T/core"}, 1},
        {{.name = "T/crlf"}, 4},
        {{.name = "T/nested"}, 6},
        {{.name = "T/nested", .defines = "#define A\n"}, 7},
        {{.name = "T/legacy"}, 3},
        {{.name = "T/holes", .abstractIncludes = {{"A", fill("T/hole")}, {"AC", fill("T/crlf")}}}, 17},
        // Substitutions that rename, add, remove and leave the last line open
        {{.name = "T/holes",
          .abstractIncludes = {{"B", substituted("T/hole",
                                                 [](const std::string& text) {
                                                     return "#define X\nint x;\n" +
                                                            String::replaceAllCopy(text, "two",
                                                                                   "2\nint y;\nto");
                                                 })},
                               {"A", substituted("T/hole",
                                                 [](const std::string& text) {
                                                     const auto begin = text.find("two");
                                                     return text.substr(begin, text.find(":5") + 2 - begin);
                                                 })}}},
         10},
    };
    for (const auto& [request, count] : cases) {
        SCOPED_TRACE(request.name + request.defines);
        const ShaderSource source = assembleWithLines(request);
        const auto lines = String::split(source.text, "\n");
        int found = 0;
        for (std::size_t i = 0; i < lines.size(); ++i)
            if (const auto at = lines[i].find('@'); at != std::string::npos) {
                const auto location = source.lines.locate(static_cast<int>(i) + 1);
                ASSERT_TRUE(location) << source.text;
                EXPECT_EQ("@" + location->file + ":" + std::to_string(location->line),
                          lines[i].substr(at, lines[i].find("//", at) - at))
                    << source.text;
                ++found;
            }
        EXPECT_EQ(found, count) << source.text;
        EXPECT_EQ(source.lines.locate(1), std::nullopt);
        EXPECT_EQ(source.lines.locate(static_cast<int>(lines.size()) + 1), std::nullopt);
    }
}

TEST(ProgramSource, NamesAreLookedUpInTheirRepositoryAndThenEverywhere) {
    const MapRepository older("Other", {{"main", "other"}, {"plain", "plain"}});
    const MapRepository newer("T", {{"main", "first"}, {"sub/main", "deep"}, {"No/x", "slash"}});
    const std::pair<const char*, const char*> cases[] = {
        {"Other/main", "other"}, {"main", "first"}, {"T/sub/main", "deep"},
        {"plain", "plain"},      {"No/x", "slash"},
    };
    for (const auto& [name, content] : cases) {
        const std::string text = assemble({.name = name});
        EXPECT_TRUE(text.ends_with(std::string("\"\n") + content + "\n")) << text;
    }
}

TEST(ProgramSource, WhatIsWrongWithFilesIsLoggedAndMissingOnesAreThrown) {
    const MapRepository library("VeltrandGL", {{"Y.glh", "int y;"}});
    const MapRepository repository("T", {{"main", "#pragma include \"Veltrand/GL/X.glh\""},
                                         {"empty", ""},
                                         {"deprecated", "#pragma include \"Veltrand/GL/Y.glh\""},
                                         {"open", "#version 330\n#pragma include \"T/inc\""},
                                         {"inc", "#version 330\nint a;"}});
    const std::string unknown = "Could not query shader source for ";
    const struct {
        const char *name, *exception;
        std::vector<std::pair<int, std::string>> lines;
    } cases[] = {
        {"T/none", "Missing shader", {{1, unknown + "'T/none'"}, {4, "OpenGL shader T/none not found!"}}},
        {"T/empty", "Missing shader", {{4, "OpenGL shader T/empty not found!"}}},
        {"T/main",
         "Missing shader include",
         {{1, unknown + "'Veltrand/GL/X.glh'"},
          {1, unknown + "'GL/X.glh'"},
          {1, unknown + "'VeltrandGL/X.glh'"},
          {4, "OpenGL shader T/main: include VeltrandGL/X.glh not found!"}}},
        {"T/deprecated",
         "nothing was thrown",
         {{1, unknown + "'Veltrand/GL/Y.glh'"},
          {1, unknown + "'GL/Y.glh'"},
          {3, "Detected deprecated style #pragma include \"Veltrand/GL/Y.glh\". Please use "
              "\"VeltrandGL/Y.glh\" instead."}}},
        {"T/open", "nothing was thrown", {{3, "T/inc does not end with a newline."}}},
    };
    for (const auto& [name, exception, lines] : cases) {
        Testing::LogCapture log;
        std::string text;
        EXPECT_EQ(Testing::thrown([&, name = name] { text = assemble({.name = name}); }), exception);
        std::vector<LogLine> expected;
        expected.reserve(lines.size());
        for (const auto& [level, line] : lines)
            expected.push_back({level, "GL.Program", line});
        EXPECT_EQ(log.take(), expected);
        EXPECT_EQ(text.find("int y;\n") != std::string::npos, name == std::string("T/deprecated"));
    }
}

} // namespace Veltrand::GL
