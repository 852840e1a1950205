// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ShaderSource.h>

#include <Veltrand/GL/detail/ShaderDirectives.h>

#include <utility>

namespace Veltrand::GL {

std::string ShaderSource::driverText() const {
    return detail::withoutLineDirectives(text);
}

ShaderSourceError::ShaderSourceError(const std::string& what, ShaderMessage message)
    : std::runtime_error(what)
    , m_message(std::move(message)) {}

ShaderSourceError::~ShaderSourceError() = default;

} // namespace Veltrand::GL
