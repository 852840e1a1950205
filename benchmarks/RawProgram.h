// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <glad/gl.h>
#include <string>
#include <utility>
#include <vector>

namespace Veltrand::GL {

/// A program of the floors, made of stages and their GLSL as it is. Throws `std::runtime_error` with the
/// driver's log.
class RawProgram : private Utils::NotCopyable {
public:
    explicit RawProgram(const std::vector<std::pair<GLenum, std::string>>& stages);
    ~RawProgram();

    [[nodiscard]] GLuint id() const { return m_id; }

private:
    GLuint m_id;
};

} // namespace Veltrand::GL
