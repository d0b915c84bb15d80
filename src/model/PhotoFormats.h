#pragma once

#include <string_view>
#include <vector>

namespace lumivert {

enum class PhotoKind { jpeg, png, tiff, heic, cameraRaw, avif, webp, gif, jxl, jp2, bmp, exr };

/// A format of photos, and all that has to be said about it: a row of photoFormats(). Endings of
/// file names stand in lower case and without their dot.
struct PhotoFormat {
    PhotoKind kind;
    /// For people.
    std::string_view name;
    /// What a file begins with, '?' for any byte. None where only the reader can tell.
    std::vector<std::string_view> beginnings = {};
    /// The operation of libvips that reads it; empty where another library does.
    std::string_view loader = {};
    /// Whether the library that reads the pixels turns them upright itself.
    bool isTurnedByReader = false;
    /// What the dialog for opening offers.
    std::vector<std::string_view> endings;
    /// What a drop takes.
    std::vector<std::string_view> dropEndings = {};
    /// Its place among the dialog's filters of one format; 0: only among all images.
    int filterPlace = 0;
};

/// Every format that can be opened. Decoder, dialog and drop go by nothing else.
[[nodiscard]] const std::vector<PhotoFormat>& photoFormats();

} // namespace lumivert
