// SPDX-License-Identifier: BSD-3-Clause
#include "support/StateSnapshot.h"

#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/detail/EntryPoints.h>

#include <array>
#include <functional>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <tuple>
#include <type_traits>

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

void bindAll() {
    bindFramebuffer(GL_DRAW_FRAMEBUFFER);
    bindFramebuffer(GL_READ_FRAMEBUFFER);
    glViewport(1, 2, 30, 40);
    useProgram();
    glBindVertexArray(created(glGenVertexArrays));
    glBindBuffer(GL_ARRAY_BUFFER, created(glGenBuffers));
    for (const int target : {GL_UNIFORM_BUFFER, GL_PIXEL_PACK_BUFFER, GL_PIXEL_UNPACK_BUFFER})
        glBindBuffer(static_cast<GLenum>(target), created(glGenBuffers));
    for (GLuint unit = 0; unit < numUnits; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        for (const int target : {GL_TEXTURE_1D, GL_TEXTURE_2D, GL_TEXTURE_3D})
            glBindTexture(static_cast<GLenum>(target), created(glGenTextures));
        glBindSampler(unit, created(glGenSamplers));
    }
    for (GLuint i = 0; GLAD_GL_VERSION_4_3 && i < numBlocks; ++i)
        glBindBufferBase(GL_SHADER_STORAGE_BUFFER, i, created(glGenBuffers));
    for (GLuint i = 1; i < numAttributes; ++i)
        glVertexAttrib4f(i, 0.1F, 0.2F, 0.3F, 0.4F);
}

struct Setting {
    const char* name;
    std::vector<GLenum> queries{};
    /// Makes it adverse, or the default; null for a binding.
    std::function<void(bool adverse)> set{};
};

/// A capability, which is adverse when it is not as usual.
Setting capability(const char* name, GLenum capability, bool usual = false) {
    return {name, {capability}, [=](bool adverse) {
                adverse != usual ? glEnable(capability) : glDisable(capability);
            }};
}

Setting pixelStore(const char* name, GLenum parameter, GLint adverse, GLint usual = 0) {
    return {
        name, {parameter}, [=](bool isAdverse) { glPixelStorei(parameter, isAdverse ? adverse : usual); }};
}

/// Calls a function with other values, and with the defaults.
template<class... Args>
std::function<void(bool)> calls(void (*&function)(Args...), std::tuple<std::type_identity_t<Args>...> adverse,
                                std::tuple<std::type_identity_t<Args>...> usual) {
    return [&function, adverse, usual](bool isAdverse) { std::apply(function, isAdverse ? adverse : usual); };
}

constexpr GLenum alphaTest = 0x0BC0; // GL_ALPHA_TEST

bool hasAlphaTest() {
    return (GL::getInt(GL_CONTEXT_PROFILE_MASK) & GL_CONTEXT_CORE_PROFILE_BIT) == 0;
}

void setAlphaTest(bool adverse) {
    if (!hasAlphaTest())
        return;
    const auto alphaFunc = reinterpret_cast<void (*)(GLenum, GLfloat)>(GL::lookupEntryPoint("glAlphaFunc"));
    alphaFunc(adverse ? GL_NEVER : GL_ALWAYS, 0);
    adverse ? glEnable(alphaTest) : glDisable(alphaTest);
}

void setClipControl(bool adverse) {
    if (glClipControl)
        glClipControl(adverse ? GL_UPPER_LEFT : GL_LOWER_LEFT,
                      adverse ? GL_ZERO_TO_ONE : GL_NEGATIVE_ONE_TO_ONE);
}

