// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>

namespace Veltrand::Testing {

/// A directory that is gone with the object.
class TemporaryDirectory : private Utils::NotCopyable {
public:
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "veltrand-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no temporary directory");
        m_path = pattern;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

    std::filesystem::path write(const std::string& name, const std::string& bytes) const {
        std::ofstream(m_path / name, std::ios::binary) << bytes;
        return m_path / name;
    }

private:
    std::filesystem::path m_path;
};

} // namespace Veltrand::Testing
