// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/InternalFormat.h>
#include <Veltrand/GL/PixelFormat.h>
#include <Veltrand/GL/PixelType.h>

#include <glad/gl.h>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace Veltrand::GL {

// A name such as RGB16UI says everything else about its format.
TEST(InternalFormat, ColourFormatsAreWhatTheirNamesSay) {
    const std::map<std::string, GLenum> types{
        {"8", GL_UNSIGNED_BYTE},   {"16", GL_UNSIGNED_SHORT},   {"8SNorm", GL_BYTE},
        {"16SNorm", GL_SHORT},     {"16F", GL_HALF_FLOAT},      {"32F", GL_FLOAT},
        {"8I", GL_BYTE},           {"16I", GL_SHORT},           {"32I", GL_INT},
        {"8UI", GL_UNSIGNED_BYTE}, {"16UI", GL_UNSIGNED_SHORT}, {"32UI", GL_UNSIGNED_INT}};
    const GLenum colors[] = {GL_RED, GL_RG, GL_RGB, GL_RGBA};
    const GLenum integers[] = {GL_RED_INTEGER, GL_RG_INTEGER, GL_RGB_INTEGER, GL_RGBA_INTEGER};
    std::set<std::string> names;
    for (GLenum value = 0; value < 0x10000; ++value) {
        const InternalFormat format(value);
        const std::string name = format.toString();
        if (name.empty() || name.starts_with("Depth") || name.starts_with("Stencil"))
            continue;
        SCOPED_TRACE(name);
        std::smatch parts;
        ASSERT_TRUE(std::regex_match(name, parts,
                                     std::regex("S?(RGBA|RGB|RG|R)((8|16|32)(F|I|UI|SNorm)?)(Alpha8)?")));
        const auto channels = static_cast<std::size_t>(parts.length(1)) + parts[5].matched;
        EXPECT_EQ(format.matchingNumChannels(), static_cast<int>(channels));
        EXPECT_EQ(static_cast<GLenum>(format.matchingPixelType()), types.at(parts[2]));
        EXPECT_EQ(static_cast<GLenum>(format.matchingPixelFormat()),
                  (parts.str(4).ends_with('I') ? integers : colors)[channels - 1]);
        EXPECT_EQ(format.isFloatingPointFormat(), parts[4] == "F");
        EXPECT_EQ(format.isSignedIntegerFormat(), parts[4] == "I");
        EXPECT_EQ(format.isUnsignedIntegerFormat(), parts[4] == "UI");
        names.insert(name);
    }
    EXPECT_EQ(names.size(), 50U);
}

TEST(InternalFormat, DepthAndStencilFormatsHaveTheirKind) {
    const struct {
        GLenum format;
        const char* name;
        int kind;
        GLenum type, pixelFormat;
    } cases[] = {
        {GL_DEPTH_COMPONENT32F, "DepthComponent32F", 1, GL_FLOAT, GL_DEPTH_COMPONENT},
        {GL_STENCIL_INDEX8, "StencilIndex8", 2, GL_FLOAT, GL_STENCIL_INDEX},
        {GL_DEPTH24_STENCIL8, "Depth24Stencil8", 4, GL_UNSIGNED_INT_24_8, GL_DEPTH_STENCIL},
        {GL_DEPTH32F_STENCIL8, "Depth32FStencil8", 4, GL_FLOAT_32_UNSIGNED_INT_24_8_REV, GL_DEPTH_STENCIL},
        {0x1234, "", 0, 0, GL_RGBA},
    };
    for (const auto& [value, name, kind, type, pixelFormat] : cases) {
        const InternalFormat format(value);
        EXPECT_EQ(format.toString(), name);
        EXPECT_EQ(format.isDepthFormat() + 2 * format.isStencilFormat() + 4 * format.isDepthStencilFormat(),
                  kind);
        EXPECT_EQ(static_cast<GLenum>(format.matchingPixelType()), type);
        EXPECT_EQ(static_cast<GLenum>(format.matchingPixelFormat()), pixelFormat);
    }
    const InternalFormat integers = InternalFormat::RGBA8UI;
    EXPECT_EQ(integers.matchingPixelFormat(3), PixelFormat::RGB);
    EXPECT_EQ(integers.matchingPixelFormat(4), PixelFormat::RGBAInteger);
    EXPECT_EQ(integers.matchingPixelFormat(5), PixelFormat{});
    std::ostringstream printed;
    printed << std::hex << PixelFormat::BGRAInteger << ' ' << PixelFormat(GL_BGR) << ' ' << PixelType::HFloat
            << ' ' << PixelType{};
    EXPECT_EQ(printed.str(), "BGRAInteger unknown: 32992 HFloat unknown: 0");
}

} // namespace Veltrand::GL
