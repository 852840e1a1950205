// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/Gallery.h"
#include "gallery/Options.h"
#include "support/Program.h"

using namespace Veltrand::Apps;

int main(int argc, char** argv) {
    const ProgramText program{"veltrandgl-gallery", usage(), std::string(help())};
    return runProgram<GalleryOptions>(program, argc, argv, parseOptions, [](const GalleryOptions& options) {
        return runGallery(options) == 0 ? 0 : 1;
    });
}
