// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

/// The text that the text renderer and its peers draw: many lines all over a target, other ones in each
/// frame.
namespace Veltrand::GL::TextWork {

constexpr int width = 1024;
constexpr int height = 768;
constexpr int numLines = 1000;
constexpr int numRows = 37; ///< of lines on top of each other, in two columns
constexpr int lineLength = 40;
constexpr int pixelSize = 16;

/// The font file.
std::string fontPath();

/// A number that no frame has had, so that nothing is found in a cache.
int nextFrame();

/// Printable ASCII.
std::string lineOf(int frame, int line);

/// Where a line starts on its baseline, in pixels from the lower left corner.
struct Position {
    int x;
    int y;
};
Position positionOf(int line);

} // namespace Veltrand::GL::TextWork
