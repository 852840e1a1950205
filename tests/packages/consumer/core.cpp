// SPDX-License-Identifier: BSD-3-Clause
// The lower library alone: a text through its compression and back.
#include <Veltrand/Core/ByteBuffer.h>
#include <Veltrand/Core/Zstd.h>

#include <iostream>
#include <string>

int main() {
    const std::string text(1000, 'x');
    const Veltrand::Compression::zstd::Context zstd;
    const Veltrand::ByteBuffer frame = zstd.compress({text.data(), text.size()});
    const auto back = zstd.decompress(frame);
    std::cout << (frame.size() < 100 && back && back->size() == text.size() ? "there and back" : "lost")
              << '\n';
}
