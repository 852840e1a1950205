// SPDX-License-Identifier: BSD-3-Clause
#include "support/StateSnapshot.h"

#include <algorithm>
#include <array>
#include <glad/gl.h>
#include <initializer_list>

namespace Veltrand::Testing {

namespace {

constexpr GLuint numUnits = 8;
constexpr GLuint numAttributes = 4;

struct Item {
    const char* name;
    std::vector<GLenum> queries;
};

const std::vector<Item>& items() {
    static const std::vector<Item> list{
        {"draw framebuffer", {GL_DRAW_FRAMEBUFFER_BINDING}},
        {"read framebuffer", {GL_READ_FRAMEBUFFER_BINDING}},
        {"viewport", {GL_VIEWPORT}},
        {"scissor", {GL_SCISSOR_TEST, GL_SCISSOR_BOX}},
        {"program", {GL_CURRENT_PROGRAM}},
        {"vertex array", {GL_VERTEX_ARRAY_BINDING}},
        {"array buffer", {GL_ARRAY_BUFFER_BINDING}},
        {"uniform buffer", {GL_UNIFORM_BUFFER_BINDING}},
        {"pixel buffers", {GL_PIXEL_PACK_BUFFER_BINDING, GL_PIXEL_UNPACK_BUFFER_BINDING}},
        {"active texture", {GL_ACTIVE_TEXTURE}},
        {"blend", {GL_BLEND}},
        {"blend functions", {GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA}},
        {"blend equations", {GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA}},
        {"blend color", {GL_BLEND_COLOR}},
        {"depth test", {GL_DEPTH_TEST, GL_DEPTH_FUNC}},
        {"depth mask", {GL_DEPTH_WRITEMASK}},
        {"depth range", {GL_DEPTH_RANGE, GL_DEPTH_CLAMP}},
        {"clear color", {GL_COLOR_CLEAR_VALUE}},
        {"clear depth", {GL_DEPTH_CLEAR_VALUE}},
        {"clear stencil", {GL_STENCIL_CLEAR_VALUE}},
        {"stencil test", {GL_STENCIL_TEST, GL_STENCIL_FUNC, GL_STENCIL_REF, GL_STENCIL_VALUE_MASK}},
        {"stencil operations", {GL_STENCIL_FAIL, GL_STENCIL_PASS_DEPTH_FAIL, GL_STENCIL_PASS_DEPTH_PASS}},
        {"stencil mask", {GL_STENCIL_WRITEMASK, GL_STENCIL_BACK_WRITEMASK}},
        {"cull face", {GL_CULL_FACE, GL_CULL_FACE_MODE}},
        {"front face", {GL_FRONT_FACE}},
        {"polygon mode", {GL_POLYGON_MODE, GL_POLYGON_SMOOTH, GL_LINE_SMOOTH}},
        {"polygon offset", {GL_POLYGON_OFFSET_FILL, GL_POLYGON_OFFSET_FACTOR, GL_POLYGON_OFFSET_UNITS}},
        {"color mask", {GL_COLOR_WRITEMASK}},
        {"logic operation", {GL_COLOR_LOGIC_OP, GL_LOGIC_OP_MODE}},
        {"point size", {GL_POINT_SIZE}},
        {"program point size", {GL_PROGRAM_POINT_SIZE}},
        {"primitive restart", {GL_PRIMITIVE_RESTART, GL_PRIMITIVE_RESTART_INDEX, GL_PROVOKING_VERTEX}},
        {"multisampling", {GL_MULTISAMPLE, GL_SAMPLE_ALPHA_TO_COVERAGE, GL_SAMPLE_COVERAGE, GL_DITHER}},
        {"pack", {GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_ROWS}},
        {"unpack", {GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS}},
    };
    return list;
}

void append(std::vector<double>& values, GLenum query) {
    std::array<double, 4> numbers{};
    glGetDoublev(query, numbers.data());
    values.insert(values.end(), numbers.begin(), numbers.end());
}

void readUnits(StateSnapshot& snapshot) {
    GLint active = 0;
    glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
    for (GLuint unit = 0; unit < numUnits; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        for (const GLenum query : std::initializer_list<GLenum>{GL_TEXTURE_BINDING_1D, GL_TEXTURE_BINDING_2D,
                                                                GL_TEXTURE_BINDING_3D})
            append(snapshot[unit == 0 ? "texture unit 0" : "texture units"], query);
        append(snapshot["samplers"], GL_SAMPLER_BINDING);
    }
    glActiveTexture(static_cast<GLenum>(active));
}

void bindObjects() {
    GLuint name = 0;
    glGenFramebuffers(1, &name);
    glBindFramebuffer(GL_FRAMEBUFFER, name);
    glGenRenderbuffers(1, &name);
    glBindRenderbuffer(GL_RENDERBUFFER, name);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, 8, 8);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, name);
    glGenVertexArrays(1, &name);
    glBindVertexArray(name);
    for (const GLenum target : std::initializer_list<GLenum>{GL_ARRAY_BUFFER, GL_UNIFORM_BUFFER}) {
        glGenBuffers(1, &name);
        glBindBuffer(target, name);
    }
    for (GLuint unit = 0; unit < numUnits; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        for (const GLenum target :
             std::initializer_list<GLenum>{GL_TEXTURE_1D, GL_TEXTURE_2D, GL_TEXTURE_3D}) {
            glGenTextures(1, &name);
            glBindTexture(target, name);
        }
        glGenSamplers(1, &name);
        glBindSampler(unit, name);
    }
    const char* const source = "#version 330\nvoid main() { gl_Position = vec4(0.0); }\n";
    const GLuint shader = glCreateShader(GL_VERTEX_SHADER);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    const GLuint program = glCreateProgram();
    glAttachShader(program, shader);
    glLinkProgram(program);
    glUseProgram(program);
}

} // namespace

