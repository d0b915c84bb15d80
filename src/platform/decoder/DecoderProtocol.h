#pragma once

#include "platform/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// What the program and lumivert-decoder say to each other. One request, one answer, then the
/// decoder ends. Both lie on the same machine and come from the same build, so that the structs
/// travel as they lie in memory; magic and version tell a decoder left over from another build.
///
/// The socket is AF_UNIX, SOCK_SEQPACKET: one struct is one packet, with its descriptors
/// (SCM_RIGHTS) beside it. The decoder finds its end at `controlDescriptor` and ends when the other
/// end closes, whatever it is doing.
///
/// Descriptors of a request, in this order:
///   load   the photo
///   rows   the photo, the pipe's end to write rows to, and, with `hasTarget`, the target's profile
///   proof  the photo, the target's profile
///   profile  the profile
/// Photo and profile are sealed memory files: read by position or mapped, their offset is shared.
///
/// Descriptors of an answer:
///   load   a memory file: the rendition's pixels, then `profileSize` bytes of ICC profile
///   proof  a memory file: the rendition's pixels
///   profile  none
///   rows   none; the rows follow in the pipe, without padding, 16-bit samples big-endian
/// A memory file that answers is sealed against writing, growing and shrinking and exactly as long
/// as the header says. Pixels are 32-bit words 0xffRRGGBB in the machine's byte order.
namespace lumivert::protocol {

inline constexpr std::uint32_t magic = 0x4c564431;
inline constexpr std::uint32_t version = 2;
inline constexpr int controlDescriptor = 3;
inline constexpr int pipeBytes = 1 << 20;

/// What either side takes for a photo at all.
inline constexpr std::int32_t maximumEdge = 1'000'000;
inline constexpr std::int64_t maximumPixels = std::int64_t{1} << 32;
[[nodiscard]] constexpr bool isPossible(PixelSize size) {
    return size.width > 0 && size.height > 0 && size.width <= maximumEdge &&
           size.height <= maximumEdge && std::int64_t{size.width} * size.height <= maximumPixels;
}
inline constexpr std::int32_t maximumScreenEdge = 16384;
inline constexpr std::uint64_t maximumProfileBytes = 64u << 20;
/// Dots per inch; a density outside is as good as none.
inline constexpr double minimumDensity = 1;
inline constexpr double maximumDensity = 100'000;
[[nodiscard]] constexpr bool isUsable(double density) {
    return density >= minimumDensity && density <= maximumDensity;
}

enum class Kind : std::uint32_t { load = 1, rows = 2, proof = 3, profile = 4 };

struct Request {
    std::uint32_t magic = protocol::magic;
    std::uint32_t version = protocol::version;
    Kind kind = Kind::load;
    /// load, proof: the rendition's longer edge, at most.
    std::int32_t screenEdge = 0;
    /// rows: the part wanted, in upright pixels.
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    /// rows: whether there is a target.
    std::uint32_t hasTarget = 0;
    /// rows with a target, proof: the rendering intent by its ICC number (ICC.1, 7.2.15).
    std::uint32_t intent = 0;
    /// rows, proof: `Answer::rawWhite` as it was when the photo was loaded.
    double rawWhite = 0;
};

struct Answer {
    std::uint32_t magic = protocol::magic;
    std::uint32_t version = protocol::version;
    Kind kind = Kind::load;
    /// 1: the rest holds. 0: what was asked for cannot be had.
    std::uint32_t done = 0;

    /// load: the whole photo, upright. rows: what follows in the pipe.
    std::int32_t width = 0;
    std::int32_t height = 0;
    /// 1 grey, 3 RGB, 4 CMYK. profile: those of its colour space, 0 where a page cannot draw in it.
    std::uint32_t channels = 0;
    /// 8 or 16.
    std::uint32_t bitsPerComponent = 0;

    /// load: dots per inch along the upright photo's axes.
    double densityX = 0;
    double densityY = 0;
    /// load: bytes of the profile that says what the photo's numbers mean; 0 for none.
    std::uint64_t profileSize = 0;
    /// load: the scene value that a camera RAW is developed to white at, so that paper is as bright
    /// as the screen; 0 for other photos.
    double rawWhite = 0;

    /// load: whether a reader of JPEG shows the photo when handed the very bytes.
    std::uint32_t jpegStream = 0;
    /// load, with `jpegStream`: EXIF orientation, size as stored, whether 255 is no ink.
    std::uint32_t orientation = 0;
    std::int32_t storedWidth = 0;
    std::int32_t storedHeight = 0;
    std::uint32_t inverted = 0;

    /// load, proof: the rendition, upright.
    std::int32_t renditionWidth = 0;
    std::int32_t renditionHeight = 0;
    /// profile: 1 where colours can be converted into it.
    std::uint32_t isDestination = 0;
};

static_assert(std::is_trivially_copyable_v<Request> && std::is_standard_layout_v<Request>);
static_assert(std::is_trivially_copyable_v<Answer> && std::is_standard_layout_v<Answer>);
static_assert(sizeof(Request) == 48 && sizeof(Answer) == 96, "no padding travels");

} // namespace lumivert::protocol
