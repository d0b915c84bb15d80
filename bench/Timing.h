#pragma once

#include <functional>
#include <string>
#include <vector>

namespace lumivert::bench {

using Seconds = double;

/// How long `work` takes on the wall.
[[nodiscard]] Seconds timed(const std::function<void()>& work);

/// How long the program takes as a whole process, its output thrown away. Throws
/// std::runtime_error when it fails.
[[nodiscard]] Seconds timedProcess(const std::vector<std::string>& command);

/// Sorts; the value below which `share` (0 to 1) of the values lie.
[[nodiscard]] double quantile(std::vector<double> values, double share);

struct Comparison {
    double ours = 0;
    double theirs = 0;
    /// The median of the ratios pair by pair: holds when the machine's speed drifts.
    double ratio = 0;
};

/// Runs the two in turn, one warm-up pair first, then `pairs` counted ones; medians.
[[nodiscard]] Comparison compare(int pairs, const std::function<Seconds()>& ours,
                                 const std::function<Seconds()>& theirs);

/// Only rows whose work contains `text` are wanted from here on; empty for all.
void wantOnly(const std::string& text);
[[nodiscard]] bool isWanted(const std::string& work);

/// One line of the table; `limit` 0 for a figure that is only reported.
void printRow(const std::string& work, const std::string& against, const std::string& figures,
              double measured, double limit, const std::string& unit);

/// Seconds as milliseconds, with as many digits as are worth reading.
[[nodiscard]] std::string milliseconds(Seconds seconds);

} // namespace lumivert::bench