StateSnapshot takeStateSnapshot() {
    StateSnapshot snapshot;
    for (const Item& item : items())
        for (const GLenum query : item.queries)
            append(snapshot[item.name], query);
    readUnits(snapshot);
    for (GLuint i = 0; i < numAttributes; ++i) {
        std::array<double, 4> value{};
        glGetVertexAttribdv(i, GL_CURRENT_VERTEX_ATTRIB, value.data());
        auto& values = snapshot[i == 2 ? "attribute 2" : "attributes"];
        values.insert(values.end(), value.begin(), value.end());
    }
    return snapshot;
}

void disturbState() {
    for (const GLenum capability : std::initializer_list<GLenum>{
             GL_SCISSOR_TEST, GL_BLEND, GL_DEPTH_TEST, GL_DEPTH_CLAMP, GL_STENCIL_TEST, GL_CULL_FACE,
             GL_LINE_SMOOTH, GL_POLYGON_OFFSET_FILL, GL_PRIMITIVE_RESTART, GL_SAMPLE_ALPHA_TO_COVERAGE})
        glEnable(capability);
    glDisable(GL_MULTISAMPLE);
    glDisable(GL_DITHER);
    bindObjects();
    glViewport(1, 2, 30, 40);
    glScissor(3, 4, 20, 10);
    glBlendFuncSeparate(GL_DST_COLOR, GL_ONE_MINUS_SRC_COLOR, GL_CONSTANT_ALPHA, GL_DST_ALPHA);
    glBlendEquationSeparate(GL_MAX, GL_FUNC_SUBTRACT);
    glBlendColor(0.1F, 0.2F, 0.3F, 0.4F);
    glDepthFunc(GL_GEQUAL);
    glDepthMask(GL_FALSE);
    glDepthRange(0.25, 0.75);
    glClearColor(0.5F, 0.6F, 0.7F, 0.8F);
    glClearDepth(0.125);
    glClearStencil(5);
    glStencilFunc(GL_LESS, 3, 0xF0);
    glStencilOp(GL_INCR, GL_DECR, GL_INVERT);
    glStencilMask(0x3C);
    glCullFace(GL_FRONT);
    glFrontFace(GL_CW);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glPolygonOffset(2, 3);
    glColorMask(GL_TRUE, GL_FALSE, GL_TRUE, GL_FALSE);
    glLogicOp(GL_XOR);
    glPointSize(3);
    glPrimitiveRestartIndex(77);
    glProvokingVertex(GL_FIRST_VERTEX_CONVENTION);
    glPixelStorei(GL_PACK_ALIGNMENT, 2);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
    for (GLuint i = 0; i < numAttributes; ++i)
        glVertexAttrib4f(i, 0.1F, 0.2F, 0.3F, 0.4F);
    glActiveTexture(GL_TEXTURE0 + numUnits - 1);
}

std::set<std::string> differences(const StateSnapshot& before, const StateSnapshot& after) {
    std::set<std::string> names;
    for (const auto& [name, values] : before)
        if (after.at(name) != values)
            names.insert(name);
    return names;
}

} // namespace Veltrand::Testing
