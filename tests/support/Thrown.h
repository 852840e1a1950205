// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <exception>
#include <string>

namespace Veltrand::Testing {

/// The text of the exception that @p body throws.
template<class Body>
[[nodiscard]] std::string thrown(Body&& body) {
    try {
        body();
    } catch (const std::exception& exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

} // namespace Veltrand::Testing
