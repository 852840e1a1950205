// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/ShaderRepository.h"

#include <GalleryShaders.h>
#include <algorithm>
#include <span>

namespace Veltrand::Apps {

namespace {

const EmbeddedFile* find(std::string_view name) {
    const std::span files(GalleryShaders, GalleryShadersCount);
    const auto found = std::find_if(files.begin(), files.end(),
                                    [name](const EmbeddedFile& file) { return file.name == name; });
    return found != files.end() ? &*found : nullptr;
}

} // namespace

ShaderRepository::ShaderRepository() {
    Resource::addRepository(this);
}

ShaderRepository::~ShaderRepository() {
    Resource::removeRepository(this);
}

std::string ShaderRepository::name() const {
    return "VeltrandGallery";
}

bool ShaderRepository::contains(std::string_view const& file) const {
    return find(file) != nullptr;
}

std::optional<ByteBuffer> ShaderRepository::query(std::string_view const& file) const {
    if (const EmbeddedFile* found = find(file))
        return ByteBuffer(ByteBufferView(static_cast<const void*>(found->data), found->size));
    return std::nullopt;
}

} // namespace Veltrand::Apps
