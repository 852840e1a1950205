// SPDX-License-Identifier: BSD-3-Clause
#include "scene/RegionNames.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <sstream>

namespace Veltrand::Apps {

std::filesystem::path namesBeside(std::filesystem::path labels) {
    if (labels.extension() == ".gz")
        labels.replace_extension();
    return labels += ".txt";
}

std::vector<std::string> readRegionNames(const std::filesystem::path& file) {
    constexpr std::size_t HighestRegion = 0xFFFF;
    std::vector<std::string> names;
    std::ifstream stream(file);
    std::string line;
    while (std::getline(stream, line)) {
        std::istringstream words(line);
        std::size_t region = 0;
        std::string name;
        if (words >> region >> name && region <= HighestRegion) {
            names.resize(std::max(names.size(), region + 1));
            names[region] = name;
        }
    }
    return names;
}

std::string regionName(const std::vector<std::string>& names, unsigned region) {
    const bool isNamed = region < names.size() && !names[region].empty();
    return isNamed ? names[region] : std::to_string(region);
}

std::string shownRegionName(const std::vector<std::string>& names, unsigned region) {
    std::string name = regionName(names, region);
    std::replace(name.begin(), name.end(), '_', ' ');
    return name;
}

} // namespace Veltrand::Apps
