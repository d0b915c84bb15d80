#pragma once

#include <vips/vips8>

#include <memory>

namespace lumivert::decoder {

/// Pixels kept whole, for the orientations that need them in another order.
struct PixelStore {
    vips::VImage pixels;
    /// What `pixels` looks at.
    std::shared_ptr<void> backing;
};

/// Makes the file that keepPixels() may need once, as long as one can be made. To be called where
/// the decoder is confined afterwards.
void preparePixelFile();

/// Memory up to 256 MiB, beyond that a file without a name in the folder for temporary files, which
/// the system writes out when memory is short. Throws vips::VError or std::exception.
[[nodiscard]] PixelStore keepPixels(const vips::VImage& image);

} // namespace lumivert::decoder
