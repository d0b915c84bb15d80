#pragma once

#include "platform/Bytes.h"

#include <string>

// Small ICC profiles, made with Little CMS.
namespace lumivert {

/// A display profile of three primaries and a curve.
[[nodiscard]] Bytes rgbProfile();

/// A display profile of primaries far beyond those of sRGB.
[[nodiscard]] Bytes wideGamutProfile();

/// A display profile of tables, without primaries.
[[nodiscard]] Bytes rgbTableProfile();

/// A display profile of one curve.
[[nodiscard]] Bytes greyProfile();

enum class TablesOf { thereOnly, bothWays };

/// An output profile of tables: from device to connection space, and perhaps back.
[[nodiscard]] Bytes cmykProfile(TablesOf tables);

/// A Lab profile of the class colour space, and one of the class abstract.
[[nodiscard]] Bytes labColorSpaceProfile();
[[nodiscard]] Bytes labAbstractProfile();

/// A device link from RGB to RGB.
[[nodiscard]] Bytes deviceLink();

/// `profile` with the name of one of its tags changed to one that nobody knows.
[[nodiscard]] Bytes withoutTag(Bytes profile, const std::string& tag);

} // namespace lumivert
