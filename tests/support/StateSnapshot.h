// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/NotCopyable.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Veltrand::Testing {

/// State of the current context, as numbers by name. Bindings of a texture unit, of a storage block or of
/// a generic attribute are pieces of their own, such as "texture unit 0" and "attribute 1".
using StateSnapshot = std::map<std::string, std::vector<double>>;
using StateNames = std::set<std::string>;

[[nodiscard]] StateSnapshot takeStateSnapshot();
/// Sets pieces to values that would keep most draws from their work, or alter them; or to the defaults.
/// @param names what is set, or none for all but the bindings, viewport and attributes
void setState(const StateNames& names, bool adverse);
/// Gives every piece a value that is not the default, so that a reset to the default shows. Cannot be undone:
/// for a context of the test's own.
void disturbState();
/// The names of the pieces that differ.
[[nodiscard]] StateNames differences(const StateSnapshot& before, const StateSnapshot& after);

/// Adverse settings of a caller for a scope, at whose end the test fails if any state is not as it was, and
/// the defaults are set.
class AdverseState : private Utils::NotCopyable {
public:
    explicit AdverseState(const StateNames& names = {});
    ~AdverseState();

private:
    StateNames m_names;
    StateSnapshot m_before;
};

} // namespace Veltrand::Testing
