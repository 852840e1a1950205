// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/InternalFormat.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/// Arithmetic on client-side texels; nothing here needs a context.
namespace Veltrand::GL {

/// Bytes of one component, 0 for packed and unknown types.
int componentSize(PixelType type);
/// Bytes of one texel, packed types included; 0 when format or type have no known size.
std::size_t texelSize(PixelFormat format, PixelType type);

/// The largest of 8, 4, 2 and 1 at which rows of @p width texels need no padding; 8 for types without a
/// component size.
int rowAlignment(int width, PixelFormat format, PixelType type);
/// Bytes from one row to the next under `rowAlignment`.
std::size_t rowStride(int width, PixelFormat format, PixelType type);

/// The product, or the largest value when it does not fit. Factors below 1 count as 0.
std::size_t saturatingProduct(std::initializer_list<std::int64_t> factors);
/// Bytes of @p rows rows; the last one ends with its last texel. Saturates as `saturatingProduct`.
std::size_t imageSize(int width, std::size_t rows, PixelFormat format, PixelType type);
/// An image in which every texel is a copy of @p texel, laid out as `imageSize` says.
std::vector<std::byte> filledImage(int width, std::size_t rows, PixelFormat format, PixelType type,
                                   const void* texel);

/// What glClearColor, glClearDepth, glClearStencil and glClearBuffer take for a value of client data:
/// integers become fractions of their range as colour, and stay as they are as depth, as stencil and for
/// integer formats. 0 for other types.
struct ClearValue {
    std::array<float, 4> color{};
    std::array<int, 4> signedIntegers{};
    std::array<unsigned int, 4> unsignedIntegers{};
    float depth = 0.0F;
    int stencil = 0;
};
/// @param data one component for depth and stencil formats, one of depth and stencil, four for others
ClearValue clearValue(PixelFormat format, PixelType type, const void* data);

/// The depth that `clearValue` has for @p data, as a component for transfers, which take integers for
/// fractions of their range: with an integer type all of it or nothing.
std::array<std::byte, 8> depthComponent(PixelType type, const void* data);

/// A texel of a format with depth and stencil, in its packed type.
struct PackedDepthStencil {
    PixelType type;
    std::array<std::uint32_t, 2> words; ///< only the first counts for `PixelType::UInt248`
};
/// @param format one with depth and stencil
/// @param stencil clamped to 8 bits
PackedDepthStencil packDepthStencil(InternalFormat format, double depth, double stencil);

/// The number towards zero, clamped to the type; 0 for a NaN.
int toInt(double value);
unsigned int toUInt(double value);

/// Whether glClearTexImage cannot be trusted with 1D array textures: it can with Mesa from 21.2 on.
bool needsClear1DArrayWorkaround(std::string_view versionString);

} // namespace Veltrand::GL
