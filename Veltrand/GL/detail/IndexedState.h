// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <glad/gl.h>
#include <vector>

/// What viewports and draw buffers have each for themselves, beside what functions without an index set for
/// all of them: a saver puts back the latter, and then what differs from it, which usually is nothing.
namespace Veltrand::GL {

template<class T>
struct IndexedValue {
    GLuint index;
    T value;
};
template<class T>
using IndexedValues = std::vector<IndexedValue<T>>;

/// x, y, width, height; not always whole numbers.
using ViewportRectangle = std::array<GLfloat, 4>;
/// For colour and alpha, as glBlendFuncSeparate takes them.
struct BlendFactors {
    GLenum srcRGB;
    GLenum dstRGB;
    GLenum srcAlpha;
    GLenum dstAlpha;
    friend bool operator==(const BlendFactors&, const BlendFactors&) = default;
};
/// For colour and alpha.
struct BlendEquations {
    GLenum rgb;
    GLenum alpha;
    friend bool operator==(const BlendEquations&, const BlendEquations&) = default;
};

// Those that differ from a value; none where the context has no own ones.

IndexedValues<ViewportRectangle> viewportsOtherThan(const ViewportRectangle& common);
IndexedValues<bool> scissorTestsOtherThan(bool common);
IndexedValues<bool> blendingOtherThan(bool common);
IndexedValues<BlendFactors> blendFactorsOtherThan(const BlendFactors& common);
IndexedValues<BlendEquations> blendEquationsOtherThan(const BlendEquations& common);

void setViewports(const IndexedValues<ViewportRectangle>& viewports);
/// @param capability GL_BLEND or GL_SCISSOR_TEST
void setEnabled(GLenum capability, const IndexedValues<bool>& values);
void setBlendFactors(const IndexedValues<BlendFactors>& factors);
void setBlendEquations(const IndexedValues<BlendEquations>& equations);

} // namespace Veltrand::GL
