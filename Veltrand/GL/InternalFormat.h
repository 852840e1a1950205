// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>
#include <Veltrand/GL/PixelFormat.h>
#include <Veltrand/GL/PixelType.h>

#include <string>

namespace Veltrand::GL {

/// How a texture stores its texels: the OpenGL value, what kind of data it holds and which client data match.
/// Needs no context; nothing here fails.
class VELTRAND_GL_API InternalFormat {
public:
    /// The formats that have a name here.
    enum Value : GLenum {
        R8 = 0x8229,          // GL_R8
        R16 = 0x822A,         // GL_R16
        RG8 = 0x822B,         // GL_RG8
        RG16 = 0x822C,        // GL_RG16
        RGB8 = 0x8051,        // GL_RGB8
        RGB16 = 0x8054,       // GL_RGB16
        RGBA8 = 0x8058,       // GL_RGBA8
        RGBA16 = 0x805B,      // GL_RGBA16
        SRGB8 = 0x8C41,       // GL_SRGB8
        SRGB8Alpha8 = 0x8C43, // GL_SRGB8_ALPHA8

        R8SNorm = 0x8F94,     // GL_R8_SNORM
        RG8SNorm = 0x8F95,    // GL_RG8_SNORM
        RGB8SNorm = 0x8F96,   // GL_RGB8_SNORM
        RGBA8SNorm = 0x8F97,  // GL_RGBA8_SNORM
        R16SNorm = 0x8F98,    // GL_R16_SNORM
        RG16SNorm = 0x8F99,   // GL_RG16_SNORM
        RGB16SNorm = 0x8F9A,  // GL_RGB16_SNORM
        RGBA16SNorm = 0x8F9B, // GL_RGBA16_SNORM

        R16F = 0x822D,    // GL_R16F
        R32F = 0x822E,    // GL_R32F
        RG16F = 0x822F,   // GL_RG16F
        RG32F = 0x8230,   // GL_RG32F
        RGB16F = 0x881B,  // GL_RGB16F
        RGB32F = 0x8815,  // GL_RGB32F
        RGBA16F = 0x881A, // GL_RGBA16F
        RGBA32F = 0x8814, // GL_RGBA32F

        R8I = 0x8231,      // GL_R8I
        R8UI = 0x8232,     // GL_R8UI
        R16I = 0x8233,     // GL_R16I
        R16UI = 0x8234,    // GL_R16UI
        R32I = 0x8235,     // GL_R32I
        R32UI = 0x8236,    // GL_R32UI
        RG8I = 0x8237,     // GL_RG8I
        RG8UI = 0x8238,    // GL_RG8UI
        RG16I = 0x8239,    // GL_RG16I
        RG16UI = 0x823A,   // GL_RG16UI
        RG32I = 0x823B,    // GL_RG32I
        RG32UI = 0x823C,   // GL_RG32UI
        RGB8I = 0x8D8F,    // GL_RGB8I
        RGB8UI = 0x8D7D,   // GL_RGB8UI
        RGB16I = 0x8D89,   // GL_RGB16I
        RGB16UI = 0x8D77,  // GL_RGB16UI
        RGB32I = 0x8D83,   // GL_RGB32I
        RGB32UI = 0x8D71,  // GL_RGB32UI
        RGBA8I = 0x8D8E,   // GL_RGBA8I
        RGBA8UI = 0x8D7C,  // GL_RGBA8UI
        RGBA16I = 0x8D88,  // GL_RGBA16I
        RGBA16UI = 0x8D76, // GL_RGBA16UI
        RGBA32I = 0x8D82,  // GL_RGBA32I
        RGBA32UI = 0x8D70, // GL_RGBA32UI

        DepthComponent = 0x1902,    // GL_DEPTH_COMPONENT
        DepthComponent16 = 0x81A5,  // GL_DEPTH_COMPONENT16
        DepthComponent24 = 0x81A6,  // GL_DEPTH_COMPONENT24
        DepthComponent32 = 0x81A7,  // GL_DEPTH_COMPONENT32
        DepthComponent32F = 0x8CAC, // GL_DEPTH_COMPONENT32F
        StencilIndex = 0x1901,      // GL_STENCIL_INDEX
        StencilIndex4 = 0x8D47,     // GL_STENCIL_INDEX4
        StencilIndex8 = 0x8D48,     // GL_STENCIL_INDEX8
        StencilIndex16 = 0x8D49,    // GL_STENCIL_INDEX16
        Depth24Stencil8 = 0x88F0,   // GL_DEPTH24_STENCIL8
        Depth32FStencil8 = 0x8CAD,  // GL_DEPTH32F_STENCIL8
    };

    /// Implicit, so that `InternalFormat::RGBA8` serves where a format is asked for.
    constexpr InternalFormat(Value value)
        : m_value(value) {}
    /// Any OpenGL internal format, also one that has no name here.
    constexpr explicit InternalFormat(GLenum value)
        : m_value(value) {}

    /// The OpenGL value.
    [[nodiscard]] constexpr GLenum value() const { return m_value; }
    [[nodiscard]] friend constexpr bool operator==(InternalFormat, InternalFormat) = default;

    // Classification. A format with depth and stencil counts as neither a depth nor a stencil format.

    /// Depth alone, of any precision.
    [[nodiscard]] bool isDepthFormat() const;
    /// Stencil alone, of any number of bits.
    [[nodiscard]] bool isStencilFormat() const;
    /// The two formats that hold both.
    [[nodiscard]] bool isDepthStencilFormat() const;
    /// Colour formats with 16- or 32-bit float components; DepthComponent32F is not one.
    [[nodiscard]] bool isFloatingPointFormat() const;
    /// Those that end in I, without stencil.
    [[nodiscard]] bool isSignedIntegerFormat() const;
    /// Those that end in UI, without stencil.
    [[nodiscard]] bool isUnsignedIntegerFormat() const;
    /// Signed or unsigned integers, which shaders read unscaled; normalised formats are not meant.
    [[nodiscard]] bool isIntegerFormat() const;
    /// True for every format.
    [[nodiscard]] bool isColorRenderable() const { return true; }
    /// True for every format.
    [[nodiscard]] bool isTextureFilterable() const { return true; }

    // Matching client data

    /// The pixel format of client texels with this many channels, 0 for other counts than 1 to 4. Depth and
    /// stencil formats have one answer for every count. The integer kinds are chosen only when the format
    /// itself has that many integer channels.
    [[nodiscard]] PixelFormat matchingPixelFormat(int numChannels) const;
    /// The pixel format of client texels with the format's own channels.
    [[nodiscard]] PixelFormat matchingPixelFormat() const;
    /// The component type of client texels, 0 for a format that has no name here. Stencil formats answer
    /// `Float`.
    [[nodiscard]] PixelType matchingPixelType() const;
    /// 1 to 4; depth with stencil counts 2, a format that has no name here 4.
    [[nodiscard]] int matchingNumChannels() const;

    /// The name as in "RGBA16F", "SRGB8Alpha8" or "Depth24Stencil8"; empty for a format that has no name.
    [[nodiscard]] std::string toString() const;

private:
    GLenum m_value;
};

} // namespace Veltrand::GL
