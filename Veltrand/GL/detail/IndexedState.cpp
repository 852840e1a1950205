// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/IndexedState.h>

#include <Veltrand/GL/Functions.h>

namespace Veltrand::GL {

namespace {

// Several from OpenGL 4.1 on, which a later context need not have.
GLuint numViewports() {
    if (!glViewportIndexedfv)
        return 0;
    static const auto count = static_cast<GLuint>(getInt(GL_MAX_VIEWPORTS));
    return count;
}

GLuint numDrawBuffers() {
    static const auto count = static_cast<GLuint>(getInt(GL_MAX_DRAW_BUFFERS));
    return count;
}

// Blend functions and equations of their own come with OpenGL 4.0.
GLuint numBlendStates() {
    return glBlendFuncSeparatei && glBlendEquationSeparatei ? numDrawBuffers() : 0;
}

GLenum getEnum(GLenum name, GLuint index) {
    GLint value = 0;
    glGetIntegeri_v(name, index, &value);
    return static_cast<GLenum>(value);
}

template<class T, class Get>
IndexedValues<T> valuesOtherThan(const T& common, GLuint count, const Get& get) {
    IndexedValues<T> values;
    for (GLuint i = 0; i < count; ++i)
        if (const T value = get(i); value != common)
            values.push_back({i, value});
    return values;
}

IndexedValues<bool> enabledOtherThan(GLenum capability, bool common, GLuint count) {
    return valuesOtherThan(common, count,
                           [capability](GLuint i) { return glIsEnabledi(capability, i) == GL_TRUE; });
}

} // namespace

IndexedValues<ViewportRectangle> viewportsOtherThan(const ViewportRectangle& common) {
    return valuesOtherThan(common, numViewports(), [](GLuint i) {
        ViewportRectangle viewport{};
        glGetFloati_v(GL_VIEWPORT, i, viewport.data());
        return viewport;
    });
}

IndexedValues<bool> scissorTestsOtherThan(bool common) {
    return enabledOtherThan(GL_SCISSOR_TEST, common, numViewports());
}

IndexedValues<bool> blendingOtherThan(bool common) {
    return enabledOtherThan(GL_BLEND, common, numDrawBuffers());
}

IndexedValues<BlendFactors> blendFactorsOtherThan(const BlendFactors& common) {
    return valuesOtherThan(common, numBlendStates(), [](GLuint i) {
        return BlendFactors{getEnum(GL_BLEND_SRC_RGB, i), getEnum(GL_BLEND_DST_RGB, i),
                            getEnum(GL_BLEND_SRC_ALPHA, i), getEnum(GL_BLEND_DST_ALPHA, i)};
    });
}

IndexedValues<BlendEquations> blendEquationsOtherThan(const BlendEquations& common) {
    return valuesOtherThan(common, numBlendStates(), [](GLuint i) {
        return BlendEquations{getEnum(GL_BLEND_EQUATION_RGB, i), getEnum(GL_BLEND_EQUATION_ALPHA, i)};
    });
}

void setViewports(const IndexedValues<ViewportRectangle>& viewports) {
    for (const auto& [index, viewport] : viewports)
        glViewportIndexedfv(index, viewport.data());
}

void setEnabled(GLenum capability, const IndexedValues<bool>& values) {
    for (const auto& [index, enabled] : values)
        enabled ? glEnablei(capability, index) : glDisablei(capability, index);
}

void setBlendFactors(const IndexedValues<BlendFactors>& factors) {
    for (const auto& [index, f] : factors)
        glBlendFuncSeparatei(index, f.srcRGB, f.dstRGB, f.srcAlpha, f.dstAlpha);
}

void setBlendEquations(const IndexedValues<BlendEquations>& equations) {
    for (const auto& [index, equation] : equations)
        glBlendEquationSeparatei(index, equation.rgb, equation.alpha);
}

} // namespace Veltrand::GL
