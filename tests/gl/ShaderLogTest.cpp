// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ShaderSource.h>

#include <gtest/gtest.h>
#include <string>

namespace Veltrand::GL {

namespace {

// Line numbers of the text stand in front of the lines.
const std::string source = "#version 330\n"                                           //  1
                           "#define VELTRAND_FRAGMENT_SHADER\n"                       //  2
                           "// START: File \"T/main.frag\"\n"                         //  3
                           "\n"                                                       //  4
                           "// START: #pragma include \"T/one.glh\"\n"                //  5
                           "int one;\n"                                               //  6
                           "// START: #pragma abstract_include \"HOLE\"\n"            //  7
                           "int hole;\n"                                              //  8
                           "int hole2;\n"                                             //  9
                           "// END: #pragma abstract_include \"HOLE\"\n"              // 10
                           "\tfloat broken = \"text\"; \r\n"                          // 11
                           "// END: #pragma include \"T/one.glh\"\n"                  // 12
                           "// START: #pragma conditional_include IF \"T/two.glh\"\n" // 13
                           " // END: #pragma conditional_include IF \"T/two.glh\"\n"  // 14
                           "void main() {}";                                          // 15

} // namespace

// How the others find their lines is seen in their messages.
TEST(ShaderLog, LocatesLines) {
    EXPECT_EQ(locateShaderLine(source, -1), std::nullopt);
    EXPECT_EQ(locateShaderLine(source, 9), (ShaderLocation{"HOLE", 2}));
    EXPECT_EQ(locateShaderLine(source, 16), std::nullopt);
    EXPECT_EQ(locateShaderLine("#define A// START: File \"T/x\"\nint a;", 2), (ShaderLocation{"T/x", 1}));
    EXPECT_EQ(locateShaderLine("int a;\n// END: #pragma include \"x\"\nint b;", 3), std::nullopt);
}

TEST(ShaderLog, RewritesTheMessagesOfDrivers) {
    const std::pair<const char*, const char*> cases[] = {
        // NVIDIA
        {"0(8) : error C1008: undefined variable \"hole\"\n",
         "[HOLE:1] error C1008: undefined variable \"hole\"\n> int hole;\n"},
        {"0(11) : warning C7050: \"a\" might be used before being initialized\n0(4) : error C0000: syntax "
         "error, unexpected '}'\n",
         "[T/one.glh:3] warning C7050: \"a\" might be used before being initialized\n"
         "> float broken = \"text\";\n"
         "[T/main.frag:1] error C0000: syntax error, unexpected '}'\n> \n"},
        // AMD
        {"Fragment shader failed to compile with the following errors:\n"
         "ERROR: 0:11: error(#162) Wrong operand types: no operation \"=\" exists\n"
         "ERROR: error(#273) 1 compilation errors.  No code generated\n\n",
         "Fragment shader failed to compile with the following errors:\n"
         "[T/one.glh:3] error Wrong operand types: no operation \"=\" exists:\n"
         "> float broken = \"text\";\n"
         "ERROR: error(#273) 1 compilation errors.  No code generated\n\n"},
        {"WARNING: 0:15: warning(#402) unused", "[T/main.frag:4] warning unused:\n> void main() {}\n"},
        // Mesa: left as it is
        {"0:6(1): error: `x' undeclared\n", "0:6(1): error: `x' undeclared\n"},
        // Numbers beyond the text
        {"0(16) : error C1008: x\nkept\n", "kept\n"},
        {"0(99999999999999999999999999) : error C1008: x\n", ""},
        {"ERROR: 0:18446744073709551616: error(#1) x\n", ""},
    };
    for (const auto& [log, rewritten] : cases)
        EXPECT_EQ(reformatShaderErrorLog(log, source), rewritten) << log;
}

TEST(ShaderLog, PlacesTheMessagesOfMesa) {
    const std::string log = "0:6(5): error: syntax error, unexpected ','\n"
                            "0:8(1): warning: `hole' used uninitialized\n"
                            "0:15(3): preprocessor error: #endif without #if\n"
                            "0:1(10): error: GLSL 3.40 is not supported\n"
                            "0:99(1): error: beyond\n"
                            "0:99999999999999999999(1): error: far beyond\n"
                            "0(8) : error C1008: of another driver\n"
                            "error: 0:6(5): error: not at the start\n";
    EXPECT_EQ(placeShaderMessages(log, source),
              (std::vector<std::string>{"[T/one.glh:1] 0:6(5): error: syntax error, unexpected ','",
                                        "[HOLE:1] 0:8(1): warning: `hole' used uninitialized",
                                        "[T/main.frag:4] 0:15(3): preprocessor error: #endif without #if"}));
}

TEST(ShaderLog, PlacesMessagesByAMapWhereThereIsOne) {
    const ShaderSource mapped{"#version 330\n// START: File \"T/not.frag\"\nfloat a;\n",
                              ShaderLineMap({{"T/hole.glh", "HOLE"}}, {{1, 0, 7}, {3, -1, 0}}, 4),
                              {}};
    EXPECT_EQ(reformatShaderErrorLog("0(3) : error C1008: x\n0(1) : error C1: y\n0(4) : error C1000: z\n"
                                     "0(5) : error C1000: beyond\n",
                                     mapped),
              "[HOLE:8] error C1008: x\n> float a;\n0(1) : error C1: y\n0(4) : error C1000: z\n> \n");
    EXPECT_EQ(
        placeShaderMessages("0:3(5): error: x\n0:4(1): error: y\n0:5(1): error: beyond\n", mapped.lines),
        std::vector<std::string>{"[T/hole.glh:8] 0:3(5): error: x"});
    EXPECT_EQ(parseShaderLog("ERROR: 0:2: x", mapped.lines).at(0).location,
              (ShaderLocation{"T/hole.glh", 7}));
}

TEST(ShaderLog, TakesTheMessagesOfAllDriversApart) {
    using Severity = ShaderMessage::Severity;
    const std::string log = "0:6(5): preprocessor error: a: b\n"
                            "0:1(10): error: GLSL 9.99 is not supported\n"
                            "0(8) : warning C7050: might be used\n"
                            "Fragment shader failed to compile with the following errors:\n"
                            "ERROR: 0:11: error(#162) Wrong operand types\n\n"
                            "WARNING: 0:15: 'x' : unused\n"
                            "0(99) : error C1008: beyond";
    EXPECT_EQ(parseShaderLog(log, source),
              (std::vector<ShaderMessage>{
                  {Severity::Error, {{"T/one.glh", 1}}, "a: b"},
                  {Severity::Error, {}, "GLSL 9.99 is not supported"},
                  {Severity::Warning, {{"HOLE", 1}}, "C7050: might be used"},
                  {Severity::Note, {}, "Fragment shader failed to compile with the following errors:"},
                  {Severity::Error, {{"T/one.glh", 3}}, "Wrong operand types"},
                  {Severity::Warning, {{"T/main.frag", 4}}, "'x' : unused"},
                  {Severity::Error, {}, "C1008: beyond"},
              }));
}

} // namespace Veltrand::GL
