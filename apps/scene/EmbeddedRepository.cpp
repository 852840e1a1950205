// SPDX-License-Identifier: BSD-3-Clause
#include "scene/EmbeddedRepository.h"

#include <SceneShaderFiles.h>
#include <algorithm>
#include <utility>

namespace Veltrand::Apps {

EmbeddedRepository::EmbeddedRepository(std::string name, const EmbeddedFile* files, std::size_t count)
    : m_name(std::move(name))
    , m_files(files)
    , m_count(count) {
    Resource::addRepository(this);
}

EmbeddedRepository::~EmbeddedRepository() {
    Resource::removeRepository(this);
}

bool EmbeddedRepository::contains(std::string_view const& file) const {
    return find(file) != nullptr;
}

std::optional<ByteBuffer> EmbeddedRepository::query(std::string_view const& file) const {
    if (const EmbeddedFile* found = find(file))
        return ByteBuffer(ByteBufferView(static_cast<const void*>(found->data), found->size));
    return std::nullopt;
}

const EmbeddedFile* EmbeddedRepository::find(std::string_view name) const {
    const EmbeddedFile* const end = m_files + m_count;
    const EmbeddedFile* const found =
        std::find_if(m_files, end, [name](const EmbeddedFile& file) { return file.name == name; });
    return found != end ? found : nullptr;
}

SceneShaders::SceneShaders()
    : EmbeddedRepository("VeltrandScene", SceneShaderFiles, SceneShaderFilesCount) {}

} // namespace Veltrand::Apps
