#pragma once

#include "platform/ColorSpace.h"

namespace lumivert {

/// Reads ICC profiles with Little CMS. A colour space is built where the profile is whole, not
/// larger than 64 MiB, of the class input, display, output or colour space, of the data space grey,
/// RGB, CMYK or Lab, and where its colours can be brought into the connection space. It is a
/// destination when it is of no input class, has device numbers (Lab has none), and the way back
/// stands for all four intents.
class LcmsColorSpaceFactory final : public ColorSpaceFactory {
public:
    [[nodiscard]] std::shared_ptr<const ColorSpace> fromIccProfile(SharedBytes bytes) override;
};

} // namespace lumivert
