// SPDX-License-Identifier: BSD-3-Clause
#include "support/GLTest.h"

#include <Veltrand/Core/String.h>
#include <veltrandGLShaders.h>

namespace Veltrand::GL {

namespace {

using Stages = std::vector<Program::StageName>;
constexpr auto vertex = Program::Stage::Vertex;
constexpr auto geometry = Program::Stage::Geometry;
constexpr auto fragment = Program::Stage::Fragment;

// Every program of the library, in each combination of defines that its class asks for: one line each.
struct Combination {
    Stages stages;
    const char* defines;
    int version = 33; // OpenGL that the class asks for before it makes the program
};

std::vector<Combination> combinations() {
    const Stages fixedFunction{{vertex, "VeltrandGL/FixedFunctionPipeline.vert"},
                               {fragment, "VeltrandGL/FixedFunctionPipeline.frag"}};
    const Stages fixedFunctionLines{{vertex, "VeltrandGL/FixedFunctionPipeline.vert"},
                                    {geometry, "VeltrandGL/FixedFunctionPipeline.geom"},
                                    {fragment, "VeltrandGL/FixedFunctionPipeline.frag"}};
    const Stages lines{{vertex, "VeltrandGL/LineRenderer.vert"}, {fragment, "VeltrandGL/LineRenderer.frag"}};
    const Stages offscreen{{vertex, "VeltrandGL/FixedFunctionPipeline.vert"},
                           {fragment, "VeltrandGL/OffscreenRenderHelper.frag"}};
    const Stages blend{{vertex, "VeltrandGL/FixedFunctionPipeline.vert"},
                       {fragment, "VeltrandGL/OrderIndependentTransparencyBlend.frag"}};
    const Stages font{{vertex, "VeltrandGL/FontAtlas.vert"}, {fragment, "VeltrandGL/FontAtlas.frag"}};
    const Stages slices{{vertex, "VeltrandGL/ImageProgram.vert"}, {fragment, "User/any.frag"}};
    const Stages layers{{vertex, "VeltrandGL/ImageProgram.vert"},
                        {geometry, "VeltrandGL/ImageProgram.geom"},
                        {fragment, "User/any.frag"}};
    const Stages picking{{vertex, "VeltrandGL/FixedFunctionPipeline.vert"}, {fragment, "User/picking.frag"}};
    return {
        {fixedFunction, ""},
        {fixedFunction, "#define WITH_OIT\n", 44},
        {fixedFunctionLines, "#define WIDE_LINES\n"},
        {fixedFunctionLines, "#define WIDE_LINES\n#define WITH_OIT\n", 44},
        {fixedFunctionLines, "#define ADJACENCY\n#define WIDE_LINES\n"},
        {fixedFunctionLines, "#define ADJACENCY\n#define WIDE_LINES\n#define WITH_OIT\n", 44},
        {lines, ""},
        {lines, "#define HARD_EDGES\n"},
        {lines, "#define WITH_REPEATED_POINTS\n"},
        {lines, "#define HARD_EDGES\n#define WITH_REPEATED_POINTS\n"},
        {lines, "#define WITH_STIPPLE\n"},
        {lines, "#define WITH_STIPPLE\n#define HARD_EDGES\n"},
        {lines, "#define WITH_STIPPLE\n#define WITH_SUMMED_LENGTHS\n"},
        {lines, "#define WITH_STIPPLE\n#define WITH_SUMMED_LENGTHS\n#define HARD_EDGES\n"},
        {lines, "#define WITH_OIT\n", 44},
        {lines, "#define WITH_OIT\n#define WITH_STIPPLE\n", 44},
        {lines, "#define WITH_ACCUMULATION\n", 43},
        {lines, "#define WITH_ACCUMULATION\n#define HARD_EDGES\n", 43},
        {lines, "#define WITH_ACCUMULATION\n#define WITH_REPEATED_POINTS\n", 43},
        {lines, "#define WITH_OIT\n#define WITH_ACCUMULATION\n", 44},
        {{{Program::Stage::Compute, "VeltrandGL/LineLengthAccumulation.glh"}}, "", 43},
        {offscreen, ""},
        {offscreen, "#define WITH_OIT", 44},
        {blend, "", 44},
        {font, ""},
        {font, "#define WITH_SHADOW\n"},
        {font, "#define WITH_DIVISION\n"},
        {font, "#define WITH_SHADOW\n#define WITH_DIVISION\n"},
        {slices, ""},
        {slices, "#define _IMGPROG_USE_BOX_TEX_COORDS\n"},
        {layers, "#define _IMGPROG_USE_GS\n"},
        {layers, "#define _IMGPROG_USE_GS\n#define _IMGPROG_USE_BOX_TEX_COORDS\n"},
        {picking, ""},
    };
}

// Whether the assembled stages of a combination contain a file of the library.
bool contains(const Combination& combination, const std::string& file) {
    const std::string name = "\"VeltrandGL/" + file + "\"";
    for (const auto& [stage, mainFile] : combination.stages) {
        Program::ShaderInfo shader;
        shader.stage = stage;
        shader.name = mainFile;
        const auto lines =
            String::split(Program::loadShaderSource(shader, false, {}, combination.defines, {}), "\n");
        // A directive that was left out is followed by a blank and the marker of its end.
        for (std::size_t i = 0; i + 1 < lines.size(); ++i)
            if (lines[i].starts_with("// START: ") && lines[i].ends_with(name) &&
                !lines[i + 1].starts_with(" // END: "))
                return true;
    }
    return false;
}

class ShadersGL : public Testing::GLFixture {
protected:
    // What users of the library bring themselves.
    Testing::MapRepository m_user{"User",
                                  {{"any.frag", "#version 330\n"
                                                "out vec4 color;\n"
                                                "void main() { color = vec4(1.0); }\n"},
                                   {"picking.frag", "#version 330\n"
                                                    "#pragma include \"VeltrandGL/ObjectPicking.glh\"\n"
                                                    "layout(location = 0) out vec4 color;\n"
                                                    "void main() {\n"
                                                    "    color = vec4(1.0);\n"
                                                    "    writePickingInfo(uint(gl_PrimitiveID));\n"
                                                    "}\n"}}};
};

} // namespace

TEST_F(ShadersGL, EveryProgramOfTheLibraryCompiles) {
    int skipped = 0;
    for (const Combination& combination : combinations()) {
        if (!hasVersion(combination.version / 10, combination.version % 10)) {
            ++skipped;
            continue;
        }
        SCOPED_TRACE(std::string(combination.stages.front().second) + ", " +
                     combination.stages.back().second + " with\n" + combination.defines);
        EXPECT_NO_THROW(
            Program(combination.stages, combination.defines, Program::Compilation::ImmediateThrow));
    }
    if (skipped > 0)
        GTEST_SKIP() << skipped << " programs need a newer OpenGL";
}

TEST_F(ShadersGL, EveryFileIsPartOfOne) {
    const std::vector<Combination> all = combinations();
    for (std::size_t i = 0; i < veltrandGLShadersCount; ++i) {
        const std::string file = veltrandGLShaders[i].name;
        EXPECT_TRUE(std::any_of(all.begin(), all.end(), [&](const Combination& combination) {
            return contains(combination, file);
        })) << file;
    }
}

} // namespace Veltrand::GL
