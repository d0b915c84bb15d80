#pragma once

#include <string>

namespace lumivert::bench {

/// The photos and the profiles that the figures are taken with.
struct BenchFiles {
    std::string jpeg45;
    std::string tiff45of8;
    std::string tiff45; // of 16 bits
    std::string jpeg100;
    std::string tiff400;
    std::string raw45;
    std::string heic45;
    /// Three curves and a matrix.
    std::string profile;
    /// Tables, as printers have them.
    std::string tableRgb;
    std::string tableCmyk;
    /// A folder for what is written.
    std::string scratch;
};

/// Page PDFs against copying, embedding, converting and decoding by others.
void benchPages(const BenchFiles& files);

/// Makes one page of `photo` through `profile` (empty: printer managed) and ends; for measuring
/// memory from outside.
void makeOnePage(const std::string& photo, const std::string& profile);

} // namespace lumivert::bench
