// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/ByteBuffer.h>
#include <Veltrand/Core/Export.h>
#include <Veltrand/Core/NotCopyable.h>

#include <optional>
#include <string>
#include <string_view>

/// Named data (shaders, fonts) served by repositories that libraries and applications register.
///
/// Everything here may be called from any thread, before `main` and during exit.
namespace Veltrand::Resource {

/// Serves files by name. A repository stays where it is while it is registered.
///
/// `contains` and `query` may be called from several threads at once, and while they run, removal waits. The
/// base destructor unregisters, so that no dead repository stays known; a class whose objects may die while
/// other threads query calls `removeRepository(this)` first thing in its own destructor, because by the time
/// the base destructor runs its members are gone.
class VELTRAND_CORE_API Repository : private Utils::NotCopyable {
public:
    virtual ~Repository();
    /// The name that callers put before the first "/" of a resource name.
    [[nodiscard]] virtual std::string name() const = 0;
    /// Whether @p file is one of the repository's files.
    [[nodiscard]] virtual bool contains(std::string_view const& file) const = 0;
    /// The content of @p file; nothing when it is unknown or cannot be produced.
    [[nodiscard]] virtual std::optional<ByteBuffer> query(std::string_view const& file) const = 0;

protected:
    Repository() = default;
};

/// Registers @p repository in front of all others; one that is registered already stays where it is, and null
/// is ignored.
VELTRAND_CORE_API void addRepository(const Repository* repository);

/// Unregisters @p repository, and returns once no thread uses it through this layer any more (a call from
/// inside one of its own operations returns at once). An unknown repository is no error.
VELTRAND_CORE_API void removeRepository(const Repository* repository);

/// The newest repository of name @p repository that contains @p path; null when there is none. An empty
/// @p repository stands for any name. The pointer is good as long as its owner keeps the repository.
[[nodiscard]] VELTRAND_CORE_API const Repository* locate(std::string_view repository, std::string_view path);

/// The content of @p path from the newest repository of that name that can produce it. An empty
/// @p repository searches all of them.
[[nodiscard]] VELTRAND_CORE_API std::optional<ByteBuffer> query(std::string_view repository,
                                                                std::string_view path);

} // namespace Veltrand::Resource
