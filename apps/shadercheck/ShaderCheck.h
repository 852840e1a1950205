// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "shadercheck/Options.h"

#include <Veltrand/Core/DirectoryRepository.h>
#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/ShaderLog.h>

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace Veltrand::Apps {

/// Checks shaders one by one, each on its own: nothing is linked. Needs a current context.
class ShaderCheck : private Utils::NotCopyable {
public:
    /// Throws `std::runtime_error` when a directory does not exist.
    ShaderCheck(CheckOptions options, std::ostream& out);
    ~ShaderCheck();

    /// Assembles and compiles one shader and prints what there is to say; whether it compiled.
    bool check(const std::string& shader);

private:
    struct Directory {
        NamedDirectory given;
        std::unique_ptr<Resource::DirectoryRepository> repository;
    };

    [[nodiscard]] GL::Program::Stage stageOf(const std::string& shader) const;
    [[nodiscard]] std::string assemble(const std::string& shader) const;
    void print(const std::string& shader, const GL::ShaderMessage& message) const;
    [[nodiscard]] std::string fileOf(const std::string& resource) const;

    CheckOptions m_options;
    std::ostream& m_out;
    std::vector<Directory> m_directories;
};

} // namespace Veltrand::Apps
