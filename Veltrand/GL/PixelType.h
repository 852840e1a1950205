// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <iosfwd>

namespace Veltrand::GL {

/// The type of one component of client-side data, or of a whole packed texel. Passed to OpenGL as it is; 0
/// means no type.
enum class PixelType : GLenum {
    Byte = 0x1400,              // GL_BYTE
    UByte = 0x1401,             // GL_UNSIGNED_BYTE
    Short = 0x1402,             // GL_SHORT
    UShort = 0x1403,            // GL_UNSIGNED_SHORT
    Int = 0x1404,               // GL_INT
    UInt = 0x1405,              // GL_UNSIGNED_INT
    Float = 0x1406,             // GL_FLOAT
    Double = 0x140A,            // GL_DOUBLE
    HFloat = 0x140B,            // GL_HALF_FLOAT
    UInt248 = 0x84FA,           // GL_UNSIGNED_INT_24_8
    Float32UInt248Rev = 0x8DAD, // GL_FLOAT_32_UNSIGNED_INT_24_8_REV
};

/// Writes the enumerator's name; for a packed or unknown type "unknown: " and the value in decimal.
VELTRAND_GL_API std::ostream& operator<<(std::ostream& out, const PixelType& type);

} // namespace Veltrand::GL
