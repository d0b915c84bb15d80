#pragma once

#include "colour/CupsRaster.h"
#include "support/TemporaryFolder.h"

#include <string>
#include <vector>

namespace lumivert {

/// A photo of flat patches, with the shape of a 4 x 6 sheet.
struct PatchPhoto {
    std::string path;
    /// What libvips reads back from the patches' middles, row by row.
    std::vector<Color> colors;
};

constexpr int patchColumns = 8;
constexpr int patchRows = 12;

struct PatchPhotoFile {
    /// Its ending says the format. JPEGs have the highest quality and no subsampling.
    std::string name;
    int channels = 3;
    int bits = 8;
    /// ICC bytes to embed; none when empty.
    std::string profile = {};
    /// States Adobe RGB (1998) the way cameras do: Exif interoperability R03. For JPEGs.
    bool isOptionR03 = false;
};

/// Patches that hold the corners of the device's space, greys, and colours from everywhere between.
[[nodiscard]] PatchPhoto writePatchPhoto(const TemporaryFolder& folder, const PatchPhotoFile& file);

/// Every patch this colour.
[[nodiscard]] PatchPhoto writePlainPhoto(const TemporaryFolder& folder, const PatchPhotoFile& file,
                                         const Color& color);

/// What arrived in the middles of the patches when the photo filled the raster.
[[nodiscard]] std::vector<Color> patchesOf(const CupsRaster& raster);

} // namespace lumivert
