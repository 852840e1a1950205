// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/detail/FontFamilyRegistry.h>

#include <Veltrand/Core/Resource.h>

#include <utility>

namespace Veltrand::GL {

namespace {

FontFamilyRegistry::File builtInFile(const char* name) {
    auto file = Resource::query("VeltrandGLFonts", name);
    return std::make_shared<const ByteBuffer>(file ? std::move(*file) : ByteBuffer());
}

} // namespace

FontFamilyRegistry& FontFamilyRegistry::instance() {
    static FontFamilyRegistry registry;
    return registry;
}

FontFamilyRegistry::FontFamilyRegistry() {
    add(builtIn, {{builtInFile("DejaVuSans-Regular.ttf"), builtInFile("DejaVuSans-Bold.ttf"),
                   builtInFile("DejaVuSans-BoldItalic.ttf"), builtInFile("DejaVuSans-Italic.ttf")}});
}

} // namespace Veltrand::GL
