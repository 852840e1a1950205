// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/PixelFormat.h>

#include <glad/gl.h>
#include <ostream>
#include <string>

namespace Veltrand::GL {

static_assert(GLenum(PixelFormat::StencilIndex) == GL_STENCIL_INDEX &&
              GLenum(PixelFormat::DepthComponent) == GL_DEPTH_COMPONENT &&
              GLenum(PixelFormat::DepthStencil) == GL_DEPTH_STENCIL && GLenum(PixelFormat::Red) == GL_RED &&
              GLenum(PixelFormat::RG) == GL_RG && GLenum(PixelFormat::RGB) == GL_RGB &&
              GLenum(PixelFormat::RGBA) == GL_RGBA && GLenum(PixelFormat::BGRA) == GL_BGRA &&
              GLenum(PixelFormat::RedInteger) == GL_RED_INTEGER &&
              GLenum(PixelFormat::RGInteger) == GL_RG_INTEGER &&
              GLenum(PixelFormat::RGBInteger) == GL_RGB_INTEGER &&
              GLenum(PixelFormat::RGBAInteger) == GL_RGBA_INTEGER &&
              GLenum(PixelFormat::BGRAInteger) == GL_BGRA_INTEGER);

std::ostream& operator<<(std::ostream& out, const PixelFormat& format) {
    switch (format) {
    case PixelFormat::StencilIndex:
        return out << "StencilIndex";
    case PixelFormat::DepthComponent:
        return out << "DepthComponent";
    case PixelFormat::Red:
        return out << "Red";
    case PixelFormat::RGB:
        return out << "RGB";
    case PixelFormat::RGBA:
        return out << "RGBA";
    case PixelFormat::BGRA:
        return out << "BGRA";
    case PixelFormat::RG:
        return out << "RG";
    case PixelFormat::RGInteger:
        return out << "RGInteger";
    case PixelFormat::DepthStencil:
        return out << "DepthStencil";
    case PixelFormat::RedInteger:
        return out << "RedInteger";
    case PixelFormat::RGBInteger:
        return out << "RGBInteger";
    case PixelFormat::RGBAInteger:
        return out << "RGBAInteger";
    case PixelFormat::BGRAInteger:
        return out << "BGRAInteger";
    }
    return out << "unknown: " << std::to_string(static_cast<GLenum>(format));
}

} // namespace Veltrand::GL
