#pragma once

#include "colour/CupsRaster.h"
#include "model/Models.h"

#include <string>
#include <vector>

// ICC profiles by their bytes, and what Little CMS makes of colours between them.
namespace lumivert {

[[nodiscard]] std::string srgbProfile();
[[nodiscard]] std::string adobeRgbProfile();
[[nodiscard]] std::string proPhotoProfile();
[[nodiscard]] std::string displayP3Profile();
/// One curve.
[[nodiscard]] std::string gammaGreyProfile(double gamma);
/// The table profile of inks that Ghostscript brings.
[[nodiscard]] std::string inksProfile();
/// What Ghostscript takes the numbers of an RGB queue for that has no profile: sRGB.
[[nodiscard]] std::string queueRgbProfile();

/// A printer of three primaries and a curve.
[[nodiscard]] std::string matrixPaperProfile();
/// A printer that takes RGB, by tables: a curve of its own for each channel, a black that is far
/// from black, a paper that is far from white, and different tables for perceptual, colorimetric
/// and saturation.
[[nodiscard]] std::string tablePaperProfile();
/// The same tables under the class of scanners and cameras.
[[nodiscard]] std::string inputOnlyProfile();
[[nodiscard]] std::string deviceLinkProfile();

/// The colours in `to`, computed in floating point without shortcuts, with black point compensation
/// for all intents but absolute.
[[nodiscard]] std::vector<Color> convertedByLittleCms(const std::vector<Color>& colors,
                                                      const std::string& from,
                                                      const std::string& to,
                                                      RenderingIntent intent);

} // namespace lumivert
