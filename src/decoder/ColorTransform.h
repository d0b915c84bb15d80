#pragma once

#include "decoder/ExactTransform.h"

#include <vips/vips8>

#include <memory>

namespace lumivert::decoder {

/// A conversion between colour spaces at the speed that photos need, at most 1/255 off what Little
/// CMS computes in floating point. Any number of threads at once.
class ColorTransform {
public:
    virtual ~ColorTransform() = default;

    /// To 8 bits, or from CIELAB to 16. Null where the profiles do not allow it.
    [[nodiscard]] static std::shared_ptr<const ColorTransform>
    create(const ColorRoute& route, PixelLayout in, PixelLayout out);

    /// The image as it comes out; evaluated as it is asked for, by as many threads as ask.
    [[nodiscard]] static vips::VImage apply(std::shared_ptr<const ColorTransform> transform,
                                            PixelLayout out, const vips::VImage& image);

    /// `in` and `out` hold `pixels` whole pixels of the layouts given to create().
    virtual void convert(const void* in, void* out, std::size_t pixels) const = 0;
};

} // namespace lumivert::decoder
