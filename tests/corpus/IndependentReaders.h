#pragma once

#include <optional>
#include <string>

/// The pixels of a file, 8 bits of red, green and blue (or of four inks) each, as the format's own
/// library (of BMP, Qt) reads them without the decoder between. Nothing where it does not.
namespace lumivert::test {

[[nodiscard]] std::optional<std::string> readJpeg(const std::string& file);
[[nodiscard]] std::optional<std::string> readPng(const std::string& file);
[[nodiscard]] std::optional<std::string> readWebp(const std::string& file);
[[nodiscard]] std::optional<std::string> readTiff(const std::string& file);
[[nodiscard]] std::optional<std::string> readHeif(const std::string& file);
[[nodiscard]] std::optional<std::string> readBmp(const std::string& file);
/// Of inks of 8 bits; of 12 bits and half floats 16 bits each, the upper byte first, light by
/// sRGB's curve: what libtiff hands out of the strips. Empty for any other form.
[[nodiscard]] std::optional<std::string> readTiffStrips(const std::string& file);
/// Of 8 bits and runs, by a plain reader of its own; it takes what leaves the picture for nothing.
/// Empty for any other form.
[[nodiscard]] std::optional<std::string> readBmpRuns(const std::string& file);
/// 16 bits each, the upper byte first, light by sRGB's curve.
[[nodiscard]] std::optional<std::string> readExr(const std::string& file);

} // namespace lumivert::test
