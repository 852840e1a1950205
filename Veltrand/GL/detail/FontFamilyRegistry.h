// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/ByteBuffer.h>
#include <Veltrand/Core/NotCopyable.h>

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <string>

namespace Veltrand::GL {

/// The font families of the process, for all contexts. It always has the built-in one.
class FontFamilyRegistry : private Utils::NotCopyable {
public:
    static constexpr const char* builtIn = "DejaVu Sans";

    /// Shared, because a face reads its file as long as it lives, also when the family has been replaced.
    using File = std::shared_ptr<const ByteBuffer>;
    /// By style; all but the first, the regular one, may be empty.
    struct FontSource {
        std::array<File, 4> files;

        /// The regular file for a style that the family lacks.
        [[nodiscard]] const File& file(int style) const {
            const auto index = static_cast<std::size_t>(style);
            return style >= 0 && index < files.size() && !files[index]->empty() ? files[index] : files[0];
        }
    };

    [[nodiscard]] static FontFamilyRegistry& instance();

    /// Adds a family or replaces it.
    void add(const std::string& name, FontSource source) { m_families[name] = std::move(source); }
    /// Null for an unknown family.
    [[nodiscard]] const FontSource* find(const std::string& name) const {
        const auto found = m_families.find(name);
        return found == m_families.end() ? nullptr : &found->second;
    }

private:
    FontFamilyRegistry();

    std::map<std::string, FontSource> m_families;
};

} // namespace Veltrand::GL
