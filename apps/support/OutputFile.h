// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <cstdio>
#include <filesystem>
#include <string_view>

namespace Veltrand::Apps {

/// A file that appears under its name whole or not at all: it is written under a temporary name in the same
/// directory, renamed by `keep`, and removed without it. What fails throws `std::runtime_error` with one
/// sentence that names the file and the reason.
class OutputFile : private Utils::NotCopyable {
public:
    explicit OutputFile(const std::filesystem::path& file);
    ~OutputFile();

    [[nodiscard]] std::FILE* stream() const { return m_stream; }
    void keep();

    /// Throws for this file.
    [[noreturn]] void refuse(std::string_view reason) const;

private:
    std::filesystem::path m_file;
    std::filesystem::path m_temporary;
    std::FILE* m_stream = nullptr;
    bool m_kept = false;
};

/// Writes a text as a file that appears whole or not at all.
void writeText(const std::filesystem::path& file, std::string_view text);

} // namespace Veltrand::Apps
