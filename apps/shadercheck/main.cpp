// SPDX-License-Identifier: BSD-3-Clause
#include "shadercheck/Options.h"
#include "shadercheck/ShaderCheck.h"
#include "support/Program.h"

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/ContextManager.h>

#include <cstdlib>
#include <iostream>
#include <stdexcept>

using namespace Veltrand;
using namespace Veltrand::Apps;

namespace {

int run(const CheckOptions& options) {
    if (GL::ContextManager::openGlDisabled())
        throw std::runtime_error("OpenGL is switched off by VELTRAND_DISABLE_OPENGL.");
    ShaderCheck check(options, std::cout);
    // Mesa keeps what it has compiled, and does not repeat what it has said of it.
    setenv("MESA_SHADER_CACHE_DISABLE", "true", 0);
    GL::init();
    // From here on, what matters is printed in another form.
    Log::setDefaultSinkEnabled(false);
    const bool good = check.run();
    GL::deinit();
    return good ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    Log::setGlobalLevel(Log::Error);
    // What 1 says of shaders must be true, so that all other failures end with 2.
    const ProgramText program{"veltrandgl-shadercheck", checkUsage(), std::string(checkHelp()), 2};
    return runProgram<CheckOptions>(program, argc, argv, parseCheckOptions, run);
}