// Rows of the same name are pieces of one.
const std::vector<Setting>& settings() {
    constexpr GLuint all = 0xFFFFFFFF;
    static const std::vector<Setting> list{
        capability("scissor test", GL_SCISSOR_TEST),
        capability("blend", GL_BLEND),
        capability("depth test", GL_DEPTH_TEST),
        capability("depth clamp", GL_DEPTH_CLAMP),
        capability("stencil test", GL_STENCIL_TEST),
        capability("cull face", GL_CULL_FACE),
        capability("polygon offset", GL_POLYGON_OFFSET_FILL),
        capability("polygon smoothing", GL_POLYGON_SMOOTH),
        capability("line smoothing", GL_LINE_SMOOTH),
        capability("logic operation", GL_COLOR_LOGIC_OP),
        capability("rasterizer discard", GL_RASTERIZER_DISCARD),
        capability("clip distance 0", GL_CLIP_DISTANCE0),
        capability("clip distance 7", GL_CLIP_DISTANCE7),
        capability("sRGB", GL_FRAMEBUFFER_SRGB),
        capability("sample mask", GL_SAMPLE_MASK),
        capability("multisampling", GL_MULTISAMPLE, true),
        capability("dither", GL_DITHER, true),
        capability("program point size", GL_PROGRAM_POINT_SIZE),
        capability("primitive restart", GL_PRIMITIVE_RESTART),

        {"active texture", {GL_ACTIVE_TEXTURE}, calls(glActiveTexture, {GL_TEXTURE5}, {GL_TEXTURE0})},
        {"blend functions",
         {GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA, GL_BLEND_DST_ALPHA},
         calls(glBlendFuncSeparate, {GL_ZERO, GL_SRC_COLOR, GL_CONSTANT_ALPHA, GL_DST_ALPHA},
               {GL_ONE, GL_ZERO, GL_ONE, GL_ZERO})},
        {"blend equations",
         {GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA},
         calls(glBlendEquationSeparate, {GL_FUNC_REVERSE_SUBTRACT, GL_MIN}, {GL_FUNC_ADD, GL_FUNC_ADD})},
        {"blend color", {GL_BLEND_COLOR}, calls(glBlendColor, {0.1F, 0.2F, 0.3F, 0.4F}, {0, 0, 0, 0})},
        {"depth function", {GL_DEPTH_FUNC}, calls(glDepthFunc, {GL_NEVER}, {GL_LESS})},
        {"depth mask", {GL_DEPTH_WRITEMASK}, calls(glDepthMask, {GL_FALSE}, {GL_TRUE})},
        {"depth range", {GL_DEPTH_RANGE}, calls(glDepthRange, {0.25, 0.75}, {0, 1})},
        {"clear color", {GL_COLOR_CLEAR_VALUE}, calls(glClearColor, {0.5F, 0.6F, 0.7F, 0.8F}, {0, 0, 0, 0})},
        {"clear depth", {GL_DEPTH_CLEAR_VALUE}, calls(glClearDepth, {0.5}, {1})},
        {"clear stencil", {GL_STENCIL_CLEAR_VALUE}, calls(glClearStencil, {3}, {0})},
        {"stencil function",
         {GL_STENCIL_FUNC, GL_STENCIL_REF, GL_STENCIL_VALUE_MASK},
         calls(glStencilFunc, {GL_NEVER, 3, 0xF0}, {GL_ALWAYS, 0, all})},
        {"stencil mask",
         {GL_STENCIL_WRITEMASK},
         calls(glStencilMaskSeparate, {GL_FRONT, 0}, {GL_FRONT, all})},
        {"stencil mask",
         {GL_STENCIL_BACK_WRITEMASK},
         calls(glStencilMaskSeparate, {GL_BACK, 7}, {GL_BACK, all})},
        {"culled face", {GL_CULL_FACE_MODE}, calls(glCullFace, {GL_FRONT_AND_BACK}, {GL_BACK})},
        {"front face", {GL_FRONT_FACE}, calls(glFrontFace, {GL_CW}, {GL_CCW})},
        {"polygon mode",
         {GL_POLYGON_MODE},
         calls(glPolygonMode, {GL_FRONT_AND_BACK, GL_POINT}, {GL_FRONT_AND_BACK, GL_FILL})},
        {"logic mode", {GL_LOGIC_OP_MODE}, calls(glLogicOp, {GL_INVERT}, {GL_COPY})},
        {"alpha test", {}, setAlphaTest}, // read apart, as is the next one
        {"clip control", {}, setClipControl},
        {"samples", {}, calls(glSampleMaski, {0, 0}, {0, all})}, // read apart, as is the second color mask
        {"scissor box", {GL_SCISSOR_BOX}, calls(glScissor, {1, 1, 1, 1}, {1, 1, 1, 1})}, // has no default
        {"color mask", {GL_COLOR_WRITEMASK}, calls(glColorMask, {0, 1, 0, 0}, {1, 1, 1, 1})},
        {"color mask", {}, calls(glColorMaski, {1, 1, 0, 1, 0}, {1, 1, 1, 1, 1})},
        {"restart index", {GL_PRIMITIVE_RESTART_INDEX}, calls(glPrimitiveRestartIndex, {77}, {0})},
        pixelStore("pack", GL_PACK_ALIGNMENT, 2, 4),
        pixelStore("pack layout", GL_PACK_SWAP_BYTES, 1),
        pixelStore("pack layout", GL_PACK_ROW_LENGTH, 3000),
        pixelStore("pack layout", GL_PACK_SKIP_ROWS, 2),
        pixelStore("pack layout", GL_PACK_SKIP_PIXELS, 3),
        pixelStore("pack layout", GL_PACK_IMAGE_HEIGHT, 50),
        pixelStore("pack layout", GL_PACK_SKIP_IMAGES, 1),
        pixelStore("unpack", GL_UNPACK_ALIGNMENT, 2, 4),
        pixelStore("unpack layout", GL_UNPACK_SWAP_BYTES, 1),
        pixelStore("unpack layout", GL_UNPACK_ROW_LENGTH, 3000),
        pixelStore("unpack layout", GL_UNPACK_SKIP_ROWS, 2),
        pixelStore("unpack layout", GL_UNPACK_SKIP_PIXELS, 3),
        pixelStore("unpack layout", GL_UNPACK_IMAGE_HEIGHT, 50),
        pixelStore("unpack layout", GL_UNPACK_SKIP_IMAGES, 1),

        {"draw framebuffer", {GL_DRAW_FRAMEBUFFER_BINDING}},
        {"read framebuffer", {GL_READ_FRAMEBUFFER_BINDING}},
        {"viewport", {GL_VIEWPORT}},
        {"program", {GL_CURRENT_PROGRAM}},
        {"vertex array", {GL_VERTEX_ARRAY_BINDING}},
        {"array buffer", {GL_ARRAY_BUFFER_BINDING}},
        {"uniform buffer", {GL_UNIFORM_BUFFER_BINDING}},
        {"transfer buffers", {GL_PIXEL_PACK_BUFFER_BINDING, GL_PIXEL_UNPACK_BUFFER_BINDING}},
    };
    return list;
}

