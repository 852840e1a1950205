// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/MonoCypher.h>
#include <Veltrand/Core/Zstd.h>
#include <Veltrand/Resources/VeltrandGL/Key.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

// Turns a file into the payload that a repository keeps: "encipher" for shaders, "compress" for fonts.

namespace {

using namespace Veltrand;

std::string read(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::string content{std::istreambuf_iterator<char>(file), {}};
    // A reader takes an empty shader or font for a missing one.
    if (!file || content.empty())
        throw std::runtime_error(std::string("cannot read, or nothing in, ") + path);
    return content;
}

void write(const char* path, const ByteBuffer& payload) {
    std::ofstream file(path, std::ios::binary);
    file << payload.view().toStringView();
    if (!file.flush())
        throw std::runtime_error(std::string("cannot write ") + path);
}

ByteBuffer pack(std::string_view operation, ByteBufferView content) {
    constexpr int bestLevel = 22;
    if (operation == "encipher")
        return Cryptography::MonoCypher::encrypt(content, Resource::veltrandGLKey);
    if (operation == "compress")
        return Compression::zstd::Context().compress(content, bestLevel);
    throw std::runtime_error("unknown operation " + std::string(operation));
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 4)
        throw std::runtime_error("expected encipher|compress INPUT OUTPUT");
    const std::string content = read(argv[2]);
    write(argv[3], pack(argv[1], ByteBufferView(content.data(), content.size())));
    return 0;
} catch (const std::exception& exception) {
    std::fprintf(stderr, "%s: %s\n", argv[0], exception.what());
    return 1;
}
