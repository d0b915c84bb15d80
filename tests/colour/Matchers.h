#pragma once

#include "colour/CupsRaster.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace lumivert {

/// In 255ths.
inline std::string text(const Color& color) {
    std::string result;
    for (const double value : color)
        result += (result.empty() ? "" : ", ") + std::to_string(value * 255);
    return result;
}

/// Whether each component of each colour is at most `tolerance` 255ths off.
inline testing::AssertionResult areWithin(double tolerance, const std::vector<Color>& arrived,
                                          const std::vector<Color>& expected) {
    if (arrived.size() != expected.size())
        return testing::AssertionFailure() << arrived.size() << " colours arrived";
    double worst = 0;
    int off = 0;
    std::string first;
    for (std::size_t i = 0; i < arrived.size(); ++i) {
        if (arrived[i].size() != expected[i].size())
            return testing::AssertionFailure() << arrived[i].size() << " components arrived";
        double difference = 0;
        for (std::size_t c = 0; c < arrived[i].size(); ++c)
            difference = std::max(difference, 255 * std::abs(arrived[i][c] - expected[i][c]));
        if (difference > tolerance && off++ == 0)
            first = "colour " + std::to_string(i) + " arrived as " + text(arrived[i]) +
                    " instead of " + text(expected[i]);
        worst = std::max(worst, difference);
    }
    testing::Test::RecordProperty("worst255ths", std::to_string(worst));
    if (off == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << off << " of " << arrived.size() << " colours are off by "
                                       << "up to " << worst << ": " << first;
}

} // namespace lumivert
