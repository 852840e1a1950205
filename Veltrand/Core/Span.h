// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <span>

namespace Veltrand::Utils {

/// A borrowed, contiguous range.
template<class T>
using Span = std::span<T>;

} // namespace Veltrand::Utils
