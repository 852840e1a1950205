// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/GL/AbstractInclude.h>

#include <string>
#include <utility>
#include <vector>

namespace Veltrand::Testing {

/// An abstract include that is what it is told to be. Public members may be changed between uses.
class TestInclude final : public GL::AbstractInclude {
public:
    TestInclude(std::string defineName, std::string includePath,
                std::vector<AbstractInclude*> dependentList = {}, CodeSubstitution codeSubstitution = {})
        : AbstractInclude(std::move(defineName), std::move(includePath))
        , dependents(std::move(dependentList))
        , substitution(std::move(codeSubstitution)) {}

    [[nodiscard]] CodeSubstitution includeCodeSubstitution() const override { return substitution; }
    [[nodiscard]] std::vector<AbstractInclude*> dependentIncludes() const override { return dependents; }

    std::vector<AbstractInclude*> dependents;
    CodeSubstitution substitution;
};

} // namespace Veltrand::Testing
