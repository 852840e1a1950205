// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Veltrand::Testing {

/// Forty pieces of the current context's state, as numbers by name.
using StateSnapshot = std::map<std::string, std::vector<double>>;

[[nodiscard]] StateSnapshot takeStateSnapshot();
/// Gives every piece a value that is not the default, so that a reset to the default shows. Cannot be undone:
/// for a context of the test's own.
void disturbState();
/// The names of the pieces that differ.
[[nodiscard]] std::set<std::string> differences(const StateSnapshot& before, const StateSnapshot& after);

} // namespace Veltrand::Testing
