// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Log.h>
#include <Veltrand/Core/MonoCypher.h>
#include <Veltrand/Core/Resource.h>
#include <Veltrand/GL/detail/LogMessage.h>
#include <Veltrand/Resources/EmbeddedFiles.h>
#include <Veltrand/Resources/VeltrandGL/Key.h>

#include <veltrandGLShaders.h>

namespace Veltrand::Resource {

namespace {

// The library's shaders, which lie enciphered in its image.
class Repository_VeltrandGL final : public Repository {
public:
    Repository_VeltrandGL() {
        for (std::size_t i = 0; i < veltrandGLShadersCount; ++i) {
            const EmbeddedFile& file = veltrandGLShaders[i];
            m_files.add(file.name, {ByteBufferView(file.data, file.size)});
        }
        addRepository(this);
    }
    // Other threads may be asking for a shader, so the members have to outlive the registration.
    ~Repository_VeltrandGL() override { removeRepository(this); }

    [[nodiscard]] std::string name() const override { return "VeltrandGL"; }
    [[nodiscard]] bool contains(std::string_view const& file) const override {
        return m_files.find(file) != nullptr;
    }
    [[nodiscard]] std::optional<ByteBuffer> query(std::string_view const& file) const override {
        const EmbeddedFiles::Chunks* const chunks = m_files.find(file);
        if (!chunks)
            return std::nullopt;
        auto text = Cryptography::MonoCypher::decrypt(EmbeddedFiles::gather(*chunks), m_key);
        if (!text)
            GL::logMessage(Log::Error, "Core.Resource.Repository", [&] {
                return "Error during decryption of resource " + std::string(file) + " from repository " +
                       name();
            });
        return text;
    }

private:
    EmbeddedFiles m_files;
    Cryptography::MonoCypher::Key m_key = veltrandGLKey;
};

const Repository_VeltrandGL repository;

} // namespace

} // namespace Veltrand::Resource
