#pragma once

#include <string>

namespace lumivert::bench {

/// The photos and the profile that the figures are taken with.
struct BenchFiles {
    std::string jpeg45;
    std::string tiff45;
    std::string jpeg100;
    std::string tiff400;
    std::string raw45;
    std::string profile;
    /// A folder for what is written.
    std::string scratch;
};

/// Page PDFs against copying, embedding, converting and decoding by others.
void benchPages(const BenchFiles& files);

/// Makes one page of `photo` through `profile` (empty: printer managed) and ends; for measuring
/// memory from outside.
void makeOnePage(const std::string& photo, const std::string& profile);

} // namespace lumivert::bench
