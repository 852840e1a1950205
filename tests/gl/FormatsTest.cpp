// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/InternalFormat.h>
#include <Veltrand/GL/PixelFormat.h>
#include <Veltrand/GL/PixelType.h>

#include <algorithm>
#include <glad/gl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace Veltrand::GL {

namespace {

constexpr GLenum unknownFormat = 0x1234;

template<class T>
std::string printed(T value) {
    std::ostringstream out;
    out << std::hex << value;
    return out.str();
}

/// One line per group of formats that are alike in everything but the name.
struct Group {
    const char* kind;
    GLenum pixelType;
    GLenum pixelFormat;
    int channels;
    std::vector<std::pair<GLenum, const char*>> formats;
};

const std::vector<Group> groups = {
    {"", GL_UNSIGNED_BYTE, GL_RED, 1, {{GL_R8, "R8"}}},
    {"", GL_UNSIGNED_BYTE, GL_RG, 2, {{GL_RG8, "RG8"}}},
    {"", GL_UNSIGNED_BYTE, GL_RGB, 3, {{GL_RGB8, "RGB8"}, {GL_SRGB8, "SRGB8"}}},
    {"", GL_UNSIGNED_BYTE, GL_RGBA, 4, {{GL_RGBA8, "RGBA8"}, {GL_SRGB8_ALPHA8, "SRGB8Alpha8"}}},
    {"", GL_UNSIGNED_SHORT, GL_RED, 1, {{GL_R16, "R16"}}},
    {"", GL_UNSIGNED_SHORT, GL_RG, 2, {{GL_RG16, "RG16"}}},
    {"", GL_UNSIGNED_SHORT, GL_RGB, 3, {{GL_RGB16, "RGB16"}}},
    {"", GL_UNSIGNED_SHORT, GL_RGBA, 4, {{GL_RGBA16, "RGBA16"}}},
    {"", GL_BYTE, GL_RED, 1, {{GL_R8_SNORM, "R8SNorm"}}},
    {"", GL_BYTE, GL_RG, 2, {{GL_RG8_SNORM, "RG8SNorm"}}},
    {"", GL_BYTE, GL_RGB, 3, {{GL_RGB8_SNORM, "RGB8SNorm"}}},
    {"", GL_BYTE, GL_RGBA, 4, {{GL_RGBA8_SNORM, "RGBA8SNorm"}}},
    {"", GL_SHORT, GL_RED, 1, {{GL_R16_SNORM, "R16SNorm"}}},
    {"", GL_SHORT, GL_RG, 2, {{GL_RG16_SNORM, "RG16SNorm"}}},
    {"", GL_SHORT, GL_RGB, 3, {{GL_RGB16_SNORM, "RGB16SNorm"}}},
    {"", GL_SHORT, GL_RGBA, 4, {{GL_RGBA16_SNORM, "RGBA16SNorm"}}},
    {"float", GL_HALF_FLOAT, GL_RED, 1, {{GL_R16F, "R16F"}}},
    {"float", GL_HALF_FLOAT, GL_RG, 2, {{GL_RG16F, "RG16F"}}},
    {"float", GL_HALF_FLOAT, GL_RGB, 3, {{GL_RGB16F, "RGB16F"}}},
    {"float", GL_HALF_FLOAT, GL_RGBA, 4, {{GL_RGBA16F, "RGBA16F"}}},
    {"float", GL_FLOAT, GL_RED, 1, {{GL_R32F, "R32F"}}},
    {"float", GL_FLOAT, GL_RG, 2, {{GL_RG32F, "RG32F"}}},
    {"float", GL_FLOAT, GL_RGB, 3, {{GL_RGB32F, "RGB32F"}}},
    {"float", GL_FLOAT, GL_RGBA, 4, {{GL_RGBA32F, "RGBA32F"}}},
    {"int", GL_BYTE, GL_RED_INTEGER, 1, {{GL_R8I, "R8I"}}},
    {"int", GL_BYTE, GL_RG_INTEGER, 2, {{GL_RG8I, "RG8I"}}},
    {"int", GL_BYTE, GL_RGB_INTEGER, 3, {{GL_RGB8I, "RGB8I"}}},
    {"int", GL_BYTE, GL_RGBA_INTEGER, 4, {{GL_RGBA8I, "RGBA8I"}}},
    {"int", GL_SHORT, GL_RED_INTEGER, 1, {{GL_R16I, "R16I"}}},
    {"int", GL_SHORT, GL_RG_INTEGER, 2, {{GL_RG16I, "RG16I"}}},
    {"int", GL_SHORT, GL_RGB_INTEGER, 3, {{GL_RGB16I, "RGB16I"}}},
    {"int", GL_SHORT, GL_RGBA_INTEGER, 4, {{GL_RGBA16I, "RGBA16I"}}},
    {"int", GL_INT, GL_RED_INTEGER, 1, {{GL_R32I, "R32I"}}},
    {"int", GL_INT, GL_RG_INTEGER, 2, {{GL_RG32I, "RG32I"}}},
    {"int", GL_INT, GL_RGB_INTEGER, 3, {{GL_RGB32I, "RGB32I"}}},
    {"int", GL_INT, GL_RGBA_INTEGER, 4, {{GL_RGBA32I, "RGBA32I"}}},
    {"uint", GL_UNSIGNED_BYTE, GL_RED_INTEGER, 1, {{GL_R8UI, "R8UI"}}},
    {"uint", GL_UNSIGNED_BYTE, GL_RG_INTEGER, 2, {{GL_RG8UI, "RG8UI"}}},
    {"uint", GL_UNSIGNED_BYTE, GL_RGB_INTEGER, 3, {{GL_RGB8UI, "RGB8UI"}}},
    {"uint", GL_UNSIGNED_BYTE, GL_RGBA_INTEGER, 4, {{GL_RGBA8UI, "RGBA8UI"}}},
    {"uint", GL_UNSIGNED_SHORT, GL_RED_INTEGER, 1, {{GL_R16UI, "R16UI"}}},
    {"uint", GL_UNSIGNED_SHORT, GL_RG_INTEGER, 2, {{GL_RG16UI, "RG16UI"}}},
    {"uint", GL_UNSIGNED_SHORT, GL_RGB_INTEGER, 3, {{GL_RGB16UI, "RGB16UI"}}},
    {"uint", GL_UNSIGNED_SHORT, GL_RGBA_INTEGER, 4, {{GL_RGBA16UI, "RGBA16UI"}}},
    {"uint", GL_UNSIGNED_INT, GL_RED_INTEGER, 1, {{GL_R32UI, "R32UI"}}},
    {"uint", GL_UNSIGNED_INT, GL_RG_INTEGER, 2, {{GL_RG32UI, "RG32UI"}}},
    {"uint", GL_UNSIGNED_INT, GL_RGB_INTEGER, 3, {{GL_RGB32UI, "RGB32UI"}}},
    {"uint", GL_UNSIGNED_INT, GL_RGBA_INTEGER, 4, {{GL_RGBA32UI, "RGBA32UI"}}},
    {"depth",
     GL_FLOAT,
     GL_DEPTH_COMPONENT,
     1,
     {{GL_DEPTH_COMPONENT, "DepthComponent"},
      {GL_DEPTH_COMPONENT16, "DepthComponent16"},
      {GL_DEPTH_COMPONENT24, "DepthComponent24"},
      {GL_DEPTH_COMPONENT32, "DepthComponent32"},
      {GL_DEPTH_COMPONENT32F, "DepthComponent32F"}}},
    {"stencil",
     GL_FLOAT,
     GL_STENCIL_INDEX,
     1,
     {{GL_STENCIL_INDEX, "StencilIndex"}, {GL_STENCIL_INDEX8, "StencilIndex8"}}},
    {"stencil", 0, GL_STENCIL_INDEX, 4, {{GL_STENCIL_INDEX4, ""}, {GL_STENCIL_INDEX16, ""}}},
    {"depth-stencil", GL_UNSIGNED_INT_24_8, GL_DEPTH_STENCIL, 2, {{GL_DEPTH24_STENCIL8, "Depth24Stencil8"}}},
    {"depth-stencil",
     GL_FLOAT_32_UNSIGNED_INT_24_8_REV,
     GL_DEPTH_STENCIL,
     2,
     {{GL_DEPTH32F_STENCIL8, "Depth32FStencil8"}}},
    {"", 0, GL_RGBA, 4, {{unknownFormat, ""}}},
};

std::string kindOf(InternalFormat format) {
    std::string kind;
    for (const auto& [is, name] :
         {std::pair{format.isDepthFormat(), "depth"}, std::pair{format.isStencilFormat(), "stencil"},
          std::pair{format.isDepthStencilFormat(), "depth-stencil"},
          std::pair{format.isFloatingPointFormat(), "float"},
          std::pair{format.isSignedIntegerFormat(), "int"},
          std::pair{format.isUnsignedIntegerFormat(), "uint"}})
        if (is)
            kind += name;
    return kind;
}

} // namespace

