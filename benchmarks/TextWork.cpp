// SPDX-License-Identifier: BSD-3-Clause
#include "TextWork.h"

#include <random>

namespace Veltrand::GL::TextWork {

std::string fontPath() {
    return VELTRAND_BENCHMARK_FONT;
}

int nextFrame() {
    static int frame = 0;
    return frame++;
}

std::string lineOf(int frame, int line) {
    // Pieces of a longer text, which cost next to nothing.
    constexpr int length = 10'007;
    static const std::string letters = [] {
        std::minstd_rand random(1);
        std::uniform_int_distribution<int> letter('!', '~');
        std::string text;
        for (int i = 0; i < length + lineLength; ++i)
            text += i % 7 == 6 ? ' ' : static_cast<char>(letter(random));
        return text;
    }();
    return letters.substr(static_cast<std::size_t>((frame * 1009 + line * 37) % length), lineLength);
}

Position positionOf(int line) {
    constexpr int columns = 2;
    constexpr int rowHeight = height / (numRows + 1);
    return {8 + line % columns * (width / columns), 10 + line / columns % numRows * rowHeight};
}

} // namespace Veltrand::GL::TextWork
