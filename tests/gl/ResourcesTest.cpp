// SPDX-License-Identifier: BSD-3-Clause
#include "support/LogCapture.h"

#include <Veltrand/Core/Resource.h>
#include <Veltrand/Resources/EmbeddedFiles.h>
#include <veltrandGLShaders.h>

#include <gtest/gtest.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace Veltrand::Resource {

namespace {

using Testing::LogCapture;

// Changes one byte of the first payload of the shaders, and changes it back when called again.
void flipByteOfFirstShader() {
    auto* const byte = const_cast<unsigned char*>(veltrandGLShaders[0].data + 30);
    const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    unsigned char* const page = byte - reinterpret_cast<std::uintptr_t>(byte) % pageSize;
    ASSERT_EQ(mprotect(page, pageSize, PROT_READ | PROT_WRITE), 0);
    *byte ^= 1;
    ASSERT_EQ(mprotect(page, pageSize, PROT_READ), 0);
}

} // namespace

TEST(Resources, EveryShaderIsThereAsText) {
    EXPECT_GT(veltrandGLShadersCount, 0U);
    for (std::size_t i = 0; i < veltrandGLShadersCount; ++i) {
        const EmbeddedFile& file = veltrandGLShaders[i];
        const auto text = query("VeltrandGL", file.name);
        ASSERT_TRUE(text) << file.name;
        for (const char c : text->view().toStringView())
            ASSERT_TRUE(c == '\n' || (c >= ' ' && c <= '~')) << file.name << ' ' << static_cast<int>(c);
        EXPECT_EQ(text->view().toStringView().back(), '\n');
        // In the library they are no text.
        const std::string payload(file.data, file.data + file.size);
        EXPECT_EQ(payload.find("main"), std::string::npos) << file.name;
    }
}

TEST(Resources, FourFontsAreThereDecompressed) {
    const struct {
        const char* name;
        bool bold, oblique; // as the names in the font itself say
    } cases[] = {
        {"DejaVuSans-Regular.ttf", false, false},
        {"DejaVuSans-Bold.ttf", true, false},
        {"DejaVuSans-BoldItalic.ttf", true, true},
        {"DejaVuSans-Italic.ttf", false, true},
    };
    for (const auto& [name, bold, oblique] : cases) {
        const auto font = query("VeltrandGLFonts", name);
        ASSERT_TRUE(font) << name;
        const std::string bytes = font->view().toString();
        EXPECT_EQ(bytes.substr(0, 4), std::string("\0\1\0\0", 4)) << name;
        EXPECT_EQ(bytes.find("Bold") != std::string::npos, bold) << name;
        EXPECT_EQ(bytes.find("Oblique") != std::string::npos, oblique) << name;
    }
}

TEST(Resources, NamesAreComparedAsTheyAre) {
    for (const char* const file :
         {"fontatlas.vert", "VeltrandGL/FontAtlas.vert", "FontAtlas.ver", "", "DejaVuSans-Regular.ttf"}) {
        EXPECT_FALSE(locate("VeltrandGL", file)) << file;
        EXPECT_FALSE(query("VeltrandGL", file)) << file;
    }
    EXPECT_FALSE(locate("VeltrandGL", "FontAtlas.vert")->query("DejaVuSans-Regular.ttf"));
}

TEST(Resources, PayloadsAreTheirChunksInOrder) {
    const ByteBufferView ab("ab", 2);
    const ByteBufferView c("c", 1);
    EXPECT_EQ(EmbeddedFiles::gather({c, {}, ab}).view().toString(), "cab");
}

TEST(Resources, ADamagedShaderIsReportedAndWithheld) {
    LogCapture log;
    const std::string name = veltrandGLShaders[0].name;
    flipByteOfFirstShader();
    EXPECT_TRUE(locate("VeltrandGL", name));
    EXPECT_FALSE(query("VeltrandGL", name));
    EXPECT_TRUE(
        log.takeLine({4, "Core.Resource.Repository",
                      "Error during decryption of resource " + name + " from repository VeltrandGL"}));
    flipByteOfFirstShader();
    EXPECT_TRUE(query("VeltrandGL", name));
}

} // namespace Veltrand::Resource
