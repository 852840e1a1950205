// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Gallery.h"
#include "gallery/Options.h"

#include <algorithm>
#include <exception>
#include <iostream>

using namespace Veltrand::Apps;

int main(int argc, char** argv) {
    constexpr const char* Name = "veltrandgl-gallery: ";
    try {
        const GalleryOptions options = parseOptions({argv + std::min(argc, 1), argv + argc});
        if (options.help) {
            std::cout << usage() << '\n' << help();
            return 0;
        }
        return runGallery(options) == 0 ? 0 : 1;
    } catch (const UsageError& error) {
        std::cerr << Name << error.what() << '\n' << usage() << '\n';
        return 2;
    } catch (const std::exception& error) {
        std::cerr << Name << error.what() << '\n';
        return 1;
    }
}
