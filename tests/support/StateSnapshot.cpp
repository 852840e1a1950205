// SPDX-License-Identifier: BSD-3-Clause
#include "support/StateSnapshot.h"

#include <array>
#include <glad/gl.h>

namespace Veltrand::Testing {

namespace {

constexpr GLuint numUnits = 8;
constexpr GLuint numAttributes = 5; // of 0 compatibility contexts have no value

GLuint created(void (*generate)(GLsizei, GLuint*)) {
    GLuint name = 0;
    generate(1, &name);
    return name;
}

void bindFramebuffer(GLenum target) {
    const GLuint buffer = created(glGenRenderbuffers);
    glBindFramebuffer(target, created(glGenFramebuffers));
    glBindRenderbuffer(GL_RENDERBUFFER, buffer);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, 8, 8);
    glFramebufferRenderbuffer(target, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, buffer);
}

void useProgram() {
    const char* const source = "#version 330\nvoid main() { gl_Position = vec4(0.0); }\n";
    const GLuint shader = glCreateShader(GL_VERTEX_SHADER);
    const GLuint program = glCreateProgram();
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    glAttachShader(program, shader);
    glLinkProgram(program);
    glUseProgram(program);
}

void bindTextures(GLuint first, GLuint last) {
    for (GLuint unit = first; unit <= last; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        glBindTexture(GL_TEXTURE_1D, created(glGenTextures));
        glBindTexture(GL_TEXTURE_2D, created(glGenTextures));
        glBindTexture(GL_TEXTURE_3D, created(glGenTextures));
        glBindSampler(unit, created(glGenSamplers));
    }
}

void setAttributes(GLuint first, GLuint last) {
    for (GLuint i = first; i <= last; ++i)
        glVertexAttrib4f(i, 0.1F, 0.2F, 0.3F, 0.4F);
}

struct Item {
    const char* name;
    std::vector<GLenum> queries;
    void (*disturb)(); // gives it a value that is not the default
};

// Without queries: read by hand.
const std::vector<Item>& items() {
    static const std::vector<Item> list{
        {"draw framebuffer", {GL_DRAW_FRAMEBUFFER_BINDING}, [] { bindFramebuffer(GL_DRAW_FRAMEBUFFER); }},
        {"read framebuffer", {GL_READ_FRAMEBUFFER_BINDING}, [] { bindFramebuffer(GL_READ_FRAMEBUFFER); }},
        {"viewport", {GL_VIEWPORT}, [] { glViewport(1, 2, 30, 40); }},
        {"scissor test", {GL_SCISSOR_TEST}, [] { glEnable(GL_SCISSOR_TEST); }},
        {"scissor box", {GL_SCISSOR_BOX}, [] { glScissor(3, 4, 20, 10); }},
        {"program", {GL_CURRENT_PROGRAM}, [] { useProgram(); }},
        {"vertex array", {GL_VERTEX_ARRAY_BINDING}, [] { glBindVertexArray(created(glGenVertexArrays)); }},
        {"array buffer",
         {GL_ARRAY_BUFFER_BINDING},
         [] { glBindBuffer(GL_ARRAY_BUFFER, created(glGenBuffers)); }},
        {"uniform buffer",
         {GL_UNIFORM_BUFFER_BINDING},
         [] { glBindBuffer(GL_UNIFORM_BUFFER, created(glGenBuffers)); }},
        {"texture unit 0", {}, [] { bindTextures(0, 0); }},
        {"texture units", {}, [] { bindTextures(1, numUnits - 1); }},
        {"samplers", {}, [] { glBindSampler(0, created(glGenSamplers)); }},
        {"active texture", {GL_ACTIVE_TEXTURE}, [] { glActiveTexture(GL_TEXTURE6); }},
        {"attribute 2", {}, [] { setAttributes(2, 2); }},
        {"attributes", {}, [] { setAttributes(1, numAttributes - 1); }},
        {"blend", {GL_BLEND}, [] { glEnable(GL_BLEND); }},
        {"blend functions",
         {GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA},
         [] { glBlendFuncSeparate(GL_DST_COLOR, GL_SRC_COLOR, GL_CONSTANT_ALPHA, GL_DST_ALPHA); }},
        {"blend equations",
         {GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA},
         [] { glBlendEquationSeparate(GL_MAX, GL_MIN); }},
        {"blend color", {GL_BLEND_COLOR}, [] { glBlendColor(0.1F, 0.2F, 0.3F, 0.4F); }},
        {"depth test", {GL_DEPTH_TEST}, [] { glEnable(GL_DEPTH_TEST); }},
        {"depth function", {GL_DEPTH_FUNC}, [] { glDepthFunc(GL_GEQUAL); }},
        {"depth mask", {GL_DEPTH_WRITEMASK}, [] { glDepthMask(GL_FALSE); }},
        {"depth range", {GL_DEPTH_RANGE}, [] { glDepthRange(0.25, 0.75); }},
        {"clear color", {GL_COLOR_CLEAR_VALUE}, [] { glClearColor(0.5F, 0.6F, 0.7F, 0.8F); }},
        {"clear depth", {GL_DEPTH_CLEAR_VALUE}, [] { glClearDepth(0.125); }},
        {"clear stencil", {GL_STENCIL_CLEAR_VALUE}, [] { glClearStencil(5); }},
        {"stencil test", {GL_STENCIL_TEST}, [] { glEnable(GL_STENCIL_TEST); }},
        {"stencil function",
         {GL_STENCIL_FUNC, GL_STENCIL_REF, GL_STENCIL_VALUE_MASK},
         [] { glStencilFunc(GL_LESS, 3, 0xF0); }},
        {"stencil mask", {GL_STENCIL_WRITEMASK, GL_STENCIL_BACK_WRITEMASK}, [] { glStencilMask(0x3C); }},
        {"cull face",
         {GL_CULL_FACE, GL_CULL_FACE_MODE},
         [] { glEnable(GL_CULL_FACE), glCullFace(GL_FRONT); }},
        {"front face", {GL_FRONT_FACE}, [] { glFrontFace(GL_CW); }},
        {"polygon mode", {GL_POLYGON_MODE}, [] { glPolygonMode(GL_FRONT_AND_BACK, GL_LINE); }},
        {"line smoothing", {GL_LINE_SMOOTH}, [] { glEnable(GL_LINE_SMOOTH); }},
        {"color mask", {GL_COLOR_WRITEMASK}, [] { glColorMask(GL_TRUE, GL_FALSE, GL_TRUE, GL_FALSE); }},
        {"multisampling", {GL_MULTISAMPLE}, [] { glDisable(GL_MULTISAMPLE); }},
        {"dither", {GL_DITHER}, [] { glDisable(GL_DITHER); }},
        {"program point size", {GL_PROGRAM_POINT_SIZE}, [] { glDisable(GL_PROGRAM_POINT_SIZE); }},
        {"primitive restart",
         {GL_PRIMITIVE_RESTART, GL_PRIMITIVE_RESTART_INDEX},
         [] { glPrimitiveRestartIndex(77); }},
        {"pack", {GL_PACK_ALIGNMENT}, [] { glPixelStorei(GL_PACK_ALIGNMENT, 2); }},
        {"unpack", {GL_UNPACK_ALIGNMENT}, [] { glPixelStorei(GL_UNPACK_ALIGNMENT, 2); }},
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
        auto& textures = snapshot[unit == 0 ? "texture unit 0" : "texture units"];
        append(textures, GL_TEXTURE_BINDING_1D);
        append(textures, GL_TEXTURE_BINDING_2D);
        append(textures, GL_TEXTURE_BINDING_3D);
        append(snapshot["samplers"], GL_SAMPLER_BINDING);
    }
    glActiveTexture(static_cast<GLenum>(active));
}

void readAttributes(StateSnapshot& snapshot) {
    for (GLuint i = 1; i < numAttributes; ++i) {
        std::array<double, 4> value{};
        glGetVertexAttribdv(i, GL_CURRENT_VERTEX_ATTRIB, value.data());
        auto& values = snapshot[i == 2 ? "attribute 2" : "attributes"];
        values.insert(values.end(), value.begin(), value.end());
    }
}

} // namespace

void disturbState() {
    for (const Item& item : items())
        item.disturb();
}

StateSnapshot takeStateSnapshot() {
    StateSnapshot snapshot;
    for (const Item& item : items())
        for (const GLenum query : item.queries)
            append(snapshot[item.name], query);
    readUnits(snapshot);
    readAttributes(snapshot);
    return snapshot;
}

std::set<std::string> differences(const StateSnapshot& before, const StateSnapshot& after) {
    std::set<std::string> names;
    for (const auto& [name, values] : before)
        if (after.at(name) != values)
            names.insert(name);
    return names;
}

} // namespace Veltrand::Testing
