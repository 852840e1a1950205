// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/Export.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Veltrand::GL {

/// What fills one `#pragma abstract_include "NAME"` of a program: a file, and how its text is adapted.
///
/// A program copies what it needs when the include is added (`Program::addAbstractIncludeDefinition`), so the
/// include may go afterwards. Nothing here needs a context; an include may be read from several threads.
class VELTRAND_GL_API AbstractInclude : private Utils::NotCopyable {
public:
    /// Stands for an include in keys of program variants. Includes of equal class, define name and dependents
    /// (in this order) have equal fingerprints; the path takes no part. Good for one run of the process.
    struct Fingerprint {
        std::uint64_t hash = 0; ///< of the class, mixed with those of the dependents
        std::string text;       ///< the define name and those of the dependents, joined

        [[nodiscard]] friend bool operator==(const Fingerprint&, const Fingerprint&) = default;
        /// By hash, then by text.
        [[nodiscard]] friend bool operator<(const Fingerprint& a, const Fingerprint& b) {
            return a.hash != b.hash ? a.hash < b.hash : a.text < b.text;
        }
    };

    /// Applied to the expanded text of the file.
    using CodeSubstitution = std::function<std::string(const std::string&)>;

    /// @param defineName the NAME of the directive, which is defined as a macro too
    /// @param includePath the resource that is inserted
    AbstractInclude(std::string defineName, std::string includePath);
    virtual ~AbstractInclude();

    /// As given; the NAME of the directive.
    [[nodiscard]] const std::string& defineName() const { return m_defineName; }
    /// As given; a resource name such as "My/heat.glh".
    [[nodiscard]] const std::string& includePath() const { return m_includePath; }

    /// An empty function for no change, as here. It is kept by programs, so it must not refer to this object.
    [[nodiscard]] virtual CodeSubstitution includeCodeSubstitution() const;

    /// What fills the abstract includes that the file itself names; none here. Null entries are ignored, the
    /// others have to live while this include is read, and must not lead back to it.
    [[nodiscard]] virtual std::vector<AbstractInclude*> dependentIncludes() const;

    /// A class whose text depends on values of its own mixes them in; otherwise programs and caches take its
    /// objects for equal.
    [[nodiscard]] virtual Fingerprint fingerprint() const;

private:
    std::string m_defineName;
    std::string m_includePath;
};

} // namespace Veltrand::GL
