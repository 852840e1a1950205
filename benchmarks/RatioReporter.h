// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <benchmark/benchmark.h>
#include <map>
#include <string>
#include <vector>

namespace Veltrand::GL {

/// Promises that a benchmark takes at most @p limit times as long as another one of the same arguments, or of
/// none. Make it at namespace scope, beside the benchmarks. Without one, a benchmark is only compared with
/// the one that has "/Floor" behind its name.
class RatioLimit {
public:
    RatioLimit(std::string name, std::string base, double limit);
};

/// Promises that a benchmark takes at most this many seconds.
class TimeLimit {
public:
    TimeLimit(std::string name, double seconds);
};

/// Prints the best and the median time of each benchmark's repetitions and the least processor time, of all
/// threads where the benchmark measures it, and at the end how the benchmarks compare.
class RatioReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

private:
    friend class RatioLimit;
    friend class TimeLimit;
    struct Limit;
    struct Times {
        double best = 0; ///< seconds
        double median = 0;
        double cpu = 0; ///< the least
    };
    using Key = std::pair<std::string, std::string>; ///< name and arguments

    static std::vector<Limit>& limits();
    static void printRatio(const std::string& name, const Times& times, const Limit& limit,
                           const Times& base);
    [[nodiscard]] const Times* findBase(const std::string& name, const std::string& arguments) const;

    std::map<Key, Times> m_times;
};

} // namespace Veltrand::GL
