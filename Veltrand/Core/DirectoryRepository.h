// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Resource.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Veltrand::Resource {

/// Serves the files below a directory as they are at each query, and tells which of them have changed, so
/// that a shader can be edited while the program that uses it runs:
///
///     Resource::DirectoryRepository shaders("My", "src/shaders");
///     GL::ImageProgram program("My/shade.frag");
///     for (;;) { // each frame
///         if (!shaders.takeChanges().empty())
///             program.reload();
///         ...
///
/// With the name of a library's repository, such as "VeltrandGL", it comes before that one: files that it has
/// stand in for the library's, the others are the library's still.
///
/// A file's name is its path below the directory, with "/" between folders. Names that lead out of the
/// directory, by "..", as absolute paths or through symbolic links, are answered as unknown; when there is
/// a file, a warning in the log category "Core.Resource.DirectoryRepository" says so.
class VELTRAND_CORE_API DirectoryRepository final : public Repository {
public:
    /// Registers itself in front of all others. A relative @p directory is below the current one. Throws
    /// `std::runtime_error` if there is no such directory.
    DirectoryRepository(std::string name, const std::filesystem::path& directory);
    ~DirectoryRepository() override;

    [[nodiscard]] std::string name() const override;
    /// Whether there is a regular file of that name now.
    [[nodiscard]] bool contains(std::string_view const& file) const override;
    [[nodiscard]] std::optional<ByteBuffer> query(std::string_view const& file) const override;

    /// Absolute.
    [[nodiscard]] const std::filesystem::path& directory() const;

    /// Of the names that have been asked for, those whose file was written, replaced, added or removed since
    /// the last call, or since it was asked for first. Costs one look at each file and may be called from
    /// any thread.
    [[nodiscard]] std::vector<std::string> takeChanges();

private:
    struct Private;
    std::unique_ptr<Private> m_data;
};

} // namespace Veltrand::Resource