void append(std::vector<double>& values, GLenum query) {
    std::array<double, 4> numbers{};
    glGetDoublev(query, numbers.data());
    values.insert(values.end(), numbers.begin(), numbers.end());
}

// What has a number of its own in its name.
void readIndexed(StateSnapshot& snapshot) {
    const auto active = static_cast<GLenum>(GL::getInt(GL_ACTIVE_TEXTURE));
    for (GLuint unit = 0; unit < numUnits; ++unit) {
        glActiveTexture(GL_TEXTURE0 + unit);
        for (const int query :
             {GL_TEXTURE_BINDING_1D, GL_TEXTURE_BINDING_2D, GL_TEXTURE_BINDING_3D, GL_SAMPLER_BINDING})
            append(snapshot["texture unit " + std::to_string(unit)], static_cast<GLenum>(query));
    }
    glActiveTexture(active);
    for (GLuint i = 1; i < numAttributes; ++i) {
        auto& value = snapshot["attribute " + std::to_string(i)];
        value.resize(4);
        glGetVertexAttribdv(i, GL_CURRENT_VERTEX_ATTRIB, value.data());
    }
    if (!GLAD_GL_VERSION_4_3)
        return;
    append(snapshot["storage buffer"], GL_SHADER_STORAGE_BUFFER_BINDING);
    for (GLuint i = 0; i < numBlocks; ++i)
        snapshot["storage block " + std::to_string(i)] = {
            double(GL::getIntIndexed(GL_SHADER_STORAGE_BUFFER_BINDING, i))};
}

// What `glGetDoublev` does not tell.
void readMasks(StateSnapshot& snapshot) {
    std::array<GLboolean, 4> second{};
    glGetBooleani_v(GL_COLOR_WRITEMASK, 1, second.data());
    auto& masks = snapshot["color mask"];
    masks.insert(masks.end(), second.begin(), second.end());
    snapshot["samples"].push_back(GL::getIntIndexed(GL_SAMPLE_MASK_VALUE, 0));
    if (hasAlphaTest())
        append(snapshot["alpha test"], alphaTest);
    if (glClipControl)
        for (const int query : {GL_CLIP_ORIGIN, GL_CLIP_DEPTH_MODE})
            append(snapshot["clip control"], static_cast<GLenum>(query));
}

} // namespace

void setState(const StateNames& names, bool adverse) {
    for (const Setting& setting : settings())
        if (setting.set && (names.empty() || names.contains(setting.name)))
            setting.set(adverse);
}

void disturbState() {
    bindAll();
    setState({}, true);
}

StateSnapshot takeStateSnapshot() {
    StateSnapshot snapshot;
    for (const Setting& setting : settings())
        for (const GLenum query : setting.queries)
            append(snapshot[setting.name], query);
    readMasks(snapshot);
    readIndexed(snapshot);
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
    setState(names, true);
    m_before = takeStateSnapshot();
}

AdverseState::~AdverseState() {
    EXPECT_EQ(differences(m_before, takeStateSnapshot()), StateNames{});
    setState(m_names, false);
}

} // namespace Veltrand::Testing
