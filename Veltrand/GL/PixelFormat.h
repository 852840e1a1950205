// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <iosfwd>

namespace Veltrand::GL {

/// Which channels client-side texels hold. Passed to OpenGL as it is; 0 means no format.
enum class PixelFormat : GLenum {
    StencilIndex = 0x1901,   // GL_STENCIL_INDEX
    DepthComponent = 0x1902, // GL_DEPTH_COMPONENT
    Red = 0x1903,            // GL_RED
    RGB = 0x1907,            // GL_RGB
    RGBA = 0x1908,           // GL_RGBA
    BGRA = 0x80E1,           // GL_BGRA
    RG = 0x8227,             // GL_RG
    RGInteger = 0x8228,      // GL_RG_INTEGER
    DepthStencil = 0x84F9,   // GL_DEPTH_STENCIL
    RedInteger = 0x8D94,     // GL_RED_INTEGER
    RGBInteger = 0x8D98,     // GL_RGB_INTEGER
    RGBAInteger = 0x8D99,    // GL_RGBA_INTEGER
    BGRAInteger = 0x8D9B,    // GL_BGRA_INTEGER
};

/// Writes the enumerator's name, or "unknown: " and the value in decimal.
VELTRAND_GL_API std::ostream& operator<<(std::ostream& out, const PixelFormat& format);

} // namespace Veltrand::GL
