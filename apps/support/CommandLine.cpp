// SPDX-License-Identifier: BSD-3-Clause
#include "support/CommandLine.h"

namespace Veltrand::Apps {

bool Arguments::takeValue(std::string_view argument, std::string_view name, std::string_view& value) {
    if (argument.substr(0, name.size()) != name)
        return false;
    const std::string_view rest = argument.substr(name.size());
    if (!rest.empty() && rest.front() != '=')
        return false;
    if (rest.empty() && atEnd())
        throw UsageError(std::string(name) + " needs a value.");
    value = rest.empty() ? take() : rest.substr(1);
    if (value.empty())
        throw UsageError(std::string(name) + " needs a value.");
    return true;
}

} // namespace Veltrand::Apps
