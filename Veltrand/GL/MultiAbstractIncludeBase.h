// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Flags.h>
#include <Veltrand/GL/AbstractInclude.h>

#include <string>
#include <vector>

namespace Veltrand::GL {

/// In which forms `MultiAbstractIncludeBase` replaces its word. Upper and lower case are those of ASCII.
enum class ShaderTextReplacement : unsigned {
    AsIs = 1,      ///< the word by the replacement, both as given
    UpperCase = 2, ///< the word in upper case by the replacement in upper case
    LowerCase = 4, ///< the word in lower case by the replacement in lower case
};
VELTRAND_FLAG_OPERATORS(ShaderTextReplacement)

/// Another include with a word renamed, so that one GLSL file fills several holes of a program.
///
/// For the word "color" and the replacement "mask" an include for "COLOR_LOOKUP" becomes one for
/// "MASK_LOOKUP", and the names in its text change with it.
class VELTRAND_GL_API MultiAbstractIncludeBase : public AbstractInclude {
public:
    /// The define name is that of @p wrapped with the word replaced in its upper-case form, whatever
    /// @p modes. Throws `std::invalid_argument` if @p wrapped is null.
    /// @param wrapped has to live as long as this include is read
    MultiAbstractIncludeBase(AbstractInclude* wrapped, std::string word, std::string replacement,
                             Flags<ShaderTextReplacement> modes);

    /// The substitution of the wrapped include, then the renaming; no change at all where the wrapped include
    /// has none. What was put in is not searched again, and every form of the word gets the replacement in
    /// the first form that is set, in the order as given, upper case, lower case.
    [[nodiscard]] CodeSubstitution includeCodeSubstitution() const override;
    /// Those of the wrapped include.
    [[nodiscard]] std::vector<AbstractInclude*> dependentIncludes() const override;
    [[nodiscard]] Fingerprint fingerprint() const override;

private:
    AbstractInclude* m_wrapped;
    std::string m_word;
    std::string m_replacement;
    Flags<ShaderTextReplacement> m_modes;
};

} // namespace Veltrand::GL
