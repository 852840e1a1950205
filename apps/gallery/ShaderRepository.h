// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Resource.h>

namespace Veltrand::Apps {

/// The gallery's own shaders, under the name "VeltrandGallery" for as long as the object lives.
class ShaderRepository final : public Resource::Repository {
public:
    ShaderRepository();
    ~ShaderRepository() override;

    [[nodiscard]] std::string name() const override;
    [[nodiscard]] bool contains(std::string_view const& file) const override;
    [[nodiscard]] std::optional<ByteBuffer> query(std::string_view const& file) const override;
};

} // namespace Veltrand::Apps
