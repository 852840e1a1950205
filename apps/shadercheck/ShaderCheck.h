// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "shadercheck/Options.h"
#include "shadercheck/StageCompiler.h"

#include <Veltrand/Core/DirectoryRepository.h>
#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/ShaderSource.h>

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Veltrand::Apps {

/// Checks shaders one by one, and links those that belong together. Needs a current context.
class ShaderCheck : private Utils::NotCopyable {
public:
    /// Throws `std::runtime_error` when a directory does not exist.
    ShaderCheck(CheckOptions options, std::ostream& out);
    ~ShaderCheck();

    /// Checks all shaders of the options and prints what there is to say; whether all is well.
    [[nodiscard]] bool run();

private:
    struct Directory {
        NamedDirectory given;
        std::unique_ptr<Resource::DirectoryRepository> repository;
    };
    struct Shader {
        std::string name;
        GL::Program::Stage stage;
        GL::ShaderSource source;
        std::optional<CompiledStage> compiled; ///< nothing when a file is missing
        [[nodiscard]] bool isGood() const { return compiled && compiled->isCompiled(); }
    };
    using Shaders = std::vector<const Shader*>;

    [[nodiscard]] Shader compile(const std::string& name) const;
    [[nodiscard]] bool link(const Shaders& program) const;
    [[nodiscard]] static std::vector<Shaders> programsOf(const std::vector<Shader>& shaders);
    [[nodiscard]] GL::Program::Stage stageOf(const std::string& shader) const;
    void print(const std::string& shader, const GL::ShaderMessage& message) const;
    [[nodiscard]] std::string fileOf(const std::string& resource) const;

    CheckOptions m_options;
    std::ostream& m_out;
    std::vector<Directory> m_directories;
};

} // namespace Veltrand::Apps
