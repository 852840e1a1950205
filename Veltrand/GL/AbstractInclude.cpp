// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/AbstractInclude.h>

#include <Veltrand/GL/detail/HashCombine.h>

#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Veltrand::GL {

static_assert(!std::is_copy_constructible_v<AbstractInclude> && !std::is_copy_assignable_v<AbstractInclude>);

AbstractInclude::AbstractInclude(std::string defineName, std::string includePath)
    : m_defineName(std::move(defineName))
    , m_includePath(std::move(includePath)) {}

AbstractInclude::~AbstractInclude() = default;

AbstractInclude::CodeSubstitution AbstractInclude::includeCodeSubstitution() const {
    return {};
}

std::vector<AbstractInclude*> AbstractInclude::dependentIncludes() const {
    return {};
}

AbstractInclude::Fingerprint AbstractInclude::fingerprint() const {
    Fingerprint result{typeid(*this).hash_code(), m_defineName};
    for (const AbstractInclude* const dependent : dependentIncludes()) {
        if (!dependent)
            continue;
        const Fingerprint inner = dependent->fingerprint();
        result.hash = detail::hashCombine(result.hash, inner.hash);
        result.text += inner.text;
    }
    return result;
}

} // namespace Veltrand::GL
