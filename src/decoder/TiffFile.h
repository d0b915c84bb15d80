#pragma once

#include "decoder/Blocks.h"
#include "decoder/Jpeg.h"

#include <memory>
#include <optional>

struct tiff;

namespace lumivert::decoder {

/// A TIFF (TIFF 6.0, BigTIFF) as libtiff reads it, by its first directory. Any bytes at all.
class TiffFile {
public:
    /// Where coded pixels lie, and TIFF's number of their coding.
    struct Coded {
        int compression = 0;
        std::uint64_t at = 0;
        std::uint64_t size = 0;
    };

    /// `bytes` must outlive the object.
    explicit TiffFile(ByteView bytes);

    /// Of a photometric interpretation that pictures have, the main one, and no camera's.
    [[nodiscard]] bool isPicture() const;
    [[nodiscard]] bool isIccLab() const;
    [[nodiscard]] std::optional<Density> density() const;
    /// The tiles or strips of a DNG's directories; none for any other file.
    [[nodiscard]] std::vector<Coded> dngTiles() const;

private:
    std::shared_ptr<tiff> m_file;
};

} // namespace lumivert::decoder
