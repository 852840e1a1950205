// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/Texels.h>

#include <Veltrand/Core/Version.h>
#include <Veltrand/GL/Texture.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace Veltrand::GL {

namespace {

constexpr std::size_t sizeLimit = std::numeric_limits<std::size_t>::max();

template<class T>
double component(const void* data, int index) {
    T value;
    std::memcpy(&value, static_cast<const std::byte*>(data) + static_cast<std::size_t>(index) * sizeof(T),
                sizeof(T));
    return static_cast<double>(value);
}

/// Calls a function with a zero of the component type; false for packed and unknown types.
template<class Function>
bool withComponentType(PixelType type, const Function& function) {
    switch (type) {
    case PixelType::Byte:
        function(std::int8_t{0});
        return true;
    case PixelType::UByte:
        function(std::uint8_t{0});
        return true;
    case PixelType::Short:
        function(std::int16_t{0});
        return true;
    case PixelType::UShort:
        function(std::uint16_t{0});
        return true;
    case PixelType::Int:
        function(std::int32_t{0});
        return true;
    case PixelType::UInt:
        function(std::uint32_t{0});
        return true;
    case PixelType::Float:
        function(0.0F);
        return true;
    case PixelType::Double:
        function(0.0);
        return true;
    default:
        return false;
    }
}

double component(PixelType type, const void* data, int index) {
    double value = 0;
    withComponentType(type, [&](auto zero) { value = component<decltype(zero)>(data, index); });
    return value;
}

/// Fractions of the first three bytes and the last one, or a float and the last byte of the word behind it.
void readDepthStencil(PixelType type, const void* data, ClearValue& value) {
    std::array<std::uint32_t, 2> words{};
    std::memcpy(words.data(), data, type == PixelType::UInt248 ? 4 : 8);
    const bool isFloat = type == PixelType::Float32UInt248Rev;
    value.depth = isFloat ? std::bit_cast<float>(words[0]) : static_cast<float>(words[0] >> 8U) / 0xFFFFFF;
    value.stencil = static_cast<int>(words[isFloat ? 1 : 0] & 0xFFU);
}

double colorScale(PixelType type) {
    switch (type) {
    case PixelType::Byte:
        return 1.0 / 127;
    case PixelType::UByte:
        return 1.0 / 255;
    case PixelType::Short:
        return 1.0 / 32767;
    case PixelType::UShort:
        return 1.0 / 65535;
    case PixelType::Int:
        return 0x1p-31;
    case PixelType::UInt:
        return 0x1p-32;
    default:
        return 1.0;
    }
}

template<class T>
T toInteger(double value) {
    if (std::isnan(value))
        return 0;
    return static_cast<T>(std::clamp(value, static_cast<double>(std::numeric_limits<T>::min()),
                                     static_cast<double>(std::numeric_limits<T>::max())));
}

} // namespace

int componentSize(PixelType type) {
    switch (type) {
    case PixelType::Byte:
    case PixelType::UByte:
        return 1;
    case PixelType::Short:
    case PixelType::UShort:
    case PixelType::HFloat:
        return 2;
    case PixelType::Int:
    case PixelType::UInt:
    case PixelType::Float:
        return 4;
    case PixelType::Double:
        return 8;
    case PixelType::UInt248:
    case PixelType::Float32UInt248Rev:
        break;
    }
    return 0;
}

std::size_t texelSize(PixelFormat format, PixelType type) {
    if (type == PixelType::UInt248)
        return 4;
    if (type == PixelType::Float32UInt248Rev)
        return 8;
    return saturatingProduct({Texture::matchingNumChannels(format), componentSize(type)});
}

int rowAlignment(int width, PixelFormat format, PixelType type) {
    const int bytes = componentSize(type);
    if (bytes == 0)
        return 8;
    const auto rowBytes = std::int64_t{width} * Texture::matchingNumChannels(format) * bytes;
    for (const int alignment : {8, 4, 2})
        if (rowBytes % alignment == 0)
            return alignment;
    return 1;
}

std::size_t rowStride(int width, PixelFormat format, PixelType type) {
    const std::size_t rowBytes =
        saturatingProduct({width, static_cast<std::int64_t>(texelSize(format, type))});
    const auto alignment = static_cast<std::size_t>(rowAlignment(width, format, type));
    return (rowBytes + alignment - 1) / alignment * alignment;
}

