// SPDX-License-Identifier: BSD-3-Clause
#include "support/CommandLine.h"

#include <algorithm>
#include <cmath>

namespace Veltrand::Apps {

bool takeQuestion(std::string_view argument, Question& question) {
    Question asked = Question::None;
    if (argument == "--help" || argument == "-h")
        asked = Question::Help;
    else if (argument == "--version")
        asked = Question::Version;
    if (question == Question::None)
        question = asked;
    return asked != Question::None;
}

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

Eigen::Vector2i parseSize(std::string_view option, std::string_view text) {
    constexpr int MinSize = 160;
    constexpr int MaxSize = 8192;
    std::array<int, 2> size{};
    if (!parseNumbers(text, 'x', size) || std::min(size[0], size[1]) < MinSize ||
        std::max(size[0], size[1]) > MaxSize)
        throw UsageError(std::string(option) + " takes WIDTHxHEIGHT with both from " +
                         std::to_string(MinSize) + " to " + std::to_string(MaxSize) + ", not '" +
                         std::string(text) + "'.");
    return {size[0], size[1]};
}

double parseNumber(std::string_view option, std::string_view text) {
    std::array<double, 1> number{};
    if (!parseNumbers(text, ' ', number) || !std::isfinite(number[0]))
        throw UsageError(std::string(option) + " takes a number, not '" + std::string(text) + "'.");
    return number[0];
}

} // namespace Veltrand::Apps
