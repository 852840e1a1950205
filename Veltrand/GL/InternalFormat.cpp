// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/InternalFormat.h>

#include <algorithm>
#include <glad/gl.h>
#include <iterator>

namespace Veltrand::GL {

namespace {

enum class Kind { Unknown, Normalized, Float, SignedInteger, UnsignedInteger, Depth, Stencil, DepthStencil };

struct Row {
    InternalFormat::Value value;
    GLenum glValue;
    Kind kind;
    int channels;
    PixelType type;
    const char* name;
};

// The two odd stencil formats are no texture formats: they are told apart as stencil and have no client data.
// clang-format off
constexpr Row table[] = {
    {InternalFormat::R8, GL_R8, Kind::Normalized, 1, PixelType::UByte, "R8"},
    {InternalFormat::RG8, GL_RG8, Kind::Normalized, 2, PixelType::UByte, "RG8"},
    {InternalFormat::RGB8, GL_RGB8, Kind::Normalized, 3, PixelType::UByte, "RGB8"},
    {InternalFormat::RGBA8, GL_RGBA8, Kind::Normalized, 4, PixelType::UByte, "RGBA8"},
    {InternalFormat::R8SNorm, GL_R8_SNORM, Kind::Normalized, 1, PixelType::Byte, "R8SNorm"},
    {InternalFormat::RG8SNorm, GL_RG8_SNORM, Kind::Normalized, 2, PixelType::Byte, "RG8SNorm"},
    {InternalFormat::RGB8SNorm, GL_RGB8_SNORM, Kind::Normalized, 3, PixelType::Byte, "RGB8SNorm"},
    {InternalFormat::RGBA8SNorm, GL_RGBA8_SNORM, Kind::Normalized, 4, PixelType::Byte, "RGBA8SNorm"},
    {InternalFormat::R16, GL_R16, Kind::Normalized, 1, PixelType::UShort, "R16"},
    {InternalFormat::RG16, GL_RG16, Kind::Normalized, 2, PixelType::UShort, "RG16"},
    {InternalFormat::RGB16, GL_RGB16, Kind::Normalized, 3, PixelType::UShort, "RGB16"},
    {InternalFormat::RGBA16, GL_RGBA16, Kind::Normalized, 4, PixelType::UShort, "RGBA16"},
    {InternalFormat::R16SNorm, GL_R16_SNORM, Kind::Normalized, 1, PixelType::Short, "R16SNorm"},
    {InternalFormat::RG16SNorm, GL_RG16_SNORM, Kind::Normalized, 2, PixelType::Short, "RG16SNorm"},
    {InternalFormat::RGB16SNorm, GL_RGB16_SNORM, Kind::Normalized, 3, PixelType::Short, "RGB16SNorm"},
    {InternalFormat::RGBA16SNorm, GL_RGBA16_SNORM, Kind::Normalized, 4, PixelType::Short, "RGBA16SNorm"},
    {InternalFormat::SRGB8, GL_SRGB8, Kind::Normalized, 3, PixelType::UByte, "SRGB8"},
    {InternalFormat::SRGB8Alpha8, GL_SRGB8_ALPHA8, Kind::Normalized, 4, PixelType::UByte, "SRGB8Alpha8"},
    {InternalFormat::R16F, GL_R16F, Kind::Float, 1, PixelType::HFloat, "R16F"},
    {InternalFormat::RG16F, GL_RG16F, Kind::Float, 2, PixelType::HFloat, "RG16F"},
    {InternalFormat::RGB16F, GL_RGB16F, Kind::Float, 3, PixelType::HFloat, "RGB16F"},
    {InternalFormat::RGBA16F, GL_RGBA16F, Kind::Float, 4, PixelType::HFloat, "RGBA16F"},
    {InternalFormat::R32F, GL_R32F, Kind::Float, 1, PixelType::Float, "R32F"},
    {InternalFormat::RG32F, GL_RG32F, Kind::Float, 2, PixelType::Float, "RG32F"},
    {InternalFormat::RGB32F, GL_RGB32F, Kind::Float, 3, PixelType::Float, "RGB32F"},
    {InternalFormat::RGBA32F, GL_RGBA32F, Kind::Float, 4, PixelType::Float, "RGBA32F"},
    {InternalFormat::R8I, GL_R8I, Kind::SignedInteger, 1, PixelType::Byte, "R8I"},
    {InternalFormat::RG8I, GL_RG8I, Kind::SignedInteger, 2, PixelType::Byte, "RG8I"},
    {InternalFormat::RGB8I, GL_RGB8I, Kind::SignedInteger, 3, PixelType::Byte, "RGB8I"},
    {InternalFormat::RGBA8I, GL_RGBA8I, Kind::SignedInteger, 4, PixelType::Byte, "RGBA8I"},
    {InternalFormat::R8UI, GL_R8UI, Kind::UnsignedInteger, 1, PixelType::UByte, "R8UI"},
    {InternalFormat::RG8UI, GL_RG8UI, Kind::UnsignedInteger, 2, PixelType::UByte, "RG8UI"},
    {InternalFormat::RGB8UI, GL_RGB8UI, Kind::UnsignedInteger, 3, PixelType::UByte, "RGB8UI"},
    {InternalFormat::RGBA8UI, GL_RGBA8UI, Kind::UnsignedInteger, 4, PixelType::UByte, "RGBA8UI"},
    {InternalFormat::R16I, GL_R16I, Kind::SignedInteger, 1, PixelType::Short, "R16I"},
    {InternalFormat::RG16I, GL_RG16I, Kind::SignedInteger, 2, PixelType::Short, "RG16I"},
    {InternalFormat::RGB16I, GL_RGB16I, Kind::SignedInteger, 3, PixelType::Short, "RGB16I"},
    {InternalFormat::RGBA16I, GL_RGBA16I, Kind::SignedInteger, 4, PixelType::Short, "RGBA16I"},
    {InternalFormat::R16UI, GL_R16UI, Kind::UnsignedInteger, 1, PixelType::UShort, "R16UI"},
    {InternalFormat::RG16UI, GL_RG16UI, Kind::UnsignedInteger, 2, PixelType::UShort, "RG16UI"},
    {InternalFormat::RGB16UI, GL_RGB16UI, Kind::UnsignedInteger, 3, PixelType::UShort, "RGB16UI"},
    {InternalFormat::RGBA16UI, GL_RGBA16UI, Kind::UnsignedInteger, 4, PixelType::UShort, "RGBA16UI"},
    {InternalFormat::R32I, GL_R32I, Kind::SignedInteger, 1, PixelType::Int, "R32I"},
    {InternalFormat::RG32I, GL_RG32I, Kind::SignedInteger, 2, PixelType::Int, "RG32I"},
    {InternalFormat::RGB32I, GL_RGB32I, Kind::SignedInteger, 3, PixelType::Int, "RGB32I"},
    {InternalFormat::RGBA32I, GL_RGBA32I, Kind::SignedInteger, 4, PixelType::Int, "RGBA32I"},
    {InternalFormat::R32UI, GL_R32UI, Kind::UnsignedInteger, 1, PixelType::UInt, "R32UI"},
    {InternalFormat::RG32UI, GL_RG32UI, Kind::UnsignedInteger, 2, PixelType::UInt, "RG32UI"},
    {InternalFormat::RGB32UI, GL_RGB32UI, Kind::UnsignedInteger, 3, PixelType::UInt, "RGB32UI"},
    {InternalFormat::RGBA32UI, GL_RGBA32UI, Kind::UnsignedInteger, 4, PixelType::UInt, "RGBA32UI"},
    {InternalFormat::DepthComponent, GL_DEPTH_COMPONENT, Kind::Depth, 1, PixelType::Float, "DepthComponent"},
    {InternalFormat::DepthComponent16, GL_DEPTH_COMPONENT16, Kind::Depth, 1, PixelType::Float, "DepthComponent16"},
    {InternalFormat::DepthComponent24, GL_DEPTH_COMPONENT24, Kind::Depth, 1, PixelType::Float, "DepthComponent24"},
    {InternalFormat::DepthComponent32, GL_DEPTH_COMPONENT32, Kind::Depth, 1, PixelType::Float, "DepthComponent32"},
    {InternalFormat::DepthComponent32F, GL_DEPTH_COMPONENT32F, Kind::Depth, 1, PixelType::Float, "DepthComponent32F"},
    {InternalFormat::StencilIndex, GL_STENCIL_INDEX, Kind::Stencil, 1, PixelType::Float, "StencilIndex"},
    {InternalFormat::StencilIndex8, GL_STENCIL_INDEX8, Kind::Stencil, 1, PixelType::Float, "StencilIndex8"},
    {InternalFormat::StencilIndex4, GL_STENCIL_INDEX4, Kind::Stencil, 4, PixelType{}, ""},
    {InternalFormat::StencilIndex16, GL_STENCIL_INDEX16, Kind::Stencil, 4, PixelType{}, ""},
    {InternalFormat::Depth24Stencil8, GL_DEPTH24_STENCIL8, Kind::DepthStencil, 2, PixelType::UInt248, "Depth24Stencil8"},
    {InternalFormat::Depth32FStencil8, GL_DEPTH32F_STENCIL8, Kind::DepthStencil, 2, PixelType::Float32UInt248Rev, "Depth32FStencil8"},
};
// clang-format on
static_assert(std::ranges::all_of(table, [](const Row& row) { return row.value == row.glValue; }));

constexpr Row unknownFormat{InternalFormat::Value{}, 0, Kind::Unknown, 4, PixelType{}, ""};

const Row& rowOf(GLenum value) {
    const auto* const found = std::ranges::find(table, value, &Row::glValue);
    return found == std::end(table) ? unknownFormat : *found;
}

} // namespace

bool InternalFormat::isDepthFormat() const {
    return rowOf(m_value).kind == Kind::Depth;
}

bool InternalFormat::isStencilFormat() const {
    return rowOf(m_value).kind == Kind::Stencil;
}

bool InternalFormat::isDepthStencilFormat() const {
    return rowOf(m_value).kind == Kind::DepthStencil;
}

bool InternalFormat::isFloatingPointFormat() const {
    return rowOf(m_value).kind == Kind::Float;
}

bool InternalFormat::isSignedIntegerFormat() const {
    return rowOf(m_value).kind == Kind::SignedInteger;
}

bool InternalFormat::isUnsignedIntegerFormat() const {
    return rowOf(m_value).kind == Kind::UnsignedInteger;
}

bool InternalFormat::isIntegerFormat() const {
    return isSignedIntegerFormat() || isUnsignedIntegerFormat();
}

PixelFormat InternalFormat::matchingPixelFormat(int numChannels) const {
    const Row& row = rowOf(m_value);
    if (row.kind == Kind::Depth)
        return PixelFormat::DepthComponent;
    if (row.kind == Kind::DepthStencil)
        return PixelFormat::DepthStencil;
    if (row.kind == Kind::Stencil)
        return PixelFormat::StencilIndex;
    const bool integer = isIntegerFormat() && row.channels == numChannels;
    switch (numChannels) {
    case 1:
        return integer ? PixelFormat::RedInteger : PixelFormat::Red;
    case 2:
        return integer ? PixelFormat::RGInteger : PixelFormat::RG;
    case 3:
        return integer ? PixelFormat::RGBInteger : PixelFormat::RGB;
    case 4:
        return integer ? PixelFormat::RGBAInteger : PixelFormat::RGBA;
    default:
        return PixelFormat{};
    }
}

PixelFormat InternalFormat::matchingPixelFormat() const {
    return matchingPixelFormat(matchingNumChannels());
}

PixelType InternalFormat::matchingPixelType() const {
    return rowOf(m_value).type;
}

int InternalFormat::matchingNumChannels() const {
    return rowOf(m_value).channels;
}

std::string InternalFormat::toString() const {
    return rowOf(m_value).name;
}

} // namespace Veltrand::GL
