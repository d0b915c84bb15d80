#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Plain string work on bytes, and numbers as text, whatever the locale. Views look into the
// argument.
namespace lumivert {

/// `text` with the capital letters of ASCII made small.
[[nodiscard]] std::string lowerCased(std::string_view text);

/// Whether `text` is UTF-8 (RFC 3629: no overlong form, no surrogate, nothing above U+10FFFF).
[[nodiscard]] bool isUtf8(std::string_view text);

/// The pieces of `text` between single separators; empty pieces are kept, so that the result has
/// one piece more than `text` has separators.
[[nodiscard]] std::vector<std::string_view> split(std::string_view text, char separator);

/// `text` without the spaces and tabs at both ends. Line breaks stay.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// `text` without any `character`.
[[nodiscard]] std::string without(std::string_view text, char character);

/// `text`, a UUID in its canonical form (RFC 9562: 36 characters, 8-4-4-4-12) and either case, in
/// upper case; nothing for any other text.
[[nodiscard]] std::optional<std::string> uuidText(std::string_view text);

/// `value` with exactly `decimals` digits after the point, rounded as "%.*f" rounds, whatever the
/// locale ("12.5", "-0.0", "inf").
[[nodiscard]] std::string fixedText(double value, int decimals);

/// `value` cut off toward zero, in decimal, without exponent or sign of zero ("99" for 99.99).
[[nodiscard]] std::string truncatedText(double value);

/// Millimetres as a person reads them: one decimal and the unit ("12.5 mm").
[[nodiscard]] std::string millimetresText(double value);

} // namespace lumivert
