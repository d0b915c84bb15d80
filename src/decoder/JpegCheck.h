#pragma once

#include <cstddef>
#include <span>

namespace lumivert::decoder {

/// Whether libjpeg reads the JPEG to its end, with every scan, and finds nothing that makes pixels
/// wrong. Any thread.
[[nodiscard]] bool isWholeJpeg(std::span<const std::byte> bytes);

} // namespace lumivert::decoder
