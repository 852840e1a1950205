// SPDX-License-Identifier: BSD-3-Clause
#include "support/StateSnapshot.h"

#include <array>
#include <glad/gl.h>
#include <gtest/gtest.h>

namespace Veltrand::Testing {

namespace {

constexpr GLuint numUnits = 8;
constexpr GLuint numBlocks = 8;
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

void bindTextures() {
    for (GLuint unit = 0; unit < numUnits; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        glBindTexture(GL_TEXTURE_1D, created(glGenTextures));
        glBindTexture(GL_TEXTURE_2D, created(glGenTextures));
        glBindTexture(GL_TEXTURE_3D, created(glGenTextures));
        glBindSampler(unit, created(glGenSamplers));
    }
}

void bindBlocks() {
    if (!GLAD_GL_VERSION_4_3)
        return;
    for (GLuint i = 0; i < numBlocks; ++i)
        glBindBufferBase(GL_SHADER_STORAGE_BUFFER, i, created(glGenBuffers));
}

void bindAll() {
    bindFramebuffer(GL_DRAW_FRAMEBUFFER);
    bindFramebuffer(GL_READ_FRAMEBUFFER);
    glViewport(1, 2, 30, 40);
    useProgram();
    glBindVertexArray(created(glGenVertexArrays));
    glBindBuffer(GL_ARRAY_BUFFER, created(glGenBuffers));
    glBindBuffer(GL_UNIFORM_BUFFER, created(glGenBuffers));
    bindTextures();
    bindBlocks();
    for (GLuint i = 1; i < numAttributes; ++i)
        glVertexAttrib4f(i, 0.1F, 0.2F, 0.3F, 0.4F);
}

void append(std::vector<double>& values, GLenum query) {
    std::array<double, 4> numbers{};
    glGetDoublev(query, numbers.data());
    values.insert(values.end(), numbers.begin(), numbers.end());
}

void readBindings(StateSnapshot& snapshot) {
    append(snapshot["draw framebuffer"], GL_DRAW_FRAMEBUFFER_BINDING);
    append(snapshot["read framebuffer"], GL_READ_FRAMEBUFFER_BINDING);
    append(snapshot["viewport"], GL_VIEWPORT);
    append(snapshot["program"], GL_CURRENT_PROGRAM);
    append(snapshot["vertex array"], GL_VERTEX_ARRAY_BINDING);
    append(snapshot["array buffer"], GL_ARRAY_BUFFER_BINDING);
    append(snapshot["uniform buffer"], GL_UNIFORM_BUFFER_BINDING);
    append(snapshot["transfer buffers"], GL_PIXEL_PACK_BUFFER_BINDING);
    append(snapshot["transfer buffers"], GL_PIXEL_UNPACK_BUFFER_BINDING);
}

void readUnits(StateSnapshot& snapshot) {
    GLint active = 0;
    glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
    for (GLuint unit = 0; unit < numUnits; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        auto& textures = snapshot["texture unit " + std::to_string(unit)];
        append(textures, GL_TEXTURE_BINDING_1D);
        append(textures, GL_TEXTURE_BINDING_2D);
        append(textures, GL_TEXTURE_BINDING_3D);
        append(textures, GL_SAMPLER_BINDING);
    }
    glActiveTexture(static_cast<GLenum>(active));
}

void readBlocks(StateSnapshot& snapshot) {
    if (!GLAD_GL_VERSION_4_3)
        return;
    append(snapshot["storage buffer"], GL_SHADER_STORAGE_BUFFER_BINDING);
    for (GLuint i = 0; i < numBlocks; ++i) {
        GLint buffer = 0;
        glGetIntegeri_v(GL_SHADER_STORAGE_BUFFER_BINDING, i, &buffer);
        snapshot["storage block " + std::to_string(i)] = {double(buffer)};
    }
}

void readAttributes(StateSnapshot& snapshot) {
    for (GLuint i = 1; i < numAttributes; ++i) {
        auto& value = snapshot["attribute " + std::to_string(i)];
        value.resize(4);
        glGetVertexAttribdv(i, GL_CURRENT_VERTEX_ATTRIB, value.data());
    }
}

// What `glGetDoublev` does not tell.
void readMasks(StateSnapshot& snapshot) {
    std::array<GLboolean, 4> second{};
    glGetBooleani_v(GL_COLOR_WRITEMASK, 1, second.data());
    auto& masks = snapshot["color mask"];
    masks.insert(masks.end(), second.begin(), second.end());
    GLint samples = 0;
    glGetIntegeri_v(GL_SAMPLE_MASK_VALUE, 0, &samples);
    snapshot["samples"].push_back(samples);
}

struct Setting {
    const char* name;
    std::vector<GLenum> queries;
    /// Makes it adverse, or the default. Null: the first query is a capability, which is off by default.
    void (*set)(bool adverse) = nullptr;
};

constexpr GLenum pick(bool adverse, GLenum bad, GLenum usual) {
    return adverse ? bad : usual;
}

void switchOn(GLenum capability, bool on) {
    on ? glEnable(capability) : glDisable(capability);
}

const std::vector<Setting>& settings() {
    static const std::vector<Setting> list{
        {"active texture",
         {GL_ACTIVE_TEXTURE},
         [](bool a) { glActiveTexture(pick(a, GL_TEXTURE5, GL_TEXTURE0)); }},
        {"scissor test", {GL_SCISSOR_TEST}},
        {"blend", {GL_BLEND}},
        {"blend functions",
         {GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA},
         [](bool a) {
             glBlendFuncSeparate(pick(a, GL_ZERO, GL_ONE), pick(a, GL_SRC_COLOR, GL_ZERO),
                                 pick(a, GL_CONSTANT_ALPHA, GL_ONE), pick(a, GL_DST_ALPHA, GL_ZERO));
         }},
        {"blend equations",
         {GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA},
         [](bool a) {
             glBlendEquationSeparate(pick(a, GL_FUNC_REVERSE_SUBTRACT, GL_FUNC_ADD),
                                     pick(a, GL_MIN, GL_FUNC_ADD));
         }},
        {"blend color",
         {GL_BLEND_COLOR},
         [](bool a) { a ? glBlendColor(0.1F, 0.2F, 0.3F, 0.4F) : glBlendColor(0, 0, 0, 0); }},
        {"depth test", {GL_DEPTH_TEST}},
        {"depth function", {GL_DEPTH_FUNC}, [](bool a) { glDepthFunc(pick(a, GL_NEVER, GL_LESS)); }},
        {"depth mask", {GL_DEPTH_WRITEMASK}, [](bool a) { glDepthMask(a ? GL_FALSE : GL_TRUE); }},
        {"depth range", {GL_DEPTH_RANGE}, [](bool a) { a ? glDepthRange(0.25, 0.75) : glDepthRange(0, 1); }},
        {"depth clamp", {GL_DEPTH_CLAMP}},
        {"clear color",
         {GL_COLOR_CLEAR_VALUE},
         [](bool a) { a ? glClearColor(0.5F, 0.6F, 0.7F, 0.8F) : glClearColor(0, 0, 0, 0); }},
        {"clear depth", {GL_DEPTH_CLEAR_VALUE}, [](bool a) { glClearDepth(a ? 0.5 : 1); }},
        {"clear stencil", {GL_STENCIL_CLEAR_VALUE}, [](bool a) { glClearStencil(a ? 3 : 0); }},
        {"stencil test", {GL_STENCIL_TEST}},
        {"stencil function",
         {GL_STENCIL_FUNC, GL_STENCIL_REF, GL_STENCIL_VALUE_MASK},
         [](bool a) { a ? glStencilFunc(GL_NEVER, 3, 0xF0) : glStencilFunc(GL_ALWAYS, 0, 0xFFFFFFFF); }},
        {"stencil mask",
         {GL_STENCIL_WRITEMASK, GL_STENCIL_BACK_WRITEMASK},
         [](bool a) {
             glStencilMaskSeparate(GL_FRONT, a ? 0 : 0xFFFFFFFF);
             glStencilMaskSeparate(GL_BACK, a ? 7 : 0xFFFFFFFF);
         }},
        {"cull face", {GL_CULL_FACE}},
        {"culled face", {GL_CULL_FACE_MODE}, [](bool a) { glCullFace(pick(a, GL_FRONT_AND_BACK, GL_BACK)); }},
        {"front face", {GL_FRONT_FACE}, [](bool a) { glFrontFace(pick(a, GL_CW, GL_CCW)); }},
        {"polygon mode",
         {GL_POLYGON_MODE},
         [](bool a) { glPolygonMode(GL_FRONT_AND_BACK, pick(a, GL_POINT, GL_FILL)); }},
        {"polygon offset", {GL_POLYGON_OFFSET_FILL}},
        {"polygon smoothing", {GL_POLYGON_SMOOTH}},
        {"line smoothing", {GL_LINE_SMOOTH}},
        {"logic operation", {GL_COLOR_LOGIC_OP}},
        {"logic mode", {GL_LOGIC_OP_MODE}, [](bool a) { glLogicOp(pick(a, GL_INVERT, GL_COPY)); }},
        {"rasterizer discard", {GL_RASTERIZER_DISCARD}},
        {"clip distance 0", {GL_CLIP_DISTANCE0}},
        {"clip distance 7", {GL_CLIP_DISTANCE7}},
        {"sRGB", {GL_FRAMEBUFFER_SRGB}},
        {"sample mask", {GL_SAMPLE_MASK}},
        {"samples", {}, [](bool a) { glSampleMaski(0, a ? 0 : 0xFFFFFFFF); }},
        {"multisampling", {GL_MULTISAMPLE}, [](bool a) { switchOn(GL_MULTISAMPLE, !a); }},
        {"scissor box", {GL_SCISSOR_BOX}, [](bool) { glScissor(1, 1, 1, 1); }}, // which has no default
        {"color mask",
         {GL_COLOR_WRITEMASK},
         [](bool a) {
             const GLboolean open = a ? GL_FALSE : GL_TRUE;
             glColorMask(open, GL_TRUE, open, open);
             glColorMaski(1, GL_TRUE, open, GL_TRUE, open);
         }},
        {"dither", {GL_DITHER}, [](bool a) { switchOn(GL_DITHER, !a); }},
        {"program point size", {GL_PROGRAM_POINT_SIZE}},
        {"primitive restart", {GL_PRIMITIVE_RESTART}},
        {"restart index", {GL_PRIMITIVE_RESTART_INDEX}, [](bool a) { glPrimitiveRestartIndex(a ? 77 : 0); }},
        {"pack",
         {GL_PACK_ALIGNMENT, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_ROWS, GL_PACK_SKIP_PIXELS},
         [](bool a) { glPixelStorei(GL_PACK_ALIGNMENT, a ? 2 : 4); }},
        {"unpack",
         {GL_UNPACK_ALIGNMENT, GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS},
         [](bool a) { glPixelStorei(GL_UNPACK_ALIGNMENT, a ? 2 : 4); }},
    };
    return list;
}

/// @param names none for all
void set(const StateNames& names, bool adverse) {
    for (const Setting& setting : settings()) {
        if (!names.empty() && !names.contains(setting.name))
            continue;
        if (setting.set)
            setting.set(adverse);
        else
            switchOn(setting.queries.front(), adverse);
    }
}

} // namespace

void disturbState() {
    bindAll();
    set({}, true);
}

StateSnapshot takeStateSnapshot() {
    StateSnapshot snapshot;
    for (const Setting& setting : settings())
        for (const GLenum query : setting.queries)
            append(snapshot[setting.name], query);
    readMasks(snapshot);
    readBindings(snapshot);
    readUnits(snapshot);
    readBlocks(snapshot);
    readAttributes(snapshot);
    return snapshot;
}

StateNames differences(const StateSnapshot& before, const StateSnapshot& after) {
    StateNames names;
    for (const auto& [name, values] : before)
        if (after.at(name) != values)
            names.insert(name);
    return names;
}

AdverseState::AdverseState(const StateNames& names)
    : m_names(names) {
    set(names, true);
    m_before = takeStateSnapshot();
}

AdverseState::~AdverseState() {
    EXPECT_EQ(differences(m_before, takeStateSnapshot()), StateNames{});
    set(m_names, false);
}

} // namespace Veltrand::Testing
