// SPDX-License-Identifier: BSD-3-Clause
#include "RatioReporter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <utility>

namespace Veltrand::GL {

struct RatioReporter::Limit {
    std::string name;
    std::string base; // empty where the limit is a time in seconds
    double limit;
};

std::vector<RatioReporter::Limit>& RatioReporter::limits() {
    static std::vector<Limit> list;
    return list;
}

namespace {

std::string timeText(double seconds) {
    const std::pair<double, const char*> units[] = {{1, "s"}, {1e-3, "ms"}, {1e-6, "us"}};
    std::array<char, 32> text{};
    for (const auto& [unit, name] : units)
        if (seconds >= unit) {
            std::snprintf(text.data(), text.size(), "%.3g %s", seconds / unit, name);
            return text.data();
        }
    std::snprintf(text.data(), text.size(), "%.3g ns", seconds * 1e9);
    return text.data();
}

std::string fullName(const std::pair<std::string, std::string>& key) {
    return key.second.empty() ? key.first : key.first + " " + key.second;
}

} // namespace

RatioLimit::RatioLimit(std::string name, std::string base, double limit) {
    RatioReporter::limits().push_back({std::move(name), std::move(base), limit});
}

TimeLimit::TimeLimit(std::string name, double seconds) {
    RatioReporter::limits().push_back({std::move(name), "", seconds});
}

bool RatioReporter::ReportContext(const Context& context) {
    PrintBasicContext(&GetErrorStream(), context);
    std::printf("%-48s %10s %10s %10s\n", "benchmark", "best", "median", "processor");
    return true;
}

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    std::vector<double> seconds;
    double cpu = std::numeric_limits<double>::max();
    for (const Run& run : runs) {
        if (run.error_occurred)
            std::printf("%-48s %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
        else if (run.run_type == Run::RT_Iteration) {
            seconds.push_back(run.real_accumulated_time / static_cast<double>(run.iterations));
            cpu = std::min(cpu, run.cpu_accumulated_time / static_cast<double>(run.iterations));
        }
    }
    if (seconds.empty())
        return;
    std::sort(seconds.begin(), seconds.end());
    const Times times{seconds.front(), seconds[seconds.size() / 2], cpu};
    const Key key(runs.front().run_name.function_name, runs.front().run_name.args);
    m_times[key] = times;
    std::printf("%-48s %10s %10s %10s", fullName(key).c_str(), timeText(times.best).c_str(),
                timeText(times.median).c_str(), timeText(times.cpu).c_str());
    for (const auto& [name, counter] : runs.front().counters)
        std::printf("  %s=%.4g", name.c_str(), counter.value);
    std::printf("\n");
    std::fflush(stdout);
}

const RatioReporter::Times* RatioReporter::findBase(const std::string& name,
                                                    const std::string& arguments) const {
    static const Times oneSecond{1, 1, 1};
    if (name.empty())
        return &oneSecond;
    auto found = m_times.find({name, arguments});
    if (found == m_times.end())
        found = m_times.find({name, ""});
    return found == m_times.end() ? nullptr : &found->second;
}

void RatioReporter::printRatio(const std::string& name, const Times& times, const Limit& limit,
                               const Times& base) {
    std::printf("%-36s %-36s %7.3g %7.3g %9.3g", name.c_str(),
                limit.base.empty() ? "1 s" : limit.base.c_str(), times.best / base.best,
                times.median / base.median, times.cpu / base.cpu);
    if (limit.limit > 0)
        std::printf(" %7.3g%s", limit.limit, times.best <= limit.limit * base.best ? "" : "  missed");
    std::printf("\n");
}

void RatioReporter::Finalize() {
    std::printf("\n%-36s %-36s %7s %7s %9s %7s\n", "time of", "in times of", "best", "median", "processor",
                "limit");
    for (const auto& [key, times] : m_times) {
        std::vector<Limit> comparisons;
        for (const Limit& limit : limits())
            if (limit.name == key.first)
                comparisons.push_back(limit);
        const std::string floor = key.first + "/Floor";
        if (std::none_of(comparisons.begin(), comparisons.end(),
                         [&floor](const Limit& limit) { return limit.base == floor; }))
            comparisons.push_back({key.first, floor, 0});
        for (const Limit& comparison : comparisons)
            if (const Times* const base = findBase(comparison.base, key.second))
                printRatio(fullName(key), times, comparison, *base);
    }
}

} // namespace Veltrand::GL
