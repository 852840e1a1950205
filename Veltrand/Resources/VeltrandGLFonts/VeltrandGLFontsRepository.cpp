// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Resource.h>
#include <Veltrand/Core/Zstd.h>
#include <Veltrand/Resources/EmbeddedFiles.h>

#include <veltrandGLFonts.h>

namespace Veltrand::Resource {

namespace {

// The library's fonts, which lie compressed in its image.
class Repository_VeltrandGLFonts final : public Repository {
public:
    Repository_VeltrandGLFonts() {
        for (std::size_t i = 0; i < veltrandGLFontsCount; ++i) {
            const EmbeddedFile& file = veltrandGLFonts[i];
            m_files.add(file.name, {ByteBufferView(file.data, file.size)});
        }
        addRepository(this);
    }
    // Other threads may be asking for a font, so the members have to outlive the registration.
    ~Repository_VeltrandGLFonts() override { removeRepository(this); }

    [[nodiscard]] std::string name() const override { return "VeltrandGLFonts"; }
    [[nodiscard]] bool contains(std::string_view const& file) const override {
        return m_files.find(file) != nullptr;
    }
    [[nodiscard]] std::optional<ByteBuffer> query(std::string_view const& file) const override {
        const EmbeddedFiles::Chunks* const chunks = m_files.find(file);
        return chunks ? m_zstd.decompress(EmbeddedFiles::gather(*chunks)) : std::nullopt;
    }

private:
    EmbeddedFiles m_files;
    Compression::zstd::Context m_zstd;
};

const Repository_VeltrandGLFonts repository;

} // namespace

} // namespace Veltrand::Resource
