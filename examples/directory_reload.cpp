// SPDX-License-Identifier: BSD-3-Clause
// Editing a shader while the program runs. A text that does not compile is logged with file and line, and the
// program goes on as it was.
#include <Eigen/Core>
#include <Veltrand/Core/DirectoryRepository.h>
#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/Texture.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace GL = Veltrand::GL;
using Veltrand::Resource::DirectoryRepository;

namespace {

std::filesystem::path makeDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "shaders-XXXXXX").string();
    return mkdtemp(name.data());
}

// In place of somebody at an editor.
void write(const std::filesystem::path& file, const char* expression) {
    std::ofstream(file) << "#version 330\nout float value;\nvoid main() { value = " << expression << "; }\n";
}

// What an application does in each of its frames.
void frame(DirectoryRepository& shaders, GL::ImageProgram& program, GL::Texture& image) {
    for (const std::string& file : shaders.takeChanges()) {
        const bool reloaded = program.reload();
        std::cout << file << " has changed, " << (reloaded ? "reloaded" : "kept the old one") << '\n';
    }
    program.enable();
    program.compute(image, GL::ImageProgram::Cuboid());
    program.disable();
    std::cout << "value " << image.download<float>().front() << '\n';
}

} // namespace

int main() {
    // Messages that name a place in a shader begin with "[file:line]".
    Veltrand::Log::addSink([](const Veltrand::Log::Message& message) {
        if (message.text.starts_with('['))
            std::cout << message.text << '\n';
    });
    const auto directory = makeDirectory();
    write(directory / "value.frag", "1.0");
    GL::init();
    {
        DirectoryRepository shaders("My", directory);
        GL::ImageProgram program("My/value.frag");
        GL::Texture image({1, 1, 1}, GL::InternalFormat::R32F);
        frame(shaders, program, image);
        write(directory / "value.frag", "oops");
        frame(shaders, program, image);
        write(directory / "value.frag", "2.0 * 21.0");
        frame(shaders, program, image);
    }
    GL::deinit();
    std::filesystem::remove_all(directory);
}
