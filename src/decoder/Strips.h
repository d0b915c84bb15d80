#pragma once

#include <vips/vips8>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

/// How an image is evaluated: once, top to bottom.
namespace lumivert::decoder {

/// Takes a stack of whole rows without padding, the first of which is row `top` of the image. False
/// for no more of them.
using TakeRows = std::function<bool(std::span<const std::byte> rows, int top)>;

/// Evaluates the image on as many threads as there are cores, and hands over its rows in order, one
/// strip at a time, on some thread. Throws vips::VError when the pixels cannot be made or `take`
/// returns false.
void forEachStrip(const vips::VImage& image, const TakeRows& take);

/// Fills what is valid of `out` from `in`, which has the same place ready. False where it cannot.
using FillRegion = std::function<bool(VipsRegion* out, VipsRegion* in)>;

/// An image of the same size that `fill` makes of this one as its rows are asked for, on any number
/// of threads at once. Libvips forgets that a thread failed when another found no rows left to do
/// in the meantime: rows that cannot be read are noted as damage. Throws vips::VError.
[[nodiscard]] vips::VImage generated(const vips::VImage& from, int bands, VipsBandFormat format,
                                     FillRegion fill);

/// The image with `value(sample)` in place of every sample of 16 bits; cut to whole numbers where
/// the format has no others.
[[nodiscard]] vips::VImage mapped(const vips::VImage& image, VipsBandFormat format,
                                  const std::function<double(std::uint16_t sample)>& value);

/// The image, which keeps what its pixels look at as long as it lives.
[[nodiscard]] vips::VImage holding(const vips::VImage& image, std::shared_ptr<const void> memory);

/// Makes the file that keptWhole() may need once, as long as one can be made. To be called where
/// the decoder is confined afterwards.
void preparePixelFile();

/// The image evaluated, to be asked for its pixels in any order: in memory up to 256 MiB, beyond
/// that in a file without a name in the folder for temporary files, which the system writes out
/// when memory is short. Throws vips::VError or std::exception.
[[nodiscard]] vips::VImage keptWhole(const vips::VImage& image);

} // namespace lumivert::decoder