std::size_t saturatingProduct(std::initializer_list<std::int64_t> factors) {
    if (std::ranges::any_of(factors, [](std::int64_t factor) { return factor < 1; }))
        return 0;
    std::size_t product = 1;
    for (const std::int64_t factor : factors)
        if (__builtin_mul_overflow(product, static_cast<std::size_t>(factor), &product))
            return sizeLimit;
    return product;
}

std::size_t imageSize(int width, std::size_t rows, PixelFormat format, PixelType type) {
    const std::size_t rowBytes =
        saturatingProduct({width, static_cast<std::int64_t>(texelSize(format, type))});
    if (rows == 0 || rowBytes == 0)
        return 0;
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(rowStride(width, format, type), rows - 1, &bytes) ||
        __builtin_add_overflow(bytes, rowBytes, &bytes))
        return sizeLimit;
    return bytes;
}

std::vector<std::byte> filledImage(int width, std::size_t rows, PixelFormat format, PixelType type,
                                   const void* texel) {
    std::vector<std::byte> image(imageSize(width, rows, format, type));
    if (image.empty())
        return image;
    const std::size_t texelBytes = texelSize(format, type);
    const std::size_t stride = rowStride(width, format, type);
    for (std::size_t x = 0; x < static_cast<std::size_t>(width); ++x)
        std::memcpy(image.data() + x * texelBytes, texel, texelBytes);
    // What is filled doubles with each copy; strides repeat, so any whole number of rows may be copied.
    for (std::size_t filled = stride; filled < image.size(); filled *= 2)
        std::memcpy(image.data() + filled, image.data(), std::min(filled, image.size() - filled));
    return image;
}

ClearValue clearValue(PixelFormat format, PixelType type, const void* data) {
    ClearValue value;
    if (type == PixelType::UInt248 || type == PixelType::Float32UInt248Rev) {
        readDepthStencil(type, data, value);
        return value;
    }
    if (format == PixelFormat::DepthComponent || format == PixelFormat::StencilIndex ||
        format == PixelFormat::DepthStencil) {
        const double first = component(type, data, 0);
        value.depth = static_cast<float>(first);
        value.stencil = toInt(first);
        return value;
    }
    for (std::size_t i = 0; i < value.color.size(); ++i) {
        const double number = component(type, data, static_cast<int>(i));
        value.color[i] = static_cast<float>(number * colorScale(type));
        value.signedIntegers[i] = toInt(number);
        value.unsignedIntegers[i] = toUInt(number);
    }
    return value;
}

std::array<std::byte, 8> depthComponent(PixelType type, const void* data) {
    std::array<std::byte, 8> result{};
    std::memcpy(result.data(), data, texelSize(PixelFormat::DepthComponent, type));
    withComponentType(type, [&]<class T>(T value) {
        if constexpr (std::is_integral_v<T>) {
            if (component(type, data, 0) >= 1)
                value = std::numeric_limits<T>::max();
            std::memcpy(result.data(), &value, sizeof(T));
        }
    });
    return result;
}

PackedDepthStencil packDepthStencil(InternalFormat format, double depth, double stencil) {
    const std::uint32_t stencilBits = std::min(toUInt(stencil), 0xFFU);
    if (format == InternalFormat::Depth32FStencil8)
        return {PixelType::Float32UInt248Rev,
                {std::bit_cast<std::uint32_t>(static_cast<float>(depth)), stencilBits}};
    const auto depthBits = static_cast<std::uint32_t>(
        std::lround(std::isnan(depth) ? 0.0 : std::clamp(depth, 0.0, 1.0) * 0xFFFFFF));
    return {PixelType::UInt248, {depthBits << 8U | stencilBits, 0}};
}

int toInt(double value) {
    return toInteger<int>(value);
}

unsigned int toUInt(double value) {
    return toInteger<unsigned int>(value);
}

bool needsClear1DArrayWorkaround(std::string_view versionString) {
    constexpr std::string_view maker = "Mesa ";
    const auto position = versionString.find(maker);
    if (position == std::string_view::npos)
        return true;
    const auto version = Utils::Version::parse(versionString.substr(position + maker.size()));
    const Utils::Version firstGood{.major = 21, .minor = 2, .patch = 0, .preRelease = {}, .build = {}};
    return !version || *version < firstGood;
}

} // namespace Veltrand::GL
