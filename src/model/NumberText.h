#pragma once

#include <string>

namespace lumivert {

/// `value` with exactly `decimals` digits after the point, rounded as "%.*f" rounds, whatever the
/// locale ("12.5", "-0.0", "inf").
[[nodiscard]] std::string fixedText(double value, int decimals);

/// `value` cut off toward zero, in decimal, without exponent or sign of zero ("99" for 99.99).
[[nodiscard]] std::string truncatedText(double value);

/// Millimetres as a person reads them: one decimal and the unit ("12.5 mm").
[[nodiscard]] std::string millimetresText(double value);

} // namespace lumivert
