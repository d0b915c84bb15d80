#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Photos of every kind that is read, and what accidents and malice make of them.
namespace lumivert::test {

enum class Expected {
    /// It loads with the pixels of the sound file: what changed is about something else.
    whole,
    /// The format shows the damage: refused, or nothing of the pixels was hit.
    refusedOrWhole,
    /// The format has no way to show it: refused, or loaded as its own library reads it.
    asItsLibraryReads,
};

struct Kind {
    const char* name;
    std::string file;
    /// A thirtieth of the bytes replaced by zeros, everything from somewhere on replaced by zeros,
    /// one bit flipped.
    Expected hole = Expected::refusedOrWhole;
    Expected zeroTail = Expected::refusedOrWhole;
    Expected flip = Expected::asItsLibraryReads;
    /// The format's own library; empty where none is linked.
    std::function<std::optional<std::string>(const std::string&)> read{};
    /// Of 16 bits, the upper byte first: by how much two ways to compute them may round otherwise.
    int rounding = 0;
};

struct Mutant {
    const Kind* kind;
    std::string name;
    std::string file;
    Expected expected;
};

/// 96 x 64 pixels each.
[[nodiscard]] std::vector<Kind> everyKind();
/// The same at every call.
[[nodiscard]] std::vector<Mutant> mutantsOf(const Kind& kind);

/// A sound PNG of black pixels, a thousandth of their bytes long: interlaced in RGB of 8 bits, or
/// line by line in black and white.
[[nodiscard]] std::string vastPng(int edge, bool isInterlaced);

} // namespace lumivert::test
