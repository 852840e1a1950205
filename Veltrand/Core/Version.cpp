// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Version.h>

#include <charconv>

namespace Veltrand::Utils {

std::optional<Version> Version::parse(std::string_view text) {
    Version version;
    for (int* number : {&version.major, &version.minor, &version.patch}) {
        if (text.empty() || text.front() < '0' || text.front() > '9')
            return std::nullopt;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
        if (error != std::errc{})
            return std::nullopt;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        const bool anotherNumber = text.size() > 1 && text[0] == '.' && text[1] >= '0' && text[1] <= '9';
        if (!anotherNumber || number == &version.patch)
            break;
        text.remove_prefix(1);
    }

    const auto takeSuffix = [&text](char introducer, std::string_view terminators) {
        std::string suffix;
        if (!text.empty() && text.front() == introducer) {
            text.remove_prefix(1);
            suffix = text.substr(0, text.find_first_of(terminators));
            text.remove_prefix(suffix.size());
        }
        return suffix;
    };
    version.preRelease = takeSuffix('-', " \t+");
    version.build = takeSuffix('+', " \t");
    return version;
}

std::string Version::toString() const {
    std::string text = std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(patch);
    if (!preRelease.empty())
        text += '-' + preRelease;
    if (!build.empty())
        text += '+' + build;
    return text;
}

} // namespace Veltrand::Utils
