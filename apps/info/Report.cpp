// SPDX-License-Identifier: BSD-3-Clause
#include "info/Report.h"

#include "support/Program.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <sys/utsname.h>
#include <thread>
#include <unistd.h>

namespace Veltrand::Apps {

namespace {

std::string distribution() {
    constexpr std::string_view key = "PRETTY_NAME=";
    std::ifstream file("/etc/os-release");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(key)) {
            line.erase(0, key.size());
            line.erase(std::remove(line.begin(), line.end(), '"'), line.end());
            return line;
        }
    return "unknown";
}

bool isOfInterest(std::string_view variable) {
    constexpr std::array<std::string_view, 14> prefixes{"VELTRAND_",
                                                        "MESA_",
                                                        "LIBGL_",
                                                        "GALLIUM_",
                                                        "LP_",
                                                        "DRI_",
                                                        "__GL",
                                                        "DISPLAY=",
                                                        "EGL_",
                                                        "vblank_mode=",
                                                        "force_gl_",
                                                        "mesa_glthread=",
                                                        "XDG_SESSION_TYPE=",
                                                        "NV_"};
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [variable](std::string_view prefix) { return variable.starts_with(prefix); });
}

} // namespace

std::string Section::text() const {
    std::size_t width = 0;
    for (const auto& line : lines)
        width = std::max(width, line.first.size());
    std::string text = title + "\n";
    for (const auto& [name, value] : lines) {
        text.append("  ").append(name);
        if (!value.empty())
            text.append(width - name.size() + 2, ' ').append(value);
        text += '\n';
    }
    return text;
}

Section systemSection() {
    Section section{"System"};
    utsname system{};
    uname(&system);
    section.add("Veltrand GL", libraryVersion());
    section.add("distribution", distribution());
    section.add("kernel", std::string(system.sysname) + " " + system.release + " " + system.machine);
    section.add("processors", std::to_string(std::thread::hardware_concurrency()));
    return section;
}

Section environmentSection() {
    Section section{"Environment"};
    for (char** entry = environ; *entry; ++entry) {
        const std::string_view variable = *entry;
        const auto equals = variable.find('=');
        if (isOfInterest(variable) && equals != std::string_view::npos)
            section.add(variable.substr(0, equals), variable.substr(equals + 1));
    }
    std::sort(section.lines.begin(), section.lines.end());
    if (section.lines.empty())
        section.add("nothing set", "");
    return section;
}

} // namespace Veltrand::Apps
