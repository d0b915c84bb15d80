#pragma once

#include "platform/Bytes.h"
#include "platform/Geometry.h"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace lumivert::decoder::test {

/// ISO 21496-1, annex C.2: one channel, a boost of two stops.
[[nodiscard]] std::string gainMapMetadata();

/// A photo in HEIF's container (ISO/IEC 23008-12): coded by libaom or libheif's encoder of HEVC, in
/// 4:2:0, and boxed here.
struct HeifPhoto {
    /// AV1, else HEVC.
    bool isAv1 = true;
    /// Of a sample: 8, 10 or 12.
    int bits = 10;
    /// Red, green and blue of the stored picture, as the transfer has them, 0 to 1.
    std::function<std::array<double, 3>(int x, int y)> color{};
    PixelSize size{64, 64};
    /// ITU-T H.273's numbers, in the file's `colr` box of type nclx. The matrix is that of BT.2020.
    int primaries = 9;
    int transfer = 16;
    bool isFullRange = true;
    /// A `colr` box of type prof beside it.
    Bytes profile = {};
    /// The boxes that turn it, in the order of their application: `irot` with quarter turns
    /// counterclockwise, `imir` with 0 to exchange top and bottom, 1 for left and right.
    std::vector<std::pair<std::string, std::uint64_t>> turns = {};
    /// A TIFF structure in an item of Exif.
    std::string exif = {};
    /// The major brand.
    std::string brand = "mif1";
    enum GainMap {
        none,
        auxiliary, ///< a maker's: a hidden auxiliary picture of it
        toneMap,   ///< ISO 21496-1: a derived `tmap` picture, in a group with the base picture
    } gainMap = none;

    /// Nothing where libheif has no such encoder.
    [[nodiscard]] std::optional<std::string> bytes() const;
};

} // namespace lumivert::decoder::test
