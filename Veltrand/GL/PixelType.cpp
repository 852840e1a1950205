// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/PixelType.h>

#include <glad/gl.h>
#include <ostream>
#include <string>

namespace Veltrand::GL {

static_assert(GLenum(PixelType::Byte) == GL_BYTE && GLenum(PixelType::UByte) == GL_UNSIGNED_BYTE &&
              GLenum(PixelType::Short) == GL_SHORT && GLenum(PixelType::UShort) == GL_UNSIGNED_SHORT &&
              GLenum(PixelType::Int) == GL_INT && GLenum(PixelType::UInt) == GL_UNSIGNED_INT &&
              GLenum(PixelType::Float) == GL_FLOAT && GLenum(PixelType::Double) == GL_DOUBLE &&
              GLenum(PixelType::HFloat) == GL_HALF_FLOAT &&
              GLenum(PixelType::UInt248) == GL_UNSIGNED_INT_24_8 &&
              GLenum(PixelType::Float32UInt248Rev) == GL_FLOAT_32_UNSIGNED_INT_24_8_REV);

std::ostream& operator<<(std::ostream& out, const PixelType& type) {
    switch (type) {
    case PixelType::Byte:
        return out << "Byte";
    case PixelType::UByte:
        return out << "UByte";
    case PixelType::Short:
        return out << "Short";
    case PixelType::UShort:
        return out << "UShort";
    case PixelType::Int:
        return out << "Int";
    case PixelType::UInt:
        return out << "UInt";
    case PixelType::Float:
        return out << "Float";
    case PixelType::Double:
        return out << "Double";
    case PixelType::HFloat:
        return out << "HFloat";
    case PixelType::UInt248:
    case PixelType::Float32UInt248Rev:
        break;
    }
    return out << "unknown: " << std::to_string(static_cast<GLenum>(type));
}

} // namespace Veltrand::GL
