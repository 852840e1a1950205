// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/LRUCache.h>
#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/AbstractInclude.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Veltrand::GL {

/// Variants of a reference program, with different abstract includes and defines, each compiled when it is
/// first asked for; beyond the capacity the one that has not been used for longest is destroyed.
///
/// Belongs to the thread on which the context of its programs is current. Destruction needs that context.
class VELTRAND_GL_API ProgramCache : private Utils::NotCopyable {
public:
    /// What the signal of the cache names variants by.
    struct Impl {
        /// What tells variants apart.
        struct ShaderInfo {
            std::vector<AbstractInclude::Fingerprint> fingerprints; ///< sorted
            std::string defines;                                    ///< beyond those of the reference

            /// For the cache.
            struct VELTRAND_GL_API Hasher {
                /// Equal for equal variants.
                [[nodiscard]] std::size_t operator()(const ShaderInfo& info) const;
            };
            [[nodiscard]] friend bool operator==(const ShaderInfo&, const ShaderInfo&) = default;
        };
        /// Each variant counts as 1.
        using Cache = Container::LRUCache<ShaderInfo, std::unique_ptr<Program>, ShaderInfo::Hasher,
                                          std::equal_to<ShaderInfo>>;
    };

    /// @param reference what variants are clones of. Later changes of it do not reach variants that exist.
    /// @param capacity the largest number of variants, 1 or more
    /// Throws `std::runtime_error` if @p reference is null ("Reference program must not be null.") or
    /// @p capacity is 0 ("Capacity of program cache must not be zero.").
    ProgramCache(std::unique_ptr<Program> reference, std::uint64_t capacity);
    /// The source then has no reference any more, so that it makes no variants, and no eviction signal.
    ProgramCache(ProgramCache&& other) noexcept;
    ProgramCache& operator=(ProgramCache&& other) noexcept;
    ~ProgramCache();

    /// The variant with these includes, in whatever order, and the reference's defines followed by
    /// @p defines, compiled. Abstract includes of the reference itself are left out; null entries are
    /// ignored. The pointer is good until the variant is evicted, which no call for a variant in use does as
    /// long as no more than the capacity are in use.
    ///
    /// Throws `std::runtime_error` if the variant cannot be made or compiled, or was evicted at once by what
    /// a slot of the eviction signal asked for; the cache is then without it. A variant that exists costs no
    /// OpenGL call.
    [[nodiscard]] Program* getProgram(const std::vector<const AbstractInclude*>& includes,
                                      const std::string& defines);
    /// The variant without abstract includes.
    [[nodiscard]] Program* getProgram(const std::string& defines);

    /// Emitted with the key of each variant that is evicted, before its program is destroyed.
    [[nodiscard]] Impl::Cache::EvictionSignal& evictionSignal() { return m_cache->evictionSignal(); }

private:
    [[nodiscard]] std::unique_ptr<Program> create(const std::vector<const AbstractInclude*>& includes,
                                                  const std::string& defines) const;

    std::unique_ptr<Impl::Cache> m_cache;
    std::unique_ptr<Program> m_reference;
};

} // namespace Veltrand::GL
