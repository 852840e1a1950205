// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Log.h>

#include <concepts>
#include <string_view>
#include <utility>

namespace Veltrand::GL {

/// Logs a fixed text, or one that @p text (a callable) builds, which happens only when it will be read.
template<class Text>
void logMessage(int level, std::string_view category, Text&& text) {
    if (!Log::isAccepted(level, category))
        return;
    if constexpr (std::invocable<Text>)
        Log::log(level, category, std::forward<Text>(text)());
    else
        Log::log(level, category, std::forward<Text>(text));
}

} // namespace Veltrand::GL
