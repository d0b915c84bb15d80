#pragma once

#include "platform/ColorSpace.h"

namespace lumivert {

/// The colour space of an ICC profile, by Little CMS; null unless the profile is whole, not larger
/// than 64 MiB, of the class input, display, output or colour space, of the data space grey, RGB,
/// CMYK or Lab, and its colours can be brought into the connection space. It is a destination when
/// it is of no input class, has device numbers (Lab has none), and the way back stands for all four
/// intents. Any thread.
[[nodiscard]] std::shared_ptr<const ColorSpace> colorSpaceFromIccProfile(SharedBytes bytes);

} // namespace lumivert
