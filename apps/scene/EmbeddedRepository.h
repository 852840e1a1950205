// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Resource.h>

#include <cstddef>
#include <string>

struct EmbeddedFile;

namespace Veltrand::Apps {

/// Files that are embedded into an application, served under a name for as long as the object lives.
class EmbeddedRepository : public Resource::Repository {
public:
    /// @param files an array that outlives the object
    EmbeddedRepository(std::string name, const EmbeddedFile* files, std::size_t count);
    ~EmbeddedRepository() override;

    [[nodiscard]] std::string name() const final { return m_name; }
    [[nodiscard]] bool contains(std::string_view const& file) const final;
    [[nodiscard]] std::optional<ByteBuffer> query(std::string_view const& file) const final;

private:
    [[nodiscard]] const EmbeddedFile* find(std::string_view name) const;

    std::string m_name;
    const EmbeddedFile* m_files;
    std::size_t m_count;
};

/// The shaders that the applications share, as "VeltrandScene".
class SceneShaders final : public EmbeddedRepository {
public:
    SceneShaders();
};

} // namespace Veltrand::Apps
