// SPDX-License-Identifier: BSD-3-Clause
#include "shadercheck/Options.h"
#include "shadercheck/ShaderCheck.h"

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/ContextManager.h>

#include <algorithm>
#include <exception>
#include <iostream>

using namespace Veltrand;
using namespace Veltrand::Apps;

namespace {

constexpr int Usage = 2; // also: no OpenGL

int run(const CheckOptions& options) {
    if (GL::ContextManager::openGlDisabled()) {
        std::cerr << "veltrandgl-shadercheck: OpenGL is switched off by VELTRAND_DISABLE_OPENGL.\n";
        return Usage;
    }
    ShaderCheck check(options, std::cout);
    GL::init();
    // From here on, what matters is printed in another form.
    Log::setDefaultSinkEnabled(false);
    Log::setGlobalLevel(Log::Warning);
    bool good = true;
    for (const std::string& shader : options.shaders)
        good = check.check(shader) && good;
    GL::deinit();
    return good ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    Log::setGlobalLevel(Log::Error);
    try {
        const CheckOptions options = parseCheckOptions({argv + std::min(argc, 1), argv + argc});
        if (options.help) {
            std::cout << checkUsage() << '\n' << checkHelp();
            return 0;
        }
        return run(options);
    } catch (const UsageError& error) {
        std::cerr << "veltrandgl-shadercheck: " << error.what() << '\n' << checkUsage() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "veltrandgl-shadercheck: " << error.what() << '\n';
    }
    return Usage;
}