TEST(InternalFormat, EveryFormatHasItsKindNameAndMatchingClientData) {
    for (const Group& group : groups) {
        for (const auto& [value, name] : group.formats) {
            SCOPED_TRACE(testing::Message() << name << " 0x" << std::hex << value);
            const InternalFormat format(value);
            EXPECT_EQ(format.value(), value);
            EXPECT_EQ(format.toString(), name);
            EXPECT_EQ(kindOf(format), group.kind);
            EXPECT_EQ(format.isIntegerFormat(),
                      group.kind == std::string("int") || group.kind == std::string("uint"));
            EXPECT_TRUE(format.isColorRenderable());
            EXPECT_TRUE(format.isTextureFilterable());
            EXPECT_EQ(format.matchingNumChannels(), group.channels);
            EXPECT_EQ(static_cast<GLenum>(format.matchingPixelType()), group.pixelType);
            EXPECT_EQ(static_cast<GLenum>(format.matchingPixelFormat()), group.pixelFormat);
        }
    }
}

TEST(InternalFormat, IntegerPixelFormatsFollowTheFormatsOwnLayout) {
    const InternalFormat format = InternalFormat::RGBA8UI;
    EXPECT_EQ(format.matchingPixelFormat(1), PixelFormat::Red);
    EXPECT_EQ(format.matchingPixelFormat(3), PixelFormat::RGB);
    EXPECT_EQ(format.matchingPixelFormat(4), PixelFormat::RGBAInteger);
    for (const int channels : {-1, 0, 5})
        EXPECT_EQ(format.matchingPixelFormat(channels), PixelFormat{}) << channels;
    EXPECT_EQ(InternalFormat(InternalFormat::Depth24Stencil8).matchingPixelFormat(0),
              PixelFormat::DepthStencil);
}

