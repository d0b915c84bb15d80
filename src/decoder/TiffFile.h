#pragma once

#include "decoder/JpegMarkers.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

struct tiff;

namespace lumivert::decoder {

/// The first directory of a TIFF (TIFF 6.0, BigTIFF) as libtiff reads it. Any bytes at all.
class TiffFile {
public:
    /// `bytes` must outlive the object.
    explicit TiffFile(std::span<const std::byte> bytes);

    /// Of a photometric interpretation that pictures have, the main one, and no camera's.
    [[nodiscard]] bool isPicture() const;
    [[nodiscard]] bool isIccLab() const;
    [[nodiscard]] std::optional<Density> density() const;

private:
    struct Memory;
    std::shared_ptr<Memory> m_memory;
    std::shared_ptr<tiff> m_file;
};

} // namespace lumivert::decoder
