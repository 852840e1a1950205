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
using Testing::LogLine;

// The first payload of the shaders with one byte changed, for the length of a scope.
class DamagedShader {
public:
    DamagedShader()
        : m_byte(const_cast<unsigned char*>(veltrandGLShaders[0].data) + 30) {
        setWritable(PROT_READ | PROT_WRITE);
        *m_byte ^= 1;
    }
    ~DamagedShader() {
        *m_byte ^= 1;
        setWritable(PROT_READ);
    }
    DamagedShader(const DamagedShader&) = delete;
    DamagedShader& operator=(const DamagedShader&) = delete;

    [[nodiscard]] static std::string name() { return veltrandGLShaders[0].name; }

private:
    void setWritable(int protection) const {
        const auto pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
        unsigned char* const page = m_byte - reinterpret_cast<std::uintptr_t>(m_byte) % pageSize;
        if (mprotect(page, pageSize, protection) != 0)
            ADD_FAILURE() << "mprotect failed";
    }

    unsigned char* m_byte;
};

} // namespace

TEST(Resources, FifteenShadersAreThereAsText) {
    LogCapture log;
    const char* const names[] = {
        "FixedFunctionPipeline.frag",
        "FixedFunctionPipeline.geom",
        "FixedFunctionPipeline.vert",
        "LineLengthAccumulation.glh",
        "LineRenderer.frag",
        "LineRenderer.vert",
        "ObjectPicking.glh",
        "OffscreenRenderHelper.frag",
        "OrderIndependentTransparency.glh",
        "OrderIndependentTransparencyBlend.frag",
        "ImageProgram.geom",
        "ImageProgram.vert",
        "WideLines.glh",
        "FontAtlas.frag",
        "FontAtlas.vert",
    };
    EXPECT_EQ(veltrandGLShadersCount, std::size(names));
    for (const char* const name : names) {
        SCOPED_TRACE(name);
        const Repository* const repository = locate("VeltrandGL", name);
        ASSERT_TRUE(repository);
        EXPECT_EQ(repository->name(), "VeltrandGL");
        const auto text = query("VeltrandGL", name);
        ASSERT_TRUE(text);
        for (const char c : text->view().toStringView())
            ASSERT_TRUE(c == '\n' || (c >= ' ' && c <= '~')) << static_cast<int>(c);
        EXPECT_EQ(text->view().toStringView().back(), '\n');
    }
    // In the library they are not.
    for (std::size_t i = 0; i < veltrandGLShadersCount; ++i) {
        const EmbeddedFile& file = veltrandGLShaders[i];
        const std::string payload(file.data, file.data + file.size);
        EXPECT_EQ(payload.find("main"), std::string::npos) << file.name;
    }
    EXPECT_EQ(log.take(), std::vector<LogLine>{});
}

TEST(Resources, FourFontsAreThereDecompressed) {
    LogCapture log;
    // The style as the font itself calls it, in the UTF-16 of its name table.
    const struct {
        const char* name;
        const char* style;
    } cases[] = {
        {"DejaVuSans-Regular.ttf", "DejaVuSans"},
        {"DejaVuSans-Bold.ttf", "DejaVuSans-Bold"},
        {"DejaVuSans-BoldItalic.ttf", "DejaVuSans-BoldOblique"},
        {"DejaVuSans-Italic.ttf", "DejaVuSans-Oblique"},
    };
    for (const auto& [name, style] : cases) {
        SCOPED_TRACE(name);
        const auto font = query("VeltrandGLFonts", name);
        ASSERT_TRUE(font);
        const std::string bytes = font->view().toString();
        EXPECT_EQ(bytes.substr(0, 4), std::string("\0\1\0\0", 4));
        std::string wide;
        for (const char* c = style; *c; ++c)
            wide.append(1, '\0').append(1, *c);
        const std::size_t found = bytes.find(wide);
        ASSERT_NE(found, std::string::npos);
        // The name ends here: the next letter is none of a longer style.
        EXPECT_NE(bytes.substr(found + wide.size(), 2), std::string("\0-", 2));
    }
    EXPECT_EQ(log.take(), std::vector<LogLine>{});
}

TEST(Resources, NamesAreComparedAsTheyAre) {
    LogCapture log;
    for (const char* const repository : {"VeltrandGL", "VeltrandGLFonts"})
        for (const char* const file :
             {"dejavusans-regular.ttf", "fontatlas.vert", "VeltrandGL/FontAtlas.vert", "FontAtlas.vert ",
              "FontAtlas.ver", "", "./FontAtlas.vert"}) {
            EXPECT_FALSE(locate(repository, file)) << file;
            EXPECT_FALSE(query(repository, file)) << file;
        }
    const Repository* const shaders = locate("VeltrandGL", "FontAtlas.vert");
    ASSERT_TRUE(shaders);
    EXPECT_FALSE(shaders->query("DejaVuSans-Regular.ttf"));
    EXPECT_EQ(log.take(), std::vector<LogLine>{});
}

TEST(Resources, PayloadsAreTheirChunksInOrder) {
    const ByteBufferView ab("ab", 2);
    const ByteBufferView c("c", 1);
    EXPECT_EQ(EmbeddedFiles::gather({}).size(), 0u);
    EXPECT_EQ(EmbeddedFiles::gather({ab}).view().toString(), "ab");
    EXPECT_EQ(EmbeddedFiles::gather({c, {}, ab}).view().toString(), "cab");
}

TEST(Resources, ADamagedShaderIsReportedAndWithheld) {
    LogCapture log;
    {
        const DamagedShader damaged;
        EXPECT_TRUE(locate("VeltrandGL", DamagedShader::name()));
        EXPECT_FALSE(query("VeltrandGL", DamagedShader::name()));
    }
    EXPECT_EQ(log.take(),
              (std::vector<LogLine>{{4, "Core.Resource.Repository",
                                     "Error during decryption of resource " + DamagedShader::name() +
                                         " from repository VeltrandGL"}}));
    EXPECT_TRUE(query("VeltrandGL", DamagedShader::name()));
}

} // namespace Veltrand::Resource