TEST(PixelFormat, PrintsItsNameAndUnknownValuesInDecimal) {
    const std::pair<GLenum, const char*> formats[] = {{GL_RED, "Red"},
                                                      {GL_RG, "RG"},
                                                      {GL_RGB, "RGB"},
                                                      {GL_RGBA, "RGBA"},
                                                      {GL_BGRA, "BGRA"},
                                                      {GL_RED_INTEGER, "RedInteger"},
                                                      {GL_RG_INTEGER, "RGInteger"},
                                                      {GL_RGB_INTEGER, "RGBInteger"},
                                                      {GL_RGBA_INTEGER, "RGBAInteger"},
                                                      {GL_BGRA_INTEGER, "BGRAInteger"},
                                                      {GL_DEPTH_COMPONENT, "DepthComponent"},
                                                      {GL_DEPTH_STENCIL, "DepthStencil"},
                                                      {GL_STENCIL_INDEX, "StencilIndex"},
                                                      {GL_BGR, "unknown: 32992"}};
    for (const auto& [value, text] : formats)
        EXPECT_EQ(printed(static_cast<PixelFormat>(value)), text);
    const std::pair<GLenum, const char*> types[] = {
        {GL_BYTE, "Byte"},         {GL_UNSIGNED_BYTE, "UByte"},
        {GL_SHORT, "Short"},       {GL_UNSIGNED_SHORT, "UShort"},
        {GL_INT, "Int"},           {GL_UNSIGNED_INT, "UInt"},
        {GL_FLOAT, "Float"},       {GL_DOUBLE, "Double"},
        {GL_HALF_FLOAT, "HFloat"}, {GL_UNSIGNED_INT_24_8, "unknown: 34042"},
        {0, "unknown: 0"}};
    for (const auto& [value, text] : types)
        EXPECT_EQ(printed(static_cast<PixelType>(value)), text);
}

} // namespace Veltrand::GL
